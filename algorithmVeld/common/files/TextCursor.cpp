#include "algorithmVeld/common/files/TextCursor.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string_view without_plus(std::string_view word)
{
    bool const plus = word.size() > 1 && word[0] == '+' && word[1] != '-';
    return plus ? word.substr(1) : word;
}

/// The exponent of a number's text; 0 without one. One that fits no integer stops at a number that
/// no text has digits enough to make good.
std::int64_t exponent_of(std::string_view word)
{
    auto const e = word.find_first_of("eE");
    if (e == std::string_view::npos)
    {
        return 0;
    }
    auto const digits = without_plus(word.substr(e + 1));
    std::int64_t exponent = 0;
    auto const result = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    std::int64_t const largest = std::numeric_limits<std::int64_t>::max() / 2;
    return result.ec == std::errc::result_out_of_range ? (digits[0] == '-' ? -largest : largest)
                                                       : std::clamp(exponent, -largest, largest);
}

/// The places from the decimal point to the first digit that is not zero: 1 for "5.2", -1 for
/// "0.052". The digits, without an exponent, are not all zero.
std::int64_t places_before_point(std::string_view digits)
{
    auto const point = std::min(digits.find('.'), digits.size());
    auto const first = digits.find_first_of("123456789");
    return static_cast<std::int64_t>(point) - static_cast<std::int64_t>(first) +
           (first > point ? 1 : 0);
}

/// A number that the type cannot hold: zero if it is below one, infinite otherwise.
template <typename Number>
Number beyond_range(std::string_view word)
{
    auto const digits = word.substr(0, word.find_first_of("eE"));
    bool const is_small = places_before_point(digits) + exponent_of(word) <= 0;
    Number const size = is_small ? 0 : std::numeric_limits<Number>::infinity();
    return word.front() == '-' ? -size : size;
}

template <typename Number>
bool parse_real(std::string_view word, Number& number)
{
    word = without_plus(word);
    char const* const end = word.data() + word.size();
    auto const [stop, error] = std::from_chars(word.data(), end, number);
    if (error == std::errc::result_out_of_range)
    {
        number = beyond_range<Number>(word);
        return stop == end;
    }
    return error == std::errc() && stop == end;
}

} // namespace

bool TextCursor::next_line()
{
    if (rest_.empty())
    {
        line_ = {};
        return false;
    }
    auto const end = std::min(rest_.find_first_of("\r\n"), rest_.size());
    line_ = rest_.substr(0, end);
    rest_.remove_prefix(end);
    if (!rest_.empty())
    {
        rest_.remove_prefix(rest_.substr(0, 2) == "\r\n" ? 2 : 1);
    }
    ++line_number_;
    return true;
}

bool TextCursor::next_line_with_words()
{
    while (next_line())
    {
        while (!line_.empty() && is_blank(line_.front()))
        {
            line_.remove_prefix(1);
        }
        if (!line_.empty())
        {
            return true;
        }
    }
    return false;
}

std::string_view TextCursor::next_word()
{
    std::size_t begin = 0;
    while (begin < line_.size() && is_blank(line_[begin]))
    {
        ++begin;
    }
    std::size_t end = begin;
    while (end < line_.size() && !is_blank(line_[end]))
    {
        ++end;
    }
    auto const word = line_.substr(begin, end - begin);
    line_.remove_prefix(end);
    return word;
}

std::string_view without_byte_order_mark(std::string_view text)
{
    constexpr std::string_view MARK = "\xEF\xBB\xBF";
    return text.substr(text.substr(0, MARK.size()) == MARK ? MARK.size() : 0);
}

bool parse_number(std::string_view word, float& number)
{
    return parse_real(word, number);
}

bool parse_number(std::string_view word, double& number)
{
    return parse_real(word, number);
}

bool parse_number(std::string_view word, std::int64_t& number)
{
    word = without_plus(word);
    char const* const end = word.data() + word.size();
    auto const [stop, error] = std::from_chars(word.data(), end, number);
    return error == std::errc() && stop == end;
}

std::optional<FoundNumber> first_number(std::string_view text)
{
    constexpr char const* DIGITS = "0123456789";
    auto const begin = text.find_first_of(DIGITS);
    if (begin == std::string_view::npos)
    {
        return std::nullopt;
    }
    auto const end = std::min(text.find_first_not_of(DIGITS, begin), text.size());
    FoundNumber found{std::numeric_limits<int>::max(), text.substr(begin, end - begin)};
    // Leaves the value as it is where the digits make a larger one.
    std::from_chars(text.data() + begin, text.data() + end, found.value);
    return found;
}

bool equal_ignoring_case(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

} // namespace OrvaneAlgorithm::detail
