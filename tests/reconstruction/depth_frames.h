#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <functional>
#include <random>

/// \file
/// Frames of a depth camera made by code.

namespace veld_test
{

using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;

inline constexpr double FOCAL_LENGTH = 200.0;
inline constexpr double CENTRE_COLUMN = 79.5;
inline constexpr double CENTRE_ROW = 59.5;
inline constexpr int IMAGE_COLUMNS = 160;
inline constexpr int IMAGE_ROWS = 120;
/// Over the square of a depth of 1000 mm this is 3 mm.
inline constexpr double NOISE_SQUARE = 3e-6;

/// Depth along a ray (x, y, 1); 0 for none.
using DepthScene = std::function<double(double, double)>;

inline DepthScene depth_wall(double depth)
{
    return [depth](double, double) { return depth; };
}

/// The wall z = depth + slope x.
inline DepthScene slanted_wall(double depth, double slope)
{
    return [=](double x, double) { return depth / (1.0 - slope * x); };
}

/// A frame of a camera that stands `shift` to the right, in the columns' direction that a loaded
/// frame has: mirrored, so that faces look at the camera.
inline RangeData depth_frame(DepthScene const& scene, double square, unsigned seed = 1,
                             double shift = 0.0)
{
    RangeData frame;
    frame.set_grid_size(IMAGE_ROWS, IMAGE_COLUMNS);
    RigidMatrix pose;
    pose.set_translation(Vector3d(shift, 0.0, 0.0));
    frame.set_rigidMatrix(pose);
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    for (int row = 0; row < IMAGE_ROWS; ++row)
    {
        for (int column = 0; column < IMAGE_COLUMNS; ++column)
        {
            Vector3d const ray((CENTRE_COLUMN - column) / FOCAL_LENGTH,
                               (row - CENTRE_ROW) / FOCAL_LENGTH, 1.0);
            double const depth = scene(ray.x(), ray.y());
            double const noisy = depth + square * depth * depth * normal(random);
            if (depth > 0.0)
            {
                auto const i = frame.add_vCoord_and_vUV((noisy * ray).cast<float>(), {row, column});
                frame.set_cellFlag(i, row + 1 < IMAGE_ROWS && column + 1 < IMAGE_COLUMNS ? 1 : 0);
            }
        }
    }
    frame.update_vNrv_from_grid();
    return frame;
}

} // namespace veld_test
