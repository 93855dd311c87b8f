#pragma once

#include "algorithmVeld/reconstruction/depth/DepthGrid.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Where a frame saw a small step of depth, as from the rim of a thing to what it lies on, nobody
/// may have seen the side of it. Finds the cells of a frame that are stretched over such steps and
/// that no other frame looked through: something closed has to be there.
/// \param longest edge of such a cell, in millimetres
/// \param tolerance how far behind a cell another frame has to have seen a surface to have looked
///        through it
/// \return for each pixel whether the cell that starts there is one
std::vector<char> find_step_cells(std::vector<DepthGrid> const& grids, std::size_t frame,
                                  double longest, double tolerance);

} // namespace OrvaneAlgorithm::detail
