#include "algorithmVeld/reconstruction/detail/StitchRounds.h"

#include "algorithmVeld/common/detail/BoundingBox.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

namespace
{

// A cell's key has 21 bits for each axis. Cells beyond that fall into the last one, which makes
// places wait for each other that need not.
constexpr int bits = 21;
constexpr double last_cell = (1 << bits) - 1;

using Cell = std::array<std::int64_t, 3>;

std::uint64_t key_of(Cell const& cell)
{
    return (static_cast<std::uint64_t>(cell[0]) << (2 * bits)) |
           (static_cast<std::uint64_t>(cell[1]) << bits) | static_cast<std::uint64_t>(cell[2]);
}

Cell cell_of(std::uint64_t key)
{
    constexpr std::uint64_t mask = (1U << bits) - 1;
    return {{static_cast<std::int64_t>(key >> (2 * bits)),
             static_cast<std::int64_t>((key >> bits) & mask),
             static_cast<std::int64_t>(key & mask)}};
}

Cell cell_at(Vector3f const& place, Vector3f const& min, double width)
{
    Cell cell{};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        auto const i = static_cast<Eigen::Index>(axis);
        double const steps = (static_cast<double>(place[i]) - static_cast<double>(min[i])) / width;
        // A comparison with NaN is false.
        cell[axis] = steps < last_cell ? static_cast<std::int64_t>(steps)
                                       : static_cast<std::int64_t>(last_cell);
    }
    return cell;
}

} // namespace

StitchRounds::StitchRounds(std::vector<Vector3f> const& places, double reach)
{
    sort_into_cells(places, reach);
    find_neighbours();
    checked_.assign(keys_.size(), -1);
    for (int cell = 0; cell < static_cast<int>(keys_.size()); ++cell)
    {
        if (is_first_around(cell))
        {
            round_.push_back(next_place(cell));
        }
    }
    std::sort(round_.begin(), round_.end());
}

/// Cells are so wide that places in cells that don't touch don't disturb each other.
void StitchRounds::sort_into_cells(std::vector<Vector3f> const& places, double reach)
{
    double const width = 2.0 * reach * (1.0 + 1e-6);
    Vector3f min;
    Vector3f max;
    bounding_box(places.data(), places.size(), min, max);
    std::vector<std::uint64_t> key_of_place(places.size());
    for (std::size_t place = 0; place < places.size(); ++place)
    {
        key_of_place[place] = key_of(cell_at(places[place], min, width));
    }
    auto const key = [&](int place) { return key_of_place[static_cast<std::size_t>(place)]; };
    order_.resize(places.size());
    std::iota(order_.begin(), order_.end(), 0);
    std::sort(order_.begin(), order_.end(),
              [&](int a, int b) { return key(a) != key(b) ? key(a) < key(b) : a < b; });
    cell_.resize(places.size());
    for (std::size_t i = 0; i < order_.size(); ++i)
    {
        if (keys_.empty() || keys_.back() != key(order_[i]))
        {
            keys_.push_back(key(order_[i]));
            next_.push_back(static_cast<int>(i));
            end_.push_back(static_cast<int>(i));
        }
        ++end_.back();
        cell_[static_cast<std::size_t>(order_[i])] = static_cast<int>(keys_.size()) - 1;
    }
}

void StitchRounds::find_neighbours()
{
    first_neighbour_.push_back(0);
    for (auto const key : keys_)
    {
        auto const [x, y, z] = cell_of(key);
        for (int step = 0; step < 27; ++step)
        {
            Cell const cell{{x + step / 9 - 1, y + step / 3 % 3 - 1, z + step % 3 - 1}};
            bool const outside = std::any_of(
                cell.begin(), cell.end(),
                [](std::int64_t c) { return c < 0 || c > static_cast<std::int64_t>(last_cell); });
            if (outside || step == 13)
            {
                continue;
            }
            auto const found = std::lower_bound(keys_.begin(), keys_.end(), key_of(cell));
            if (found != keys_.end() && *found == key_of(cell))
            {
                neighbours_.push_back(static_cast<int>(found - keys_.begin()));
            }
        }
        first_neighbour_.push_back(static_cast<int>(neighbours_.size()));
    }
}

/// The first place of a cell that is not done, beyond all places if there is none.
int StitchRounds::next_place(int cell) const
{
    auto const c = static_cast<std::size_t>(cell);
    return next_[c] < end_[c] ? order_[static_cast<std::size_t>(next_[c])]
                              : std::numeric_limits<int>::max();
}

bool StitchRounds::is_first_around(int cell) const
{
    auto const c = static_cast<std::size_t>(cell);
    int const own = next_place(cell);
    if (own == std::numeric_limits<int>::max())
    {
        return false;
    }
    auto const begin = neighbours_.begin();
    return std::all_of(begin + first_neighbour_[c], begin + first_neighbour_[c + 1],
                       [&](int neighbour) { return own < next_place(neighbour); });
}

void StitchRounds::finish_round()
{
    ++rounds_;
    std::vector<int> done;
    done.swap(round_);
    for (int const place : done)
    {
        ++next_[static_cast<std::size_t>(cell_[static_cast<std::size_t>(place)])];
    }
    // It can only have become the turn of cells where something was done, or of those around.
    auto const check = [this](int cell)
    {
        auto& last = checked_[static_cast<std::size_t>(cell)];
        if (last != rounds_)
        {
            last = rounds_;
            if (is_first_around(cell))
            {
                round_.push_back(next_place(cell));
            }
        }
    };
    for (int const place : done)
    {
        auto const cell = static_cast<std::size_t>(cell_[static_cast<std::size_t>(place)]);
        check(static_cast<int>(cell));
        for (int i = first_neighbour_[cell]; i < first_neighbour_[cell + 1]; ++i)
        {
            check(neighbours_[static_cast<std::size_t>(i)]);
        }
    }
    std::sort(round_.begin(), round_.end());
}

} // namespace OrvaneAlgorithm::detail
