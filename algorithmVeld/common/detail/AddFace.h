#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>

namespace OrvaneAlgorithm::detail
{

/// The halfedge from one vertex to another, invalid if there is none. The mesh's own search checks
/// every handle that it passes, which costs three times as much.
inline OpenMesh::HalfedgeHandle halfedge_between(TriMesh const& mesh, OpenMesh::VertexHandle from,
                                                 OpenMesh::VertexHandle to)
{
    auto const first = mesh.halfedge_handle(from);
    if (first.is_valid())
    {
        auto h = first;
        do
        {
            if (mesh.to_vertex_handle(h) == to)
            {
                return h;
            }
            h = mesh.next_halfedge_handle(mesh.opposite_halfedge_handle(h));
        } while (h != first);
    }
    return OpenMesh::HalfedgeHandle();
}

/// Whether the mesh can take the triangle: three different, valid vertices on a boundary, no edge
/// that already has a face on this side, and room to link the boundary anew around each corner.
///
/// OpenMesh asks the same, but it ends the process for a repeated vertex and writes a line to
/// standard error for every refusal.
inline bool can_add_face(TriMesh const& mesh, std::array<OpenMesh::VertexHandle, 3> const& corners)
{
    std::array<OpenMesh::HalfedgeHandle, 3> sides;
    for (std::size_t i = 0; i < 3; ++i)
    {
        auto const a = corners[i];
        auto const b = corners[(i + 1) % 3];
        if (!mesh.is_valid_handle(a) || !mesh.is_valid_handle(b) || a == b || !mesh.is_boundary(a))
        {
            return false;
        }
        sides[i] = halfedge_between(mesh, a, b);
        if (sides[i].is_valid() && !mesh.is_boundary(sides[i]))
        {
            return false;
        }
    }
    for (std::size_t i = 0; i < 3; ++i)
    {
        auto const in = sides[i];
        auto const out = sides[(i + 1) % 3];
        if (!in.is_valid() || !out.is_valid() || mesh.next_halfedge_handle(in) == out)
        {
            continue;
        }
        // Another fan lies between the two sides: it has to find a gap elsewhere round the corner.
        auto gap = mesh.opposite_halfedge_handle(out);
        do
        {
            gap = mesh.opposite_halfedge_handle(mesh.next_halfedge_handle(gap));
        } while (!mesh.is_boundary(gap));
        if (gap == in)
        {
            return false;
        }
    }
    return true;
}

/// Adds a triangle if the mesh can take it. \return an invalid handle if it cannot
inline OpenMesh::FaceHandle add_face_checked(TriMesh& mesh, OpenMesh::VertexHandle a,
                                             OpenMesh::VertexHandle b, OpenMesh::VertexHandle c)
{
    if (!can_add_face(mesh, {a, b, c}))
    {
        return OpenMesh::FaceHandle();
    }
    return mesh.add_face(a, b, c);
}

} // namespace OrvaneAlgorithm::detail
