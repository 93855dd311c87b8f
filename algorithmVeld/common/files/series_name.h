#pragma once

#include <string>

namespace OrvaneAlgorithm::detail
{

inline void append_number(std::string& text, int number)
{
    text += std::to_string(number);
}

inline void append_number(std::wstring& text, int number)
{
    text += std::to_wstring(number);
}

/// The path of one file of a numbered series: "%s/%s%d%s". Joined instead of formatted, because a
/// wide format takes `%s` for narrow text on some platforms and for wide text on others.
template <typename Text>
Text series_name(Text const& parent, Text const& prefix, int number, Text const& suffix)
{
    Text name = parent;
    name += '/';
    name += prefix;
    append_number(name, number);
    name += suffix;
    return name;
}

} // namespace OrvaneAlgorithm::detail
