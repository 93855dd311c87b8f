#include "algorithmVeld/common/arrays/Skyline.h"

#include <algorithm>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr Place NOWHERE{-1, -1};
constexpr std::size_t MAX_POCKETS = 512;

bool fits(Extent const& inner, Extent const& outer)
{
    return inner.width <= outer.width && inner.height <= outer.height;
}

Length short_side(Extent const& extent)
{
    return std::min(extent.width, extent.height);
}

} // namespace

Skyline::Skyline(Length width, Extent const& smallest) : smallest_(smallest)
{
    segments_.push_back({0, 0, width});
}

Place Skyline::add(Extent const& size)
{
    Place const place = add_to_pocket(size);
    return place.x >= 0 ? place : add_on_top(size);
}

Place Skyline::add_to_pocket(Extent const& size)
{
    std::size_t const i = tightest_pocket(size);
    if (i == pockets_.size())
    {
        return NOWHERE;
    }
    Area const pocket = pockets_[i];
    pockets_[i] = pockets_.back();
    pockets_.pop_back();
    divide_pocket(pocket, size);
    return pocket.corner;
}

std::size_t Skyline::tightest_pocket(Extent const& size) const
{
    std::size_t best = pockets_.size();
    Length best_slack = std::numeric_limits<Length>::max();
    for (std::size_t i = 0; i < pockets_.size(); ++i)
    {
        Extent const& room = pockets_[i].extent;
        Length const slack = std::min(room.width - size.width, room.height - size.height);
        if (fits(size, room) && slack < best_slack)
        {
            best = i;
            best_slack = slack;
        }
    }
    return best;
}

/// Keeps the rest of a pocket beside and above its new guest, cut so that the larger of the
/// two is as large as can be.
void Skyline::divide_pocket(Area const& pocket, Extent const& guest)
{
    auto const [x, y] = pocket.corner;
    auto const [width, height] = pocket.extent;
    bool const beside_is_full = width - guest.width > height - guest.height;
    Length const beside_height = beside_is_full ? height : guest.height;
    Length const above_width = beside_is_full ? guest.width : width;
    keep_pocket({{x + guest.width, y}, {width - guest.width, beside_height}});
    keep_pocket({{x, y + guest.height}, {above_width, height - guest.height}});
}

/// Of too many pockets the smallest is forgotten: looking through all of them takes the time.
void Skyline::keep_pocket(Area const& pocket)
{
    if (!fits(smallest_, pocket.extent))
    {
        return;
    }
    pockets_.push_back(pocket);
    if (pockets_.size() > MAX_POCKETS)
    {
        auto const smaller = [](Area const& a, Area const& b)
        { return short_side(a.extent) < short_side(b.extent); };
        *std::min_element(pockets_.begin(), pockets_.end(), smaller) = pockets_.back();
        pockets_.pop_back();
    }
}

Place Skyline::add_on_top(Extent const& size)
{
    std::size_t const first = lowest_segment(size.width);
    Place const place{segments_[first].x, support_height(first, size.width)};
    keep_pockets_below(first, place, size.width);
    raise(first, {place.x, place.y + size.height, size.width});
    return place;
}

/// The segment on whose left end a rectangle stands lowest; the leftmost of equals.
std::size_t Skyline::lowest_segment(Length width) const
{
    std::size_t best = 0;
    Length best_y = std::numeric_limits<Length>::max();
    for (std::size_t i = 0; i < segments_.size(); ++i)
    {
        if (segments_[i].x + width > segments_.back().end())
        {
            break;
        }
        if (segments_[i].y < best_y)
        {
            Length const y = support_height(i, width);
            if (y < best_y)
            {
                best = i;
                best_y = y;
            }
        }
    }
    return best;
}

/// The height of the highest segment under a rectangle whose left side stands on one's left.
Length Skyline::support_height(std::size_t first, Length width) const
{
    Length const end = segments_[first].x + width;
    Length y = 0;
    for (std::size_t i = first; i < segments_.size() && segments_[i].x < end; ++i)
    {
        y = std::max(y, segments_[i].y);
    }
    return y;
}

void Skyline::keep_pockets_below(std::size_t first, Place const& place, Length width)
{
    Length const end = place.x + width;
    for (std::size_t i = first; i < segments_.size() && segments_[i].x < end; ++i)
    {
        Segment const& s = segments_[i];
        keep_pocket({{s.x, s.y}, {std::min(s.end(), end) - s.x, place.y - s.y}});
    }
}

/// Lays a new segment over the old ones, of which the first begins where it does.
void Skyline::raise(std::size_t first, Segment const& top)
{
    std::size_t last = first;
    while (last < segments_.size() && segments_[last].end() <= top.end())
    {
        ++last;
    }
    if (last < segments_.size())
    {
        segments_[last].width = segments_[last].end() - top.end();
        segments_[last].x = top.end();
    }
    auto const at = segments_.begin() + static_cast<std::ptrdiff_t>(first);
    auto const behind = segments_.begin() + static_cast<std::ptrdiff_t>(last);
    segments_.insert(segments_.erase(at, behind), top);
    join_level_neighbours(first);
}

void Skyline::join_level_neighbours(std::size_t i)
{
    if (i + 1 < segments_.size() && segments_[i + 1].y == segments_[i].y)
    {
        join_with_next(i);
    }
    if (i > 0 && segments_[i - 1].y == segments_[i].y)
    {
        join_with_next(i - 1);
    }
}

void Skyline::join_with_next(std::size_t i)
{
    segments_[i].width += segments_[i + 1].width;
    segments_.erase(segments_.begin() + static_cast<std::ptrdiff_t>(i) + 1);
}

} // namespace OrvaneAlgorithm::detail
