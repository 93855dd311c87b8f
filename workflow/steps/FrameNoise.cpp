#include "workflow/steps/FrameNoise.h"

#include "workflow/StepScope.h"

#include "algorithmVeld/reconstruction/DepthFrames.h"

namespace veld
{

using OrvaneAlgorithm::DepthFrames;

namespace
{

constexpr double METRE = 1000.0;

} // namespace

FrameNoise noise_of(std::vector<RangeData const*> const& frames, double at_a_metre)
{
    return {at_a_metre > 0.0 ? OrvaneAlgorithm::DepthNoise{0.0, at_a_metre / (METRE * METRE), 0.0}
                             : DepthFrames::measure_noise(frames),
            DepthFrames::median_depth(frames)};
}

FrameNoise measure_noise(FrameSet const& frames, Context& context)
{
    StepScope const scope(context, "measure-noise", "measure the noise");
    return noise_of(data_of(frames), 0.0);
}

} // namespace veld
