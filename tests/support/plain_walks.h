#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// What the references read from a mesh and do to it: OpenMesh's own circulators and operations.

namespace veld_test::reference
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

/// The corners of a face in the order in which they were added.
inline std::vector<VertexHandle> corners_of(TriMesh const& mesh, FaceHandle f)
{
    std::vector<VertexHandle> corners;
    for (auto it = mesh.cfv_iter(f); it.is_valid(); ++it)
    {
        corners.push_back(*it);
    }
    return corners;
}

/// The halfedges of a face from its first one on.
inline std::vector<HalfedgeHandle> sides_of(TriMesh const& mesh, FaceHandle f)
{
    std::vector<HalfedgeHandle> sides;
    for (auto it = mesh.cfh_iter(f); it.is_valid(); ++it)
    {
        sides.push_back(*it);
    }
    return sides;
}

inline HalfedgeHandle halfedge_to(TriMesh const& mesh, VertexHandle from, VertexHandle to)
{
    for (auto it = mesh.cvoh_iter(from); it.is_valid(); ++it)
    {
        if (mesh.to_vertex_handle(*it) == to)
        {
            return *it;
        }
    }
    return HalfedgeHandle();
}

/// The mesh's own answer, and no face for corners that are not there or repeat: it would end the
/// process.
inline FaceHandle add_triangle(TriMesh& mesh, VertexHandle a, VertexHandle b, VertexHandle c)
{
    if (!a.is_valid() || !b.is_valid() || !c.is_valid() || a == b || b == c || c == a)
    {
        return FaceHandle();
    }
    omerr().disable();
    auto const face = mesh.add_face(std::vector<VertexHandle>{a, b, c});
    omerr().enable();
    return face;
}

inline void request_status(TriMesh& mesh)
{
    mesh.request_vertex_status();
    mesh.request_face_status();
    mesh.request_halfedge_status();
    mesh.request_edge_status();
}

inline void collect_garbage(TriMesh& mesh)
{
    mesh.garbage_collection(true, true, true);
    mesh.release_vertex_status();
    mesh.release_face_status();
    mesh.release_halfedge_status();
    mesh.release_edge_status();
}

} // namespace veld_test::reference
