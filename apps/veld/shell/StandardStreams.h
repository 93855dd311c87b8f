#pragma once

#include "workflow/Context.h"

#include <filesystem>
#include <iosfwd>

namespace veld::cli
{

/// Copies standard input to a file, byte by byte as it comes.
void copy_standard_input(std::filesystem::path const& file, Context& context);

/// Standard output for bytes that no system may touch.
std::ostream& binary_standard_output();

} // namespace veld::cli
