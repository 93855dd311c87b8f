#pragma once

#include "algorithmVeld/reconstruction/overlap/FrameSurface.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// When two points of different frames lie on the same place of one surface.
struct OverlapLimits
{
    double spacing = 0.0;      ///< distance of neighbouring points, in millimetres
    double cover_factor = 1.0; ///< how far beside each other, in spacings
    double layer_factor = 2.0; ///< how far from each other along the normal, in spacings
    double least_cosine = 0.5; ///< of the angle between their normals
};

/// Lists of point numbers, one for each point.
struct PointLists
{
    std::vector<std::size_t> first; ///< of each point's list; one entry more than points
    std::vector<int> entries;

    int const* begin(std::size_t i) const { return entries.data() + first[i]; }
    int const* end(std::size_t i) const { return entries.data() + first[i + 1]; }
    bool empty(std::size_t i) const { return first[i] == first[i + 1]; }
};

/// For each point the points of other frames that see the same place, the nearest three of each
/// frame, by frame and from the nearest on. Only points with cells around them see a place.
PointLists find_overlap(FrameSurface const& surface, OverlapLimits const& limits);

/// For each point the points in whose list it stands, in rising order.
PointLists turn_round(PointLists const& lists);

/// Square of the distance between two points without what separates two layers along their normals.
float square_distance_beside(FrameSurface const& surface, std::size_t a, std::size_t b);

} // namespace OrvaneAlgorithm::detail
