#pragma once

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/common/export.h"
#include "algorithmVeld/common/vectors.h"

#include <vector>

namespace OrvaneAlgorithm
{

/// Lays rectangles out in one rectangle, for texture atlases.
///
/// The method is the skyline with bottom-left placement and re-use of the pockets below it (J.
/// Jylanki, "A Thousand Ways to Pack the Bin", 2010). It fills strips of several widths, growing
/// downwards and to the right, in several orders, then varies the best of these by exchanging
/// rectangles at random, and keeps the layout with the smallest area; among nearly equal areas the
/// squarer one wins. The number of tries falls with the number of rectangles.
class ALGORITHMVELD_API ImagePacking
{
public:
    /// Places rectangles without turning them, so that no two overlap and any two stand at least
    /// `gap` apart (in rows or in columns). The layout depends on the arguments alone.
    ///
    /// \param sizes (height, width) of each rectangle, in pixels, all positive
    /// \param gap pixels between neighbours, 0 or more; the rim of the whole needs none
    /// \param positions (row, column) of each rectangle's top left corner
    /// \param total_size (height, width) of the whole; zero for an empty list
    /// \return `RET_SUCCESS`; `RET_INVALID_INPUT` for a size that is not positive, a negative gap,
    ///         or a total that an `int` cannot count, and then the outputs are empty and zero
    static RetVal pack(std::vector<Vector2i> const& sizes, int gap,
                       std::vector<Vector2i>& positions, Vector2i& total_size);
};

} // namespace OrvaneAlgorithm
