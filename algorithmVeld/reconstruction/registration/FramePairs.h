#pragma once

#include "algorithmVeld/reconstruction/registration/SampledFrame.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// A sample of a frame and the place where another frame has the surface.
struct Match
{
    Vector3d place = Vector3d::Zero();  ///< half way between both points, in global coordinates
    Vector3d normal = Vector3d::Zero(); ///< mean of both
    double distance = 0.0;              ///< of the sample from the other frame, along the normal
    double noise = 0.0; ///< standard deviation of one point along the normal; 0: not known
};

/// Two frames that overlap, the smaller number first.
struct FramePair
{
    std::size_t first = 0;
    std::size_t second = 0;
    double overlap = 0.0; ///< part of the samples of both that found a place
};

/// The matches of the samples of both frames of a pair; distances are those of the first frame from
/// the second.
/// \param reach how far from a sample, in millimetres, its place is looked for
std::vector<Match> match_pair(std::vector<SampledFrame> const& frames,
                              std::vector<RigidMatrix> const& poses, std::size_t first,
                              std::size_t second, double reach);

/// Finds the pairs of frames that overlap. Where many overlap one, some are chosen: those that do
/// the most, others evenly spread, and what keeps all frames together that hang together. Of more
/// than `FEW_FRAMES` not each two are asked, only those that share the most places.
std::vector<FramePair> find_pairs(std::vector<SampledFrame> const& frames,
                                  std::vector<RigidMatrix> const& poses, double reach);

/// For each frame the first one of those that it hangs together with, over any number of pairs.
std::vector<std::size_t> groups_of(std::size_t frames, std::vector<FramePair> const& pairs);

} // namespace OrvaneAlgorithm::detail
