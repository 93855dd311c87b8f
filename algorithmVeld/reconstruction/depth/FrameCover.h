#pragma once

#include "algorithmVeld/reconstruction/depth/DepthGrid.h"
#include "algorithmVeld/reconstruction/depth/PlaceTolerance.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Chooses patches of frames that together cover all that was seen: large ones, each from one
/// frame, that overlap by a few pixels where they meet. The frame that adds the most comes next;
/// what it adds in scraps is left out.
/// \param is_best for each pixel of each frame whether it is first choice; the others fill what is
///        left
/// \param tolerance how far off along the normal a place is the same
/// \return for each pixel of each frame whether it stays
std::vector<std::vector<char>> choose_cover(std::vector<DepthGrid> const& grids,
                                            std::vector<std::vector<char>> const& is_best,
                                            PlaceTolerance const& tolerance);

} // namespace OrvaneAlgorithm::detail
