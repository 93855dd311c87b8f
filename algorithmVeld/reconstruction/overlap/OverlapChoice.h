#pragma once

#include "algorithmVeld/reconstruction/overlap/FrameSurface.h"
#include "algorithmVeld/reconstruction/overlap/OverlapSearch.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// How well each point was seen, from 0 on: the density of the points around it, with that of one
/// point a square spacing as 1, less towards the border of its frame.
/// \param border_cells width of the band in which the border counts
std::vector<float> measure_quality(FrameSurface const& surface, double spacing, int border_cells);

/// By how much each point was seen better than its place was by the best of the other frames, from
/// -1 to 1, smoothed over the grid of its frame. 1 where no other frame saw it.
std::vector<float> compare_frames(FrameSurface const& surface, PointLists const& overlap,
                                  std::vector<float> const& quality);

/// Chooses what stays: 1 for each point that does.
///
/// The points that others saw better go first, then those that were seen equally well, of the last
/// frame first. A point goes if a point of another frame beside it stays, and if each point that
/// went before it still has one, or a near neighbour on its own grid. In the end, points come back
/// where a gap between borders is wider than it need be. \param gap least distance between borders,
/// in millimetres
std::vector<char> choose_points(FrameSurface const& surface, PointLists const& overlap,
                                std::vector<float> const& advantage, double spacing, double gap);

} // namespace OrvaneAlgorithm::detail
