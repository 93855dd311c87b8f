#pragma once

#include <cstdint>

namespace OrvaneAlgorithm::detail
{

/// The most cells of a grid and pixels of an image that are believed, 16384 x 16384. Each takes
/// memory whether or not the file says anything of it, so a damaged header could take all there is.
constexpr std::int64_t MOST_CELLS = std::int64_t{1} << 28;

} // namespace OrvaneAlgorithm::detail
