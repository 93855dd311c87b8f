#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// The numbers of one line of a text file.
struct NumberLine
{
    std::string place; ///< The file and the line, for an error: "markers.txt: line 3".
    std::vector<float> numbers;
};

/// Reads a text file of finite numbers, separated by blanks. `#` begins a comment; lines without a
/// number and a byte order mark at the start are passed over.
std::vector<NumberLine> read_number_lines(std::filesystem::path const& path);

} // namespace veld
