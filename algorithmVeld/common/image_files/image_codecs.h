#pragma once

#include "algorithmVeld/common/Image.h"

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <vector>

/// \file
/// JPEG and PNG as streams of bytes, on libjpeg and libpng.

namespace OrvaneAlgorithm::detail
{

using RgbImage = Image<3, unsigned char>;
using DepthImage = Image<1, std::uint16_t>;
using Bytes = std::vector<unsigned char>;

/// Write an image. \return false if the stream or the format cannot take it
bool write_jpeg(std::ostream& stream, RgbImage const& image);
bool write_png(std::ostream& stream, RgbImage const& image);

/// Read an image. \return false, with the image untouched, if the bytes are damaged or cut off, or
/// hold no image that can be read
bool read_jpeg(Bytes const& bytes, RgbImage& image);
bool read_png(Bytes const& bytes, RgbImage& image);
/// One grey channel of 16 bits, and nothing else.
bool read_png_depth(Bytes const& bytes, DepthImage& image);

/// Runs a step that calls a C library, whose errors come back as a jump to `jump`. The jump skips
/// destructors, so the step makes no object that needs one.
/// \return false after an error
template <typename Step>
bool runs_without_error(std::jmp_buf& jump, Step const& step)
{
    if (setjmp(jump) != 0)
    {
        return false;
    }
    step();
    return true;
}

} // namespace OrvaneAlgorithm::detail
