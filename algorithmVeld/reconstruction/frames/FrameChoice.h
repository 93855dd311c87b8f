#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What so many frames tell of a place is enough: noise is a fifth of that of one.
constexpr std::size_t ENOUGH_FRAMES = 24;
/// So many frames are all taken.
constexpr std::size_t FEW_FRAMES = 96;

/// In spacings: side of a place of which enough frames are chosen.
constexpr double PLACE_OF_SPACING = 4.0;

/// What tells the sides of a thin wall, which are two places: normals, or of frames of cameras,
/// whose normals are noisy, the view.
enum class PlaceSide
{
    NORMAL,
    VIEW
};

/// Chooses whole frames of a long list until no other one shows more than a fringe that was not
/// seen, nor mostly places that fewer than `ENOUGH_FRAMES` saw: a scanner that runs on before one
/// place adds nothing but time. Frames are taken evenly from all over the list. The cost is that of
/// some samples of each frame.
/// \param side of a place, in millimetres. Points beyond 2^19 of them, with the thinning of the
///        samples, are not counted; a frame of such points alone stays.
/// \return for each frame whether it stays; all do where there are few
std::vector<char> choose_frames(std::vector<RangeData const*> const& ranges, double side,
                                PlaceSide told_by);

} // namespace OrvaneAlgorithm::detail
