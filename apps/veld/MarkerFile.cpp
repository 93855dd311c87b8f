#include "MarkerFile.h"

#include "Errors.h"
#include "InputFile.h"
#include "Numbers.h"

#include <fmt/format.h>

#include <locale>
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

} // namespace

Markers read_markers(std::string const& path, bool with_normals)
{
    auto stream = open_input(path);
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
