#include "algorithmVeld/TextureFusion/projection/DepthBuffer.h"

#include <algorithm>
#include <array>

namespace OrvaneAlgorithm::detail
{

void DepthBuffer::begin_view(int width, int height)
{
    for (std::size_t const pixel : written_)
    {
        depths_[pixel] = NONE;
    }
    written_.clear();
    width_ = width;
    height_ = height;
    std::size_t const n = offset(0, height);
    if (n > depths_.size())
    {
        depths_.resize(n, NONE);
    }
}

bool DepthBuffer::insert(int x, int y, float depth)
{
    std::size_t const pixel = offset(x, y);
    float const before = depths_[pixel];
    bool const is_empty = before == NONE;
    if (is_empty)
    {
        written_.push_back(pixel);
    }
    if (before > depth)
    {
        depths_[pixel] = depth;
    }
    return is_empty || before + dis_thr_ > depth;
}

/// Dilation goes over an image in four passes, each over every fourth row, and always hands on what
/// a pixel held before the first. So a pixel's last writer decides, not the nearest one: it is the
/// last of its 3 x 3 pixels in the order of passes and then of columns.
float DepthBuffer::dilated(int x, int y) const
{
    using RowOrder = std::array<int, 3>;
    constexpr std::array<RowOrder, 4> ROW_ORDERS{
        RowOrder{0, 1, -1}, RowOrder{-1, 0, 1}, RowOrder{-1, 0, 1}, RowOrder{1, -1, 0}};

    float const before = depths_[offset(x, y)];
    float depth = before;
    for (int const step : ROW_ORDERS[static_cast<std::size_t>(y % 4)])
    {
        int const row = y + step;
        if (row < 0 || row >= height_)
        {
            continue;
        }
        for (int column = std::max(x - 1, 0); column <= std::min(x + 1, width_ - 1); ++column)
        {
            float const handed_on = depths_[offset(column, row)];
            if (handed_on != NONE && before > handed_on + dis_thr_)
            {
                depth = handed_on;
            }
        }
    }
    return depth;
}

} // namespace OrvaneAlgorithm::detail
