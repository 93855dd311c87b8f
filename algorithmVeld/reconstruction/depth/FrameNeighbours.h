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
    std::vector<int> frames; ///< some at most, spread evenly over all of them
};

/// So many frames are enough to compare with, and to find one that looks through a place.
constexpr std::size_t MOST_ASKED = 16;

/// Cuts a frame into blocks. What a block asks of other frames is bounded, however many there are.
/// \param most frames that a block asks
std::vector<FrameTile> make_tiles(std::vector<DepthGrid> const& grids, std::size_t frame,
                                  std::size_t most = MOST_ASKED);

/// At most so many of a list, evenly spread over it.
std::vector<int> evenly_spread(std::vector<int> const& all, std::size_t most);

} // namespace OrvaneAlgorithm::detail
