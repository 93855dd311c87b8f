#pragma once

#include "workflow/export.h"

#include <string>

namespace veld
{

/// \name Numbers in decimal notation
/// Texts that are a number from their first to their last character. Neither a leading zero nor a
/// prefix changes the base, and the locale of the machine does not matter.
/// \return false if the text is anything else, or a number that the type cannot hold
/// @{
VELD_WORKFLOW_API bool parse_number(std::string const& text, int& number);
VELD_WORKFLOW_API bool parse_number(std::string const& text, double& number);
VELD_WORKFLOW_API bool parse_number(std::string const& text, float& number);
/// @}

} // namespace veld
