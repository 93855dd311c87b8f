#pragma once

#include "algorithmVeld/common/vectors.h"

#include <array>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The most corners of a polygon that is cut into triangles: the time grows with their square.
constexpr std::size_t MOST_POLYGON_CORNERS = 4096;

/// Cuts a polygon in space into triangles: ear after ear in the plane that fits it best, always the
/// ear with the shortest cut, of equal ones the first. A polygon that crosses itself or has no
/// plane is cut into as many triangles, but they may overlap.
/// \param corners three to MOST_POLYGON_CORNERS, finite
/// \return two triangles less than corners, as places in the list, oriented as the polygon
std::vector<std::array<int, 3>> triangulate_polygon(std::vector<Vector3f> const& corners);

} // namespace OrvaneAlgorithm::detail
