#pragma once

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/export.h"

#include <string>

namespace OrvaneAlgorithm
{

/// Writes an image as JPEG (quality 95) or PNG, told by the extension of the path (.jpg, .jpeg,
/// .png, in either case). The blue, green, red of memory become the file's red, green, blue.
/// \return 0 on success; otherwise no file is left behind: 1 unknown extension or empty image, 2
/// the
///         file cannot be written
ALGORITHMVELD_API int write_rgb_image(std::string const& path,
                                      Image<3, unsigned char> const& image);

/// Reads a JPEG or PNG file, told by its first bytes. Grey, palette, 16-bit and transparent images
/// become 8-bit colour; transparency is dropped.
/// \return 0 on success; otherwise the image is empty: 1 the file cannot be opened or is neither
///         format, 2 it is damaged or cut off
ALGORITHMVELD_API int read_rgb_image(std::string const& path, Image<3, unsigned char>& image);

} // namespace OrvaneAlgorithm
