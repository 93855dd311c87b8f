#pragma once

#include "algorithmVeld/reconstruction/depth/DepthGrid.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A block of pixels of a frame, and the other frames whose view reaches what it saw.
struct FrameTile
{
    int first_row = 0;
    int last_row = 0; ///< behind the last one
    int first_column = 0;
    int last_column = 0;
    std::vector<int> frames; ///< at most a constant number, spread evenly over all of them
};

/// Cuts a frame into blocks. What a block asks of other frames is bounded, however many there are.
std::vector<FrameTile> make_tiles(std::vector<DepthGrid> const& grids, std::size_t frame);

} // namespace OrvaneAlgorithm::detail
