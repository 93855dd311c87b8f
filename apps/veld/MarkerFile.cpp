#include "MarkerFile.h"

#include "Errors.h"
#include "Numbers.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::Vector3f;

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

void add_marker(Markers& markers, std::vector<float> const& numbers, std::string const& place,
                bool with_normals)
{
    if (numbers.size() != 6 && (with_normals || numbers.size() != 3))
    {
        throw InputError(place + (with_normals ? ": a marker with its normal is 'x y z nx ny nz'"
                                               : ": a marker is 'x y z' or 'x y z nx ny nz'"));
    }
    markers.points.emplace_back(numbers[0], numbers[1], numbers[2]);
    if (with_normals)
    {
        Vector3f const normal(numbers[3], numbers[4], numbers[5]);
        if (!(normal.stableNorm() > 0.0F))
        {
            throw InputError(place + ": the normal has no length");
        }
        markers.normals.push_back(normal.stableNormalized());
    }
}

/// The file, behind the byte order mark that some editors write.
std::ifstream open_markers(std::string const& path)
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

Markers read_markers(std::string const& path, bool with_normals)
{
    auto stream = open_markers(path);
    Markers markers;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        std::string const place = fmt::format("{}: line {}", path, number);
        std::vector<float> numbers;
        if (!parse_numbers(line, numbers))
        {
            throw InputError(place + ": is not a list of numbers");
        }
        if (!numbers.empty())
        {
            add_marker(markers, numbers, place, with_normals);
        }
    }
    if (stream.bad())
    {
        throw InputError(path + ": cannot be read");
    }
    if (markers.points.empty())
    {
        throw InputError(path + ": holds no marker");
    }
    return markers;
}

} // namespace veld
