#include "algorithmVeld/common/ImagePacking.h"

#include "algorithmVeld/common/arrays/Skyline.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <numeric>
#include <random>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

using detail::Extent;
using detail::Length;
using detail::Place;
using detail::Skyline;

/// The rectangles that are laid out, each with the gap on its right and below.
struct Guests
{
    Length gap = 0;
    std::vector<Extent> extents;
    Extent smallest;
    Extent largest;
    std::uint64_t area = 0; ///< of all, as far as it can be counted

    Guests(std::vector<Extent> given, Length space) : gap(space), extents(std::move(given))
    {
        smallest = largest = extents.front();
        for (Extent const& e : extents)
        {
            smallest = {std::min(smallest.width, e.width), std::min(smallest.height, e.height)};
            largest = {std::max(largest.width, e.width), std::max(largest.height, e.height)};
            auto const own =
                static_cast<std::uint64_t>(e.width) * static_cast<std::uint64_t>(e.height);
            area += std::min(own, std::numeric_limits<std::uint64_t>::max() - area);
        }
    }
};

/// The largest number whose square is not above `n`.
Length floor_sqrt(std::uint64_t n)
{
    std::uint64_t root = 0;
    for (std::uint64_t bit = std::uint64_t{1} << 31; bit != 0; bit >>= 1)
    {
        if ((root | bit) * (root | bit) <= n)
        {
            root |= bit;
        }
    }
    return static_cast<Length>(root);
}

/// What a whole of this size costs: its area, and so much for its long side that a whole twice as
/// long as wide has to save 1.5 % of the area against a square one. Sides are not above INT_MAX.
std::uint64_t cost(Extent const& whole)
{
    auto const width = static_cast<std::uint64_t>(whole.width);
    auto const height = static_cast<std::uint64_t>(whole.height);
    std::uint64_t const longest = std::max(width, height);
    return width * height + longest * longest / 64;
}

struct Layout
{
    std::vector<Place> places;
    Extent whole;
};

constexpr Length MAX_SIDE = std::numeric_limits<int>::max();

/// Fills a strip in the given order.
/// \return false as soon as the whole is too long to be counted or costs `limit` or more
bool fill_strip(Guests const& guests, std::vector<std::size_t> const& order, Length width,
                std::uint64_t limit, Layout& layout)
{
    Skyline skyline(width, guests.smallest);
    detail::CancelPoll poll(64); // one rectangle costs as much as the strip has ledges
    layout.places.resize(guests.extents.size());
    Extent& whole = layout.whole = {};
    for (std::size_t const i : order)
    {
        poll.next();
        Extent const& extent = guests.extents[i];
        Place const place = skyline.add(extent);
        layout.places[i] = place;
        whole.width = std::max(whole.width, place.x + extent.width - guests.gap);
        whole.height = std::max(whole.height, place.y + extent.height - guests.gap);
        if (whole.width > MAX_SIDE || whole.height > MAX_SIDE || cost(whole) >= limit)
        {
            return false;
        }
    }
    return true;
}

/// A way to lay the guests out: the axes along and across the strip, its width and the order.
struct Plan
{
    bool turned = false; ///< the strip grows to the right instead of downwards
    Length width = 0;
    std::vector<std::size_t> order;
};

/// Numbers all rectangles by falling `key`; of equals the first comes first.
template <typename Key>
std::vector<std::size_t> sorted_by(Guests const& guests, Key const& key)
{
    std::vector<std::size_t> order(guests.extents.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b)
                     { return key(guests.extents[a]) > key(guests.extents[b]); });
    return order;
}

/// The orders that fill well: each keeps neighbours alike, and the last are small enough for the
/// pockets that the others leave.
std::vector<std::vector<std::size_t>> promising_orders(Guests const& guests)
{
    using Key = std::pair<Length, Length>;
    return {sorted_by(guests, [](Extent const& e) { return Key(e.height, e.width); }),
            sorted_by(guests, [](Extent const& e) { return Key(e.width + e.height, e.width); }),
            sorted_by(guests, [](Extent const& e)
                      { return Key(std::max(e.width, e.height), std::min(e.width, e.height)); })};
}

/// Tries plans and keeps the cheapest layout, within an amount of work that is counted in
/// rectangles, so that the outcome does not depend on the clock.
class LayoutSearch
{
public:
    LayoutSearch(Guests const& upright, Guests const& turned)
        : guests_{&upright, &turned},
          tries_left_(std::max(MIN_TRIES, WORK / upright.extents.size()))
    {
    }

    /// \return false if no layout was found whose sides can be counted
    bool run()
    {
        try_promising_plans();
        vary_best_plan();
        return found_;
    }

    /// The layout found, turned back.
    Layout result() const
    {
        Layout result = best_;
        if (best_plan_.turned)
        {
            std::swap(result.whole.width, result.whole.height);
            for (Place& place : result.places)
            {
                std::swap(place.x, place.y);
            }
        }
        return result;
    }

private:
    static constexpr std::size_t WORK = 240000;
    static constexpr std::size_t MIN_TRIES = 12;
    static constexpr Length SQUARE = 64; ///< width of a strip that ends about square
    static constexpr Length NARROWEST = 40;
    static constexpr Length WIDEST = 104;
    static constexpr Length STEP = 4;

    /// Every order in both directions, at widths from the middle outwards as far as half of the
    /// work goes.
    void try_promising_plans()
    {
        std::array<std::vector<std::vector<std::size_t>>, 2> const orders{
            promising_orders(*guests_[0]), promising_orders(*guests_[1])};
        std::size_t const end = tries_left_ / 2;
        for (Length off = 0; off <= WIDEST - SQUARE && tries_left_ > end; off += STEP)
        {
            for (Length const share : {SQUARE + off, SQUARE - off})
            {
                for (std::size_t i = 0; i < orders[0].size() && share >= NARROWEST; ++i)
                {
                    attempt({false, strip_width(false, share), orders[0][i]});
                    attempt({true, strip_width(true, share), orders[1][i]});
                }
            }
        }
    }

    /// Exchanges two rectangles of the best plan or takes another width, as long as work is left.
    void vary_best_plan()
    {
        std::mt19937 random;
        std::size_t const n = guests_[0]->extents.size();
        while (found_ && tries_left_ > 0)
        {
            Plan plan = best_plan_;
            std::swap(plan.order[random() % n], plan.order[random() % n]);
            auto const share = static_cast<Length>(random() % (WIDEST - NARROWEST + 1));
            plan.width = strip_width(plan.turned, NARROWEST + share);
            attempt(plan);
        }
    }

    /// Width of a strip, in 64ths of the one that the area fills to a square, or to the length of
    /// the longest rectangle where that is longer.
    Length strip_width(bool turned, Length share) const
    {
        Guests const& guests = *guests_[turned ? 1 : 0];
        Length const length = std::max(guests.largest.height, floor_sqrt(guests.area));
        auto const width = static_cast<Length>(guests.area / static_cast<std::uint64_t>(length));
        return std::clamp(width * share / SQUARE, guests.largest.width, MAX_SIDE + guests.gap);
    }

    void attempt(Plan const& plan)
    {
        if (tries_left_ == 0)
        {
            return;
        }
        --tries_left_;
        progress_.advance();
        std::uint64_t const limit =
            found_ ? cost(best_.whole) : std::numeric_limits<std::uint64_t>::max();
        if (fill_strip(*guests_[plan.turned ? 1 : 0], plan.order, plan.width, limit, current_))
        {
            std::swap(best_, current_);
            best_plan_ = plan;
            found_ = true;
        }
    }

    std::array<Guests const*, 2> guests_; ///< as they are, and with rows and columns exchanged
    std::size_t tries_left_;
    detail::Progress progress_{tries_left_};
    bool found_ = false;
    Plan best_plan_;
    Layout best_;
    Layout current_;
};

bool is_valid(std::vector<Vector2i> const& sizes, int gap)
{
    return gap >= 0 && std::all_of(sizes.begin(), sizes.end(),
                                   [](Vector2i const& size) { return size.minCoeff() > 0; });
}

/// The rectangles with their gaps, along the named component of their sizes.
Guests guests_of(std::vector<Vector2i> const& sizes, Length gap, int width_component)
{
    std::vector<Extent> extents;
    extents.reserve(sizes.size());
    for (Vector2i const& size : sizes)
    {
        extents.push_back({size[width_component] + gap, size[1 - width_component] + gap});
    }
    return {std::move(extents), gap};
}

Vector2i to_rows_and_columns(Length rows, Length columns)
{
    return {static_cast<int>(rows), static_cast<int>(columns)};
}

} // namespace

RetVal ImagePacking::pack(std::vector<Vector2i> const& sizes, int gap,
                          std::vector<Vector2i>& positions, Vector2i& total_size)
{
    detail::ProgressPart const part(0.0, 1.0);
    // The list of positions may be the list of sizes.
    std::vector<Vector2i> found;
    Vector2i whole = Vector2i::Zero();
    bool success = is_valid(sizes, gap);
    if (success && !sizes.empty())
    {
        Guests const upright = guests_of(sizes, gap, 1);
        Guests const turned = guests_of(sizes, gap, 0);
        LayoutSearch search(upright, turned);
        success = search.run();
        if (success)
        {
            Layout const layout = search.result();
            whole = to_rows_and_columns(layout.whole.height, layout.whole.width);
            for (Place const& place : layout.places)
            {
                found.push_back(to_rows_and_columns(place.y, place.x));
            }
        }
    }
    positions = std::move(found);
    total_size = whole;
    return success ? RET_SUCCESS : RET_INVALID_INPUT;
}

} // namespace OrvaneAlgorithm
