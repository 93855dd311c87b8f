#include "algorithmVeld/common/image_io.h"

#include "algorithmVeld/common/files/AtomicFile.h"
#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/image_files/image_codecs.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <limits>

namespace OrvaneAlgorithm
{

namespace
{

using detail::Bytes;
using detail::DepthImage;
using detail::RgbImage;

using WriteImage = bool (*)(std::ostream&, RgbImage const&);

template <typename AnyImage>
using ReadImage = bool (*)(Bytes const&, AnyImage&);

/// \return null for an unknown extension
WriteImage writer_for(std::filesystem::path const& path)
{
    std::string const extension = path.extension().string();
    auto const is = [&](char const* known)
    { return detail::equal_ignoring_case(extension, known); };
    if (is(".png"))
    {
        return detail::write_png;
    }
    return is(".jpg") || is(".jpeg") ? detail::write_jpeg : nullptr;
}

template <std::size_t N>
bool begins_with(Bytes const& bytes, std::array<unsigned char, N> const& beginning)
{
    return bytes.size() >= N && std::equal(beginning.begin(), beginning.end(), bytes.begin());
}

bool is_png(Bytes const& beginning)
{
    return begins_with<8>(beginning, {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'});
}

/// \return null for a format that is neither
ReadImage<RgbImage> rgb_reader_for(Bytes const& beginning)
{
    if (is_png(beginning))
    {
        return detail::read_png;
    }
    return begins_with<3>(beginning, {0xff, 0xd8, 0xff}) ? detail::read_jpeg : nullptr;
}

/// Reads `n` bytes more. \return false if there are not so many
bool read_bytes(std::ifstream& stream, std::size_t n, Bytes& bytes)
{
    std::size_t const before = bytes.size();
    bytes.resize(before + n);
    stream.read(reinterpret_cast<char*>(bytes.data() + before), static_cast<std::streamsize>(n));
    return static_cast<bool>(stream);
}

/// \return null for a format that is no PNG
ReadImage<DepthImage> depth_reader_for(Bytes const& beginning)
{
    return is_png(beginning) ? detail::read_png_depth : nullptr;
}

/// \param reader_for tells by a file's first bytes what reads it; null if nothing does
/// \return as `read_rgb_image`
template <typename AnyImage>
int read_image(std::string const& path, ReadImage<AnyImage> (*reader_for)(Bytes const&),
               AnyImage& image)
{
    constexpr std::uintmax_t BEGINNING = 8;
    constexpr std::uintmax_t LONGEST_FILE = std::numeric_limits<std::int32_t>::max();
    image = {};
    // Opening a pipe would wait for its writer.
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
    {
        return 1;
    }
    std::ifstream stream(std::filesystem::path(path), std::ios::binary);
    std::uintmax_t const size = std::filesystem::file_size(path, error);
    Bytes bytes;
    if (!stream || error || size < BEGINNING || !read_bytes(stream, BEGINNING, bytes))
    {
        return 1;
    }
    auto const read = reader_for(bytes);
    if (read == nullptr)
    {
        return 1;
    }
    detail::ProgressPart const whole(0.0, 1.0);
    return size <= LONGEST_FILE &&
                   read_bytes(stream, static_cast<std::size_t>(size - BEGINNING), bytes) &&
                   read(bytes, image)
               ? 0
               : 2;
}

} // namespace

int write_rgb_image(std::string const& path, Image<3, unsigned char> const& image)
{
    WriteImage const write = writer_for(path);
    if (write == nullptr || image.empty())
    {
        return 1;
    }
    detail::ProgressPart const whole(0.0, 1.0);
    detail::AtomicFile file(path);
    return file.stream() && write(file.stream(), image) && file.commit() ? 0 : 2;
}

int read_rgb_image(std::string const& path, Image<3, unsigned char>& image)
{
    return read_image(path, rgb_reader_for, image);
}

int read_depth_image(std::string const& path, Image<1, std::uint16_t>& image)
{
    return read_image(path, depth_reader_for, image);
}

} // namespace OrvaneAlgorithm
