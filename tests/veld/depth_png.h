#pragma once

#include <zlib.h>

#include <cstdint>
#include <string>
#include <vector>

/// \file
/// Depth images written without the library.

namespace veld_test
{

inline void append_big_endian(std::string& bytes, std::uint32_t number)
{
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        bytes += static_cast<char>(number >> static_cast<unsigned>(shift) & 0xFFU);
    }
}

inline void append_chunk(std::string& file, std::string const& name, std::string const& data)
{
    append_big_endian(file, static_cast<std::uint32_t>(data.size()));
    std::string const body = name + data;
    file += body;
    append_big_endian(
        file, static_cast<std::uint32_t>(crc32(0, reinterpret_cast<Bytef const*>(body.data()),
                                               static_cast<uInt>(body.size()))));
}

/// A grey PNG file of 16 bits.
inline std::string png_text(int width, int height, std::vector<int> const& values)
{
    std::string rows;
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (i % static_cast<std::size_t>(width) == 0)
        {
            rows += '\0';
        }
        rows += static_cast<char>(values[i] >> 8);
        rows += static_cast<char>(values[i] & 0xFF);
    }
    uLongf size = compressBound(static_cast<uLong>(rows.size()));
    std::string packed(size, '\0');
    compress(reinterpret_cast<Bytef*>(packed.data()), &size,
             reinterpret_cast<Bytef const*>(rows.data()), static_cast<uLong>(rows.size()));
    packed.resize(size);
    std::string file = "\x89PNG\r\n\x1a\n";
    std::string header;
    append_big_endian(header, static_cast<std::uint32_t>(width));
    append_big_endian(header, static_cast<std::uint32_t>(height));
    append_chunk(file, "IHDR", header + std::string("\x10\0\0\0\0", 5));
    append_chunk(file, "IDAT", packed);
    append_chunk(file, "IEND", "");
    return file;
}

} // namespace veld_test
