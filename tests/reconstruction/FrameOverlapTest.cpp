#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/reconstruction/MeshMerge.h"
#include "tests/reconstruction/frames.h"
#include "tests/reconstruction/real_frames.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/real_data.h"
#include "tests/support/steps.h"
#include "tests/support/threads.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{

constexpr float NAN_FLOAT = std::numeric_limits<float>::quiet_NaN();

std::vector<RangeData> without_overlap(std::vector<RangeData> const& frames,
                                       FrameOverlap operation = FrameOverlap())
{
    std::vector<RangeData> result;
    EXPECT_EQ(operation.remove_overlap(pointers(frames), result), RET_SUCCESS);
    EXPECT_EQ(result.size(), frames.size());
    return result;
}

std::size_t points_of(std::vector<RangeData> const& frames)
{
    std::size_t n = 0;
    for (auto const& frame : frames)
    {
        n += frame.get_vn();
    }
    return n;
}

template <typename Value>
bool same_bytes(std::vector<Value> const& a, std::vector<Value> const& b)
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Value)) == 0);
}

bool same_bytes(RangeData const& a, RangeData const& b)
{
    return same_bytes(a.vCoord, b.vCoord) && a.has_vNormal == b.has_vNormal &&
           same_bytes(a.vNrv, b.vNrv) && a.has_vColor == b.has_vColor &&
           same_bytes(a.vColor, b.vColor) && a.has_vFlag == b.has_vFlag &&
           same_bytes(a.vFlag, b.vFlag) && same_bytes(a.vUV, b.vUV) &&
           same_bytes(a.cellFlag, b.cellFlag) && a.grid_rows == b.grid_rows &&
           a.grid_cols == b.grid_cols && a.pose.get_rotation() == b.pose.get_rotation() &&
           a.pose.get_translation() == b.pose.get_translation();
}

bool same_bytes(std::vector<RangeData> const& a, std::vector<RangeData> const& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](RangeData const& x, RangeData const& y) { return same_bytes(x, y); });
}

std::vector<Vector3f> global_points(RangeData const& frame)
{
    std::vector<Vector3f> points(frame.get_vn());
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        frame.get_global_vCoord(i, points[i]);
    }
    return points;
}

/// The largest distance from a point of `frames` to the points of `kept`.
float farthest_from(std::vector<RangeData> const& frames, std::vector<RangeData> const& kept)
{
    std::vector<Vector3f> points;
    for (auto const& frame : kept)
    {
        auto const own = global_points(frame);
        points.insert(points.end(), own.begin(), own.end());
    }
    KdTree3f tree;
    tree.build_kdtree(points);
    float farthest = 0.0F;
    for (auto const& frame : frames)
    {
        for (auto const& point : global_points(frame))
        {
            int index = -1;
            float square = 0.0F;
            EXPECT_TRUE(tree.nearest_search(point, index, square));
            farthest = std::max(farthest, std::sqrt(square));
        }
    }
    return farthest;
}

/// The least distance between points of different frames.
float nearest_across(std::vector<RangeData> const& frames)
{
    float nearest = std::numeric_limits<float>::infinity();
    for (std::size_t a = 0; a < frames.size(); ++a)
    {
        KdTree3f tree;
        tree.build_kdtree(global_points(frames[a]));
        for (std::size_t b = a + 1; b < frames.size(); ++b)
        {
            for (auto const& point : global_points(frames[b]))
            {
                int index = -1;
                float square = 0.0F;
                if (tree.nearest_search(point, index, square))
                {
                    nearest = std::min(nearest, std::sqrt(square));
                }
            }
        }
    }
    return nearest;
}

RangeData turned_over(RangeData frame)
{
    for (auto& normal : frame.vNrv)
    {
        normal = -normal;
    }
    return frame;
}

// ---------------------------------------------------------------------------------------------

TEST(FrameOverlap, NoFramesAreRefused)
{
    LogCapture const log;
    std::vector<RangeData> result(1);
    EXPECT_EQ(FrameOverlap().remove_overlap({}, result), RET_INVALID_INPUT);
    EXPECT_THAT(result, IsEmpty());
    EXPECT_THAT(log.text(), HasSubstr("  empty ranges.\n"));
}

TEST(FrameOverlap, AFrameWithoutNormalsIsRefusedAndNamed)
{
    std::vector<RangeData> frames = {flat_frame(5, 5, 1.0F), flat_frame(5, 5, 1.0F)};
    frames[1].disable_vNormal();
    LogCapture const log;
    std::vector<RangeData> result(1);
    EXPECT_EQ(FrameOverlap().remove_overlap(pointers(frames), result), RET_INVALID_INPUT);
    EXPECT_THAT(result, IsEmpty());
    EXPECT_THAT(log.text(), HasSubstr("  range 1 missing vertex normal.\n"));
}

TEST(FrameOverlap, ANullPointerIsAFrameWithoutNormals)
{
    std::vector<RangeData> result(1);
    EXPECT_EQ(FrameOverlap().remove_overlap({nullptr}, result), RET_INVALID_INPUT);
    EXPECT_THAT(result, IsEmpty());
}

TEST(FrameOverlap, AShortChannelThrowsAndLeavesNoResult)
{
    std::vector<RangeData> frames = {flat_frame(5, 5, 1.0F)};
    std::vector<RangeData> result(1);
    frames[0].cellFlag.pop_back();
    EXPECT_THROW(FrameOverlap().remove_overlap(pointers(frames), result), std::out_of_range);
    EXPECT_THAT(result, IsEmpty());
    frames[0] = flat_frame(5, 5, 1.0F);
    frames[0].vNrv.pop_back();
    EXPECT_THROW(FrameOverlap().remove_overlap(pointers(frames), result), std::out_of_range);
    frames[0] = flat_frame(5, 5, 1.0F);
    frames[0].vUV.pop_back();
    EXPECT_THROW(FrameOverlap().remove_overlap(pointers(frames), result), std::out_of_range);
}

TEST(FrameOverlap, OneFrameStaysAsItIs)
{
    std::vector<RangeData> const frames = {flat_frame(12, 9, 0.5F)};
    EXPECT_TRUE(same_bytes(without_overlap(frames), frames));
}

TEST(FrameOverlap, FramesApartStayAsTheyAre)
{
    std::vector<RangeData> const frames = {flat_frame(12, 9, 0.5F),
                                           flat_frame(12, 9, 0.5F, Vector3f(10, 0, 0))};
    EXPECT_TRUE(same_bytes(without_overlap(frames), frames));
}

TEST(FrameOverlap, EmptyFramesStayEmptyAmongOthers)
{
    RangeData empty;
    empty.enable_vNormal();
    std::vector<RangeData> const frames = {empty, flat_frame(12, 9, 0.5F), empty};
    EXPECT_TRUE(same_bytes(without_overlap(frames), frames));
    EXPECT_TRUE(same_bytes(without_overlap({empty}), {empty}));
}

TEST(FrameOverlap, OfFramesThatAreTheSameTheFirstStays)
{
    std::vector<RangeData> const frames(3, flat_frame(30, 30, 0.5F));
    auto const kept = without_overlap(frames);
    EXPECT_TRUE(same_bytes(kept[0], frames[0]));
    EXPECT_EQ(kept[1].get_vn(), 0U);
    EXPECT_EQ(kept[2].get_vn(), 0U);
}

// The denser frame saw better: it was nearer, or looked less aslant.
TEST(FrameOverlap, TheDenserFrameStays)
{
    std::vector<RangeData> const frames = {flat_frame(41, 41, 0.75F), flat_frame(61, 61, 0.5F)};
    auto const kept = without_overlap(frames);
    EXPECT_TRUE(same_bytes(kept[1], frames[1]));
    EXPECT_EQ(kept[0].get_vn(), 0U);
}

TEST(FrameOverlap, AFrameCountsLessTowardsItsBorder)
{
    // Two flat frames over each other for 20 mm, off each other by half a step: the line where they
    // meet is in the middle of it, where both borders are equally far.
    std::vector<RangeData> const frames = {flat_frame(61, 81, 0.5F),
                                           flat_frame(61, 81, 0.5F, Vector3f(20.25F, 0.25F, 0))};
    FrameOverlap operation;
    operation.set_border_cells(40);
    auto const kept = without_overlap(frames, operation);
    float end = 0.0F;
    float begin = 60.0F;
    for (auto const& point : global_points(kept[0]))
    {
        end = point.y() > 10.0F && point.y() < 20.0F ? std::max(end, point.x()) : end;
    }
    for (auto const& point : global_points(kept[1]))
    {
        begin = point.y() > 10.0F && point.y() < 20.0F ? std::min(begin, point.x()) : begin;
    }
    EXPECT_NEAR(end, 30.0F, 1.5F);
    EXPECT_NEAR(begin, 30.0F, 1.5F);
}

TEST(FrameOverlap, TheGapBetweenBordersIsAboutOneSpacing)
{
    std::vector<RangeData> const frames = {flat_frame(61, 81, 0.5F),
                                           flat_frame(61, 81, 0.5F, Vector3f(20.25F, 0.25F, 0))};
    auto const kept = without_overlap(frames);
    EXPECT_LT(points_of(kept), 61U * 81U * 2U - 61U * 36U);
    EXPECT_GE(nearest_across(kept), 0.7F * 0.5F - 1e-4F);
    EXPECT_LE(farthest_from(frames, kept), 1.0F * 0.5F + 1e-4F);
}

TEST(FrameOverlap, TheSeamOfTwoFlatFramesIsClosedByTheMerge)
{
    std::vector<RangeData> const frames = {flat_frame(61, 81, 0.5F),
                                           flat_frame(61, 81, 0.5F, Vector3f(20.25F, 0.25F, 0))};
    auto const kept = without_overlap(frames);
    MeshMerge merger;
    merger.set_point_spacing(0.5);
    TriMesh mesh;
    std::vector<int> vertex_frames;
    merger.mesh_merge(pointers(kept), 0.5, mesh, false, 0, 10, 2.0, vertex_frames);
    // One border is left, around both.
    EXPECT_EQ(count_loops(mesh), 1);
}

// Normals tell the sides of a wall apart, however thin it is.
TEST(FrameOverlap, BothSidesOfAThinWallStay)
{
    std::vector<RangeData> const frames = {
        flat_frame(30, 30, 0.5F), turned_over(flat_frame(30, 30, 0.5F, Vector3f(0, 0, -0.2F)))};
    EXPECT_TRUE(same_bytes(without_overlap(frames), frames));
}

TEST(FrameOverlap, LayersFartherApartThanTheLimitStay)
{
    std::vector<RangeData> const frames = {flat_frame(30, 30, 0.5F),
                                           flat_frame(30, 30, 0.5F, Vector3f(0, 0, 1.2F))};
    EXPECT_TRUE(same_bytes(without_overlap(frames), frames)) << "2 spacings are 1 mm";
    FrameOverlap wider;
    wider.set_layer_factor(3.0);
    EXPECT_EQ(without_overlap(frames, wider)[1].get_vn(), 0U);
}

TEST(FrameOverlap, OfThreeLayersOneStaysEverywhere)
{
    std::vector<RangeData> frames;
    for (int i = 0; i < 3; ++i)
    {
        auto const f = static_cast<float>(i);
        frames.push_back(flat_frame(61, 61, 0.5F, Vector3f(7.1F * f, 4.3F * f, 0.1F * f)));
    }
    auto const kept = without_overlap(frames);
    EXPECT_GT(nearest_across(kept), 0.3F);
    EXPECT_LE(farthest_from(frames, kept), 0.75F);
}

TEST(FrameOverlap, PointsThatAreNotFiniteStayAndNothingElseChanges)
{
    std::vector<RangeData> frames(2, flat_frame(20, 20, 0.5F));
    frames[1].vCoord[45].x() = NAN_FLOAT;
    frames[1].vCoord[160].z() = std::numeric_limits<float>::infinity();
    frames[1].vCoord[201].y() = 3e38F;
    auto const kept = without_overlap(frames);
    EXPECT_TRUE(same_bytes(kept[0], frames[0]));
    ASSERT_EQ(kept[1].get_vn(), 3U);
    EXPECT_TRUE(std::isnan(kept[1].vCoord[0].x()));
    EXPECT_THAT(kept[1].cellFlag, testing::Each(0));
}

TEST(FrameOverlap, FramesOfNothingButBadPointsStay)
{
    auto bad = flat_frame(5, 5, 0.5F);
    std::fill(bad.vCoord.begin(), bad.vCoord.end(), Vector3f::Constant(NAN_FLOAT));
    auto zero = flat_frame(5, 5, 0.0F);
    auto const kept = without_overlap({bad, zero, zero});
    EXPECT_EQ(points_of(kept), 75U);
}

TEST(FrameOverlap, PointsComeBackOnlyWhereNoOtherFrameIsNearerThanTheGapFactorSays)
{
    std::vector<RangeData> const frames = {flat_frame(61, 81, 0.5F),
                                           flat_frame(61, 81, 0.5F, Vector3f(20.25F, 0.25F, 0))};
    auto const kept_with = [&](double gap_factor)
    {
        FrameOverlap operation;
        operation.set_gap_factor(gap_factor);
        return points_of(without_overlap(frames, operation));
    };
    EXPECT_GT(kept_with(0.0), kept_with(0.75));
    EXPECT_GT(kept_with(0.7), kept_with(2.0)) << "the frames are 0.71 spacings apart";
}

TEST(FrameOverlap, SettingsThatAreNoNumbersTakeNothing)
{
    std::vector<RangeData> const frames(2, flat_frame(20, 20, 0.5F));
    FrameOverlap operation;
    operation.set_cover_factor(std::nan(""));
    EXPECT_EQ(points_of(without_overlap(frames, operation)), 800U);
    operation.set_cover_factor(1.0);
    operation.set_normal_angle_thr(std::nan(""));
    EXPECT_EQ(points_of(without_overlap(frames, operation)), 800U);
    operation.set_normal_angle_thr(60.0);
    operation.set_border_cells(-5);
    EXPECT_EQ(points_of(without_overlap(frames, operation)), 400U);
}

TEST(FrameOverlap, AZeroNormalAtTheFringeCoversNothingButIsCovered)
{
    std::vector<RangeData> frames(2, flat_frame(20, 20, 0.5F));
    for (auto& normal : frames[0].vNrv)
    {
        normal.setZero();
    }
    auto const kept = without_overlap(frames);
    EXPECT_EQ(kept[0].get_vn(), 0U);
    EXPECT_TRUE(same_bytes(kept[1], frames[1]));
}

TEST(FrameOverlap, CellsStretchedOverAJumpLoseTheirFlag)
{
    auto frame = flat_frame(10, 10, 0.5F);
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        frame.vCoord[i].z() = frame.vUV[i].col < 5 ? 0.0F : -9.0F;
    }
    auto const kept = without_overlap({frame});
    EXPECT_EQ(kept[0].get_vn(), 100U);
    EXPECT_EQ(std::count(frame.cellFlag.begin(), frame.cellFlag.end(), 1), 81);
    EXPECT_EQ(std::count(kept[0].cellFlag.begin(), kept[0].cellFlag.end(), 1), 72);
}

// In a mesh the two cells would be two fans of faces at one vertex.
TEST(FrameOverlap, OfTwoCellsThatMeetInACornerAloneOneGoes)
{
    auto frame = make_frame(
        3, 3,
        [](int r, int c)
        { return Vector3f(0.5F * static_cast<float>(c), 0.5F * static_cast<float>(r), 0); },
        [](int r, int c) { return r + c == 2 && r != 1; });
    ASSERT_EQ(std::count(frame.cellFlag.begin(), frame.cellFlag.end(), 1), 2);
    auto const kept = without_overlap({frame});
    EXPECT_EQ(kept[0].get_vn(), 7U);
    EXPECT_EQ(std::count(kept[0].cellFlag.begin(), kept[0].cellFlag.end(), 1), 1);
}

TEST(FrameOverlap, FramesThatStayAreLegalWithTheirChannelsInStep)
{
    std::vector<RangeData> frames = {flat_frame(61, 81, 0.5F),
                                     flat_frame(61, 81, 0.5F, Vector3f(20.25F, 0.25F, 0))};
    for (auto& frame : frames)
    {
        frame.enable_vColor();
        frame.enable_vFlag();
        for (std::size_t i = 0; i < frame.get_vn(); ++i)
        {
            frame.vColor[i] = 0.01F * frame.vCoord[i];
            frame.vFlag[i] = static_cast<unsigned char>(frame.vUV[i].row % 3);
        }
    }
    auto const kept = without_overlap(frames);
    for (auto const& frame : kept)
    {
        EXPECT_TRUE(frame.is_legal());
        EXPECT_EQ(frame.grid_rows, 61);
        EXPECT_EQ(frame.grid_cols, 81);
        ASSERT_EQ(frame.vFlag.size(), frame.get_vn());
        for (std::size_t i = 0; i < frame.get_vn(); ++i)
        {
            EXPECT_EQ(frame.vColor[i], 0.01F * frame.vCoord[i]);
            EXPECT_EQ(frame.vFlag[i], frame.vUV[i].row % 3);
        }
    }
}

TEST(FrameOverlap, CountsTellWhatBecameOfEachFrame)
{
    std::vector<RangeData> const frames = {flat_frame(30, 30, 0.5F), flat_frame(30, 30, 0.5F),
                                           flat_frame(5, 5, 0.5F, Vector3f(50, 0, 0))};
    FrameOverlap operation;
    std::vector<RangeData> result;
    operation.remove_overlap(pointers(frames), result);
    EXPECT_NEAR(operation.used_point_spacing(), 0.5, 1e-6);
    auto const& counts = operation.frame_counts();
    ASSERT_EQ(counts.size(), 3U);
    auto const numbers = [](FrameOverlap::FrameCounts const& c) {
        return std::vector<std::size_t>{c.points, c.overlapped, c.removed, c.cells, c.cells_left};
    };
    EXPECT_THAT(numbers(counts[0]), ElementsAre(900, 900, 0, 841, 841));
    EXPECT_THAT(numbers(counts[1]), ElementsAre(900, 900, 900, 841, 0));
    EXPECT_THAT(numbers(counts[2]), ElementsAre(25, 0, 0, 16, 16));
    operation.remove_overlap({}, result);
    EXPECT_THAT(operation.frame_counts(), IsEmpty());
    EXPECT_EQ(operation.used_point_spacing(), 0.0);
}

TEST(FrameOverlap, TheLogTellsWhatWasTaken)
{
    std::vector<RangeData> const frames(2, flat_frame(30, 30, 0.5F));
    LogCapture const log;
    without_overlap(frames);
    EXPECT_EQ(log.text(), "remove_overlap() ..\n"
                          "  point spacing: 0.5\n"
                          "  range 0: 0 of 900 points removed, 900 overlapped\n"
                          "  range 1: 900 of 900 points removed, 900 overlapped\n"
                          "  removed points: 900 of 1800\n");
}

TEST(FrameOverlap, StepsAreTimedUnderOneParent)
{
    std::vector<RangeData> const frames(2, flat_frame(30, 30, 0.5F));
    gLH.clear_steps();
    without_overlap(frames);
    EXPECT_EQ(outline(gLH),
              "frame-overlap(list-frames find-overlap compare-frames choose-points copy-frames)");
    FrameOverlap operation;
    operation.set_averages_layers(true);
    gLH.clear_steps();
    without_overlap(frames, operation);
    EXPECT_EQ(outline(gLH), "frame-overlap(list-frames find-overlap compare-frames choose-points "
                            "average-layers copy-frames)");
}

TEST(FrameOverlap, NothingIsLoggedWithTheSwitchOff)
{
    std::vector<RangeData> const frames(2, flat_frame(30, 30, 0.5F));
    LogCapture const log(false);
    without_overlap(frames);
    EXPECT_THAT(log.text(), IsEmpty());
}

TEST(FrameOverlap, FramesAreOnlyRead)
{
    auto const frames = random_frames(3, 4, 40, 0.5F);
    auto const before = frames;
    without_overlap(frames);
    EXPECT_TRUE(same_bytes(frames, before));
}

TEST(FrameOverlap, EveryPlaceKeepsAPointNearIt)
{
    for (unsigned seed = 0; seed < 10; ++seed)
    {
        auto const frames = random_frames(seed, 5, 40, 0.5F);
        FrameOverlap operation;
        std::vector<RangeData> kept;
        operation.remove_overlap(pointers(frames), kept);
        EXPECT_LT(points_of(kept), points_of(frames));
        // Two spacings up and, where sampling is coarse, one and a half to the side: 2.5 in all.
        EXPECT_LE(farthest_from(frames, kept), 2.5 * operation.used_point_spacing() + 1e-4)
            << "seed " << seed;
    }
}

TEST(FrameOverlap, TheResultIsTheSameForAnyNumberOfThreads)
{
    auto const frames = random_frames(11, 6, 60, 0.5F);
    std::vector<std::vector<RangeData>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        results.push_back(without_overlap(frames));
    }
    EXPECT_LT(points_of(results[0]), points_of(frames));
    EXPECT_TRUE(same_bytes(results[0], results[1]));
    EXPECT_TRUE(same_bytes(results[0], results[2]));
}

TEST(FrameOverlap, TheChoiceFollowsTheScale)
{
    auto const frames = random_frames(5, 4, 40, 0.5F);
    auto doubled = frames;
    for (auto& frame : doubled)
    {
        for (auto& point : frame.vCoord)
        {
            point *= 2.0F;
        }
    }
    auto const kept = without_overlap(frames);
    auto const kept_doubled = without_overlap(doubled);
    for (std::size_t i = 0; i < kept.size(); ++i)
    {
        EXPECT_TRUE(same_bytes(kept[i].vUV, kept_doubled[i].vUV));
    }
}

TEST(FrameOverlap, PosesPutFramesTogether)
{
    auto frame = flat_frame(30, 30, 0.5F);
    RigidMatrix pose;
    pose.set_rotation(Eigen::AngleAxisd(1.0, Vector3d::UnitX()).toRotationMatrix());
    pose.set_translation(Vector3d(100, 0, 0));
    auto moved = frame;
    moved.set_rigidMatrix(pose);
    auto const apart = without_overlap({frame, moved});
    EXPECT_EQ(points_of(apart), 1800U);
    frame.set_rigidMatrix(pose);
    auto const together = without_overlap({frame, moved});
    EXPECT_EQ(together[1].get_vn(), 0U);
}

// Their points lie in the middle of each other's cells, as far from all corners as can be.
TEST(FrameOverlap, FramesHalfAStepOffEachOtherDoNotInterleave)
{
    std::vector<RangeData> const frames = {flat_frame(40, 40, 0.5F),
                                           flat_frame(40, 40, 0.5F, Vector3f(0.25F, 0.25F, 0))};
    auto const kept = without_overlap(frames);
    // One frame, and of the other a line or two along two of its borders.
    EXPECT_GE(points_of(kept), 40U * 40U);
    EXPECT_LE(points_of(kept), 42U * 42U);
}

// A second run finds next to nothing: what one leaves does not overlap.
TEST(FrameOverlap, ASecondRunTakesNextToNothing)
{
    auto const frames = random_frames(7, 4, 60, 0.5F);
    auto const once = without_overlap(frames);
    auto const twice = without_overlap(once);
    auto const taken = static_cast<double>(points_of(once) - points_of(twice));
    EXPECT_LE(taken, 0.02 * static_cast<double>(points_of(once)));
}

TEST(FrameOverlap, ManyPointsInOnePlaceEndInTime)
{
    auto frame = flat_frame(200, 200, 0.5F);
    auto heap = flat_frame(200, 200, 0.5F);
    for (std::size_t i = 0; i < heap.get_vn(); ++i)
    {
        heap.vCoord[i] = heap.vUV[i].row < 150 ? Vector3f(50, 50, 0) : heap.vCoord[i];
    }
    auto const kept = without_overlap({frame, heap, heap});
    EXPECT_GT(points_of(kept), 0U);
}

// ---------------------------------------------------------------------------------------------

// ----------------------------------------------------------------------------- mean of the layers

std::vector<RangeData> averaged(std::vector<RangeData> const& frames,
                                FrameOverlap operation = FrameOverlap())
{
    operation.set_averages_layers(true);
    return without_overlap(frames, operation);
}

TEST(FrameOverlap, PointsThatStayAreThoseOfTheFramesUnlessTheMeanIsAskedFor)
{
    auto const frames = random_frames(3, 4, 40, 0.5F);
    auto const kept = without_overlap(frames);
    auto const moved = averaged(frames);
    bool any_moved = false;
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        MatrixXi map;
        frames[f].create_vertices_index_map(map);
        // The mean changes nothing of the choice.
        ASSERT_TRUE(same_bytes(kept[f].vUV, moved[f].vUV));
        EXPECT_TRUE(same_bytes(kept[f].vNrv, moved[f].vNrv));
        for (std::size_t i = 0; i < kept[f].get_vn(); ++i)
        {
            auto const source =
                static_cast<std::size_t>(map(kept[f].vUV[i].row, kept[f].vUV[i].col));
            EXPECT_EQ(kept[f].vCoord[i], frames[f].vCoord[source]);
            any_moved = any_moved || moved[f].vCoord[i] != kept[f].vCoord[i];
        }
    }
    EXPECT_TRUE(any_moved);
}

TEST(FrameOverlap, LayersThatWereSeenEquallyWellMeetInTheMiddle)
{
    auto const kept =
        averaged({flat_frame(30, 30, 0.5F), flat_frame(30, 30, 0.5F, Vector3f(0, 0, 0.1F))});
    ASSERT_EQ(kept[0].get_vn(), 900U);
    EXPECT_EQ(kept[1].get_vn(), 0U);
    auto const before = flat_frame(30, 30, 0.5F);
    for (std::size_t i = 0; i < 900; ++i)
    {
        EXPECT_EQ(kept[0].vCoord[i].x(), before.vCoord[i].x());
        EXPECT_EQ(kept[0].vCoord[i].y(), before.vCoord[i].y());
        EXPECT_NEAR(kept[0].vCoord[i].z(), 0.05F, 1e-6F);
    }
}

// Half the spacing is four times as many points a square, so the dense layer weighs 4 of 5.
TEST(FrameOverlap, ADenserLayerWeighsMoreInTheMean)
{
    auto const kept =
        averaged({flat_frame(41, 41, 1.0F), flat_frame(81, 81, 0.5F, Vector3f(0, 0, 0.1F))});
    int inner = 0;
    for (auto const& point : kept[1].vCoord)
    {
        bool const is_inner =
            point.x() > 10.0F && point.x() < 30.0F && point.y() > 10.0F && point.y() < 30.0F;
        if (is_inner)
        {
            ++inner;
            EXPECT_NEAR(point.z(), 0.08F, 1e-6F);
        }
    }
    EXPECT_EQ(inner, 39 * 39);
}

// One cell of the border band of eight in from the border a frame counts two ninths.
TEST(FrameOverlap, ALayerWeighsLessTowardsItsBorder)
{
    auto const kept =
        averaged({flat_frame(41, 41, 0.5F), flat_frame(41, 41, 0.5F, Vector3f(9.5F, 0, 0.1F))});
    int checked = 0;
    for (auto const& point : kept[0].vCoord)
    {
        // The second column of the other frame, in the middle of the first.
        if (point.x() == 10.0F && point.y() > 5.0F && point.y() < 15.0F)
        {
            ++checked;
            EXPECT_NEAR(point.z(), 0.1F * 2.0F / 11.0F, 1e-6F);
        }
    }
    EXPECT_EQ(checked, 19);
}

// The other layer is 0.1 and 0.2 high in turn. Of two columns beside a point, 0.1 and 0.4 away, the
// near one weighs 1 / (0.05^2 + 0.1^2) and the other 1 / (0.05^2 + 0.4^2), that is 13 to 1; its
// cells are a little larger, so it weighs 0.981 of the own layer.
TEST(FrameOverlap, OfALayerTheNearestPointsTellTheMost)
{
    auto const wave =
        make_frame(30, 30,
                   [](int r, int c)
                   {
                       return Vector3f(0.5F * static_cast<float>(c) + 0.1F,
                                       0.5F * static_cast<float>(r), c % 2 == 0 ? 0.1F : 0.2F);
                   });
    auto const kept = averaged({flat_frame(30, 30, 0.5F), wave});
    int inner = 0;
    for (std::size_t i = 0; i < kept[0].get_vn(); ++i)
    {
        auto const [row, col] = kept[0].vUV[i];
        if (row >= 10 && row < 20 && col >= 10 && col < 20)
        {
            ++inner;
            EXPECT_NEAR(kept[0].vCoord[i].z(), col % 2 == 0 ? 0.05306F : 0.09547F, 1e-4F);
        }
    }
    EXPECT_EQ(inner, 100);
}

TEST(FrameOverlap, WhereThereIsOneLayerNothingMoves)
{
    auto const frame = random_frames(2, 1, 30, 0.5F)[0];
    EXPECT_TRUE(same_bytes(averaged({frame}), {frame}));
    auto far = frame;
    far.pose.set_translation(Vector3d(0, 0, 50));
    EXPECT_TRUE(same_bytes(averaged({frame, far}), {frame, far}));
}

TEST(FrameOverlap, NoiseFallsWithTheNumberOfLayers)
{
    constexpr float SIGMA = 0.02F;
    std::mt19937 random(5);
    std::normal_distribution<float> noise(0.0F, SIGMA);
    std::vector<RangeData> frames;
    for (int f = 0; f < 9; ++f)
    {
        frames.push_back(make_frame(40, 40,
                                    [&](int r, int c) {
                                        return Vector3f(0.5F * static_cast<float>(c),
                                                        0.5F * static_cast<float>(r),
                                                        noise(random));
                                    }));
    }
    auto const rms = [](std::vector<RangeData> const& kept)
    {
        double sum = 0.0;
        for (auto const& frame : kept)
        {
            for (auto const& point : frame.vCoord)
            {
                sum += static_cast<double>(point.z() * point.z());
            }
        }
        return std::sqrt(sum / static_cast<double>(points_of(kept)));
    };
    // A third of it with nine layers, if each told by a point of its own; three points of each make
    // it less still.
    EXPECT_GT(rms(without_overlap(frames)), 0.9F * SIGMA);
    EXPECT_LT(rms(averaged(frames)), 0.36F * SIGMA);
}

TEST(FrameOverlap, PointsMoveAlongTheirNormalsHoweverFramesStand)
{
    RigidMatrix pose;
    pose.set_rotation(Eigen::AngleAxisd(1.0, Vector3d(1, 2, 3).normalized()).toRotationMatrix());
    pose.set_translation(Vector3d(10, -20, 5));
    std::vector<RangeData> frames = {flat_frame(30, 30, 0.5F),
                                     flat_frame(30, 30, 0.5F, Vector3f(0, 0, 0.1F))};
    for (auto& frame : frames)
    {
        frame.set_rigidMatrix(pose);
        // The length of a normal tells nothing.
        for (auto& normal : frame.vNrv)
        {
            normal *= 3.0F;
        }
    }
    auto const kept = averaged(frames);
    ASSERT_EQ(kept[0].get_vn(), 900U);
    for (auto const& point : kept[0].vCoord)
    {
        EXPECT_NEAR(point.z(), 0.05F, 1e-5F);
    }
}

// The tangential plane of a steep neighbour leads away from the layer.
TEST(FrameOverlap, PlanesFartherAwayThanALayerTellNothing)
{
    auto const flat = flat_frame(30, 30, 0.5F);
    auto steep = flat_frame(30, 30, 0.5F, Vector3f(0.2F, 0, 0));
    for (auto& normal : steep.vNrv)
    {
        // A fifth of a millimetre to the side its plane is four millimetres up.
        normal = Vector3f(0.99875F, 0, 0.05F);
    }
    FrameOverlap operation;
    operation.set_normal_angle_thr(89.0);
    for (auto const& frame : averaged({flat, steep}, operation))
    {
        for (auto const& point : frame.vCoord)
        {
            EXPECT_EQ(point.z(), 0.0F);
        }
    }
}

TEST(FrameOverlap, BadPointsSpoilNoMean)
{
    auto frames = random_frames(8, 5, 40, 0.5F);
    frames[1].vCoord[200] = Vector3f(NAN_FLOAT, 0, 0);
    frames[2].vNrv[300] = Vector3f::Zero();
    frames[3].vNrv[400] = Vector3f(NAN_FLOAT, 0, 1);
    int bad = 0;
    for (auto const& frame : averaged(frames))
    {
        for (auto const& point : frame.vCoord)
        {
            bad += point.allFinite() ? 0 : 1;
        }
    }
    EXPECT_EQ(bad, 1);
}

// The square of how much denser than that the frames are is beyond all floats.
TEST(FrameOverlap, AHugeSpacingSpoilsNoMean)
{
    FrameOverlap operation;
    operation.set_point_spacing(1.6e19);
    auto const kept = averaged({flat_frame(30, 30, 0.8F), flat_frame(30, 30, 1.0F)}, operation);
    for (auto const& frame : kept)
    {
        for (auto const& point : frame.vCoord)
        {
            EXPECT_EQ(point.z(), 0.0F);
        }
    }
}

TEST(FrameOverlap, TheMeanIsTheSameForAnyNumberOfThreads)
{
    auto const frames = random_frames(11, 6, 60, 0.5F);
    std::vector<std::vector<RangeData>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        results.push_back(averaged(frames));
    }
    EXPECT_TRUE(same_bytes(results[0], results[1]));
    EXPECT_TRUE(same_bytes(results[0], results[2]));
}

using FrameOverlapRealData = RealData;

TEST_F(FrameOverlapRealData, FramesLoseTheirLayersAndNoPlace)
{
    auto const frames = real_bunny_frames();
    ASSERT_EQ(frames.size(), 10U);
    FrameOverlap operation;
    std::vector<RangeData> kept;
    ASSERT_EQ(operation.remove_overlap(pointers(frames), kept), RET_SUCCESS);
    double const spacing = operation.used_point_spacing();
    EXPECT_NEAR(spacing, 0.6, 0.2);
    // The surface of the object, 57 thousand square millimetres, at about 0.4 of them a point.
    EXPECT_LT(points_of(kept), points_of(frames) / 2);
    EXPECT_GT(points_of(kept), points_of(frames) / 5);
    EXPECT_LE(farthest_from(frames, kept), 2.5 * spacing + 1e-4);
    for (auto const& frame : kept)
    {
        EXPECT_TRUE(frame.is_legal());
    }
    Threads const one(1);
    std::vector<RangeData> again;
    FrameOverlap().remove_overlap(pointers(frames), again);
    EXPECT_TRUE(same_bytes(kept, again));
}

} // namespace
