#include "workflow/files/ImageHeader.h"

#include "workflow/files/InputFile.h"

#include <fmt/format.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>

namespace veld
{

namespace
{

/// More than the library reads.
constexpr std::uint64_t MOST_PIXELS = std::uint64_t{1} << 28U;

/// What a header says; all 0 where there is none.
struct ImageHeader
{
    std::uint64_t width = 0;
    std::uint64_t height = 0;
    int channels = 0;
};

/// The next bytes as one number, the highest first; 0 behind the end.
std::uint64_t take_number(std::istream& stream, int bytes)
{
    std::uint64_t number = 0;
    for (int i = 0; i < bytes; ++i)
    {
        int const byte = stream.get();
        number = number * 256U + (stream ? static_cast<std::uint64_t>(byte) : 0U);
    }
    return stream ? number : 0U;
}

/// Behind the eight bytes by which PNG files are told stand the length and the name of the header.
ImageHeader read_png_header(std::istream& stream)
{
    stream.seekg(16);
    ImageHeader header;
    header.width = take_number(stream, 4);
    header.height = take_number(stream, 4);
    return header;
}

/// Whether a segment of a JPEG file is the header of a frame: C0 to CF without three others.
bool is_frame(std::uint64_t marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Goes over the segments to the header of the frame.
ImageHeader read_jpeg_header(std::istream& stream)
{
    stream.seekg(2);
    while (stream)
    {
        std::uint64_t const marker = take_number(stream, 2);
        std::uint64_t const length = take_number(stream, 2);
        if (marker / 256U != 0xFF || length < 2)
        {
            break;
        }
        if (is_frame(marker % 256U))
        {
            take_number(stream, 1);
            ImageHeader header;
            header.height = take_number(stream, 2);
            header.width = take_number(stream, 2);
            header.channels = static_cast<int>(take_number(stream, 1));
            return header;
        }
        stream.seekg(static_cast<std::streamoff>(length - 2), std::ios::cur);
    }
    return {};
}

} // namespace

std::string why_no_image(std::filesystem::path const& path)
{
    constexpr int CHANNELS_FOR_PRINT = 4;
    auto stream = open_input(path);
    bool const is_png = stream.get() == 0x89;
    ImageHeader const header = is_png ? read_png_header(stream) : read_jpeg_header(stream);
    if (header.width * header.height > MOST_PIXELS)
    {
        return fmt::format("its header says {} x {} pixels, more than are taken", header.width,
                           header.height);
    }
    return header.channels == CHANNELS_FOR_PRINT ? "has colours for print (CMYK): convert it to RGB"
                                                 : "is damaged or cut off";
}

} // namespace veld
