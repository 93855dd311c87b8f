#pragma once

#include <string>

namespace veld_test
{

/// How often a text has a piece, which may overlap itself.
inline int count_of(std::string const& text, std::string const& piece)
{
    int n = 0;
    for (auto at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
    {
        ++n;
    }
    return n;
}

} // namespace veld_test
