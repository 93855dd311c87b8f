#pragma once

#include "workflow/StepScope.h"

#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/FrameAlignment.h"

#include <cstddef>
#include <string>
#include <vector>

namespace veld
{

/// How far a frame is from all others, as far as it tells whether its pose is right.
struct FrameDistance
{
    std::string name;
    double off = -1.0; ///< Median distance along the normal in millimetres; -1: from none.
};

/// The frames that lie farther off the others than most do, or of which no other one saw anything.
struct FramesOff
{
    std::vector<std::size_t> far_off;
    std::vector<std::size_t> alone;
    double middle = 0.0; ///< Distance of the frame in the middle, in millimetres.
};

/// \param least what is not farther off, in millimetres, is not off
FramesOff find_frames_off(std::vector<FrameDistance> const& frames, double least);

/// Names these frames in warnings.
void warn_of_frames_off(std::vector<FrameDistance> const& frames, double least, StepScope& scope);

/// The distances of an agreement. Frames of too few samples to tell are as far as the one in the
/// middle.
std::vector<FrameDistance> frame_distances(OrvaneAlgorithm::FrameAlignment::Agreement const& found,
                                           std::vector<std::string> const& names);

/// The distances that frames of depth cameras had. Frames that the choice left out are as far as
/// the one in the middle.
/// \param middle the distance of that
std::vector<FrameDistance>
frame_distances(std::vector<OrvaneAlgorithm::DepthFrames::FrameCounts> const& counts, double middle,
                std::vector<std::string> const& names);

} // namespace veld
