#pragma once

#include "workflow/run/Recipe.h"
#include "workflow/run/ScanLook.h"

namespace veld
{

/// Throws `InputError` where a step of a recipe does not fit what the steps before make of a scan.
void check_fit(Recipe const& recipe, ScanLook const& look);

} // namespace veld
