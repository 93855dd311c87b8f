#include "workflow/steps/FrameJudge.h"

#include "algorithmVeld/common/arrays/Median.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace veld
{

namespace
{

/// A frame is off that is so many times as far from the others as most are.
constexpr double FRAME_OFF = 3.0;
/// Fewer samples tell nothing of a frame.
constexpr std::size_t FEWEST_COMPARED = 100;

} // namespace

FramesOff find_frames_off(std::vector<FrameDistance> const& frames, double least)
{
    FramesOff result;
    std::vector<double> all;
    all.reserve(frames.size());
    for (auto const& frame : frames)
    {
        all.push_back(std::max(0.0, frame.off));
    }
    result.middle = OrvaneAlgorithm::detail::median(std::move(all));
    for (std::size_t f = 0; f < frames.size() && frames.size() > 1; ++f)
    {
        if (frames[f].off < 0.0)
        {
            result.alone.push_back(f);
        }
        else if (frames[f].off > FRAME_OFF * std::max(result.middle, least))
        {
            result.far_off.push_back(f);
        }
    }
    return result;
}

void warn_of_frames_off(std::vector<FrameDistance> const& frames, double least, StepScope& scope)
{
    FramesOff const found = find_frames_off(frames, least);
    for (std::size_t const f : found.alone)
    {
        scope.warn(WarningCode::FRAME_OFF, frames[f].name,
                   "no other frame saw what it did: its pose, or the unit of it, may be wrong");
    }
    for (std::size_t const f : found.far_off)
    {
        scope.warn(WarningCode::FRAME_OFF, frames[f].name,
                   fmt::format("lies {:.3g} mm off the other frames, most of them {:.3g} mm: "
                               "its pose may be wrong, which veld align may repair",
                               frames[f].off, found.middle));
    }
}

std::vector<FrameDistance> frame_distances(OrvaneAlgorithm::FrameAlignment::Agreement const& found,
                                           std::vector<std::string> const& names)
{
    std::vector<FrameDistance> result;
    for (std::size_t f = 0; f < found.frames.size(); ++f)
    {
        auto const& frame = found.frames[f];
        bool const is_unknown = frame.pairs == 0 && frame.samples < FEWEST_COMPARED;
        result.push_back({names[f], is_unknown ? found.distance : frame.distance});
    }
    return result;
}

std::vector<FrameDistance>
frame_distances(std::vector<OrvaneAlgorithm::DepthFrames::FrameCounts> const& counts, double middle,
                std::vector<std::string> const& names)
{
    std::vector<FrameDistance> result;
    for (std::size_t f = 0; f < counts.size(); ++f)
    {
        // One that was taken and of which nothing was left has -1.
        bool const is_left_out =
            counts[f].points > 0 && counts[f].smooth == 0 && counts[f].disagreement >= 0.0;
        result.push_back({names[f], is_left_out ? middle : counts[f].disagreement});
    }
    return result;
}

} // namespace veld
