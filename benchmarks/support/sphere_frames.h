#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <Eigen/Geometry>

#include <cmath>
#include <random>
#include <utility>
#include <vector>

/// \file
/// Range frames of a bumpy sphere, seen from several sides by a scanner with noise, drop-outs and a
/// small error of registration. The same arguments give the same frames.

namespace veld_benchmark
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::Vector3d;

constexpr double SPHERE_RADIUS = 20.0;

/// Distance of neighbouring points of a frame, in mm.
constexpr double SPACING = 0.12;

/// Distance of the surface from the middle, in a direction.
inline double bumpy_radius(Vector3d const& direction)
{
    return SPHERE_RADIUS +
           0.4 * std::sin(6.0 * direction.x()) * std::cos(5.0 * direction.y() + direction.z());
}

/// Where a sight line along -z meets the surface, in a frame that is turned by `rotation`; NaN if
/// it passes by.
inline double height_at(double x, double y, Matrix3d const& rotation)
{
    double z = 1.2 * SPHERE_RADIUS;
    for (int step = 0; step < 200; ++step)
    {
        Vector3d const p(x, y, z);
        double const gap = p.norm() - bumpy_radius(rotation * p.normalized());
        if (gap < 1e-6)
        {
            return z;
        }
        z -= 0.7 * gap;
        if (z < 0.0)
        {
            break;
        }
    }
    return std::nan("");
}

inline Matrix3d view(int i)
{
    // Directions spread evenly over the sphere, on a spiral.
    double const golden = 2.399963229728653;
    double const height = 1.0 - (2.0 * i + 1.0) / 10.0;
    double const side = std::sqrt(std::max(0.0, 1.0 - height * height));
    Vector3d const z(side * std::cos(golden * i), side * std::sin(golden * i), height);
    Vector3d const x = z.unitOrthogonal();
    Matrix3d rotation;
    rotation << x, z.cross(x), z;
    return rotation;
}

/// One frame: rows run upwards as the sensor, which looks along -z, sees them.
inline RangeData sphere_frame(int number, std::mt19937& random)
{
    std::normal_distribution<double> noise(0.0, 0.05 * SPACING);
    std::uniform_real_distribution<double> uniform(0.0, 1.0);
    Matrix3d const rotation = view(number);
    double const half = 0.85 * SPHERE_RADIUS;
    int const n = static_cast<int>(2.0 * half / SPACING) + 1;
    RangeData frame;
    frame.set_grid_size(n, n);
    for (int r = 0; r < n; ++r)
    {
        for (int c = 0; c < n; ++c)
        {
            double const x = -half + c * SPACING;
            double const y = -half + r * SPACING;
            double const z = height_at(x, y, rotation);
            bool const seen =
                x * x + y * y < half * half && std::isfinite(z) && uniform(random) > 0.001;
            if (seen)
            {
                frame.add_vCoord_and_vUV(Vector3d(x, y, z + noise(random)).cast<float>(), {r, c});
            }
        }
    }
    OrvaneAlgorithm::MatrixXi map;
    frame.create_vertices_index_map(map);
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        auto const [r, c] = frame.vUV[i];
        bool const full = r + 1 < n && c + 1 < n && map(r, c + 1) >= 0 && map(r + 1, c) >= 0 &&
                          map(r + 1, c + 1) >= 0;
        frame.set_cellFlag(i, full ? 1 : 0);
    }
    frame.update_vNrv_from_grid();
    OrvaneAlgorithm::RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(0.2 * SPACING * Vector3d(noise(random), noise(random), noise(random)) /
                         (0.05 * SPACING));
    frame.set_rigidMatrix(pose);
    return frame;
}

/// Frames of about 60 thousand points each.
inline std::vector<RangeData> sphere_frames(int count)
{
    std::mt19937 random(7);
    std::vector<RangeData> frames;
    for (int i = 0; i < count; ++i)
    {
        frames.push_back(sphere_frame(i, random));
    }
    return frames;
}

/// The frames of several spheres side by side.
inline std::vector<RangeData> spheres_side_by_side(int spheres)
{
    static std::vector<RangeData> const sphere = sphere_frames(10);
    std::vector<RangeData> frames;
    for (int i = 0; i < spheres; ++i)
    {
        for (auto frame : sphere)
        {
            auto pose = frame.get_rigidMatrix();
            pose.set_translation(pose.get_translation() + Vector3d(0, 60.0 * i, 0));
            frame.set_rigidMatrix(pose);
            frames.push_back(frame);
        }
    }
    return frames;
}

/// Frames as the operations take them.
struct FrameSet
{
    explicit FrameSet(std::vector<RangeData> list) : frames(std::move(list))
    {
        for (auto const& frame : frames)
        {
            ranges.push_back(&frame);
            points += frame.get_vn();
        }
    }
    explicit FrameSet(int spheres) : FrameSet(spheres_side_by_side(spheres)) {}
    FrameSet(FrameSet const&) = delete;
    FrameSet& operator=(FrameSet const&) = delete;

    std::vector<RangeData> frames;
    std::vector<RangeData const*> ranges; ///< The same.
    std::size_t points = 0;
};

} // namespace veld_benchmark
