#include "fuzz/support/TextMutator.h"

#include <cctype>
#include <iterator>
#include <random>
#include <utility>
#include <vector>

namespace veld_fuzz
{

namespace
{

constexpr char const* WORDS[] = {
    "0",     "1",          "-1",         "2",          "3",          "4",
    "-0",    "0.5",        "1e-9",       "255",        "256",        "1000",
    "1e9",   "1e38",       "1e39",       "1e308",      "1e999",      "-1e308",
    "65536", "2147483647", "2147483648", "4294967295", "4294967296", "18446744073709551616",
    "nan",   "inf",        "-inf",       "true",       "false",      "null",
    "[]",    "{}",         "x"};

bool is_of_word(char c)
{
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '-' || c == '+' ||
           c == '_';
}

/// Where words begin and how long they are.
std::vector<std::pair<std::size_t, std::size_t>> words_in(std::string const& text)
{
    std::vector<std::pair<std::size_t, std::size_t>> words;
    for (std::size_t i = 0; i < text.size();)
    {
        std::size_t end = i;
        while (end < text.size() && is_of_word(text[end]))
        {
            ++end;
        }
        if (end > i)
        {
            words.emplace_back(i, end - i);
        }
        i = end + 1;
    }
    return words;
}

} // namespace

std::string with_another_word(std::string const& text, unsigned seed)
{
    auto const words = words_in(text);
    if (words.empty())
    {
        return text;
    }
    std::minstd_rand random(seed);
    auto const [begin, size] = words[random() % words.size()];
    auto const [other, other_size] = words[random() % words.size()];
    bool const is_own = random() % 4 == 0;
    std::string const word =
        is_own ? text.substr(other, other_size) : WORDS[random() % std::size(WORDS)];
    return text.substr(0, begin) + word + text.substr(begin + size);
}

} // namespace veld_fuzz
