#include "workflow/steps/FrameJudge.h"

#include <gmock/gmock.h>

namespace
{

using OrvaneAlgorithm::DepthFrames;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double NOISE = 3.0;

/// A frame that is so far off the others.
DepthFrames::FrameCounts taken(double off)
{
    return {1000, 500, 100, off};
}

/// A frame that shows only what enough others do.
DepthFrames::FrameCounts left_out()
{
    return {1000, 0, 0, 0.0};
}

veld::FramesOff judged(std::vector<DepthFrames::FrameCounts> const& counts)
{
    std::vector<std::string> const names(counts.size(), "frame");
    return veld::find_frames_off(veld::frame_distances(counts, 6.0, names), NOISE);
}

TEST(FrameJudge, FramesLeftOutDoNotMakeOthersLookFarOff)
{
    // Three times the middle, which is 6, are 18.
    auto const found = judged(
        {left_out(), taken(6.0), left_out(), taken(14.0), left_out(), taken(6.0), left_out()});
    EXPECT_EQ(found.middle, 6.0);
    EXPECT_THAT(found.far_off, IsEmpty());
    EXPECT_THAT(found.alone, IsEmpty());
}

TEST(FrameJudge, NamesFramesThatAreFarOffOrFromNone)
{
    DepthFrames::FrameCounts const nothing_left{1000, 0, 0, -1.0};
    auto const found =
        judged({taken(6.0), taken(6.0), taken(18.5), taken(6.0), nothing_left, left_out()});
    EXPECT_THAT(found.far_off, ElementsAre(2U));
    EXPECT_THAT(found.alone, ElementsAre(4U));
}

} // namespace
