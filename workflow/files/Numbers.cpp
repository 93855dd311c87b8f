#include "workflow/files/Numbers.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace veld
{

namespace
{

template <typename Number>
bool parse_whole_text(std::string const& text, Number& number)
{
    char const* const end = text.data() + text.size();
    char const* begin = text.data();
    if (text.size() > 1 && text[0] == '+' && text[1] != '-')
    {
        ++begin; // from_chars knows the minus only
    }
    Number value{};
    auto const result = std::from_chars(begin, end, value);
    if (result.ec != std::errc() || result.ptr != end)
    {
        return false;
    }
    number = value;
    return true;
}

} // namespace

bool parse_number(std::string const& text, int& number)
{
    return parse_whole_text(text, number);
}

bool parse_number(std::string const& text, double& number)
{
    double value = 0.0;
    if (!parse_whole_text(text, value) || !std::isfinite(value))
    {
        return false;
    }
    number = value;
    return true;
}

bool parse_number(std::string const& text, float& number)
{
    // By way of double, so that a number too small for a float is 0 and not an error.
    double value = 0.0;
    if (!parse_number(text, value) || std::abs(value) > std::numeric_limits<float>::max())
    {
        return false;
    }
    number = static_cast<float>(value);
    return true;
}

} // namespace veld
