#pragma once

#include <string_view>

namespace veld_fuzz
{

/// Writes the files of an input to the work folder, which is emptied before. A file begins with a
/// line of "@@ " and its name.
void write_bundle(std::string_view input);

} // namespace veld_fuzz
