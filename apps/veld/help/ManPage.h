#pragma once

#include "help/HelpTexts.h"

#include <string>

namespace veld::cli
{

/// The page of the manual, for man(1).
std::string man_page(ProgramHelp const& program, std::string const& version);

} // namespace veld::cli
