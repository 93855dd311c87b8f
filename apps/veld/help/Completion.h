#pragma once

#include "help/HelpTexts.h"

#include <string>

namespace veld::cli
{

/// A script with which bash completes the program's arguments. It needs nothing but bash.
std::string bash_completion(ProgramHelp const& program);

/// The same for zsh, a file for a directory of `fpath`.
std::string zsh_completion(ProgramHelp const& program);

} // namespace veld::cli
