#include "algorithmVeld/reconstruction/frames/FrameChoice.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "tests/reconstruction/frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

std::vector<RangeData const*> list_of(std::vector<RangeData> const& frames)
{
    std::vector<RangeData const*> list;
    for (auto const& frame : frames)
    {
        list.push_back(&frame);
    }
    return list;
}

std::vector<char> chosen(std::vector<RangeData> const& frames)
{
    return detail::choose_frames(list_of(frames), 4.0, detail::PlaceSide::NORMAL);
}

} // namespace

TEST(FrameChoice, KeepsAllOfAFew)
{
    std::vector<RangeData> const frames(detail::FEW_FRAMES, flat_frame(20, 20, 1.0F));
    EXPECT_EQ(chosen(frames), std::vector<char>(detail::FEW_FRAMES, 1));
    EXPECT_TRUE(chosen({}).empty());
}

TEST(FrameChoice, KeepsEnoughFramesOfOnePlaceFromAllOverTheList)
{
    std::vector<RangeData> const frames(192, flat_frame(20, 20, 1.0F));
    auto const stays = chosen(frames);
    EXPECT_EQ(std::accumulate(stays.begin(), stays.end(), 0), 24);
    for (std::size_t quarter = 0; quarter < 4; ++quarter)
    {
        auto const begin = stays.begin() + static_cast<std::ptrdiff_t>(48 * quarter);
        EXPECT_NEAR(std::accumulate(begin, begin + 48, 0), 6, 2);
    }
}

TEST(FrameChoice, KeepsEachFrameThatShowsAPlaceOfItsOwn)
{
    std::vector<RangeData> frames(120, flat_frame(20, 20, 1.0F));
    frames[41] = flat_frame(20, 20, 1.0F, Vector3f(100.0F, 0.0F, 0.0F));
    // Seen from behind.
    frames[98] = flat_frame(20, 20, 1.0F);
    std::fill(frames[98].vNrv.begin(), frames[98].vNrv.end(), Vector3f(0.0F, 0.0F, -1.0F));
    auto const stays = chosen(frames);
    EXPECT_EQ(stays[41], 1);
    EXPECT_EQ(stays[98], 1);
    EXPECT_EQ(std::accumulate(stays.begin(), stays.end(), 0), 24 + 2);
}

TEST(FrameChoice, KeepsFramesThatAreTooFarOutToBeCompared)
{
    std::vector<RangeData> const frames(100, flat_frame(20, 20, 1.0F, Vector3f(3e6F, 0.0F, 0.0F)));
    EXPECT_EQ(chosen(frames), std::vector<char>(100, 1));
}

TEST(FrameOverlap, FramesThatShowOnlyWhatEnoughOthersDoLoseAllPoints)
{
    std::vector<RangeData> const frames(100, flat_frame(20, 20, 1.0F));
    FrameOverlap overlap;
    std::vector<RangeData> kept;
    ASSERT_EQ(overlap.remove_overlap(list_of(frames), kept), RET_SUCCESS);
    ASSERT_EQ(kept.size(), frames.size());
    std::size_t points = 0;
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        auto const& counts = overlap.frame_counts()[f];
        EXPECT_EQ(counts.points, 400U);
        EXPECT_EQ(counts.overlapped, 400U);
        EXPECT_EQ(counts.removed, 400U - kept[f].get_vn());
        EXPECT_EQ(counts.cells, 361U);
        EXPECT_EQ(kept[f].grid_rows, 20);
        points += kept[f].get_vn();
    }
    // One layer of them is left.
    EXPECT_EQ(points, 400U);
}
