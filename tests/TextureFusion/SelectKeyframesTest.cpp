#include "algorithmVeld/TextureFusion/SelectKeyframes.h"

#include "algorithmVeld/common/RunScope.h"
#include "tests/TextureFusion/scenes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace veld_test
{

namespace
{

using OrvaneAlgorithm::gPH;
using OrvaneAlgorithm::RET_INVALID_INPUT;
using OrvaneAlgorithm::RET_SUCCESS;
using OrvaneAlgorithm::SelectKeyframes;
using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::Vector3i;
using testing::ElementsAre;

using Poses = std::vector<RigidMatrix>;

/// A camera at a place, with the axes of the world.
RigidMatrix unturned_at(double x, double y, double z)
{
    RigidMatrix pose;
    pose.set_translation(Vector3d(-x, -y, -z));
    return pose;
}

/// A camera that looks along a direction, given by its angle in the plane of x and z, in degrees.
RigidMatrix turned_at(Vector3d const& eye, double degrees)
{
    double const angle = degrees * 3.14159265358979323846 / 180.0;
    return look_at(eye, eye + Vector3d(std::cos(angle), 0.0, std::sin(angle)));
}

std::vector<int> selection_of(Poses const& poses, SelectKeyframes selector = {})
{
    LogCapture const log(false);
    std::vector<int> key_frames{-7};
    EXPECT_EQ(selector.space_based_selection(poses, key_frames, false), RET_SUCCESS);
    return key_frames;
}

std::vector<int> order_of(Poses const& poses, SelectKeyframes selector = {})
{
    LogCapture const log(false);
    std::vector<int> order{-7};
    EXPECT_EQ(selector.space_based_sort(poses, order, false), RET_SUCCESS);
    return order;
}

std::vector<int> numbers_below(std::size_t n)
{
    std::vector<int> numbers(n);
    for (std::size_t i = 0; i < n; ++i)
    {
        numbers[i] = static_cast<int>(i);
    }
    return numbers;
}

SelectKeyframes with_voxels(double voxels)
{
    SelectKeyframes selector;
    selector.set_voxel_num(voxels);
    return selector;
}

/// Cameras anywhere in a box, looking anywhere.
Poses random_poses(std::size_t n, unsigned seed, double side)
{
    std::mt19937 random(seed);
    auto const number = [&]
    { return static_cast<double>(random()) / static_cast<double>(std::mt19937::max()); };
    auto const vector = [&]
    {
        double const x = number();
        double const y = number();
        return Vector3d(x, y, number());
    };
    Poses poses;
    for (std::size_t i = 0; i < n; ++i)
    {
        Vector3d const eye = side * vector();
        poses.push_back(look_at(eye, eye + vector() - Vector3d(0.5, 0.5, 0.5)));
    }
    return poses;
}

// Voxels.

TEST(SelectKeyframes, WithoutPosesNothingIsTouchedButTheLogSwitch)
{
    LogCapture const log(false);
    SelectKeyframes selector;
    std::vector<int> numbers{3, 1};
    EXPECT_EQ(selector.space_based_selection({}, numbers, true), RET_INVALID_INPUT);
    EXPECT_THAT(numbers, ElementsAre(3, 1));
    EXPECT_TRUE(gPH.log_enabled);
    EXPECT_EQ(selector.space_based_sort({}, numbers, false), RET_INVALID_INPUT);
    EXPECT_THAT(numbers, ElementsAre(3, 1));
    EXPECT_FALSE(gPH.log_enabled);
}

TEST(SelectKeyframes, OnePoseIsAllThereIs)
{
    Poses const poses{unturned_at(4.0, -5.0, 6.0)};
    EXPECT_THAT(selection_of(poses), ElementsAre(0));
    EXPECT_THAT(order_of(poses), ElementsAre(0));
}

TEST(SelectKeyframes, EqualPositionsShareOneVoxelAndTheFirstStays)
{
    Poses const poses(4, unturned_at(0.1, 0.2, 0.3));
    EXPECT_THAT(selection_of(poses), ElementsAre(0));
    EXPECT_THAT(order_of(poses), ElementsAre(0, 1, 2, 3));
}

TEST(SelectKeyframes, ALineAlongAnAxisHasSixVoxelsForItsEndIsOneOfItsOwn)
{
    for (int axis = 0; axis < 3; ++axis)
    {
        Poses poses;
        // The last voxel but one ends below 5; the end itself is in the sixth.
        for (double const place : {0.0, 1.5, 2.5, 3.5, 4.875, 4.5, 5.0})
        {
            Vector3d const eye = place * Vector3d::Unit(axis);
            poses.push_back(unturned_at(eye.x(), eye.y(), eye.z()));
        }
        EXPECT_THAT(selection_of(poses), ElementsAre(0, 1, 2, 3, 4, 6)) << axis;
    }
}

TEST(SelectKeyframes, TheLongestSideOfTheBoxGivesTheSizeOfVoxels)
{
    // 10 along z, so that voxels are cubes of 2: one and a half of them are two along y.
    Poses const poses{unturned_at(0.0, 0.0, 0.0), unturned_at(0.0, 1.5, 0.0),
                      unturned_at(0.0, 3.0, 0.0), unturned_at(1.5, 0.0, 0.0),
                      unturned_at(0.0, 0.0, 10.0)};
    // In the first voxel, in voxels, 1 and 3 are at (0, 0.75, 0) and (0.75, 0, 0).
    EXPECT_THAT(selection_of(poses), ElementsAre(1, 2, 4));
}

TEST(SelectKeyframes, TheCameraNearestToTheUpperCornerOfItsVoxelIsChosen)
{
    // Voxels of side 1. By their centres 2 and 4 would win, by their lower corners 1 and 3.
    Poses const poses{unturned_at(0.0, 0.0, 0.0), unturned_at(0.25, 0.25, 0.25),
                      unturned_at(0.5, 0.5, 0.5), unturned_at(0.875, 0.875, 0.875),
                      unturned_at(3.5, 3.5, 3.5), unturned_at(3.75, 3.75, 3.75),
                      unturned_at(5.0, 5.0, 5.0)};
    EXPECT_THAT(selection_of(poses), ElementsAre(3, 5, 6));
}

TEST(SelectKeyframes, OfCamerasEquallyNearTheFirstStays)
{
    // Both (0.25, 0.75, 0) and (0.75, 0.25, 0) are at (0.5625 + 0.0625 + 1) from (1, 1, 1).
    Poses const poses{unturned_at(0.25, 0.75, 0.0), unturned_at(0.75, 0.25, 0.0),
                      unturned_at(0.0, 0.0, 0.0), unturned_at(5.0, 5.0, 5.0)};
    EXPECT_THAT(selection_of(poses), ElementsAre(0, 3));
    EXPECT_THAT(selection_of({poses[1], poses[0], poses[2], poses[3]}), ElementsAre(0, 3));
    EXPECT_THAT(selection_of({poses[2], poses[1], poses[0], poses[3]}), ElementsAre(1, 3));
}

TEST(SelectKeyframes, AFullGridOfAnyShapeKeepsEveryCamera)
{
    std::mt19937 random(5);
    for (auto const& shape :
         {Vector3i(6, 6, 6), Vector3i(6, 2, 3), Vector3i(2, 6, 3), Vector3i(3, 2, 6)})
    {
        Poses poses;
        for (int i = 0; i < shape.prod(); ++i)
        {
            poses.push_back(
                unturned_at(i % shape.x(), i / shape.x() % shape.y(), i / shape.x() / shape.y()));
        }
        std::shuffle(poses.begin(), poses.end(), random);
        EXPECT_EQ(selection_of(poses), numbers_below(poses.size()));
        EXPECT_EQ(order_of(poses), numbers_below(poses.size())); // As voxels are met.
    }
}

TEST(SelectKeyframes, TheNumberOfVoxelsCanBeSet)
{
    Poses const poses{unturned_at(0.0, 0.0, 0.0), unturned_at(1.0, 0.0, 0.0),
                      unturned_at(2.0, 0.0, 0.0), unturned_at(3.0, 0.0, 0.0),
                      unturned_at(4.0, 0.0, 0.0)};
    EXPECT_THAT(selection_of(poses, with_voxels(4.0)), ElementsAre(0, 1, 2, 3, 4));
    EXPECT_THAT(selection_of(poses, with_voxels(2.0)), ElementsAre(1, 3, 4));
    EXPECT_THAT(selection_of(poses, with_voxels(1.0)), ElementsAre(3, 4));
    EXPECT_THAT(selection_of(poses, with_voxels(0.5)), ElementsAre(4)); // The box is half a voxel.
    SelectKeyframes const copied(with_voxels(2.0));
    EXPECT_THAT(selection_of(poses, copied), ElementsAre(1, 3, 4));
}

TEST(SelectKeyframes, ANumberOfVoxelsThatIsNoneMakesOneVoxel)
{
    Poses const poses = random_poses(20, 1, 10.0);
    for (double const voxels : {0.0, -3.0, -1e300, std::numeric_limits<double>::quiet_NaN()})
    {
        EXPECT_THAT(selection_of(poses, with_voxels(voxels)), ElementsAre(0)) << voxels;
        EXPECT_EQ(order_of(poses, with_voxels(voxels)).size(), 20U) << voxels;
    }
}

TEST(SelectKeyframes, VeryManyVoxelsSeparateAllThatDiffer)
{
    Poses poses = random_poses(200, 2, 10.0);
    poses.push_back(poses[7]);
    for (double const voxels : {1e6, 1e30, std::numeric_limits<double>::infinity()})
    {
        EXPECT_EQ(selection_of(poses, with_voxels(voxels)), numbers_below(200)) << voxels;
    }
}

TEST(SelectKeyframes, BoxesBeyondWhatCanBeDividedAreOneVoxel)
{
    for (double const far : {1e-44, 3e38})
    {
        Poses const poses{unturned_at(-far, 0.0, 0.0), unturned_at(far, 0.0, 0.0),
                          unturned_at(0.0, far, 0.0)};
        EXPECT_THAT(selection_of(poses), ElementsAre(0)) << far;
        EXPECT_THAT(order_of(poses), testing::UnorderedElementsAre(0, 1, 2)) << far;
    }
}

TEST(SelectKeyframes, PosesWithoutAPlaceAreNotChosenAndComeLast)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    RigidMatrix turned = unturned_at(1.0, 1.0, 1.0);
    turned.set_rotation(Matrix3d::Constant(nan));
    Poses const poses{unturned_at(nan, 0.0, 0.0),
                      unturned_at(0.0, 0.0, 0.0),
                      unturned_at(0.0, std::numeric_limits<double>::infinity(), 0.0),
                      unturned_at(0.0, 0.0, 5.0),
                      turned,
                      unturned_at(1e300, 0.0, 0.0),
                      unturned_at(0.0, 0.0, 2.5)};
    EXPECT_THAT(selection_of(poses), ElementsAre(1, 3, 6));
    EXPECT_THAT(order_of(poses), ElementsAre(1, 3, 6, 0, 2, 4, 5));
    EXPECT_THAT(selection_of({poses[0], poses[4]}), ElementsAre());
    EXPECT_THAT(order_of({poses[0], poses[4]}), ElementsAre(0, 1));
}

TEST(SelectKeyframes, OneCameraOfEachVoxelIsChosenInRisingOrder)
{
    Poses const poses = random_poses(700, 3, 5.0);
    auto const key_frames = selection_of(poses);
    EXPECT_TRUE(std::is_sorted(key_frames.begin(), key_frames.end()));

    Vector3d min = Vector3d::Constant(1e9);
    Vector3d max = -min;
    for (auto const& pose : poses)
    {
        min = min.cwiseMin(pose.inverse().get_translation());
        max = max.cwiseMax(pose.inverse().get_translation());
    }
    double const size = (max - min).maxCoeff() / 5.0;
    auto const voxel_of = [&](RigidMatrix const& pose)
    {
        Vector3d const place = (pose.inverse().get_translation() - min) / size;
        return std::make_tuple(std::floor(place.x() + 1e-6), std::floor(place.y() + 1e-6),
                               std::floor(place.z() + 1e-6));
    };
    std::map<std::tuple<double, double, double>, int> chosen;
    for (auto const& pose : poses)
    {
        chosen[voxel_of(pose)] = 0;
    }
    for (int const frame : key_frames)
    {
        ++chosen.at(voxel_of(poses[static_cast<std::size_t>(frame)]));
    }
    EXPECT_EQ(chosen.size(), key_frames.size());
    EXPECT_GT(chosen.size(), 100U);
    for (auto const& [voxel, n] : chosen)
    {
        EXPECT_EQ(n, 1);
    }
}

TEST(SelectKeyframes, UnitsDoNotMatter)
{
    Poses const poses = random_poses(300, 4, 10.0);
    Poses scaled = poses;
    for (auto& pose : scaled)
    {
        pose.set_translation(1024.0 * pose.get_translation());
    }
    EXPECT_EQ(selection_of(scaled), selection_of(poses));
    EXPECT_EQ(order_of(scaled), order_of(poses));
}

// Order.

TEST(SelectKeyframes, VoxelsTakeTurnsInTheOrderInWhichTheyAreMet)
{
    // Along x in voxels of side 1: 0 to 2 and 5 in the one at 4, 3 alone in the one at 0, 4 and 6
    // in the one at 2, 7 at the end. All look along z, so that no voxel's order changes.
    Poses poses;
    for (double const x : {4.0, 4.25, 4.5, 0.0, 2.0, 4.75, 2.5, 5.0})
    {
        poses.push_back(unturned_at(x, 0.0, 0.0));
    }
    EXPECT_THAT(order_of(poses), ElementsAre(0, 3, 4, 7, 1, 6, 2, 5));
}

TEST(SelectKeyframes, AVoxelBeginsWithTheCameraThatLooksAtTheCentre)
{
    // The mean is far along x: 2 looks there. 0 looks away from it and 1 across; the other voxel
    // has one camera, whatever it looks at.
    Vector3d const origin = Vector3d::Zero();
    Poses const poses{turned_at(origin, 180.0), turned_at(origin, 90.0), turned_at(origin, 0.0),
                      turned_at(Vector3d(50.0, 0.0, 0.0), 180.0)};
    EXPECT_THAT(order_of(poses), ElementsAre(2, 3, 1, 0));
}

TEST(SelectKeyframes, TheCentreIsTheMeanOfAllPositionsAndNotOfTheBox)
{
    // The middle of the box is at 45 degrees from the origin. Of 14 cameras 8 are at z = 4 and 4
    // at x = z = 4, so that the mean is (8/7, 0, 24/7), at 71.6 degrees.
    Poses poses{turned_at(Vector3d::Zero(), 45.0), turned_at(Vector3d::Zero(), 79.0)};
    for (int i = 0; i < 12; ++i)
    {
        poses.push_back(turned_at(Vector3d(i < 8 ? 0.0 : 4.0, 0.0, 4.0), 0.0));
    }
    EXPECT_EQ(order_of(poses).front(), 1);
}

TEST(SelectKeyframes, EachCameraFollowsTheOneThatLooksMostLikeIt)
{
    // One place: nothing leads to the centre, and the first begins. Then 0 to 40 to 60 degrees,
    // though -45 is nearer to 0 than 60 is.
    Vector3d const eye(1.0, 2.0, 3.0);
    EXPECT_THAT(order_of({turned_at(eye, 0.0), turned_at(eye, -45.0), turned_at(eye, 60.0),
                          turned_at(eye, 40.0)}),
                ElementsAre(0, 3, 2, 1));
    EXPECT_THAT(order_of({turned_at(eye, 90.0), turned_at(eye, 0.0), turned_at(eye, 80.0),
                          turned_at(eye, 30.0)}),
                ElementsAre(0, 2, 3, 1));
}

TEST(SelectKeyframes, OfCamerasEquallyAlikeTheFirstFollows)
{
    // All at right angles to the first, and to each other or opposite.
    Vector3d const eye = Vector3d::Zero();
    auto const along = [&](double x, double y) { return look_at(eye, Vector3d(x, y, 0.0)); };
    RigidMatrix const along_z = turned_at(eye, 90.0);
    EXPECT_THAT(order_of({unturned_at(0.0, 0.0, 0.0), along(-1.0, 0.0), along(1.0, 0.0),
                          along(0.0, 1.0), unturned_at(0.0, 0.0, 0.0)}),
                ElementsAre(0, 4, 1, 3, 2));
    EXPECT_THAT(order_of({along_z, along_z, along_z}), ElementsAre(0, 1, 2));
}

TEST(SelectKeyframes, AChainOfThousandsIsThatOfAllCosinesAtOnce)
{
    constexpr std::size_t N = 1500;
    Poses const poses = random_poses(N, 6, 1.0);
    SelectKeyframes const selector = with_voxels(0.0);

    std::vector<Vector3f> directions;
    std::vector<float> towards;
    Vector3f centre = Vector3f::Zero();
    for (auto const& pose : poses)
    {
        centre += Vector3f(pose.inverse().get_translation().cast<float>());
    }
    centre /= static_cast<float>(N);
    for (auto const& pose : poses)
    {
        Vector3f const position = pose.inverse().get_translation().cast<float>();
        directions.emplace_back(
            Vector3f(pose.get_rotation().row(2).transpose().cast<float>()).normalized());
        towards.push_back((centre - position).normalized().dot(directions.back()));
    }
    Eigen::MatrixXf cosines(N, N);
    for (std::size_t a = 0; a < N; ++a)
    {
        for (std::size_t b = 0; b < N; ++b)
        {
            cosines(static_cast<Eigen::Index>(a), static_cast<Eigen::Index>(b)) =
                directions[a].dot(directions[b]);
        }
    }
    std::vector<int> chain{
        static_cast<int>(std::max_element(towards.begin(), towards.end()) - towards.begin())};
    std::vector<bool> taken(N, false);
    taken[static_cast<std::size_t>(chain[0])] = true;
    while (chain.size() < N)
    {
        int best = -1;
        for (int j = 0; j < static_cast<int>(N); ++j)
        {
            if (!taken[static_cast<std::size_t>(j)] &&
                (best < 0 || cosines(chain.back(), j) > cosines(chain.back(), best)))
            {
                best = j;
            }
        }
        taken[static_cast<std::size_t>(best)] = true;
        chain.push_back(best);
    }
    EXPECT_EQ(order_of(poses, selector), chain);
}

TEST(SelectKeyframes, AnOrderHoldsEveryCameraOnce)
{
    for (std::size_t const n : {2U, 31U, 1000U})
    {
        auto order = order_of(random_poses(n, static_cast<unsigned>(n), 3.0));
        auto const first = order;
        std::sort(order.begin(), order.end());
        EXPECT_EQ(order, numbers_below(n));
        EXPECT_EQ(order_of(random_poses(n, static_cast<unsigned>(n), 3.0)), first);
    }
}

TEST(SelectKeyframes, ACancelledOrderLeavesTheOldOne)
{
    Poses const poses = random_poses(50, 7, 3.0);
    OrvaneAlgorithm::CancelToken const token;
    OrvaneAlgorithm::RunScope const run(token);
    token.cancel();
    std::vector<int> order{9};
    EXPECT_THROW(SelectKeyframes().space_based_sort(poses, order, false),
                 OrvaneAlgorithm::Cancelled);
    EXPECT_THAT(order, ElementsAre(9));
}

// Texts and files.

Poses two_cameras()
{
    // The second looks along x.
    return {unturned_at(1.0, 2.0, 3.0), turned_at(Vector3d(11.0, 4.5, 3.25), 0.0)};
}

TEST(SelectKeyframes, TellsWhatItDoesAndLeavesTheLogSwitchAsItWasTold)
{
    LogCapture const log(false);
    SelectKeyframes selector;
    std::vector<int> numbers;
    selector.space_based_selection(two_cameras(), numbers, true);
    EXPECT_TRUE(gPH.log_enabled);
    EXPECT_EQ(log.text(), "space_based_selection() ..\n");
    selector.space_based_sort(two_cameras(), numbers, true);
    EXPECT_TRUE(gPH.log_enabled);
    EXPECT_EQ(log.text(), "space_based_selection() ..\nspace_based_sort() ..\n"
                          "total frames in voxels:  2\n");
    selector.space_based_sort(two_cameras(), numbers, false);
    EXPECT_FALSE(gPH.log_enabled);
    selector.space_based_selection(two_cameras(), numbers, false);
    EXPECT_EQ(log.count("\n"), 3);
}

TEST(SelectKeyframes, NoFilesAreWrittenUnlessTheyAreAskedForAndTheLogIsOn)
{
    LogCapture const log;
    TempDir const dir;
    gPH.result_dir = dir.path().string();
    SelectKeyframes selector;
    std::vector<int> numbers;
    selector.space_based_selection(two_cameras(), numbers, true);
    selector.set_save_debug_files(true);
    selector.space_based_selection(two_cameras(), numbers, false);
    selector.space_based_sort(two_cameras(), numbers, false);
    EXPECT_THAT(files_in(dir.path()), ElementsAre());
    selector.space_based_sort(two_cameras(), numbers, true);
    EXPECT_THAT(files_in(dir.path()), ElementsAre("aabb-box-of-cam-pos.obj"));
    EXPECT_EQ(log.count("save_bounding_box() to " + dir.file("aabb-box-of-cam-pos.obj") + "\n"), 1);
}

TEST(SelectKeyframes, FilesShowTheBoxTheCamerasAndTheChoice)
{
    LogCapture const log;
    TempDir const dir;
    gPH.result_dir = dir.path().string();
    SelectKeyframes selector;
    selector.set_save_debug_files(true);
    std::vector<int> key_frames;
    Poses poses = two_cameras();
    poses.push_back(poses[0]); // Not chosen, for 0 is at the same place.
    selector.space_based_selection(poses, key_frames, true);
    EXPECT_THAT(key_frames, ElementsAre(0, 1));

    EXPECT_THAT(files_in(dir.path()),
                ElementsAre("aabb-box-of-cam-pos.obj", "cam-pos-all.asc", "cam-pos-key.asc",
                            "cam-view-all.obj", "cam-view-key.obj"));
    EXPECT_EQ(log.text(), "space_based_selection() ..\nsave_bounding_box() to " +
                              dir.file("aabb-box-of-cam-pos.obj") +
                              "\nsave camera position ..\nsave camera pose ..\n"
                              "save camera position ..\nsave camera pose ..\n");
    EXPECT_EQ(file_content(dir.file("aabb-box-of-cam-pos.obj")),
              "v 1.000000 2.000000 3.000000\nv 11.000000 2.000000 3.000000\n"
              "v 1.000000 4.500000 3.000000\nv 11.000000 4.500000 3.000000\n"
              "v 1.000000 2.000000 3.250000\nv 11.000000 2.000000 3.250000\n"
              "v 1.000000 4.500000 3.250000\nv 11.000000 4.500000 3.250000\n"
              "f 3 7 8 4\nf 7 5 6 8\nf 8 6 2 4\nf 3 4 2 1\nf 7 3 1 5\nf 1 2 6 5\n");
    std::string const first = "1.000000 2.000000 3.000000 0.000000 0.000000 1.000000 ";
    std::string const second = "11.000000 4.500000 3.250000 1.000000 0.000000 0.000000 ";
    EXPECT_EQ(file_content(dir.file("cam-pos-all.asc")),
              first + "0 0 255\n" + second + "0 0 255\n" + first + "0 0 255\n");
    EXPECT_EQ(file_content(dir.file("cam-pos-key.asc")),
              first + "255 0 0\n" + second + "255 0 0\n");
}

TEST(SelectKeyframes, ViewsAreDrawnAsFlatArrows)
{
    LogCapture const log;
    TempDir const dir;
    gPH.result_dir = dir.path().string();
    SelectKeyframes selector;
    selector.set_save_debug_files(true);
    std::vector<int> key_frames;
    // The arrow lies in the camera's x and z: the second looks along x, and its x is the world's z.
    selector.space_based_selection(two_cameras(), key_frames, true);
    EXPECT_EQ(file_content(dir.file("cam-view-all.obj")),
              "v 0.750000 2.000000 3.000000\nv 1.250000 2.000000 3.000000\n"
              "v 1.250000 2.000000 23.000000\nv 1.500000 2.000000 23.000000\n"
              "v 1.000000 2.000000 26.000000\nv 0.500000 2.000000 23.000000\n"
              "v 0.750000 2.000000 23.000000\n"
              "v 11.000000 4.500000 3.000000\nv 11.000000 4.500000 3.500000\n"
              "v 31.000000 4.500000 3.500000\nv 31.000000 4.500000 3.750000\n"
              "v 34.000000 4.500000 3.250000\nv 31.000000 4.500000 2.750000\n"
              "v 31.000000 4.500000 3.000000\n"
              "f 1 2 3 7\nf 4 5 6\nf 8 9 10 14\nf 11 12 13\n");
    // Twice as large where they are chosen.
    EXPECT_EQ(file_content(dir.file("cam-view-key.obj")),
              "v 0.500000 2.000000 3.000000\nv 1.500000 2.000000 3.000000\n"
              "v 1.500000 2.000000 43.000000\nv 2.000000 2.000000 43.000000\n"
              "v 1.000000 2.000000 49.000000\nv 0.000000 2.000000 43.000000\n"
              "v 0.500000 2.000000 43.000000\n"
              "v 11.000000 4.500000 2.750000\nv 11.000000 4.500000 3.750000\n"
              "v 51.000000 4.500000 3.750000\nv 51.000000 4.500000 4.250000\n"
              "v 57.000000 4.500000 3.250000\nv 51.000000 4.500000 2.250000\n"
              "v 51.000000 4.500000 2.750000\n"
              "f 1 2 3 7\nf 4 5 6\nf 8 9 10 14\nf 11 12 13\n");
}

TEST(SelectKeyframes, FilesCanHaveOtherNames)
{
    LogCapture const log;
    TempDir const dir;
    gPH.result_dir = dir.path().string();
    SelectKeyframes selector;
    selector.set_save_debug_files(true);
    selector.set_cam_box_file("box.obj");
    selector.set_cam_pos_all_file("100%d.asc");
    selector.set_cam_view_all_file("views.obj");
    selector.set_cam_pos_key_file("keys.asc");
    selector.set_cam_view_key_file("key-views.obj");
    std::vector<int> key_frames;
    selector.space_based_selection(two_cameras(), key_frames, true);
    EXPECT_THAT(files_in(dir.path()),
                ElementsAre("100%d.asc", "box.obj", "key-views.obj", "keys.asc", "views.obj"));
}

TEST(SelectKeyframes, FilesThatCannotBeWrittenAreLoggedAndChangeNoResult)
{
    LogCapture const log;
    TempDir const dir;
    gPH.result_dir = dir.file("none");
    SelectKeyframes selector;
    selector.set_save_debug_files(true);
    std::vector<int> key_frames;
    EXPECT_EQ(selector.space_based_selection(two_cameras(), key_frames, true), RET_SUCCESS);
    EXPECT_THAT(key_frames, ElementsAre(0, 1));
    auto const failed = [&](std::string const& name)
    { return "fail to write '" + dir.file("none/" + name) + "'.\n"; };
    EXPECT_EQ(log.text(), "space_based_selection() ..\nsave_bounding_box() to " +
                              dir.file("none/aabb-box-of-cam-pos.obj") + "\n" +
                              failed("aabb-box-of-cam-pos.obj") + "save camera position ..\n" +
                              failed("cam-pos-all.asc") + "save camera pose ..\n" +
                              failed("cam-view-all.obj") + "save camera position ..\n" +
                              failed("cam-pos-key.asc") + "save camera pose ..\n" +
                              failed("cam-view-key.obj"));
    EXPECT_FALSE(std::filesystem::exists(dir.file("none")));
}

} // namespace
} // namespace veld_test
