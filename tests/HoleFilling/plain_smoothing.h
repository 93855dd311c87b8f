#pragma once

#include "algorithmVeld/HoleFilling/HoleSmooth.h"
#include "algorithmVeld/common/mesh/MeshScope.h"

#include <algorithm>
#include <cmath>
#include <vector>

/// \file
/// Smoothing as plainly as it can be written: every step goes over the whole mesh, edge by edge and
/// vertex by vertex, on one thread. The same bytes are expected.

namespace veld_test::plain
{

using OrvaneAlgorithm::HoleSmooth;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

struct Smoothing
{
    TriMesh mesh;
    std::vector<bool> active;
    HoleSmooth::Component component = HoleSmooth::Tangential;
    HoleSmooth::Continuity continuity = HoleSmooth::C1;
    float tolerance = -1.0F;
    std::vector<Vector3f> start;
    std::vector<Vector3f> normal;
    std::vector<float> edge_weight;
    std::vector<float> vertex_weight;

    static std::size_t at(OpenMesh::BaseHandle const& handle)
    {
        return static_cast<std::size_t>(handle.idx());
    }

    void initialize()
    {
        mesh.request_vertex_status();
        mesh.request_face_normals();
        mesh.request_vertex_normals();
        mesh.update_face_normals();
        mesh.update_vertex_normals();
        for (auto const v : mesh.all_vertices())
        {
            start.push_back(mesh.point(v));
            normal.push_back(mesh.normal(v));
        }
        edge_weight.assign(mesh.n_edges(), 0.0F);
    }

    float cotangent(OpenMesh::HalfedgeHandle h) const
    {
        if (mesh.is_boundary(h))
        {
            return 0.0F;
        }
        Vector3f const c = mesh.point(mesh.to_vertex_handle(mesh.next_halfedge_handle(h)));
        Vector3f const d0 = (mesh.point(mesh.to_vertex_handle(h)) - c).normalized();
        Vector3f const d1 = (mesh.point(mesh.from_vertex_handle(h)) - c).normalized();
        float const x = std::clamp(d0.dot(d1), -1.0F, 1.0F);
        return 1.0F / std::tan(std::acos(x));
    }

    float weight_of(OpenMesh::EdgeHandle e) const
    {
        if (component == HoleSmooth::Normal_Dir)
        {
            return cotangent(mesh.halfedge_handle(e, 0)) + cotangent(mesh.halfedge_handle(e, 1));
        }
        if (component == HoleSmooth::Scale_Dependent)
        {
            float const length = mesh.calc_edge_length(e);
            return length > 1e-5 ? 1.0F / length : length;
        }
        return 1.0F;
    }

    void compute_weights()
    {
        vertex_weight.assign(mesh.n_vertices(), 0.0F);
        for (auto const e : mesh.edges())
        {
            float const w = weight_of(e);
            edge_weight[at(e)] = w;
            vertex_weight[at(mesh.to_vertex_handle(mesh.halfedge_handle(e, 0)))] += w;
            vertex_weight[at(mesh.to_vertex_handle(mesh.halfedge_handle(e, 1)))] += w;
        }
        for (float& w : vertex_weight)
        {
            w = std::abs(w) > 1e-5 ? 1.0F / w : w;
        }
    }

    Vector3f weighted_sum(OpenMesh::VertexHandle v, std::vector<Vector3f> const& values) const
    {
        Vector3f sum = Vector3f::Zero();
        for (auto const h : mesh.voh_range(v))
        {
            sum += edge_weight[at(mesh.edge_handle(h))] * values[at(mesh.to_vertex_handle(h))];
        }
        return sum;
    }

    Vector3f c1_position(OpenMesh::VertexHandle v, std::vector<Vector3f> const& umbrella) const
    {
        float diag = 0.0F;
        for (auto const h : mesh.voh_range(v))
        {
            float const w = edge_weight[at(mesh.edge_handle(h))];
            diag += w * (w * vertex_weight[at(mesh.to_vertex_handle(h))] + 1.0F);
        }
        Vector3f q = -weighted_sum(v, umbrella);
        q = q * vertex_weight[at(v)] + umbrella[at(v)];
        diag = diag * vertex_weight[at(v)];
        if (std::abs(diag) > 1e-5)
        {
            q = q / diag;
        }
        return mesh.point(v) - 0.25F * q;
    }

    Vector3f restricted(std::size_t v, Vector3f const& position) const
    {
        Vector3f way = position - start[v];
        if (component == HoleSmooth::Tangential)
        {
            way -= normal[v] * normal[v].dot(way);
            return start[v] + way;
        }
        float const d = std::abs(normal[v].dot(way));
        if (tolerance >= 0.0F && d > tolerance)
        {
            way *= tolerance / d;
            return start[v] + way;
        }
        return position;
    }

    void step()
    {
        compute_weights();
        std::vector<Vector3f> points;
        for (auto const v : mesh.all_vertices())
        {
            points.push_back(mesh.point(v));
        }
        std::vector<Vector3f> umbrella(points.size(), Vector3f::Zero());
        for (auto const v : mesh.vertices())
        {
            umbrella[at(v)] = points[at(v)] - vertex_weight[at(v)] * weighted_sum(v, points);
        }
        std::vector<Vector3f> moved = points;
        for (auto const v : mesh.vertices())
        {
            if (active[at(v)])
            {
                Vector3f const u = vertex_weight[at(v)] * weighted_sum(v, points);
                moved[at(v)] =
                    restricted(at(v), continuity == HoleSmooth::C1
                                          ? c1_position(v, umbrella)
                                          : Vector3f(points[at(v)] + 0.5F * (u - points[at(v)])));
            }
        }
        for (auto const v : mesh.all_vertices())
        {
            mesh.set_point(v, moved[at(v)]);
        }
    }
};

} // namespace veld_test::plain
