#pragma once

#include "algorithmVeld/common/files/AtomicFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <type_traits>
#include <vector>

/// \file
/// Binary files with a checksum: little-endian scalars and arrays, and the CRC-32 of all of them in
/// the last four bytes.
///
/// An array of structures is written as the scalars that they consist of, so that
/// `array<float>(points)` takes a vector of `Vector3f`.

namespace OrvaneAlgorithm::detail
{

inline bool host_is_little_endian()
{
    std::uint16_t const one = 1;
    unsigned char first = 0;
    std::memcpy(&first, &one, 1);
    return first == 1;
}

/// Turns the bytes of each scalar round.
template <typename Scalar>
void reverse_each(void* data, std::size_t n)
{
    auto* bytes = static_cast<unsigned char*>(data);
    for (std::size_t i = 0; i < n; ++i, bytes += sizeof(Scalar))
    {
        std::reverse(bytes, bytes + sizeof(Scalar));
    }
}

/// The same where the host keeps them the other way than files do.
template <typename Scalar>
void swap_bytes_if_needed(void* data, std::size_t n)
{
    if (!host_is_little_endian())
    {
        reverse_each<Scalar>(data, n);
    }
}

/// How many scalars an element of an array consists of.
template <typename Scalar, typename Element>
constexpr std::size_t scalars_of()
{
    static_assert(std::is_arithmetic_v<Scalar> && sizeof(Element) % sizeof(Scalar) == 0,
                  "an element consists of scalars of one type");
    return sizeof(Element) / sizeof(Scalar);
}

/// Writes a file that replaces an existing one only when it is complete. Errors are kept and come
/// out at the end.
class BinaryWriter
{
public:
    explicit BinaryWriter(std::filesystem::path const& target) : file_(target) {}

    template <typename Scalar>
    void scalar(Scalar value)
    {
        elements<Scalar>(&value, 1);
    }

    /// Writes `n` elements without their number.
    template <typename Scalar, typename Element>
    void elements(Element const* data, std::size_t n)
    {
        std::size_t const n_scalars = n * scalars_of<Scalar, Element>();
        if (host_is_little_endian())
        {
            bytes(data, n_scalars * sizeof(Scalar));
            return;
        }
        std::vector<unsigned char> copy(n_scalars * sizeof(Scalar));
        std::memcpy(copy.data(), static_cast<void const*>(data), copy.size());
        swap_bytes_if_needed<Scalar>(copy.data(), n_scalars);
        bytes(copy.data(), copy.size());
    }

    /// Writes the number of elements as 64 bits, and the elements.
    template <typename Scalar, typename Element>
    void array(std::vector<Element> const& values)
    {
        scalar<std::uint64_t>(values.size());
        elements<Scalar>(values.data(), values.size());
    }

    /// Writes the checksum and moves the file to its place.
    /// \return false if anything of it could not be written; there is no new file then
    bool finish();

    /// Why not; none where the system did not say.
    std::error_code const& error() const { return file_.error(); }

private:
    void bytes(void const* data, std::size_t n);

    AtomicFile file_;
    std::uint32_t checksum_ = 0;
};

/// Reads what `BinaryWriter` writes. Memory is taken only for what the file really holds. After the
/// first failure everything reads as zero or empty, so it is enough to ask at the end.
class BinaryReader
{
public:
    explicit BinaryReader(std::filesystem::path const& path);

    /// Whether there is a file that can be read.
    bool is_open() const { return is_open_; }
    /// Bytes that are left before the checksum.
    std::uint64_t remaining() const { return is_good_ ? remaining_ : 0; }
    /// Takes note that what was read makes no sense.
    void fail() { is_good_ = false; }

    template <typename Scalar>
    Scalar scalar()
    {
        Scalar value{};
        elements<Scalar>(&value, 1);
        return is_good_ ? value : Scalar{};
    }

    /// Reads `n` elements to where there is room for them.
    template <typename Scalar, typename Element>
    void elements(Element* data, std::size_t n)
    {
        if (!has_room_for<Element>(n))
        {
            fail();
            return;
        }
        std::size_t const n_bytes = n * sizeof(Element);
        bytes(data, n_bytes);
        remaining_ -= n_bytes;
        swap_bytes_if_needed<Scalar>(data, n * scalars_of<Scalar, Element>());
    }

    /// Reads an array with its length; leaves `values` empty if that much cannot be read.
    template <typename Scalar, typename Element>
    void array(std::vector<Element>& values)
    {
        values.clear();
        auto const n = scalar<std::uint64_t>();
        if (!has_room_for<Element>(n))
        {
            fail();
            return;
        }
        values.resize(static_cast<std::size_t>(n));
        elements<Scalar>(values.data(), values.size());
        if (!is_good_)
        {
            values.clear();
        }
    }

    /// \return true if everything could be read, nothing is left and the checksum is right
    bool finish();

    /// Whether the file still holds that many elements.
    template <typename Element>
    bool has_room_for(std::uint64_t n) const
    {
        return n <= remaining() / sizeof(Element) && is_good_;
    }

private:
    void bytes(void* data, std::size_t n);

    std::ifstream stream_;
    bool is_open_ = false;
    bool is_good_ = false;
    std::uint64_t remaining_ = 0;
    std::uint32_t checksum_ = 0;
};

} // namespace OrvaneAlgorithm::detail
