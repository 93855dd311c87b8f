#pragma once

#include "workflow/steps/Align.h"

#include <string>

namespace veld::cli
{

/// How well frames agree, the pairs that do worst first. \param all lists every pair
std::string to_text(std::string const& source, FrameCheck const& result, bool all);

/// How far frames were moved. \param source that was written
std::string to_text(std::string const& source, AlignResult const& result);

} // namespace veld::cli
