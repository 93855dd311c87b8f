#include "workflow/steps/FrameNoise.h"

#include "workflow/StepScope.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/reconstruction/DepthFrames.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace veld
{

namespace
{

constexpr double METRE = 1000.0;
constexpr std::size_t DEPTHS_OF_FRAME = 500;

double median_depth(std::vector<RangeData const*> const& frames)
{
    std::vector<double> depths;
    for (auto const* frame : frames)
    {
        std::size_t const step = std::max<std::size_t>(1, frame->get_vn() / DEPTHS_OF_FRAME);
        for (std::size_t i = 0; i < frame->get_vn(); i += step)
        {
            depths.push_back(std::abs(static_cast<double>(frame->vCoord[i].z())));
        }
    }
    return OrvaneAlgorithm::detail::median(std::move(depths));
}

} // namespace

FrameNoise noise_of(std::vector<RangeData const*> const& frames, double at_a_metre)
{
    return {at_a_metre > 0.0 ? OrvaneAlgorithm::DepthNoise{0.0, at_a_metre / (METRE * METRE), 0.0}
                             : OrvaneAlgorithm::DepthFrames::measure_noise(frames),
            median_depth(frames)};
}

FrameNoise measure_noise(FrameSet const& frames, Context& context)
{
    StepScope const scope(context, "measure-noise", "measure the noise");
    std::vector<RangeData const*> list;
    for (auto const& frame : frames.frames)
    {
        list.push_back(&frame.data);
    }
    return noise_of(list, 0.0);
}

} // namespace veld
