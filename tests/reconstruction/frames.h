#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <cmath>
#include <functional>
#include <random>
#include <vector>

/// \file
/// Range frames made by code. Where not said otherwise they lie flat, rows upwards, columns to the
/// right and normals towards +z.

namespace veld_test
{

using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

/// A frame of rows x columns points with the given positions and, where they are not finite or
/// `leave_out` says so, gaps. Cells with four corners are flagged, all normals point up.
inline RangeData make_frame(
    int rows, int columns, std::function<Vector3f(int, int)> const& position,
    std::function<bool(int, int)> const& leave_out = [](int, int) { return false; })
{
    RangeData frame;
    frame.set_grid_size(rows, columns);
    for (int r = 0; r < rows; ++r)
    {
        for (int c = 0; c < columns; ++c)
        {
            if (!leave_out(r, c))
            {
                frame.add_vCoord_and_vUV(position(r, c), {r, c});
            }
        }
    }
    OrvaneAlgorithm::MatrixXi map;
    frame.create_vertices_index_map(map);
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        auto const [r, c] = frame.vUV[i];
        frame.set_cellFlag(i, r + 1 < rows && c + 1 < columns && map(r, c + 1) >= 0 &&
                                      map(r + 1, c) >= 0 && map(r + 1, c + 1) >= 0
                                  ? 1
                                  : 0);
    }
    frame.enable_vNormal();
    for (auto& normal : frame.vNrv)
    {
        normal = Vector3f(0, 0, 1);
    }
    return frame;
}

/// A flat frame whose first point is at `corner`.
inline RangeData flat_frame(int rows, int columns, float spacing,
                            Vector3f const& corner = Vector3f::Zero())
{
    return make_frame(rows, columns,
                      [&](int r, int c)
                      {
                          return Vector3f(corner + Vector3f(spacing * static_cast<float>(c),
                                                            spacing * static_cast<float>(r), 0));
                      });
}

/// Overlapping frames of a gently waved, noisy surface with drop-outs, each turned in its plane and
/// shifted: borders run through and along each other in all ways.
inline std::vector<RangeData> random_frames(unsigned seed, int count, int size, float spacing)
{
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> uniform(0.0F, 1.0F);
    std::vector<RangeData> frames;
    for (int i = 0; i < count; ++i)
    {
        float const extent = spacing * static_cast<float>(size);
        float const shift_x = (uniform(random) - 0.5F) * 1.5F * extent;
        float const shift_y = (uniform(random) - 0.5F) * 1.5F * extent;
        float const angle = 6.2831855F * uniform(random);
        float const cos = std::cos(angle);
        float const sin = std::sin(angle);
        auto const position = [&](int r, int c)
        {
            float const x = spacing * (static_cast<float>(c) + 0.3F * uniform(random)) - extent / 2;
            float const y = spacing * (static_cast<float>(r) + 0.3F * uniform(random)) - extent / 2;
            Vector3f p(shift_x + cos * x - sin * y, shift_y + sin * x + cos * y, 0);
            p.z() =
                0.5F * spacing * std::sin(p.x() / spacing / 4) + 0.1F * spacing * uniform(random);
            return p;
        };
        frames.push_back(
            make_frame(size, size, position, [&](int, int) { return uniform(random) < 0.04F; }));
        frames.back().update_vNrv_from_grid();
    }
    return frames;
}

/// A piece of a surface of hills, from a corner on, with its exact normals.
inline RangeData hilly_frame(double left, double bottom, int size = 60, unsigned seed = 1,
                             double noise = 0.0)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> normal(0.0, 1.0);
    auto const height = [](double x, double y)
    { return 6.0 * std::sin(x / 9.0) * std::cos(y / 11.0) + 3.0 * std::sin((x + y) / 6.0); };
    RangeData frame = make_frame(size, size,
                                 [&](int r, int c) -> Vector3f
                                 {
                                     double const x = left + c;
                                     double const y = bottom + r;
                                     double const z = height(x, y) + noise * normal(random);
                                     return Vector3d(x, y, z).cast<float>();
                                 });
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        double const x = static_cast<double>(frame.vCoord[i].x());
        double const y = static_cast<double>(frame.vCoord[i].y());
        constexpr double STEP = 1e-4;
        double const dx = (height(x + STEP, y) - height(x - STEP, y)) / (2 * STEP);
        double const dy = (height(x, y + STEP) - height(x, y - STEP)) / (2 * STEP);
        frame.vNrv[i] = Vector3d(-dx, -dy, 1.0).normalized().cast<float>();
    }
    return frame;
}

inline std::vector<RangeData const*> pointers(std::vector<RangeData> const& frames)
{
    std::vector<RangeData const*> result;
    for (auto const& frame : frames)
    {
        result.push_back(&frame);
    }
    return result;
}

} // namespace veld_test
