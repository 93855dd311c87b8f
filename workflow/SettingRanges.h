#pragma once

#include <limits>

namespace veld
{

/// What settings may be, for all who check them: the steps, what reads JSON, and the command line.
/// `docs/recipe.schema.json` says the same.
constexpr int LARGEST_COUNT = std::numeric_limits<int>::max();
/// Of the unit of lengths; the smallest is one part of it.
constexpr double LARGEST_SCALE = 1e6;
constexpr double SMALLEST_SCALE = 1.0 / LARGEST_SCALE;

} // namespace veld
