#include "algorithmVeld/common/files/BinaryFile.h"

#include "algorithmVeld/common/RunScope.h"

#include <zlib.h>

#include <algorithm>
#include <type_traits>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The checksum of what was read or written so far and of the next bytes.
std::uint32_t checksum_with(std::uint32_t checksum, void const* data, std::size_t n)
{
    return static_cast<std::uint32_t>(
        crc32_z(checksum, static_cast<unsigned char const*>(data), n));
}

/// Calls `work(bytes, n)` with one part of an array after the other, as long as the run goes on.
template <typename Void, typename Work>
void for_each_block(Void* data, std::size_t n, Work const& work)
{
    using Byte = std::conditional_t<std::is_const_v<Void>, char const, char>;
    constexpr std::size_t BLOCK = std::size_t{1} << 22U;
    auto* const bytes = static_cast<Byte*>(data);
    for (std::size_t begin = 0; begin < n; begin += BLOCK)
    {
        RunScope::poll();
        work(bytes + begin, std::min(n - begin, BLOCK));
    }
}

} // namespace

// ----------------------------------------------------------------------------------------- writing

bool BinaryWriter::finish()
{
    std::uint32_t const sum = checksum_;
    scalar<std::uint32_t>(sum);
    return file_.commit();
}

void BinaryWriter::bytes(void const* data, std::size_t n)
{
    for_each_block(data, n,
                   [this](char const* block, std::size_t size)
                   {
                       file_.stream().write(block, static_cast<std::streamsize>(size));
                       checksum_ = checksum_with(checksum_, block, size);
                   });
}

// ----------------------------------------------------------------------------------------- reading

BinaryReader::BinaryReader(std::filesystem::path const& path)
{
    std::error_code error;
    // Opening a pipe would wait for its writer.
    if (std::filesystem::is_regular_file(path, error))
    {
        std::uintmax_t const size = std::filesystem::file_size(path, error);
        stream_.open(path, std::ios::binary);
        is_open_ = stream_.is_open() && !error;
        is_good_ = is_open_ && size >= sizeof(std::uint32_t);
        remaining_ = is_good_ ? size - sizeof(std::uint32_t) : 0;
    }
}

bool BinaryReader::finish()
{
    if (remaining() > 0)
    {
        fail();
    }
    std::uint32_t const expected = checksum_;
    std::uint32_t stored = 0;
    if (is_good_)
    {
        bytes(&stored, sizeof stored);
        swap_bytes_if_needed<std::uint32_t>(&stored, 1);
    }
    is_good_ = is_good_ && stored == expected;
    return is_good_;
}

void BinaryReader::bytes(void* data, std::size_t n)
{
    for_each_block(data, n,
                   [this](char* block, std::size_t size)
                   {
                       stream_.read(block, static_cast<std::streamsize>(size));
                       if (!stream_)
                       {
                           fail();
                           return;
                       }
                       checksum_ = checksum_with(checksum_, block, size);
                   });
}

} // namespace OrvaneAlgorithm::detail
