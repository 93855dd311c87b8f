#pragma once

#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Reads a text file value by value, from front to back and in pieces, so that memory does not grow
/// with the file.
///
/// White space separates values. What is no value of the wanted kind is left where it is, so that
/// every further number is refused, too: a damaged file gives what stands before the damage. The
/// language of the process does not matter.
class TextScanner
{
public:
    /// Opens a file. Only plain files are opened: another one may never come to its end.
    explicit TextScanner(std::string const& path);

    bool is_open() const { return is_open_; }

    // The number that the text goes on with, up to the first character that does not belong to it.
    // A value too large for the type becomes infinite or the type's last one, one too small 0.
    // \return false, with `number` as it was, if there is none
    bool next(float& number);
    bool next(int& number);

    /// Skips a word, or the first `longest` characters of it. \return false if there is none
    bool skip_word(std::size_t longest);

    /// The rest of the line without its end, or the next `longest` characters of it; empty at the
    /// end of the file.
    std::string line(std::size_t longest);

private:
    template <typename Number>
    bool next_number(Number& number);
    bool skip_space();
    bool read_on();
    bool has_more() { return begin_ < end_ || read_on(); }

    std::ifstream file_;
    bool is_open_ = false;
    std::vector<char> buffer_;
    std::size_t begin_ = 0; ///< of what is not read yet, in the buffer
    std::size_t end_ = 0;
};

} // namespace OrvaneAlgorithm::detail
