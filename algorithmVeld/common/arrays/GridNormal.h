#pragma once

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/geometry/unit_vector.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// The step along one axis of the grid at a vertex: between its two neighbours, or between the one
/// that is there and the vertex itself. Zero if there is none.
inline Vector3d grid_step(std::vector<Vector3f> const& points, int before, int here, int after)
{
    auto const point = [&](int i)
    { return Vector3d(points[static_cast<std::size_t>(i >= 0 ? i : here)].cast<double>()); };
    return point(after) - point(before);
}

/// The normal of a vertex by the steps to its neighbours on the grid; zero where they tell none.
inline Vector3f grid_normal(RangeData const& frame, GridMap const& map, std::size_t i)
{
    auto const [row, col] = at(frame.vUV, i);
    long long const r = row;
    long long const c = col;
    int const here = map(r, c);
    if (here < 0)
    {
        return Vector3f::Zero();
    }
    Vector3d const right = grid_step(frame.vCoord, map(r, c - 1), here, map(r, c + 1));
    Vector3d const down = grid_step(frame.vCoord, map(r - 1, c), here, map(r + 1, c));
    return unit_or_zero(right.cross(down));
}

} // namespace OrvaneAlgorithm::detail
