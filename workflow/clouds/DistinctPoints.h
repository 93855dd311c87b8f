#pragma once

#include "algorithmVeld/common/vectors.h"

#include <vector>

namespace veld
{

using OrvaneAlgorithm::Vector3f;

/// The different places of a cloud. What is computed on them does not depend on the order of the
/// points, nor on how often a place is in the list.
struct DistinctPoints
{
    static constexpr int NO_PLACE = -1;

    std::vector<Vector3f> points; ///< In the order of x, then y, then z.
    /// For each given point its place among these. A point whose coordinates are not finite, or
    /// beyond 1e18 so that squares of distances would not be, has none.
    std::vector<int> places;
};

DistinctPoints distinct_points(std::vector<Vector3f> const& points);

} // namespace veld
