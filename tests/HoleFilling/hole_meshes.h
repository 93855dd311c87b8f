#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "tests/HoleFilling/plain_triangulation.h"

#include <array>
#include <vector>

/// \file
/// Meshes with one hole, for the triangulation and the refinement.

namespace veld_test
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;

/// A mesh with its hole, and the properties that the operations keep.
struct HoleMesh
{
    TriMesh mesh;
    std::vector<HalfedgeHandle> loop;
    OpenMesh::FPropHandleT<bool> face_new;
    OpenMesh::VPropHandleT<bool> vert_new;
    OpenMesh::VPropHandleT<bool> vert_boundary;
    OpenMesh::VPropHandleT<float> vert_edge_len;

    void add_flags()
    {
        mesh.add_property(face_new, "face_new");
        mesh.add_property(vert_new, "vert_new");
        mesh.add_property(vert_boundary, "vert_boundary");
        mesh.add_property(vert_edge_len, "vert_edge_len");
        for (auto const f : mesh.faces())
        {
            mesh.property(face_new, f) = false;
        }
        for (auto const v : mesh.vertices())
        {
            mesh.property(vert_new, v) = false;
            mesh.property(vert_boundary, v) = false;
            mesh.property(vert_edge_len, v) = 1.0F;
        }
    }

    void set_loop_from(HalfedgeHandle start)
    {
        auto h = start;
        do
        {
            loop.push_back(h);
            h = mesh.next_halfedge_handle(h);
        } while (h != start);
    }

    int count_new() const
    {
        int count = 0;
        for (auto const f : mesh.faces())
        {
            count += mesh.property(face_new, f) ? 1 : 0;
        }
        return count;
    }

    /// The corners of the faces from the given index on, in order.
    std::vector<std::array<int, 3>> faces_from(std::size_t first) const
    {
        std::vector<std::array<int, 3>> list;
        for (std::size_t f = first; f < mesh.n_faces(); ++f)
        {
            std::array<int, 3> corners{};
            std::size_t k = 0;
            for (auto const v : mesh.fv_range(FaceHandle(static_cast<int>(f))))
            {
                corners[k++] = v.idx();
            }
            list.push_back(corners);
        }
        return list;
    }
};

/// Wraps a mesh whose hole starts at the boundary halfedge from vertex `a` to `b`.
inline HoleMesh hole_mesh(TriMesh const& mesh, int a, int b)
{
    HoleMesh hole;
    hole.mesh = mesh;
    hole.mesh.request_face_normals();
    hole.mesh.update_face_normals();
    hole.add_flags();
    hole.set_loop_from(hole.mesh.find_halfedge(VertexHandle(a), VertexHandle(b)));
    return hole;
}

/// A face beyond each side of the polygon, with a corner of its own. The corners 0 to n - 1 of the
/// mesh are those of the polygon.
inline HoleMesh mesh_around(std::vector<Vector3f> const& points, std::vector<Vector3f> const& outer)
{
    TriMesh mesh;
    int const n = static_cast<int>(points.size());
    for (auto const& p : points)
    {
        mesh.add_vertex(p);
    }
    for (int k = 0; k < n; ++k)
    {
        auto const apex = mesh.add_vertex(outer[static_cast<std::size_t>(k)]);
        mesh.add_face(VertexHandle((k + 1) % n), VertexHandle(k), apex);
    }
    return hole_mesh(mesh, 0, 1);
}

/// The faces of a sphere of the given level but for those with a vertex above a height.
inline HoleMesh open_sphere(TriMesh const& sphere, float height)
{
    TriMesh mesh;
    for (auto const v : sphere.vertices())
    {
        mesh.add_vertex(sphere.point(v));
    }
    for (auto const f : sphere.faces())
    {
        std::vector<VertexHandle> corners;
        bool keep = true;
        for (auto const v : sphere.fv_range(f))
        {
            corners.push_back(v);
            keep = keep && sphere.point(v).z() < height;
        }
        if (keep)
        {
            mesh.add_face(corners);
        }
    }
    for (auto const h : mesh.halfedges())
    {
        if (mesh.is_boundary(h))
        {
            return hole_mesh(mesh, mesh.from_vertex_handle(h).idx(),
                             mesh.to_vertex_handle(h).idx());
        }
    }
    return HoleMesh();
}

} // namespace veld_test
