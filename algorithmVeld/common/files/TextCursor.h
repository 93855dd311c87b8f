#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace OrvaneAlgorithm::detail
{

/// Walks through a text line by line and word by word. Lines end with a line feed, a carriage
/// return or both.
class TextCursor
{
public:
    explicit TextCursor(std::string_view text) : rest_(text) {}

    /// Goes to the next line. \return false at the end of the text
    bool next_line();
    /// Goes to the next line that has a word. \return false if there is none
    bool next_line_with_words();
    /// The next word of the line, empty at the line's end.
    std::string_view next_word();
    /// What is left of the line.
    std::string_view rest_of_line() const { return line_; }
    /// The text behind the line.
    std::string_view rest() const { return rest_; }
    /// The number of the line, from 1.
    std::size_t line_number() const { return line_number_; }

private:
    std::string_view rest_;
    std::string_view line_;
    std::size_t line_number_ = 0;
};

/// The text behind the mark with which some editors begin UTF-8.
std::string_view without_byte_order_mark(std::string_view text);

/// Whole words as numbers, whatever the language of the process. A number too large for the type
/// becomes infinite, one too small becomes zero, both with its sign.
/// \return false if the word is no number
bool parse_number(std::string_view word, float& number);
bool parse_number(std::string_view word, double& number);
/// \return false if the word is no integer or does not fit
bool parse_number(std::string_view word, std::int64_t& number);

/// A number that stands somewhere in a text.
struct FoundNumber
{
    int value = 0;           ///< The largest `int` if it is larger.
    std::string_view digits; ///< Where it stands in the text, leading zeros included.
};

/// The first run of the digits 0 to 9 in a text, if there is one. A sign does not count.
std::optional<FoundNumber> first_number(std::string_view text);

/// ASCII only, so that the language of the process does not matter.
bool equal_ignoring_case(std::string_view a, std::string_view b);

} // namespace OrvaneAlgorithm::detail
