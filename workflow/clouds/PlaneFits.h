#pragma once

#include "algorithmVeld/common/vectors.h"

#include <array>
#include <cstddef>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::Vector3f;

/// What became of the plane around a point.
enum class PlaneFit : unsigned char
{
    DONE,
    FEW_POINTS, ///< There are fewer than three different points.
    LINE        ///< The points around lie on a line.
};

/// Some of a point's neighbours, near ones and far ones; none from the first -1 on.
using SomeNeighbours = std::array<int, 8>;

/// The planes around the points of a cloud.
struct PlaneFits
{
    std::vector<Vector3f> normals; ///< Of length 1 and either sense; zero where there is no plane.
    std::vector<PlaneFit> fits;
    std::vector<SomeNeighbours> neighbours; ///< Empty for a point without a plane.
};

/// Fits a plane to the nearest neighbours of each point, by least squares. The nearest ones count
/// most: the farthest has half of the weight of the point itself. Where the neighbours lie on a
/// line, as along the lines of a scanner whose lines are far apart, up to eight times as many are
/// taken.
/// \param points all different, and within reach of the search tree
/// \param neighbours how many, beside the point itself; two or more
PlaneFits fit_planes(std::vector<Vector3f> const& points, int neighbours);

} // namespace veld
