#pragma once

#include "algorithmVeld/common/vectors.h"

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace OrvaneAlgorithm::detail
{

/// Goes along a straight line of pixels by integers alone, one pixel a column, or a row where the
/// line is steep (J. E. Bresenham, "Algorithm for computer control of a digital plotter", 1965).
/// Columns, or rows, rise: so it may start at either end.
/// \param visit gets each pixel; both ends are among them
template <typename Visit>
void walk_image_line(Vector2i const& from, Vector2i const& to, Visit const& visit)
{
    // Differences of any two ints fit here.
    std::int64_t x0 = from.x();
    std::int64_t y0 = from.y();
    std::int64_t x1 = to.x();
    std::int64_t y1 = to.y();
    bool const is_steep = std::abs(y1 - y0) > std::abs(x1 - x0);
    if (is_steep)
    {
        std::swap(x0, y0);
        std::swap(x1, y1);
    }
    if (x0 > x1)
    {
        std::swap(x0, x1);
        std::swap(y0, y1);
    }
    std::int64_t const dx = x1 - x0;
    std::int64_t const dy = std::abs(y1 - y0);
    std::int64_t const step = y0 < y1 ? 1 : -1;
    std::int64_t error = dx / 2;
    for (std::int64_t x = x0, y = y0; x <= x1; ++x)
    {
        visit(is_steep ? Vector2i(static_cast<int>(y), static_cast<int>(x))
                       : Vector2i(static_cast<int>(x), static_cast<int>(y)));
        error -= dy;
        if (error < 0)
        {
            y += step;
            error += dx;
        }
    }
}

} // namespace OrvaneAlgorithm::detail
