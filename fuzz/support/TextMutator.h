#pragma once

#include <cstddef>
#include <string>

namespace veld_fuzz
{

/// Puts another word or number in the place of one in a text, or does it with a word of the text
/// itself. What is around it stays, and so the text keeps its form, which changes of single bytes
/// mostly break. A text without words comes back as it is.
std::string with_another_word(std::string const& text, unsigned seed);

} // namespace veld_fuzz
