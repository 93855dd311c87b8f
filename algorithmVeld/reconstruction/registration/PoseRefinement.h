#pragma once

#include "algorithmVeld/reconstruction/registration/FramePairs.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// How poses are refined. Lengths are millimetres.
struct RefinementLimits
{
    double reach = 0.0;     ///< distance in which points are looked for at first
    double least = 0.0;     ///< and at last
    double farthest = 0.0;  ///< no frame moves farther
    double doubt = 1.0;     ///< standard deviation of the given poses, where nothing else tells
    double finest = 0.0;    ///< what is less is no distance
    double tolerance = 0.0; ///< steps of less than this are none
    int most_rounds = 0;
};

/// Poses that were refined.
struct RefinedPoses
{
    std::vector<RigidMatrix> poses;
    std::vector<char> is_astray;     ///< whether a frame would have gone too far, and was put back
    std::vector<std::size_t> groups; ///< as `groups_of` gives them, without what is astray
    int rounds = 0;
    bool has_converged = false;
};

/// Refines the poses of all frames at once, until nothing moves any more. Of each group the first
/// frame stays where it is.
RefinedPoses refine_poses(std::vector<SampledFrame> const& frames,
                          std::vector<RigidMatrix> const& poses,
                          std::vector<FramePair> const& pairs, RefinementLimits const& limits);

} // namespace OrvaneAlgorithm::detail
