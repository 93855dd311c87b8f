#pragma once

#include "workflow/steps/FillSettings.h"

#include <cstddef>
#include <limits>

/// \file
/// What the settings of a pass mean for it.

namespace veld
{

/// What the library's limits are set to where there is none.
constexpr int NO_LIMIT = std::numeric_limits<int>::max();

/// \name Whether a hole keeps to the limits
/// @{
bool is_short_enough(FillSettings const& settings, double perimeter);
bool has_few_enough_edges(FillSettings const& settings, std::size_t edges);
/// @}

/// The most edges of a hole, and the most vertices of a patch that is faired.
int edge_limit(FillSettings const& settings);
int patch_limit(FillSettings const& settings);
/// The number of edges from which on splits are left out.
int split_limit(FillSettings const& settings);

/// Whether the faces around holes are cut away or smoothed before anything is filled.
bool moves_regions(FillSettings const& settings);

} // namespace veld
