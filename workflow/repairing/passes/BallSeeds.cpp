#include "workflow/repairing/passes/BallSeeds.h"

#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/BallPivoting.h"

#include <Eigen/Geometry>

#include <algorithm>
#include <cmath>

namespace veld
{

using OpenMesh::VertexHandle;
using OrvaneAlgorithm::BallPivoting;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

/// Of a point, among which its triangle is looked for.
constexpr int NEAREST = 16;
/// In ball radii: nearer than this a face that is there reaches a point, or has not on purpose.
constexpr double REACH = 4.0;
/// Sine of the smallest angle of a triangle.
constexpr double SMALLEST_SINE = 0.001;

Vector3d point_of(TriMesh const& mesh, VertexHandle vertex)
{
    return mesh.point(vertex).cast<double>();
}

} // namespace

BallSeeds::BallSeeds(TriMesh const& mesh, double radius, double min_cosine)
    : radius_(radius), min_cosine_(min_cosine)
{
    points_.build_kdtree({mesh.points(), mesh.points() + mesh.n_vertices()});
}

bool BallSeeds::add_first(TriMesh& mesh)
{
    OrvaneAlgorithm::detail::CancelPoll poll(256);
    auto const vertices = mesh.vertices();
    return std::any_of(vertices.begin(), vertices.end(),
                       [&](VertexHandle vertex)
                       {
                           poll.next();
                           return mesh.is_isolated(vertex) && add_at(mesh, vertex);
                       });
}

std::size_t BallSeeds::add_elsewhere(TriMesh& mesh)
{
    OrvaneAlgorithm::detail::CancelPoll poll(256);
    std::vector<char> is_near(mesh.n_vertices(), 0);
    auto const mark_near = [&](VertexHandle vertex)
    {
        points_.radius_search(mesh.point(vertex), static_cast<float>(REACH * radius_), hits_,
                              square_distances_, 0);
        for (int const hit : hits_)
        {
            is_near[static_cast<std::size_t>(hit)] = 1;
        }
    };
    for (auto const vertex : mesh.vertices())
    {
        poll.next();
        if (!mesh.is_isolated(vertex) && mesh.is_boundary(vertex))
        {
            mark_near(vertex);
        }
    }
    std::size_t added = 0;
    for (auto const vertex : mesh.vertices())
    {
        poll.next();
        if (is_near[static_cast<std::size_t>(vertex.idx())] == 0 && mesh.is_isolated(vertex) &&
            add_at(mesh, vertex))
        {
            ++added;
            mark_near(vertex);
        }
    }
    return added;
}

/// Adds the triangle of a point and two of its nearest.
bool BallSeeds::add_at(TriMesh& mesh, VertexHandle vertex)
{
    points_.radius_search(mesh.point(vertex), static_cast<float>(2.0 * radius_), hits_,
                          square_distances_, NEAREST);
    std::vector<int> const near = hits_;
    for (std::size_t j = 1; j < near.size(); ++j)
    {
        for (std::size_t i = 0; i < j; ++i)
        {
            VertexHandle const b(near[i]);
            VertexHandle const c(near[j]);
            bool const are_free =
                b != vertex && c != vertex && mesh.is_isolated(b) && mesh.is_isolated(c);
            if (are_free && fits(mesh, vertex, b, c))
            {
                return mesh.add_face(vertex, b, c).is_valid();
            }
            if (are_free && fits(mesh, vertex, c, b))
            {
                return mesh.add_face(vertex, c, b).is_valid();
            }
        }
    }
    return false;
}

/// Whether the ball lies on a triangle, empty, on the side of the normals.
bool BallSeeds::fits(TriMesh const& mesh, VertexHandle a, VertexHandle b, VertexHandle c) const
{
    Vector3d const u = point_of(mesh, b) - point_of(mesh, a);
    Vector3d const w = point_of(mesh, c) - point_of(mesh, a);
    Vector3d const across = u.cross(w);
    double const area = across.norm();
    if (!(area > SMALLEST_SINE * u.norm() * w.norm()))
    {
        return false;
    }
    Vector3d const normal = across / area;
    for (auto const corner : {a, b, c})
    {
        Vector3d const at_corner = mesh.normal(corner).cast<double>();
        if (at_corner.isZero() || !(normal.dot(at_corner) >= min_cosine_))
        {
            return false;
        }
    }
    Vector3d const to_middle =
        (w.squaredNorm() * across.cross(u) + u.squaredNorm() * w.cross(across)) /
        (2.0 * area * area);
    double const square_height = radius_ * radius_ - to_middle.squaredNorm();
    return square_height >= 0.0 &&
           is_empty(point_of(mesh, a) + to_middle + std::sqrt(square_height) * normal);
}

bool BallSeeds::is_empty(Vector3d const& centre) const
{
    int nearest = -1;
    float square_distance = 0.0F;
    return !points_.nearest_search(centre.cast<float>(), nearest, square_distance) ||
           std::sqrt(static_cast<double>(square_distance)) >=
               radius_ - BallPivoting::EMPTINESS_MARGIN;
}

} // namespace veld
