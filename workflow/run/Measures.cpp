#include "workflow/run/Measures.h"

#include "workflow/filling/HoleList.h"

#include "algorithmVeld/common/arrays/DisjointSets.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

constexpr std::size_t SPECK_PARTS = 1000; ///< A speck is so many times smaller than the scan.
constexpr double USUAL_RADIUS = 3.0;      ///< Of a marker, in millimetres.
/// The scan is worst along the rim of a marker.
constexpr double RIM_FACTOR = 1.1;

/// A hole as a circle.
struct Circle
{
    Vector3d centre = Vector3d::Zero();
    double radius = 0.0;
};

std::vector<Circle> holes_as_circles(TriMesh& mesh)
{
    std::vector<Circle> circles;
    for (auto const& hole : all_holes(mesh))
    {
        Circle circle;
        for (auto const vertex : hole)
        {
            circle.centre += mesh.point(vertex).cast<double>();
        }
        circle.centre /= static_cast<double>(hole.size());
        circle.radius = hole_perimeter(mesh, hole) / (2.0 * OrvaneAlgorithm::detail::PI);
        circles.push_back(circle);
    }
    return circles;
}

} // namespace

Pieces measure_pieces(TriMesh const& mesh)
{
    OrvaneAlgorithm::detail::DisjointSets sets(mesh.n_faces());
    for (auto const edge : mesh.edges())
    {
        if (!edge.is_boundary())
        {
            sets.join(edge.h0().face().idx(), edge.h1().face().idx());
        }
    }
    std::vector<std::size_t> sizes(mesh.n_faces(), 0);
    Pieces pieces;
    for (auto const face : mesh.faces())
    {
        std::size_t& size = sizes[static_cast<std::size_t>(sets.root(face.idx()))];
        pieces.number += size == 0 ? 1 : 0;
        pieces.largest = std::max(pieces.largest, ++size);
    }
    return pieces;
}

double mean_edge_length(TriMesh const& mesh)
{
    double sum = 0.0;
    for (auto const edge : mesh.edges())
    {
        sum += (mesh.point(edge.v0()).cast<double>() - mesh.point(edge.v1()).cast<double>()).norm();
    }
    return mesh.n_edges() == 0 ? 0.0 : sum / static_cast<double>(mesh.n_edges());
}

int speck_limit(Pieces const& pieces)
{
    if (pieces.largest < 2)
    {
        return 0;
    }
    std::size_t const most = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(pieces.largest / SPECK_PARTS, std::size_t{1}, most));
}

MarkerRadius measure_marker_radius(TriMesh& mesh, Markers const& markers)
{
    auto const circles = holes_as_circles(mesh);
    std::vector<double> radii;
    for (auto const& point : markers.points)
    {
        OrvaneAlgorithm::detail::poll_cancel();
        Vector3d const place = point.cast<double>();
        auto const nearer = [&place](Circle const& a, Circle const& b)
        { return (a.centre - place).squaredNorm() < (b.centre - place).squaredNorm(); };
        auto const nearest = std::min_element(circles.begin(), circles.end(), nearer);
        if (nearest != circles.end() && (nearest->centre - place).norm() < nearest->radius / 2.0)
        {
            radii.push_back(nearest->radius);
        }
    }
    if (radii.empty() || 2 * radii.size() < markers.points.size())
    {
        return {RIM_FACTOR * USUAL_RADIUS, false};
    }
    return {RIM_FACTOR * OrvaneAlgorithm::detail::median(std::move(radii)), true};
}

} // namespace veld
