#pragma once

#include "algorithmVeld/reconstruction/overlap/FrameSurface.h"
#include "algorithmVeld/reconstruction/overlap/OverlapSearch.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// For each point that stays the distance along its normal to the mean of the layers that see its
/// place, its own among them, each weighted by how well it saw it. Of another frame the tangential
/// planes at its points in the list tell where its layer lies, the nearest of them the most. 0
/// where there is one layer.
/// \param largest planes farther away than this tell nothing, in millimetres
std::vector<float> distances_to_mean(FrameSurface const& surface, PointLists const& overlap,
                                     std::vector<float> const& quality,
                                     std::vector<char> const& stays, double largest);

} // namespace OrvaneAlgorithm::detail
