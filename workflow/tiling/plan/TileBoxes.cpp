#include "workflow/tiling/plan/TileBoxes.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <utility>

namespace veld
{

namespace
{

/// Cells farther out than this are one.
constexpr double FARTHEST_CELL = 1 << 30;
constexpr int LOWEST = std::numeric_limits<int>::min();
constexpr int HIGHEST = std::numeric_limits<int>::max();

using CountedCell = std::pair<TileCell, std::size_t>;

struct Part
{
    TileBox box;
    std::vector<CountedCell> cells;
};

std::size_t total(std::vector<CountedCell> const& cells)
{
    return std::accumulate(cells.begin(), cells.end(), std::size_t{0},
                           [](std::size_t sum, CountedCell const& cell)
                           { return sum + cell.second; });
}

/// The axis along which the cells reach farthest. \return false if there is but one cell
bool longest_axis(std::vector<CountedCell> const& cells, std::size_t& axis)
{
    long long longest = 0;
    for (std::size_t a = 0; a < 3; ++a)
    {
        auto const [low, high] =
            std::minmax_element(cells.begin(), cells.end(),
                                [a](CountedCell const& one, CountedCell const& other)
                                { return one.first[a] < other.first[a]; });
        long long const length = static_cast<long long>(high->first[a]) - low->first[a];
        if (length > longest)
        {
            longest = length;
            axis = a;
        }
    }
    return longest > 0;
}

/// The first cell of the upper half along an axis: that which leaves as many samples on both sides
/// as it can, and some cells on each.
int find_cut(std::vector<CountedCell> const& cells, std::size_t axis)
{
    std::map<int, std::size_t> slices;
    for (auto const& [cell, count] : cells)
    {
        slices[cell[axis]] += count;
    }
    std::size_t const all = total(cells);
    std::size_t below = 0;
    std::size_t best = std::numeric_limits<std::size_t>::max();
    int cut = slices.rbegin()->first;
    for (auto slice = slices.begin(); std::next(slice) != slices.end(); ++slice)
    {
        below += slice->second;
        std::size_t const larger = std::max(below, all - below);
        if (larger < best)
        {
            best = larger;
            cut = std::next(slice)->first;
        }
    }
    return cut;
}

std::pair<Part, Part> cut_in_two(Part const& part, std::size_t axis)
{
    int const cut = find_cut(part.cells, axis);
    std::pair<Part, Part> halves{{part.box, {}}, {part.box, {}}};
    halves.first.box.high[axis] = cut;
    halves.second.box.low[axis] = cut;
    std::partition_copy(part.cells.begin(), part.cells.end(),
                        std::back_inserter(halves.first.cells),
                        std::back_inserter(halves.second.cells),
                        [&](CountedCell const& cell) { return cell.first[axis] < cut; });
    return halves;
}

} // namespace

TileBox TileBox::everything()
{
    return {{LOWEST, LOWEST, LOWEST}, {HIGHEST, HIGHEST, HIGHEST}};
}

bool TileBox::has(TileCell const& cell) const
{
    return low[0] <= cell[0] && cell[0] < high[0] && low[1] <= cell[1] && cell[1] < high[1] &&
           low[2] <= cell[2] && cell[2] < high[2];
}

TileCell cell_of(OrvaneAlgorithm::Vector3f const& point, double side)
{
    TileCell cell{};
    for (std::size_t a = 0; a < 3; ++a)
    {
        double const place =
            std::floor(static_cast<double>(point[static_cast<Eigen::Index>(a)]) / side);
        cell[a] = static_cast<int>(std::clamp(place, -FARTHEST_CELL, FARTHEST_CELL));
    }
    return cell;
}

bool is_near(TileBox const& box, OrvaneAlgorithm::Vector3f const& low,
             OrvaneAlgorithm::Vector3f const& high, double side, double margin)
{
    for (std::size_t a = 0; a < 3; ++a)
    {
        auto const axis = static_cast<Eigen::Index>(a);
        if ((box.low[a] != LOWEST &&
             static_cast<double>(high[axis]) < box.low[a] * side - margin) ||
            (box.high[a] != HIGHEST &&
             static_cast<double>(low[axis]) >= box.high[a] * side + margin))
        {
            return false;
        }
    }
    return true;
}

CellCounts in_larger_cells(CellCounts const& counts)
{
    auto const half = [](int place) { return place >= 0 ? place / 2 : (place - 1) / 2; };
    CellCounts larger;
    for (auto const& [cell, count] : counts)
    {
        larger[{half(cell[0]), half(cell[1]), half(cell[2])}] += count;
    }
    return larger;
}

std::vector<TileBox> divide_space(CellCounts const& counts, std::size_t most)
{
    std::vector<TileBox> boxes;
    std::vector<Part> open{{TileBox::everything(), {counts.begin(), counts.end()}}};
    while (!open.empty())
    {
        Part const part = std::move(open.back());
        open.pop_back();
        std::size_t axis = 0;
        if (total(part.cells) <= most || !longest_axis(part.cells, axis))
        {
            boxes.push_back(part.box);
            continue;
        }
        auto [lower, upper] = cut_in_two(part, axis);
        open.push_back(std::move(upper));
        open.push_back(std::move(lower));
    }
    return boxes;
}

} // namespace veld
