#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/reconstruction/DepthNoise.h"

#include <vector>

namespace veld
{

/// How far the depths of frames scatter.
struct FrameNoise
{
    OrvaneAlgorithm::DepthNoise noise; ///< As a function of the depth.
    double depth = 0.0;                ///< Of the point in the middle of all, in millimetres.

    /// The noise at that depth, in millimetres.
    double in_the_middle() const { return noise.at(depth); }
    /// How many times of that it is where a surface is seen at 60 degrees.
    double times_aslant() const { return 1.0 + 3.0 * noise.slant; }
};

/// Measures the noise of frames: how far depths are from planes through their neighbours.
VELD_WORKFLOW_API FrameNoise measure_noise(FrameSet const& frames, Context& context);

/// The same for other steps, without one of its own.
/// \param at_a_metre standard deviation in millimetres that is known; 0: measured
FrameNoise noise_of(std::vector<RangeData const*> const& frames, double at_a_metre);

} // namespace veld
