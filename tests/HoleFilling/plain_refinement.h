#pragma once

#include "tests/HoleFilling/hole_meshes.h"

#include <cmath>
#include <vector>

/// \file
/// The refinement of a fill written down as plainly as it is described, on OpenMesh's own
/// operations: every face and every edge is looked at in every round, and nothing is remembered.

namespace veld_test
{

class PlainRefinement
{
public:
    PlainRefinement(HoleMesh& hole, double long_edge) : hole_(hole), long_edge_(long_edge) {}

    void run(int rounds)
    {
        mesh().request_vertex_status();
        mesh().request_face_status();
        mesh().request_halfedge_status();
        mesh().request_edge_status();
        for (int round = 0; round < rounds; ++round)
        {
            split_all();
            relax_all();
        }
        mesh().garbage_collection(true, true, true);
        mesh().release_vertex_status();
        mesh().release_face_status();
        mesh().release_halfedge_status();
        mesh().release_edge_status();
    }

    int splits() const { return splits_; }
    int flips() const { return flips_; }

private:
    TriMesh& mesh() { return hole_.mesh; }

    bool is_open_to_change(FaceHandle f)
    {
        return f.is_valid() && !mesh().status(f).deleted() && mesh().property(hole_.face_new, f);
    }

    std::vector<VertexHandle> corners(FaceHandle f)
    {
        std::vector<VertexHandle> list;
        for (auto const h : mesh().fh_range(f))
        {
            list.push_back(h.from());
        }
        return list;
    }

    void split_all()
    {
        int const count = static_cast<int>(mesh().n_faces());
        for (int i = 0; i < count; ++i)
        {
            FaceHandle const f(i);
            if (is_open_to_change(f) && is_too_large(f))
            {
                split(f);
                ++splits_;
            }
        }
    }

    Vector3f centroid(FaceHandle f)
    {
        auto const v = corners(f);
        return (mesh().point(v[0]) + mesh().point(v[1]) + mesh().point(v[2])) / 3.0F;
    }

    bool is_too_large(FaceHandle f)
    {
        auto const v = corners(f);
        Vector3f const c = centroid(f);
        int long_edges = 0;
        for (std::size_t k = 0; k < 3; ++k)
        {
            if (!((c - mesh().point(v[k])).norm() >= 0.5 * long_edge_))
            {
                return false;
            }
            if ((mesh().point(v[(k + 1) % 3]) - mesh().point(v[k])).norm() > long_edge_)
            {
                ++long_edges;
            }
        }
        return long_edges >= 2;
    }

    void split(FaceHandle f)
    {
        auto const v = corners(f);
        Vector3f const c = centroid(f);
        std::vector<HalfedgeHandle> beyond;
        for (auto const h : mesh().fh_range(f))
        {
            beyond.push_back(h.opp());
        }
        mesh().delete_face(f, false);
        VertexHandle const w = mesh().add_vertex(c);
        mesh().property(hole_.vert_new, w) = true;
        mesh().property(hole_.vert_boundary, w) = false;
        for (std::size_t k = 0; k < 3; ++k)
        {
            std::vector<VertexHandle> const face{v[k], v[(k + 1) % 3], w};
            FaceHandle const g = mesh().add_face(face);
            if (g.is_valid())
            {
                mesh().property(hole_.face_new, g) = true;
                flip_if_better(g, beyond[k], v[k], v[(k + 1) % 3], w);
            }
        }
    }

    void relax_all()
    {
        int const count = static_cast<int>(mesh().n_edges());
        for (int i = 0; i < count; ++i)
        {
            OpenMesh::EdgeHandle const e(i);
            HalfedgeHandle const h0 = mesh().halfedge_handle(e, 0);
            HalfedgeHandle const h1 = mesh().halfedge_handle(e, 1);
            FaceHandle const f = mesh().face_handle(h0);
            if (!mesh().status(e).deleted() && is_open_to_change(f) &&
                is_open_to_change(mesh().face_handle(h1)))
            {
                VertexHandle const a = mesh().from_vertex_handle(h0);
                VertexHandle const b = mesh().to_vertex_handle(h0);
                flip_if_better(f, h1, a, b, third(f, a, b));
            }
        }
    }

    VertexHandle third(FaceHandle f, VertexHandle a, VertexHandle b)
    {
        for (auto const v : corners(f))
        {
            if (v != a && v != b)
            {
                return v;
            }
        }
        return VertexHandle();
    }

    float angle(VertexHandle at, VertexHandle u, VertexHandle v)
    {
        Vector3f const to_u = (mesh().point(u) - mesh().point(at)).normalized();
        Vector3f const to_v = (mesh().point(v) - mesh().point(at)).normalized();
        return std::acos(to_u.dot(to_v));
    }

    void flip_if_better(FaceHandle f, HalfedgeHandle h, VertexHandle a, VertexHandle b,
                        VertexHandle c)
    {
        FaceHandle const g = mesh().face_handle(h);
        if (!is_open_to_change(f) || !is_open_to_change(g))
        {
            return;
        }
        VertexHandle const d = third(g, a, b);
        if (d.is_valid() && mesh().is_flip_ok(mesh().edge_handle(h)) &&
            !(angle(a, c, d) + angle(b, c, d) > angle(c, a, b) + angle(d, a, b)))
        {
            mesh().flip(mesh().edge_handle(h));
            ++flips_;
        }
    }

    HoleMesh& hole_;
    double long_edge_;
    int splits_ = 0;
    int flips_ = 0;
};

} // namespace veld_test
