#include "algorithmVeld/reconstruction/FrameAlignment.h"

#include "algorithmVeld/reconstruction/registration/PoseSystem.h"
#include "tests/reconstruction/frames.h"
#include "tests/reconstruction/real_frames.h"
#include "tests/support/threads.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <limits>
#include <random>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

using Fate = FrameAlignment::Fate;
using Poses = std::vector<RigidMatrix>;

/// A turn by an angle in degrees about an axis through a place, then a step.
RigidMatrix motion(Vector3d const& axis, double angle, Vector3d const& step,
                   Vector3d const& about = Vector3d::Zero())
{
    RigidMatrix result;
    result.set_rotation(
        Eigen::AngleAxisd(angle * 3.141592653589793 / 180.0, axis.normalized()).toRotationMatrix());
    result.set_translation(about - result.get_rotation() * about + step);
    return result;
}

RigidMatrix after(RigidMatrix const& first, RigidMatrix const& second)
{
    RigidMatrix result;
    result.set_rotation(second.get_rotation() * first.get_rotation());
    result.set_translation(second.get_rotation() * first.get_translation() +
                           second.get_translation());
    return result;
}

RangeData moved(RangeData frame, RigidMatrix const& by)
{
    frame.set_rigidMatrix(after(frame.get_rigidMatrix(), by));
    return frame;
}

/// The same surface seen from a camera elsewhere: points move in the frame, the pose brings them
/// back.
RangeData in_own_coordinates(RangeData frame, RigidMatrix const& pose)
{
    RigidMatrix const back = pose.inverse();
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        frame.vCoord[i] = back * frame.vCoord[i];
        frame.vNrv[i] = back.transform_normal(frame.vNrv[i]);
    }
    frame.set_rigidMatrix(pose);
    return frame;
}

/// Three planes that meet at right angles, 40 x 40 each, as three parts of one grid. Coordinates
/// are exact.
RangeData corner_frame(float offset)
{
    constexpr int SIDE = 21;
    auto const along = [=](int k) { return 2.0F * static_cast<float>(k) + offset; };
    auto const position = [&](int r, int c) -> Vector3f
    {
        float const a = along(r);
        float const b = along(c % (SIDE + 1));
        int const plane = c / (SIDE + 1);
        return plane == 0 ? Vector3f(a, b, 0) : plane == 1 ? Vector3f(0, a, b) : Vector3f(b, 0, a);
    };
    auto const is_gap = [](int, int c) { return c % (SIDE + 1) == SIDE; };
    RangeData frame = make_frame(SIDE, 3 * (SIDE + 1) - 1, position, is_gap);
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        int const plane = frame.vUV[i].col / (SIDE + 1);
        frame.vNrv[i] = plane == 0   ? Vector3f(0, 0, 1)
                        : plane == 1 ? Vector3f(1, 0, 0)
                                     : Vector3f(0, 1, 0);
    }
    return frame;
}

/// What a deviation along z is along the normals of hills.
double mean_slant()
{
    RangeData const frame = hilly_frame(0, 0);
    double sum = 0.0;
    for (auto const& normal : frame.vNrv)
    {
        sum += static_cast<double>(normal.z());
    }
    return sum / static_cast<double>(frame.get_vn());
}

/// Four pieces of hills, each of which overlaps the next.
std::vector<RangeData> four_hills(double noise = 0.0)
{
    return {hilly_frame(0, 0, 60, 1, noise), hilly_frame(25.4, 3.3, 60, 2, noise),
            hilly_frame(28.2, 30.7, 60, 3, noise), hilly_frame(2.6, 26.1, 60, 4, noise)};
}

/// The farthest that a pose takes a corner of a box of 80 mm from where another one does.
double farthest(RigidMatrix const& a, RigidMatrix const& b)
{
    double result = 0.0;
    for (double const x : {0.0, 80.0})
    {
        for (double const y : {0.0, 80.0})
        {
            Vector3d const p(x, y, 0.0);
            result = std::max(result, (a.get_rotation() * p + a.get_translation() -
                                       b.get_rotation() * p - b.get_translation())
                                          .norm());
        }
    }
    return result;
}

RigidMatrix random_motion(std::mt19937& random, double shift, double turn)
{
    std::normal_distribution<double> normal;
    auto const direction = [&]
    { return Vector3d(normal(random), normal(random), normal(random)).normalized(); };
    Vector3d const axis = direction();
    return motion(axis, turn, shift * direction(), Vector3d(40, 40, 0));
}

Poses aligned(std::vector<RangeData> const& frames, FrameAlignment alignment = {})
{
    Poses poses;
    EXPECT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_EQ(poses.size(), frames.size());
    return poses;
}

TEST(FrameAlignment, ACornerOfThreePlanesGivesThePoseBack)
{
    RigidMatrix const off = motion({1, 2, 3}, 0.6, {0.3, -0.4, 0.2});
    auto const poses = aligned({corner_frame(0.0F), moved(corner_frame(1.0F), off)});
    EXPECT_LT(farthest(poses[1], RigidMatrix()), 1e-6);
    EXPECT_EQ(poses[0].get_translation(), Vector3d(Vector3d::Zero()));
}

TEST(FrameAlignment, FramesWithOtherCoordinatesComeTogetherAlike)
{
    // The second frame's own coordinates are far from the global ones: floats tell them to 1e-5.
    RigidMatrix const pose = motion({3, -1, 2}, 130.0, {70, 20, -90});
    RigidMatrix const off = motion({1, 2, 3}, 0.6, {0.3, -0.4, 0.2});
    auto const poses =
        aligned({corner_frame(0.0F), moved(in_own_coordinates(corner_frame(1.0F), pose), off)});
    EXPECT_LT(farthest(poses[1], pose), 1e-4);
}

TEST(FrameAlignment, RandomDisturbancesOfAllFramesAreRepaired)
{
    for (unsigned seed = 1; seed <= 6; ++seed)
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        auto frames = four_hills();
        Poses right;
        for (auto& frame : frames)
        {
            right.push_back(frame.get_rigidMatrix());
            frame = moved(frame, random_motion(random, 0.5, 0.5));
        }
        auto const poses = aligned(frames);
        // As the first one was disturbed, so are all.
        RigidMatrix const whole = frames[0].get_rigidMatrix();
        for (std::size_t f = 0; f < frames.size(); ++f)
        {
            EXPECT_GT(farthest(frames[f].get_rigidMatrix(), right[f]), 0.3);
            EXPECT_LT(farthest(poses[f], after(right[f], whole)), 0.01) << f;
        }
    }
}

TEST(FrameAlignment, NoiseIsLeftOverInNoFrameMoreThanInOthers)
{
    constexpr double NOISE = 0.2;
    std::mt19937 random(3);
    auto frames = four_hills(NOISE);
    for (auto& frame : frames)
    {
        frame.update_vNrv_from_grid();
        frame = moved(frame, random_motion(random, 0.5, 0.3));
    }
    FrameAlignment alignment;
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_TRUE(alignment.has_converged());
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        EXPECT_LT(farthest(poses[f], frames[0].get_rigidMatrix()), NOISE) << f;
        // The median of the difference of two normal deviations is 0.95 of one.
        EXPECT_NEAR(alignment.after().frames[f].distance, 0.95 * NOISE * mean_slant(), 0.2 * NOISE)
            << f;
    }
}

TEST(FrameAlignment, FramesThatAgreeStay)
{
    auto const frames = four_hills();
    auto const poses = aligned(frames);
    for (auto const& pose : poses)
    {
        EXPECT_LT(farthest(pose, RigidMatrix()), 0.01);
    }
}

TEST(FrameAlignment, AlongAPlaneNothingSlidesAway)
{
    RangeData const plane = flat_frame(40, 40, 1.0F);
    auto const poses = aligned({plane, moved(flat_frame(40, 40, 1.0F, {0.4F, 0.3F, 0}),
                                             motion({1, 0, 0}, 0.3, {0, 0, 0.5}))});
    // The step along the normal is found, and nothing tells of one along the plane.
    for (double const x : {0.0, 40.0})
    {
        Vector3d const p(x, 20.0, 0.0);
        Vector3d const there = poses[1].get_rotation() * p + poses[1].get_translation();
        EXPECT_NEAR(there.z(), 0.0, 1e-4);
        EXPECT_NEAR(there.x(), p.x(), 0.5);
        EXPECT_NEAR(there.y(), p.y(), 0.5);
    }
}

TEST(FrameAlignment, APlaneOfNoiseDoesNotSlideAwayEither)
{
    std::mt19937 random(5);
    std::normal_distribution<float> normal(0.0F, 0.1F);
    auto const noisy = [&]
    {
        RangeData frame = make_frame(
            40, 40,
            [&](int r, int c)
            { return Vector3f(static_cast<float>(c), static_cast<float>(r), normal(random)); });
        frame.update_vNrv_from_grid();
        return frame;
    };
    auto const poses = aligned({noisy(), noisy()});
    EXPECT_LT(farthest(poses[1], RigidMatrix()), 0.5);
}

/// Round after round a frame along a wall would go a little farther.
TEST(FrameAlignment, WhereSurfacesTellNothingAFrameIsHeldAtItsGivenPose)
{
    std::vector<detail::SampledFrame> frames(2);
    frames[1].centre = {300.0, -200.0, 1500.0};
    frames[1].radius = 900.0;
    RigidMatrix const given = motion({1, 2, 3}, 30.0, {10, 20, 30});
    RigidMatrix now = after(given, motion({2, -1, 1}, 1.0, {30, -20, 10}));
    detail::MotionFrame const about{{100, 50, 700}, 1200.0};
    std::vector<detail::PairEquations> nothing(1);
    nothing[0].matrix = 1e-12 * Eigen::Matrix<double, 6, 6>::Identity();
    for (int round = 0; round < 3; ++round)
    {
        auto const motions = detail::solve_motions(
            {{0, 1, 1.0}}, nothing,
            {detail::StayEquations(), detail::stay_equations(frames[1], now, given, about, 5.0)},
            {0, 1});
        ASSERT_EQ(motions.size(), 2U);
        now = detail::moved_by(now, motions[1], about);
    }
    EXPECT_LT((now.get_translation() - given.get_translation()).norm(), 1e-3);
    EXPECT_LT((now.get_rotation() - given.get_rotation()).norm(), 1e-6);
}

TEST(FrameAlignment, DistancesAreThoseAlongTheNormal)
{
    // Two planes 0.25 mm apart, and points half a spacing beside each other.
    std::vector<RangeData> const frames{flat_frame(30, 30, 1.0F),
                                        flat_frame(30, 30, 1.0F, {0.5F, 0.5F, 0.25F})};
    FrameAlignment::Agreement agreement;
    ASSERT_EQ(FrameAlignment().measure(pointers(frames), agreement), RET_SUCCESS);
    ASSERT_EQ(agreement.pairs.size(), 1U);
    EXPECT_DOUBLE_EQ(agreement.pairs[0].distance, 0.25);
    EXPECT_DOUBLE_EQ(agreement.distance, 0.25);
    EXPECT_GT(agreement.pairs[0].overlap, 0.9);
    EXPECT_EQ(agreement.frames[1].pairs, 1U);
}

TEST(FrameAlignment, DistancesAreToldInDeviationsOfTheNoise)
{
    std::vector<RangeData> const frames{flat_frame(30, 30, 1.0F),
                                        flat_frame(30, 30, 1.0F, {0.5F, 0.5F, 0.25F})};
    FrameAlignment alignment;
    alignment.set_noise({0.1, 0.0});
    FrameAlignment::Agreement agreement;
    ASSERT_EQ(alignment.measure(pointers(frames), agreement), RET_SUCCESS);
    EXPECT_NEAR(agreement.frames[0].noises, 2.5, 1e-6);
}

TEST(FrameAlignment, TheFrameThatIsOffIsFartherFromTheOthersThanTheyAre)
{
    auto frames = four_hills();
    frames[2] = moved(frames[2], motion({0, 0, 1}, 0.0, {0, 0, 0.8}));
    FrameAlignment::Agreement agreement;
    ASSERT_EQ(FrameAlignment().measure(pointers(frames), agreement), RET_SUCCESS);
    for (std::size_t const f : {0U, 1U, 3U})
    {
        EXPECT_GT(agreement.frames[2].distance, 2.0 * agreement.frames[f].distance) << f;
    }
}

TEST(FrameAlignment, OfManyFramesEachIsComparedWithSome)
{
    constexpr std::size_t OFF = 70;
    std::vector<RangeData> frames;
    for (unsigned k = 0; k < 120; ++k)
    {
        frames.push_back(hilly_frame(1.5 * (k % 12), 1.7 * (k / 12), 40, k + 1, 0.01));
    }
    frames[OFF] = moved(frames[OFF], motion({0, 0, 1}, 0.0, {0, 0, 0.6}));
    FrameAlignment alignment;
    alignment.set_most_samples(100);
    FrameAlignment::Agreement found;
    ASSERT_EQ(alignment.measure(pointers(frames), found), RET_SUCCESS);
    EXPECT_LE(found.pairs.size(), 12 * frames.size());
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        EXPECT_GE(found.frames[f].pairs, 6U) << f;
        if (f != OFF)
        {
            EXPECT_GT(found.frames[OFF].distance, 5.0 * found.frames[f].distance) << f;
        }
    }
}

TEST(FrameAlignment, OfManyFramesInARowNoneIsLost)
{
    std::vector<RangeData> frames;
    for (unsigned k = 0; k < 110; ++k)
    {
        frames.push_back(hilly_frame(20.3 * k, 0, 40, k + 1));
    }
    FrameAlignment alignment;
    alignment.set_most_rounds(1);
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    for (auto const& motion : alignment.motions())
    {
        EXPECT_EQ(motion.group, 0U);
    }
}

TEST(FrameAlignment, SurfacesThatFaceEachOtherAreNotOne)
{
    auto turned = flat_frame(30, 30, 1.0F);
    for (auto& normal : turned.vNrv)
    {
        normal = -normal;
    }
    std::vector<RangeData> const frames{flat_frame(30, 30, 1.0F), turned};
    Poses poses;
    EXPECT_EQ(FrameAlignment().align(pointers(frames), poses), RET_FAILED);
    EXPECT_TRUE(poses.empty());
}

TEST(FrameAlignment, AFrameThatOverlapsNothingStays)
{
    auto frames = four_hills();
    frames[1] = moved(frames[1], motion({1, 0, 0}, 0.3, {0, 0, 0.3}));
    frames.push_back(moved(hilly_frame(0, 0), motion({1, 0, 0}, 0.0, {5000, 0, 0})));
    RangeData large = hilly_frame(0, 0); // in another unit
    for (auto& point : large.vCoord)
    {
        point *= 1000.0F;
    }
    frames.push_back(large);
    RangeData empty;
    empty.enable_vNormal();
    frames.push_back(empty);
    frames.push_back(flat_frame(1, 1, 1.0F));
    FrameAlignment alignment;
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_EQ(alignment.motions()[0].fate, Fate::HELD);
    EXPECT_EQ(alignment.motions()[1].fate, Fate::MOVED);
    EXPECT_NEAR(alignment.motions()[1].turn, 0.3, 0.01);
    EXPECT_LT(farthest(poses[1], RigidMatrix()), 0.01);
    for (std::size_t f = 4; f < frames.size(); ++f)
    {
        EXPECT_EQ(alignment.motions()[f].fate, Fate::ALONE) << f;
        EXPECT_EQ(alignment.after().frames[f].distance, -1.0) << f;
        EXPECT_EQ(poses[f].get_translation(), frames[f].get_rigidMatrix().get_translation()) << f;
    }
}

TEST(FrameAlignment, EachGroupOfFramesKeepsItsFirstOne)
{
    std::vector<RangeData> frames{hilly_frame(0, 0), hilly_frame(500, 0), hilly_frame(20, 3),
                                  hilly_frame(523, 4)};
    frames[2] = moved(frames[2], motion({1, 0, 0}, 0.2, {0, 0, 0.2}));
    frames[3] = moved(frames[3], motion({0, 1, 0}, 0.02, {0, 0, 0.2}));
    FrameAlignment alignment;
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_EQ(alignment.motions()[1].fate, Fate::HELD);
    EXPECT_EQ(alignment.motions()[3].fate, Fate::MOVED);
    EXPECT_EQ(alignment.motions()[3].group, 1U);
    EXPECT_LT(farthest(poses[2], RigidMatrix()), 0.01);
    EXPECT_LT((poses[3].get_rotation() * Vector3d(550, 30, 0) + poses[3].get_translation() -
               Vector3d(550, 30, 0))
                  .norm(),
              0.01);
}

/// Two planes that meet at a small angle in a ridge along y, with 60 x 60 points.
RangeData ridge_frame(float ridge, float bottom, float slope = 0.09F)
{
    RangeData frame = make_frame(60, 60,
                                 [&](int r, int c)
                                 {
                                     float const x = static_cast<float>(c) - 25.0F;
                                     return Vector3f(x, bottom + static_cast<float>(r),
                                                     slope * std::max(0.0F, x - ridge));
                                 });
    frame.update_vNrv_from_grid();
    return frame;
}

TEST(FrameAlignment, AFrameThatWouldGoFartherThanFourTimesTheReachIsPutBack)
{
    // The ridge of the second frame is 5 mm off, where its planes are 0.45 mm off the others.
    RigidMatrix const shift = motion({0, 0, 1}, 0.0, {0.1, 0.2, 0.05});
    std::vector<RangeData> const frames{
        ridge_frame(0.0F, 0.0F), moved(ridge_frame(5.0F, 30.0F), shift),
        moved(ridge_frame(0.0F, 0.0F), motion({0, 0, 1}, 0.0, {0, 0, 0.3}))};
    FrameAlignment alignment;
    alignment.set_reach(0.5);
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_EQ(alignment.motions()[0].fate, Fate::HELD);
    EXPECT_EQ(alignment.motions()[1].fate, Fate::ASTRAY);
    EXPECT_EQ(alignment.motions()[2].fate, Fate::MOVED);
    EXPECT_EQ(poses[1].get_translation(), shift.get_translation());
    EXPECT_EQ(poses[1].get_rotation(), shift.get_rotation());
    EXPECT_EQ(alignment.motions()[1].shift, 0.0);
    // The others agree without it.
    EXPECT_NEAR(poses[2].get_translation().z(), 0.0, 0.01);
    EXPECT_TRUE(alignment.has_converged());
}

/// As above, but so flat a ridge tells less than the given pose: the frame does not slide to it.
TEST(FrameAlignment, AFrameStaysNearItsGivenPoseWhereASurfaceHardlyTells)
{
    RigidMatrix const shift = motion({0, 0, 1}, 0.0, {0.1, 0.2, 0.05});
    std::vector<RangeData> const frames{ridge_frame(0.0F, 0.0F, 0.05F),
                                        moved(ridge_frame(8.0F, 30.0F, 0.05F), shift),
                                        ridge_frame(0.0F, 0.0F, 0.05F)};
    FrameAlignment alignment;
    alignment.set_reach(0.5);
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_EQ(alignment.motions()[1].fate, Fate::MOVED);
    EXPECT_LT((poses[1].get_translation() - shift.get_translation()).norm(), 2.0);
}

TEST(FrameAlignment, WhatCannotBeSolvedHasNotConverged)
{
    // Weights of such noise are zeros.
    FrameAlignment alignment;
    alignment.set_noise({1e160, 0.0, 0.0});
    alignment.set_reach(1.0);
    auto frames = four_hills();
    frames[1] = moved(frames[1], motion({1, 0, 0}, 0.3, {0, 0, 0.3}));
    Poses poses;
    ASSERT_EQ(alignment.align(pointers(frames), poses), RET_SUCCESS);
    EXPECT_FALSE(alignment.has_converged());
    EXPECT_LT(farthest(poses[1], frames[1].get_rigidMatrix()), 1e-9);
}

TEST(FrameAlignment, PointsThatAreNoNumbersTellNothing)
{
    auto frames = four_hills();
    for (std::size_t i = 0; i < frames[1].get_vn(); i += 97)
    {
        frames[1].vCoord[i][static_cast<int>(i % 3)] = i % 2 == 0
                                                           ? std::numeric_limits<float>::quiet_NaN()
                                                           : std::numeric_limits<float>::infinity();
        frames[2].vNrv[i].x() = std::numeric_limits<float>::quiet_NaN();
    }
    frames[1] = moved(frames[1], motion({1, 0, 0}, 0.3, {0, 0, 0.3}));
    auto const poses = aligned(frames);
    EXPECT_LT(farthest(poses[1], RigidMatrix()), 0.02);
}

TEST(FrameAlignment, WhatCannotBeComparedIsRefused)
{
    auto const frame = hilly_frame(0, 0);
    RangeData without_normals = frame;
    without_normals.disable_vNormal();
    Poses poses(3);
    FrameAlignment::Agreement agreement;
    agreement.distance = 1.0;
    for (auto const& ranges : std::vector<std::vector<RangeData const*>>{
             {}, {&frame}, {&frame, nullptr}, {&frame, &without_normals}})
    {
        EXPECT_EQ(FrameAlignment().align(ranges, poses), RET_INVALID_INPUT);
        EXPECT_TRUE(poses.empty());
        EXPECT_EQ(FrameAlignment().measure(ranges, agreement), RET_INVALID_INPUT);
        EXPECT_EQ(agreement.distance, 0.0);
    }
}

TEST(FrameAlignment, EachFrameIsReleasedOnce)
{
    auto const frames = four_hills();
    std::vector<std::atomic<int>> released(frames.size());
    Poses poses;
    FrameAlignment().align(pointers(frames), poses, [&](std::size_t f) { ++released[f]; });
    for (auto const& count : released)
    {
        EXPECT_EQ(count, 1);
    }
}

TEST(FrameAlignment, TheResultIsTheSameForAnyNumberOfThreads)
{
    std::mt19937 random(7);
    auto frames = four_hills(0.1);
    for (auto& frame : frames)
    {
        frame.update_vNrv_from_grid();
        frame = moved(frame, random_motion(random, 0.4, 0.4));
    }
    Poses first;
    for_thread_counts(
        [&]
        {
            auto const poses = aligned(frames);
            first = first.empty() ? poses : first;
            for (std::size_t f = 0; f < poses.size(); ++f)
            {
                EXPECT_EQ(poses[f].get_rotation(), first[f].get_rotation()) << f;
                EXPECT_EQ(poses[f].get_translation(), first[f].get_translation()) << f;
            }
        });
}

using FrameAlignmentRealData = RealData;

TEST_F(FrameAlignmentRealData, DisturbedScansOfABunnyComeTogetherAgain)
{
    auto frames = real_bunny_frames();
    auto const undisturbed = aligned(frames);
    std::mt19937 random(1);
    for (std::size_t f = 1; f < frames.size(); ++f)
    {
        frames[f] = moved(frames[f], random_motion(random, 1.0, 0.5));
    }
    auto const poses = aligned(frames);
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        Vector3d const middle = frames[f].vCoord[frames[f].get_vn() / 2].cast<double>();
        Vector3d const off = poses[f].get_rotation() * middle + poses[f].get_translation() -
                             undisturbed[f].get_rotation() * middle -
                             undisturbed[f].get_translation();
        EXPECT_LT(off.norm(), 0.1) << f;
    }
}

} // namespace
