#pragma once

#include "algorithmVeld/common/vectors.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Right-handed frame of a piece of surface: column 2 is the direction in which its points spread
/// least, turned to the side of `normal`, and column 1 that of medium spread.
/// \param points around the surface; without any the frame means nothing
/// \param normal of the surface, roughly
Eigen::Matrix3f compute_lrf(std::vector<Vector3f> const& points, Vector3f const& normal);

} // namespace OrvaneAlgorithm::detail
