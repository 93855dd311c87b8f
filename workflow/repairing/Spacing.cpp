#include "workflow/repairing/Spacing.h"

#include "workflow/repairing/CloudPlaces.h"
#include "workflow/repairing/RepairValues.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/mesh/EdgeLengths.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::detail::edge_length;
using OrvaneAlgorithm::detail::median;

namespace
{

/// Median length of the edges of the border, where the repair works, or of all where there is none.
/// Those that end at no place have none.
double measure_edges(TriMesh const& mesh)
{
    std::vector<double> border;
    std::vector<double> all;
    for (auto const edge : mesh.edges())
    {
        double const length = edge_length(mesh, edge);
        if (!std::isfinite(length))
        {
            continue;
        }
        all.push_back(length);
        if (edge.is_boundary())
        {
            border.push_back(length);
        }
    }
    return median(std::move(border.empty() ? all : border));
}

/// Median over some places of the mean distance to the nearest others. On a surface that is about
/// the length of the edges that it gets.
double measure_points(TriMesh const& mesh)
{
    constexpr std::size_t SAMPLES = 2000;
    constexpr int NEIGHBOURHOOD = 7; // one of them is the point itself
    constexpr float ANYWHERE = OrvaneAlgorithm::KdTree3f::LARGEST_COORDINATE;
    std::vector<OrvaneAlgorithm::Vector3f> points;
    for (auto const vertex : one_of_each_place(mesh))
    {
        points.push_back(mesh.point(vertex));
    }
    OrvaneAlgorithm::KdTree3f tree;
    tree.build_kdtree(points);
    std::size_t const step = std::max<std::size_t>(1, points.size() / SAMPLES);
    std::vector<double> means;
    std::vector<int> hits;
    std::vector<float> square_distances;
    for (std::size_t i = 0; i < points.size(); i += step)
    {
        tree.radius_search(points[i], ANYWHERE, hits, square_distances, NEIGHBOURHOOD);
        double sum = 0.0;
        for (float const square : square_distances)
        {
            sum += std::sqrt(static_cast<double>(square));
        }
        if (square_distances.size() > 1)
        {
            means.push_back(sum / static_cast<double>(square_distances.size() - 1));
        }
    }
    return median(std::move(means));
}

} // namespace

double measure_spacing(TriMesh const& mesh)
{
    return is_cloud_of(mesh) ? measure_points(mesh) : measure_edges(mesh);
}

} // namespace veld
