#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/TriMesh.h"

#include <algorithm>
#include <cmath>
#include <vector>

/// \file
/// Distances from points to a mesh.

namespace veld_benchmark
{

using OrvaneAlgorithm::KdTree3f;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

/// Distance from `p` to the part of a line between two points.
inline float to_segment(Vector3f const& p, Vector3f const& a, Vector3f const& b)
{
    Vector3f const ab = b - a;
    float const length2 = ab.squaredNorm();
    float const t = length2 > 0.0F ? std::clamp((p - a).dot(ab) / length2, 0.0F, 1.0F) : 0.0F;
    return (p - (a + t * ab)).norm();
}

/// Distance from `p` to a triangle: to its plane above the inside, to the sides elsewhere.
inline float to_triangle(Vector3f const& p, Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f const normal = (b - a).cross(c - a);
    bool const inside = normal.dot((b - a).cross(p - a)) >= 0.0F &&
                        normal.dot((c - b).cross(p - b)) >= 0.0F &&
                        normal.dot((a - c).cross(p - c)) >= 0.0F;
    if (inside && normal.squaredNorm() > 0.0F)
    {
        return std::abs((p - a).dot(normal.normalized()));
    }
    return std::min({to_segment(p, a, b), to_segment(p, b, c), to_segment(p, c, a)});
}

/// A surface to measure to: the faces around the nearest vertex and around its neighbours.
class MeasuredSurface
{
public:
    explicit MeasuredSurface(TriMesh const& mesh) : mesh_(mesh)
    {
        std::vector<Vector3f> points;
        for (auto const v : mesh.vertices())
        {
            points.push_back(mesh.point(v));
        }
        tree_.build_kdtree(points);
    }

    float distance(Vector3f const& p) const
    {
        int nearest = 0;
        float square = 0.0F;
        tree_.nearest_search(p, nearest, square);
        float best = std::sqrt(square);
        OpenMesh::VertexHandle const centre(nearest);
        measure_around(p, centre, best);
        for (auto const v : mesh_.vv_range(centre))
        {
            measure_around(p, v, best);
        }
        return best;
    }

private:
    void measure_around(Vector3f const& p, OpenMesh::VertexHandle v, float& best) const
    {
        for (auto const f : mesh_.vf_range(v))
        {
            auto corner = mesh_.cfv_iter(f);
            Vector3f const a = mesh_.point(*corner);
            Vector3f const b = mesh_.point(*++corner);
            Vector3f const c = mesh_.point(*++corner);
            best = std::min(best, to_triangle(p, a, b, c));
        }
    }

    TriMesh const& mesh_;
    KdTree3f tree_;
};

} // namespace veld_benchmark
