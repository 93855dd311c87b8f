#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <algorithm>
#include <limits>
#include <vector>

/// \file
/// Markers put on a surface by a rule.

namespace veld_test
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

/// Vertices far from each other: first vertex 0, then always the one farthest from those before it,
/// of equally far ones the lowest.
inline std::vector<int> spread_vertices(TriMesh const& mesh, int count)
{
    std::vector<int> chosen;
    std::vector<double> nearest(mesh.n_vertices(), std::numeric_limits<double>::infinity());
    int next = 0;
    while (static_cast<int>(chosen.size()) < count && mesh.n_vertices() > 0)
    {
        chosen.push_back(next);
        Vector3f const p = mesh.point(OpenMesh::VertexHandle(next));
        for (std::size_t i = 0; i < nearest.size(); ++i)
        {
            Vector3f const q = mesh.point(OpenMesh::VertexHandle(static_cast<int>(i)));
            nearest[i] = std::min(nearest[i], (p - q).cast<double>().squaredNorm());
        }
        next = static_cast<int>(std::max_element(nearest.begin(), nearest.end()) - nearest.begin());
    }
    return chosen;
}

/// Markers on the surface, at those vertices, looking the way the surface does there.
struct Markers
{
    std::vector<Vector3f> points;
    std::vector<Vector3f> normals;
};

inline Markers markers_on(TriMesh const& mesh, int count)
{
    Markers markers;
    for (int const i : spread_vertices(mesh, count))
    {
        OpenMesh::VertexHandle const v(i);
        Vector3d normal = Vector3d::Zero();
        for (auto const face : mesh.vf_range(v))
        {
            std::vector<Vector3d> corners;
            for (auto const corner : mesh.fv_range(face))
            {
                corners.push_back(mesh.point(corner).cast<double>());
            }
            normal += (corners[1] - corners[0]).cross(corners[2] - corners[0]);
        }
        markers.points.push_back(mesh.point(v));
        markers.normals.push_back(normal.normalized().cast<float>());
    }
    return markers;
}

/// Length of the diagonal of the bounding box.
inline double diagonal(TriMesh const& mesh)
{
    Vector3f low;
    Vector3f high;
    mesh.get_boundBox(low, high);
    return static_cast<double>((high - low).norm());
}

} // namespace veld_test
