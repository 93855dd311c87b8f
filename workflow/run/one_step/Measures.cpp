#include "workflow/run/one_step/Measures.h"

#include "workflow/filling/HoleList.h"

#include "algorithmVeld/cleanup/PatchEditor.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

constexpr int SPECK_PARTS = 1000;    ///< A speck is so many times smaller than the scan.
constexpr double USUAL_RADIUS = 3.0; ///< Of a marker, in millimetres.
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
        circles.push_back({hole_centre(mesh, hole),
                           hole_perimeter(mesh, hole) / (2.0 * OrvaneAlgorithm::detail::PI)});
    }
    return circles;
}

} // namespace

int measure_speck_limit(TriMesh const& mesh)
{
    int const largest = OrvaneAlgorithm::PatchEditor::largest_component_by_face(mesh);
    return largest < 2 ? 0 : std::max(largest / SPECK_PARTS, 1);
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
