#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The depth in the middle of those of some points of each frame: how far they are from the origin
/// along z. What is no number does not count; 0 where nothing does.
/// \param samples about so many points of a frame are asked
double middle_depth(std::vector<RangeData const*> const& ranges, std::size_t samples = 500);

} // namespace OrvaneAlgorithm::detail
