#include "algorithmVeld/reconstruction/depth/DepthSmoothing.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace OrvaneAlgorithm;
using detail::PinholeGrid;

namespace
{

constexpr int SMOOTH_SIDE = 30;
/// A pixel is 5 mm of a wall 1000 mm away.
PinholeGrid const SMOOTH_CAMERA{200.0, 200.0, 14.5, 14.5, 1.0};
DepthNoise const LEVEL_NOISE{1.0, 0.0, 0.0};

/// A frame in which each pixel has the depth that `depth(row, column)` tells; 0 for none.
RangeData frame_of_depths(std::function<double(int, int)> const& depth)
{
    RangeData frame;
    frame.set_grid_size(SMOOTH_SIDE, SMOOTH_SIDE);
    for (int row = 0; row < SMOOTH_SIDE; ++row)
    {
        for (int column = 0; column < SMOOTH_SIDE; ++column)
        {
            if (depth(row, column) != 0.0)
            {
                Vector3d const point = depth(row, column) * SMOOTH_CAMERA.ray(row, column);
                frame.add_vCoord_and_vUV(point.cast<float>(), {row, column});
            }
        }
    }
    return frame;
}

RangeData frame_of_wall(double depth)
{
    return frame_of_depths([depth](int, int) { return depth; });
}

std::size_t n_smooth_points(RangeData const& frame, PinholeGrid const& camera = SMOOTH_CAMERA,
                            DepthNoise const& noise = LEVEL_NOISE)
{
    return detail::smooth_depth(frame, camera, noise, 3).get_vn();
}

constexpr std::size_t ALL_BLOCKS = 100;

} // namespace

TEST(ThinningFactor, IsTheSpacingOverAPixelAtTheMedianDepth)
{
    EXPECT_EQ(detail::thinning_factor(frame_of_wall(1000.0), SMOOTH_CAMERA, 15.0), 3);
    EXPECT_EQ(detail::thinning_factor(frame_of_wall(2000.0), SMOOTH_CAMERA, 15.0), 2); // 1.5 pixels
    // What is far away in one corner decides nothing.
    auto const corner =
        frame_of_depths([](int row, int column) { return row + column < 10 ? 1e6 : 1000.0; });
    EXPECT_EQ(detail::thinning_factor(corner, SMOOTH_CAMERA, 15.0), 3);
}

TEST(ThinningFactor, IsAtLeastOneAndNoMoreThanSixteen)
{
    EXPECT_EQ(detail::thinning_factor(frame_of_wall(1000.0), SMOOTH_CAMERA, 0.0), 1);
    EXPECT_EQ(detail::thinning_factor(frame_of_wall(1000.0), SMOOTH_CAMERA, 1e9), 16);
}

TEST(ThinningFactor, IsOneWhereNothingCanBeMeasured)
{
    EXPECT_EQ(detail::thinning_factor(RangeData(), SMOOTH_CAMERA, 15.0), 1);
    EXPECT_EQ(detail::thinning_factor(frame_of_wall(1000.0), SMOOTH_CAMERA,
                                      std::numeric_limits<double>::infinity()),
              1);
    RangeData at_camera = frame_of_wall(1000.0);
    for (auto& point : at_camera.vCoord)
    {
        point.z() = 0.0F;
    }
    EXPECT_EQ(detail::thinning_factor(at_camera, SMOOTH_CAMERA, 15.0), 1);
}

TEST(DepthSmoothing, AWallIsAWallOfBlocks)
{
    RangeData frame = frame_of_wall(1000.0);
    RigidMatrix pose;
    pose.set_translation(Vector3d(1.0, 2.0, 3.0));
    frame.set_rigidMatrix(pose);
    auto const smooth = detail::smooth_depth(frame, SMOOTH_CAMERA, LEVEL_NOISE, 3);
    ASSERT_EQ(smooth.get_vn(), ALL_BLOCKS);
    EXPECT_FALSE(smooth.has_vColor);
    EXPECT_EQ(smooth.get_rigidMatrix().get_translation(), pose.get_translation());
    for (std::size_t i = 0; i < ALL_BLOCKS; ++i)
    {
        // In the middle of its block, with the normal towards the camera.
        auto const [row, column] = smooth.vUV[i];
        Vector3d const expected = 1000.0 * SMOOTH_CAMERA.ray(3 * row + 1, 3 * column + 1);
        EXPECT_LT((smooth.vCoord[i].cast<double>() - expected).norm(), 1e-2);
        EXPECT_LT((smooth.vNrv[i] - Vector3f(0, 0, -1)).norm(), 1e-4F);
        EXPECT_EQ(smooth.cellFlag[i] != 0, row < 9 && column < 9);
    }
}

TEST(DepthSmoothing, PointsKeepTheColourOfThePixelInTheMiddleOfTheirBlock)
{
    RangeData frame = frame_of_wall(1000.0);
    frame.enable_vColor();
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        frame.vColor[i] = {static_cast<float>(frame.vUV[i].row),
                           static_cast<float>(frame.vUV[i].col), 0.5F};
    }
    auto const smooth = detail::smooth_depth(frame, SMOOTH_CAMERA, LEVEL_NOISE, 3);
    ASSERT_TRUE(smooth.has_vColor);
    ASSERT_EQ(smooth.vColor.size(), ALL_BLOCKS);
    for (std::size_t i = 0; i < ALL_BLOCKS; ++i)
    {
        EXPECT_EQ(smooth.vColor[i], Vector3f(static_cast<float>(3 * smooth.vUV[i].row + 1),
                                             static_cast<float>(3 * smooth.vUV[i].col + 1), 0.5F));
    }
}

TEST(DepthSmoothing, BlocksOfNoPixelsHaveNoPointAndTheirNeighboursNoCell)
{
    auto const frame = frame_of_depths(
        [](int row, int column)
        { return row >= 9 && row < 12 && column >= 9 && column < 12 ? 0.0 : 1000.0; });
    auto const smooth = detail::smooth_depth(frame, SMOOTH_CAMERA, LEVEL_NOISE, 3);
    ASSERT_EQ(smooth.get_vn(), ALL_BLOCKS - 1);
    for (std::size_t i = 0; i < smooth.get_vn(); ++i)
    {
        auto const [row, column] = smooth.vUV[i];
        bool const is_beside = row >= 2 && row <= 3 && column >= 2 && column <= 3;
        EXPECT_EQ(smooth.cellFlag[i] != 0, row < 9 && column < 9 && !is_beside);
    }
}

TEST(DepthSmoothing, WithoutNoiseOrWithMoreThanTheDepthNothingIsLeft)
{
    // No plane can be told from others.
    EXPECT_EQ(n_smooth_points(frame_of_wall(1000.0), SMOOTH_CAMERA, {0.0, 0.0, 0.0}), 0U);
    EXPECT_EQ(n_smooth_points(frame_of_wall(1000.0), SMOOTH_CAMERA, {200.0, 0.0, 0.0}), 0U);
    EXPECT_EQ(n_smooth_points(frame_of_wall(1000.0), SMOOTH_CAMERA, {100.0, 0.0, 0.0}), ALL_BLOCKS);
}

TEST(DepthSmoothing, WhatLiesAlongTheViewHasNoPoints)
{
    // On a plane the inverse depth is linear; that of this one reaches 0 seven columns beside the
    // grid. What a column adds is a third of the tolerance.
    auto const frame = frame_of_depths([](int, int column) { return 1e4 / (column + 7); });
    auto const smooth = detail::smooth_depth(frame, SMOOTH_CAMERA, {0.0, 0.75e-4, 0.0}, 3);
    // In column c the cosine is about (c + 7) / 201: 0.040 and 0.054 in the middles of the first
    // two columns of blocks, and 0.069 in the third.
    ASSERT_EQ(smooth.get_vn(), ALL_BLOCKS - 20);
    for (auto const& place : smooth.vUV)
    {
        EXPECT_GE(place.col, 2);
    }
}

TEST(DepthSmoothing, OfNothingIsEmpty)
{
    RangeData frame;
    frame.set_grid_size(SMOOTH_SIDE, SMOOTH_SIDE);
    auto const smooth = detail::smooth_depth(frame, SMOOTH_CAMERA, LEVEL_NOISE, 3);
    EXPECT_EQ(smooth.get_vn(), 0U);
    EXPECT_EQ(smooth.grid_rows, 10);
    EXPECT_EQ(smooth.grid_cols, 10);
}
