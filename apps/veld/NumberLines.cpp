#include "NumberLines.h"

#include "Errors.h"
#include "Numbers.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace veld
{

namespace
{

/// The finite numbers of a line up to its comment.
/// \return false if something else stands there
bool parse_numbers(std::string const& line, std::vector<float>& numbers)
{
    std::istringstream words(line.substr(0, line.find('#')));
    words.imbue(std::locale::classic());
    for (std::string word; words >> word;)
    {
        float number = 0.0F;
        if (!parse_number(word, number))
        {
            return false;
        }
        numbers.push_back(number);
    }
    return true;
}

/// The file, behind the byte order mark that some editors write.
std::ifstream open_text(std::string const& path)
{
    std::error_code error;
    auto const status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
    {
        throw InputError(path + ": no such file");
    }
    if (std::filesystem::is_directory(status))
    {
        throw InputError(path + ": is a directory");
    }
    // Tested before it is opened: to open a pipe is to wait for the other end.
    if (!std::filesystem::is_regular_file(status))
    {
        throw InputError(path + ": is not a file");
    }
    std::ifstream stream(path, std::ios::binary);
    if (!stream)
    {
        throw InputError(path + ": cannot be opened");
    }
    std::array<char, 3> start{};
    stream.read(start.data(), start.size());
    if (!stream || start != std::array<char, 3>{'\xEF', '\xBB', '\xBF'})
    {
        stream.clear();
        stream.seekg(0);
    }
    return stream;
}

} // namespace

std::vector<NumberLine> read_number_lines(std::string const& path)
{
    auto stream = open_text(path);
    std::vector<NumberLine> lines;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        NumberLine numbers;
        numbers.place = fmt::format("{}: line {}", path, number);
        if (!parse_numbers(line, numbers.numbers))
        {
            throw InputError(numbers.place + ": is not a list of numbers");
        }
        if (!numbers.numbers.empty())
        {
            lines.push_back(std::move(numbers));
        }
    }
    if (stream.bad())
    {
        throw InputError(path + ": cannot be read");
    }
    return lines;
}

} // namespace veld
