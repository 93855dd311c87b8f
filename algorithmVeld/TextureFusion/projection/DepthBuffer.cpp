#include "algorithmVeld/TextureFusion/projection/DepthBuffer.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

void DepthBuffer::begin_view(int width, int height)
{
    width_ = width;
    height_ = height;
    // The frame's two columns, and a byte that may be read behind the last pixel.
    mask_width_ = (static_cast<std::size_t>(width) + 2) / 8 + 2;
    depths_.resize(std::max(depths_.size(), offset(0, height)));
    mask_.assign(mask_width_ * (static_cast<std::size_t>(height) + 2), 0);
}

void DepthBuffer::insert(int x, int y, float depth)
{
    float& held = depths_[offset(x, y)];
    unsigned const column = static_cast<unsigned>(x) + 1;
    std::uint8_t& byte = mask_[mask_row(y) + column / 8];
    unsigned const bit = 1U << column % 8;
    held = (byte & bit) == 0 ? depth : std::min(held, depth);
    byte = static_cast<std::uint8_t>(byte | bit);
}

void DepthBuffer::end_view()
{
    for (int y = 0; y < height_ && dilation_ == Dilation::IN_PLACE; ++y)
    {
        for (int x = 0; x < width_; ++x)
        {
            if (holds_a_depth(x, y))
            {
                hand_on(x, y);
            }
        }
    }
}

bool DepthBuffer::holds_a_depth(int x, int y) const
{
    unsigned const column = static_cast<unsigned>(x) + 1;
    return (mask_[mask_row(y) + column / 8] >> column % 8 & 1U) != 0;
}

/// Gives the depth of a pixel to those around it that hold a farther one. The others hold no
/// vertex, so nobody would look there.
void DepthBuffer::hand_on(int x, int y)
{
    float const depth = depths_[offset(x, y)];
    unsigned const held = held_around(x, y);
    for (int i = 0; i < 9; ++i)
    {
        if ((held >> static_cast<unsigned>(i) & 1U) != 0)
        {
            float& other = depths_[offset(x + i % 3 - 1, y + i / 3 - 1)];
            if (other > depth + dis_thr_)
            {
                other = depth;
            }
        }
    }
}

bool DepthBuffer::is_visible(int x, int y, float depth, float nearest) const
{
    return nearest + dis_thr_ > depth && (dilation_ == Dilation::IN_PLACE ||
                                          !(nearest > nearest_around(x, y, nearest) + dis_thr_));
}

/// The nearest depth of the 3 x 3 pixels around one that holds a depth.
float DepthBuffer::nearest_around(int x, int y, float nearest) const
{
    constexpr unsigned CENTRE = 1U << 4U;
    unsigned const held = held_around(x, y);
    for (int i = 0; i < 9 && held != CENTRE; ++i)
    {
        if ((held >> static_cast<unsigned>(i) & 1U) != 0)
        {
            nearest = std::min(nearest, depths_[offset(x + i % 3 - 1, y + i / 3 - 1)]);
        }
    }
    return nearest;
}

/// Which of the 3 x 3 pixels around one hold a depth, as bits: row by row, the lowest one first.
unsigned DepthBuffer::held_around(int x, int y) const
{
    // The frame's column stands left of x = 0, so column x of the mask is the pixel before x.
    unsigned const column = static_cast<unsigned>(x);
    std::uint8_t const* bytes = &mask_[mask_row(y - 1) + column / 8];
    unsigned held = 0;
    for (unsigned row = 0; row < 3; ++row, bytes += mask_width_)
    {
        unsigned const pixels = bytes[0] | static_cast<unsigned>(bytes[1]) << 8U;
        held |= (pixels >> column % 8 & 7U) << 3 * row;
    }
    return held;
}

} // namespace OrvaneAlgorithm::detail
