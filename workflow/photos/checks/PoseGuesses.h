#pragma once

#include "workflow/photos/Photos.h"

#include <functional>
#include <string>
#include <vector>

namespace veld
{

/// Other poses that may have been meant.
struct PoseGuess
{
    std::string remedy; ///< What makes the poses these, behind "where".
    std::string setting;
    double factor = 1.0; ///< Of the lengths.
    std::function<RigidMatrix(RigidMatrix const&)> meant;
};

/// Other units, poses from camera to world, and other axes.
/// \param pose_scale by which the poses have been multiplied already
std::vector<PoseGuess> pose_guesses(double pose_scale);

} // namespace veld
