#pragma once

#include "workflow/steps/FillSettings.h"

#include <vector>

namespace veld
{

/// The passes of a filling, each with a method of its own and a limit of the perimeter.
///
/// Those of `FillMethod::AUTO` are: holes at markers, if there are any; then small ones with ears,
/// all others with care, and what these leave by the filling of whole meshes. None of them takes
/// away what was scanned. Settings of another method are one pass.
/// \param max_perimeter where the settings name none
std::vector<FillSettings> plan_passes(std::vector<FillSettings> const& given, double max_perimeter);

} // namespace veld
