#include "algorithmVeld/reconstruction/frames/TextScanner.h"

#include "algorithmVeld/common/files/TextCursor.h"

#include <charconv>
#include <cstring>
#include <filesystem>
#include <limits>
#include <string_view>
#include <system_error>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::size_t FIRST_BUFFER = std::size_t{1} << 18U;

/// Where a number ends this near to the end of what is in memory, the next characters may belong to
/// it: the exponent of "1e+10" is none before its digits are there.
constexpr std::ptrdiff_t LOOK_AHEAD = 16;

bool is_space(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The value of a number that the type cannot hold.
float beyond_range(std::string_view text, float value)
{
    parse_number(text, value);
    return value;
}

int beyond_range(std::string_view text, int /*value*/)
{
    return text.front() == '-' ? std::numeric_limits<int>::min() : std::numeric_limits<int>::max();
}

} // namespace

TextScanner::TextScanner(std::string const& path)
{
    std::error_code error;
    if (std::filesystem::is_regular_file(path, error))
    {
        file_.open(path, std::ios::binary);
        is_open_ = file_.is_open();
    }
    buffer_.resize(is_open_ ? FIRST_BUFFER : 0);
}

bool TextScanner::next(float& number)
{
    return next_number(number);
}

bool TextScanner::next(int& number)
{
    return next_number(number);
}

template <typename Number>
bool TextScanner::next_number(Number& number)
{
    if (!skip_space())
    {
        return false;
    }
    for (;;)
    {
        char const* begin = buffer_.data() + begin_;
        char const* const end = buffer_.data() + end_;
        if (end - begin > 1 && begin[0] == '+' && begin[1] != '-')
        {
            ++begin; // from_chars knows the minus only
        }
        Number value{};
        auto const [stop, error] = std::from_chars(begin, end, value);
        if (end - stop < LOOK_AHEAD && read_on())
        {
            continue;
        }
        if (error == std::errc::invalid_argument)
        {
            return false;
        }
        std::string_view const text(begin, static_cast<std::size_t>(stop - begin));
        number = error == std::errc() ? value : beyond_range(text, value);
        begin_ = static_cast<std::size_t>(stop - buffer_.data());
        return true;
    }
}

bool TextScanner::skip_word(std::size_t longest)
{
    if (!skip_space())
    {
        return false;
    }
    for (std::size_t n = 0; n < longest && has_more() && !is_space(buffer_[begin_]); ++n)
    {
        ++begin_;
    }
    return true;
}

std::string TextScanner::line(std::size_t longest)
{
    std::string text;
    while (text.size() < longest && has_more())
    {
        char const c = buffer_[begin_++];
        if (c == '\n')
        {
            break;
        }
        text += c;
    }
    return text;
}

bool TextScanner::skip_space()
{
    while (has_more())
    {
        if (!is_space(buffer_[begin_]))
        {
            return true;
        }
        ++begin_;
    }
    return false;
}

/// Brings what is left to the front and reads behind it. \return false at the end of the file
bool TextScanner::read_on()
{
    if (!is_open_ || !file_)
    {
        return false;
    }
    if (begin_ == 0 && end_ == buffer_.size())
    {
        buffer_.resize(2 * buffer_.size()); // one value fills it
    }
    std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
    end_ -= begin_;
    begin_ = 0;
    file_.read(buffer_.data() + end_, static_cast<std::streamsize>(buffer_.size() - end_));
    auto const n_read = static_cast<std::size_t>(file_.gcount());
    end_ += n_read;
    return n_read > 0;
}

} // namespace OrvaneAlgorithm::detail
