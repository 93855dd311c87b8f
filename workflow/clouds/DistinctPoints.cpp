#include "workflow/clouds/DistinctPoints.h"

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace veld
{

namespace
{

namespace detail = OrvaneAlgorithm::detail;

/// A point with its number in the cloud.
struct NumberedPoint
{
    Vector3f point;
    int number;
};

bool comes_before(NumberedPoint const& a, NumberedPoint const& b)
{
    return std::tie(a.point.x(), a.point.y(), a.point.z(), a.number) <
           std::tie(b.point.x(), b.point.y(), b.point.z(), b.number);
}

/// Beyond this the search tree finds nothing.
bool has_place(Vector3f const& point)
{
    return (point.array().abs() <= OrvaneAlgorithm::KdTree3f::LARGEST_COORDINATE)
        .all(); // false for NaN
}

/// Sorts blocks on all cores and merges them pair by pair. No two points are equal in this order,
/// so that the result is the same for any number of threads.
void sort_in_blocks(std::vector<NumberedPoint>& points)
{
    constexpr std::size_t BLOCK = std::size_t{1} << 15U;
    auto const at = [&](std::size_t i)
    { return points.begin() + static_cast<std::ptrdiff_t>(std::min(i, points.size())); };
    auto const blocks_of = [&](std::size_t size)
    { return static_cast<std::ptrdiff_t>((points.size() + size - 1) / size); };
    detail::Stages stages({2, 1});
    stages.next();
    detail::parallel_for_uneven(blocks_of(BLOCK),
                                [&](std::ptrdiff_t k)
                                {
                                    auto const begin = static_cast<std::size_t>(k) * BLOCK;
                                    std::sort(at(begin), at(begin + BLOCK), comes_before);
                                });
    stages.next();
    for (std::size_t size = BLOCK; size < points.size(); size *= 2)
    {
        detail::parallel_for_uneven(blocks_of(2 * size),
                                    [&](std::ptrdiff_t k)
                                    {
                                        auto const begin = static_cast<std::size_t>(k) * 2 * size;
                                        std::inplace_merge(at(begin), at(begin + size),
                                                           at(begin + 2 * size), comes_before);
                                    });
    }
}

} // namespace

DistinctPoints distinct_points(std::vector<Vector3f> const& points)
{
    DistinctPoints distinct;
    distinct.places.assign(points.size(), DistinctPoints::NO_PLACE);
    std::vector<NumberedPoint> sorted;
    sorted.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        if (has_place(points[i]))
        {
            sorted.push_back({points[i], static_cast<int>(i)});
        }
    }
    sort_in_blocks(sorted);
    for (auto const& [point, number] : sorted)
    {
        if (distinct.points.empty() || distinct.points.back() != point)
        {
            distinct.points.push_back(point);
        }
        distinct.places[static_cast<std::size_t>(number)] =
            static_cast<int>(distinct.points.size()) - 1;
    }
    return distinct;
}

} // namespace veld
