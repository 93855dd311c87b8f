#pragma once

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/export.h"

#include <cstdint>
#include <string>

namespace OrvaneAlgorithm
{

/// Writes an image as JPEG (quality 95, colour in full resolution) or PNG, told by the extension of
/// the path (.jpg, .jpeg, .png, in either case). The blue, green, red of memory become the file's
/// red, green, blue. An existing file is replaced only by a complete one.
/// \return 0 on success; otherwise nothing new is left behind: 1 unknown extension or empty image,
///         2 the file cannot be written, or a side is longer than the format takes (65 500 pixels
///         for JPEG, a million for PNG)
ALGORITHMVELD_API int write_rgb_image(std::string const& path,
                                      Image<3, unsigned char> const& image);

/// Reads a JPEG or PNG file, told by its first bytes. Grey, palette, 16-bit and transparent images
/// become 8-bit colour; transparency is dropped. Pixels come as they are stored: colour profiles
/// and notes on how the camera was held are not applied.
/// \return 0 on success; otherwise the image is empty: 1 the file cannot be opened or is neither
///         format, 2 it is damaged or cut off, has more than 2^28 pixels, or holds no grey or RGB
///         (JPEG for print, CMYK)
ALGORITHMVELD_API int read_rgb_image(std::string const& path, Image<3, unsigned char>& image);

/// Reads a depth image: a PNG file of one grey channel of 16 bits. Values come as they are stored.
/// \return 0 on success; otherwise the image is empty: 1 the file cannot be opened or is no PNG,
///         2 it is damaged or cut off, has more than 2^28 pixels, or other channels
ALGORITHMVELD_API int read_depth_image(std::string const& path, Image<1, std::uint16_t>& image);

} // namespace OrvaneAlgorithm
