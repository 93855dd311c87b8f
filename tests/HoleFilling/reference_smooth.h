#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

/// \file
/// The smoothing of the inner patch of a filled hole as plainly as it can be written: one vertex
/// after the other, every array full, all in `float`. What the library gives has to be the same, to
/// the bit.

namespace veld_test::reference
{

using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

enum class Component
{
    TANGENTIAL,
    NORMAL_DIR,
    TANGENTIAL_AND_NORMAL,
    SCALE_DEPENDENT
};

enum class Continuity
{
    C0,
    C1,
    C2
};

inline std::size_t at(VertexHandle v)
{
    return static_cast<std::size_t>(v.idx());
}

inline std::size_t at(OpenMesh::EdgeHandle e)
{
    return static_cast<std::size_t>(e.idx());
}

class Smoothing
{
public:
    Smoothing(TriMesh const& source, std::vector<bool> const& active)
        : mesh_(source),
          is_active_(active),
          vertex_weight_(source.n_vertices(), 0.0F),
          edge_weight_(source.n_edges(), 0.0F)
    {
        mesh_.request_face_normals();
        mesh_.request_vertex_normals();
    }

    void initialize(Component component, Continuity continuity)
    {
        component_ = component;
        continuity_ = continuity;
        mesh_.update_face_normals();
        mesh_.update_vertex_normals();
        orig_position_.clear();
        orig_normal_.clear();
        for (auto const v : mesh_.vertices())
        {
            orig_position_.push_back(mesh_.point(v));
            orig_normal_.push_back(mesh_.normal(v));
        }
        // Nothing is computed for C2: the vertices stay.
        new_position_ = orig_position_;
        compute_weights();
    }

    void set_absolute_local_error(float error) { tolerance_ = error; }

    void set_relative_local_error(float error)
    {
        if (mesh_.n_vertices() > 0)
        {
            Vector3f low = mesh_.point(VertexHandle(0));
            Vector3f high = low;
            for (auto const v : mesh_.vertices())
            {
                low = low.cwiseMin(mesh_.point(v));
                high = high.cwiseMax(mesh_.point(v));
            }
            tolerance_ = error * (high - low).norm();
        }
    }

    void smooth(unsigned iterations)
    {
        for (unsigned i = 0; i < iterations; ++i)
        {
            compute_weights();
            if (continuity_ == Continuity::C0)
            {
                compute_new_positions_C0();
            }
            else if (continuity_ == Continuity::C1)
            {
                compute_new_positions_C1();
            }
            if (component_ == Component::TANGENTIAL)
            {
                project_to_tangent_plane();
            }
            else if (tolerance_ >= 0.0F)
            {
                local_error_check();
            }
            move_points();
        }
    }

    std::vector<Vector3f> points() const
    {
        std::vector<Vector3f> list;
        for (auto const v : mesh_.vertices())
        {
            list.push_back(mesh_.point(v));
        }
        return list;
    }

private:
    /// Cotangent at the vertex after the halfedge's end in its face; a border has none.
    float cotangent(HalfedgeHandle h) const
    {
        if (!mesh_.face_handle(h).is_valid())
        {
            return 0.0F;
        }
        Vector3f const& corner = mesh_.point(mesh_.to_vertex_handle(mesh_.next_halfedge_handle(h)));
        Vector3f u = mesh_.point(mesh_.to_vertex_handle(h)) - corner;
        Vector3f w = mesh_.point(mesh_.from_vertex_handle(h)) - corner;
        u.normalize();
        w.normalize();
        float const x = std::max(-1.0F, std::min(1.0F, u.dot(w)));
        return 1.0F / std::tan(std::acos(x));
    }

    float weight_of(OpenMesh::EdgeHandle edge) const
    {
        if (component_ == Component::NORMAL_DIR)
        {
            return cotangent(mesh_.halfedge_handle(edge, 0)) +
                   cotangent(mesh_.halfedge_handle(edge, 1));
        }
        if (component_ == Component::SCALE_DEPENDENT)
        {
            float const length = mesh_.calc_edge_length(edge);
            return std::fabs(length) > 1e-5 ? 1.0F / length : length;
        }
        return 1.0F;
    }

    void compute_weights()
    {
        std::fill(vertex_weight_.begin(), vertex_weight_.end(), 0.0F);
        for (auto const edge : mesh_.edges())
        {
            float const e = weight_of(edge);
            edge_weight_[at(edge)] = e;
            vertex_weight_[at(mesh_.to_vertex_handle(mesh_.halfedge_handle(edge, 0)))] += e;
            vertex_weight_[at(mesh_.to_vertex_handle(mesh_.halfedge_handle(edge, 1)))] += e;
        }
        for (float& sum : vertex_weight_)
        {
            if (std::fabs(sum) > 1e-5)
            {
                sum = 1.0F / sum;
            }
        }
    }

    /// Mean of the neighbours, by the weights of their edges.
    Vector3f mean_around(VertexHandle v) const
    {
        Vector3f u = Vector3f::Zero();
        for (auto it = mesh_.cvoh_iter(v); it.is_valid(); ++it)
        {
            u +=
                edge_weight_[at(mesh_.edge_handle(*it))] * mesh_.point(mesh_.to_vertex_handle(*it));
        }
        u *= vertex_weight_[at(v)];
        return u;
    }

    void compute_new_positions_C0()
    {
        for (auto const v : mesh_.vertices())
        {
            if (is_active_[at(v)])
            {
                Vector3f const u = mean_around(v);
                new_position_[at(v)] = mesh_.point(v) + 0.5F * (u - mesh_.point(v));
            }
        }
    }

    void compute_new_positions_C1()
    {
        std::vector<Vector3f> umbrella(mesh_.n_vertices());
        for (auto const v : mesh_.vertices())
        {
            umbrella[at(v)] = mesh_.point(v) - mean_around(v);
        }
        for (auto const v : mesh_.vertices())
        {
            if (!is_active_[at(v)])
            {
                continue;
            }
            Vector3f q = Vector3f::Zero();
            float diag = 0.0F;
            for (auto it = mesh_.cvoh_iter(v); it.is_valid(); ++it)
            {
                float const w = edge_weight_[at(mesh_.edge_handle(*it))];
                auto const t = mesh_.to_vertex_handle(*it);
                q -= w * umbrella[at(t)];
                diag += w * (w * vertex_weight_[at(t)] + 1.0F);
            }
            q = q * vertex_weight_[at(v)] + umbrella[at(v)];
            diag = diag * vertex_weight_[at(v)];
            if (std::fabs(diag) > 1e-5)
            {
                q = q / diag;
            }
            new_position_[at(v)] = mesh_.point(v) - 0.25F * q;
        }
    }

    void project_to_tangent_plane()
    {
        for (auto const v : mesh_.vertices())
        {
            if (is_active_[at(v)])
            {
                Vector3f t = new_position_[at(v)] - orig_position_[at(v)];
                Vector3f const& n = orig_normal_[at(v)];
                t -= n * n.dot(t);
                new_position_[at(v)] = orig_position_[at(v)] + t;
            }
        }
    }

    void local_error_check()
    {
        for (auto const v : mesh_.vertices())
        {
            if (is_active_[at(v)])
            {
                Vector3f t = new_position_[at(v)] - orig_position_[at(v)];
                float const d = std::fabs(orig_normal_[at(v)].dot(t));
                if (d > tolerance_)
                {
                    t *= tolerance_ / d;
                    new_position_[at(v)] = orig_position_[at(v)] + t;
                }
            }
        }
    }

    void move_points()
    {
        for (auto const v : mesh_.vertices())
        {
            if (is_active_[at(v)])
            {
                mesh_.set_point(v, new_position_[at(v)]);
            }
        }
    }

    TriMesh mesh_;
    Component component_ = Component::TANGENTIAL_AND_NORMAL;
    Continuity continuity_ = Continuity::C0;
    float tolerance_ = -1.0F;
    std::vector<bool> is_active_;
    std::vector<Vector3f> orig_position_;
    std::vector<Vector3f> orig_normal_;
    std::vector<Vector3f> new_position_;
    std::vector<float> vertex_weight_;
    std::vector<float> edge_weight_;
};

/// The points of the mesh after some iterations.
/// \param tolerance limit of the displacement along the normal; negative: none
inline std::vector<Vector3f> smooth(TriMesh const& mesh, std::vector<bool> const& active,
                                    Component component, Continuity continuity, unsigned iterations,
                                    float tolerance = -1.0F)
{
    Smoothing smoothing(mesh, active);
    smoothing.initialize(component, continuity);
    smoothing.set_absolute_local_error(tolerance);
    smoothing.smooth(iterations);
    return smoothing.points();
}

/// Which vertices may move where the caller does not say so: the selected ones if there are any,
/// none on the border or locked, for C1 none beside the border either, for C2 none within two
/// rings of it.
inline std::vector<bool> active_vertices(TriMesh const& mesh, Continuity continuity,
                                         bool skip_features)
{
    bool any_selected = false;
    for (auto const v : mesh.vertices())
    {
        any_selected = any_selected || mesh.status(v).selected();
    }
    std::vector<bool> active(mesh.n_vertices(), false);
    std::vector<bool> beside(mesh.n_vertices(), false);
    for (auto const v : mesh.vertices())
    {
        beside[at(v)] = mesh.is_boundary(v);
        bool keep = (!any_selected || mesh.status(v).selected()) && !mesh.is_boundary(v) &&
                    !mesh.status(v).locked();
        if (skip_features)
        {
            keep = keep && !mesh.status(v).feature();
            for (auto it = mesh.cve_iter(v); it.is_valid(); ++it)
            {
                keep = keep && !(mesh.has_edge_status() && mesh.status(*it).feature());
            }
            for (auto it = mesh.cvf_iter(v); it.is_valid(); ++it)
            {
                keep = keep && !(mesh.has_face_status() && mesh.status(*it).feature());
            }
        }
        active[at(v)] = keep;
    }
    int const rings = continuity == Continuity::C0 ? 0 : continuity == Continuity::C1 ? 1 : 2;
    for (int ring = 0; ring < rings; ++ring)
    {
        auto const inside = beside;
        for (auto const v : mesh.vertices())
        {
            for (auto it = mesh.cvv_iter(v); it.is_valid(); ++it)
            {
                beside[at(v)] = beside[at(v)] || inside[at(*it)];
            }
        }
    }
    for (std::size_t v = 0; v < active.size(); ++v)
    {
        active[v] = active[v] && !beside[v];
    }
    return active;
}

} // namespace veld_test::reference
