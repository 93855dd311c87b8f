#pragma once

namespace OrvaneAlgorithm::detail
{

/// Marks the known pixels of a rectangle.
constexpr unsigned char KNOWN_PIXEL = 128;

/// A level as a byte holds it: kept between 0 and 255 first, then truncated.
inline unsigned char clamped_colour(float level)
{
    return level > 0.0F ? static_cast<unsigned char>(level < 255.0F ? level : 255.0F)
                        : static_cast<unsigned char>(0);
}

} // namespace OrvaneAlgorithm::detail
