#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace OrvaneAlgorithm::detail
{

/// Walks through binary data of either byte order.
class ByteCursor
{
public:
    ByteCursor(std::string_view bytes, bool big_endian) : rest_(bytes), big_endian_(big_endian) {}

    std::size_t left() const { return rest_.size(); }

    /// Reads a number of at most `left()` bytes.
    template <typename Number>
    Number take()
    {
        unsigned char bytes[sizeof(Number)];
        std::memcpy(bytes, rest_.data(), sizeof(Number));
        rest_.remove_prefix(sizeof(Number));
        return assemble<Number>(bytes);
    }

    /// Goes on by at most `left()` bytes.
    void skip(std::size_t n) { rest_.remove_prefix(n); }

    std::string_view rest() const { return rest_; }

private:
    template <std::size_t size>
    struct Bits;

    template <typename Number>
    Number assemble(unsigned char const* bytes) const
    {
        using Unsigned = typename Bits<sizeof(Number)>::Type;
        Unsigned bits = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i)
        {
            std::size_t const place = big_endian_ ? sizeof(Number) - 1 - i : i;
            bits = static_cast<Unsigned>(bits | static_cast<Unsigned>(bytes[i]) << (8 * place));
        }
        Number number;
        std::memcpy(&number, &bits, sizeof(Number));
        return number;
    }

    std::string_view rest_;
    bool big_endian_;
};

template <>
struct ByteCursor::Bits<1>
{
    using Type = std::uint8_t;
};
template <>
struct ByteCursor::Bits<2>
{
    using Type = std::uint16_t;
};
template <>
struct ByteCursor::Bits<4>
{
    using Type = std::uint32_t;
};
template <>
struct ByteCursor::Bits<8>
{
    using Type = std::uint64_t;
};

} // namespace OrvaneAlgorithm::detail
