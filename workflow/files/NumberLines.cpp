#include "workflow/files/NumberLines.h"

#include "workflow/Error.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/Numbers.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <locale>
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

} // namespace

std::vector<NumberLine> read_number_lines(std::filesystem::path const& path)
{
    auto stream = open_input(path);
    std::vector<NumberLine> lines;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        NumberLine numbers;
        numbers.place = fmt::format("{}: line {}", shown(path), number);
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
        throw InputError(shown(path) + ": cannot be read");
    }
    return lines;
}

} // namespace veld
