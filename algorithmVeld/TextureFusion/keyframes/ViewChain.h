#pragma once

#include "algorithmVeld/common/vectors.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

class Progress;

/// The directions of views as a chain in which each is like the one before. Starts where the camera
/// looks most directly at `centre`; then always comes, of the views that are left, the one with the
/// largest cosine to the one before. Of equals the first in `frames` is taken.
///
/// The cosines are computed when they are needed, so that memory is proportional to the number of
/// frames; time grows with its square.
/// \param frames numbers of cameras, at least one
/// \param positions,views of all cameras; a view's third column is where the camera looks
/// \param progress advances by a step for each frame
std::vector<int> chain_of_views(std::vector<int> const& frames,
                                std::vector<Vector3f> const& positions,
                                std::vector<Eigen::Matrix3f> const& views, Vector3f const& centre,
                                Progress& progress);

} // namespace OrvaneAlgorithm::detail
