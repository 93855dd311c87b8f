#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>

namespace veld
{

/// A checksum of texts and files (XXH3, 128 bits) that tells whether anything has changed. It is no
/// protection against whoever wants it to be the same.
class Checksum
{
public:
    Checksum();
    ~Checksum();
    Checksum(Checksum const&) = delete;
    Checksum& operator=(Checksum const&) = delete;

    /// A further text, so that "ab" and "c" are not "a" and "bc".
    Checksum& add(std::string const& text);

    /// The content of a further file. Throws `InputError` where it cannot be read.
    Checksum& add_file(std::filesystem::path const& path);

    /// Of all that was added: 32 hexadecimal digits.
    std::string text() const;

private:
    struct State;

    void add_bytes(void const* data, std::size_t n);

    std::unique_ptr<State> state_;
};

/// The checksum of one file alone.
std::string checksum_of(std::filesystem::path const& path);

} // namespace veld
