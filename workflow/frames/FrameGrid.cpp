#include "workflow/frames/FrameGrid.h"

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/arrays/GridNormal.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

namespace
{

using Quad = std::array<int, 4>;

/// Runs `use(quad)` for the complete cells of a frame, in the order of their first corners. A list
/// of them, as `convert_to_quad` makes it, would take more than the frame.
template <typename Use>
void for_each_quad(RangeData const& frame, OrvaneAlgorithm::detail::GridMap const& map,
                   Use const& use)
{
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        if (frame.cellFlag[i] != 1)
        {
            continue;
        }
        long long const r = frame.vUV[i].row;
        long long const c = frame.vUV[i].col;
        Quad const quad = {{map(r, c), map(r, c + 1), map(r + 1, c + 1), map(r + 1, c)}};
        // Of two vertices in one cell only the one that the map holds stands for it.
        if (quad[0] == static_cast<int>(i) &&
            std::all_of(quad.begin(), quad.end(), [](int vertex) { return vertex >= 0; }))
        {
            use(quad);
        }
    }
}

Vector3d corner(RangeData const& frame, Quad const& quad, std::size_t i)
{
    return frame.vCoord[static_cast<std::size_t>(quad[i])].cast<double>();
}

/// Normal of a quad, twice as long as its area.
Vector3d quad_normal(RangeData const& frame, Quad const& quad)
{
    return (corner(frame, quad, 2) - corner(frame, quad, 0))
        .cross(corner(frame, quad, 3) - corner(frame, quad, 1));
}

/// Whether more quads have a normal against the direction that `direction(quad)` gives than along
/// it.
template <typename Direction>
bool most_are_against(RangeData const& frame, Direction const& direction)
{
    std::ptrdiff_t balance = 0;
    for_each_quad(frame, OrvaneAlgorithm::detail::GridMap(frame),
                  [&](Quad const& quad)
                  {
                      double const agreement = quad_normal(frame, quad).dot(direction(quad));
                      balance += agreement > 0.0 ? 1 : agreement < 0.0 ? -1 : 0;
                  });
    return balance < 0;
}

} // namespace

Vector3d towards_sensor(Vector3d const& point, Sensor sensor)
{
    switch (sensor)
    {
    case Sensor::ORIGIN:
        return -point;
    case Sensor::PLUS_Z:
        return Vector3d::UnitZ();
    case Sensor::MINUS_Z:
        return -Vector3d::UnitZ();
    case Sensor::UNKNOWN:
        break;
    }
    return Vector3d::Zero();
}

bool looks_away(RangeData const& frame, Sensor sensor)
{
    return sensor != Sensor::UNKNOWN &&
           most_are_against(frame, [&](Quad const& quad)
                            { return towards_sensor(corner(frame, quad, 0), sensor); });
}

bool contradicts_normals(RangeData const& frame)
{
    return frame.has_vNormal &&
           most_are_against(
               frame,
               [&](Quad const& quad)
               {
                   Vector3d sum = Vector3d::Zero();
                   for (int const vertex : quad)
                   {
                       sum += frame.get_vNrv(static_cast<std::size_t>(vertex)).cast<double>();
                   }
                   return sum;
               });
}

void mirror_columns(RangeData& frame)
{
    OrvaneAlgorithm::detail::GridMap const map(frame);
    std::vector<char> flags(frame.get_vn(), 0);
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        auto const [row, col] = frame.vUV[i];
        // What was the right upper corner of a cell becomes its left upper one.
        int const right = frame.cellFlag[i] == 1 && col >= 0 ? map(row, col + 1LL) : -1;
        if (right >= 0)
        {
            flags[static_cast<std::size_t>(right)] = 1;
        }
    }
    frame.cellFlag = std::move(flags);
    for (auto& cell : frame.vUV)
    {
        cell.col = cell.col < 0 ? cell.col : frame.grid_cols - 1 - cell.col;
    }
}

void compute_normals(RangeData& frame)
{
    OrvaneAlgorithm::detail::GridMap const map(frame);
    std::vector<Vector3d> sums(frame.get_vn(), Vector3d::Zero());
    for_each_quad(frame, map,
                  [&](Quad const& quad)
                  {
                      // By direction alone: where depth is noisy, or jumps, the steep cells are the
                      // large ones.
                      Vector3d const normal = quad_normal(frame, quad).stableNormalized();
                      for (int const vertex : quad)
                      {
                          sums[static_cast<std::size_t>(vertex)] += normal;
                      }
                  });
    frame.enable_vNormal();
    for (std::size_t i = 0; i < sums.size(); ++i)
    {
        double const length = sums[i].norm();
        frame.vNrv[i] = length > 0.0 && std::isfinite(length)
                            ? Vector3f((sums[i] / length).cast<float>())
                            : OrvaneAlgorithm::detail::grid_normal(frame, map, i);
    }
}

double spacing_of(RangeData const& frame)
{
    constexpr int SAMPLES = 2000;
    double mean = 0.0;
    RangeData_compute_mean_distance(frame, mean, SAMPLES);
    return mean;
}

bool has_rigid_pose(RangeData const& frame)
{
    constexpr double TOLERANCE = 0.01;
    Matrix3d const& rotation = frame.pose.get_rotation();
    Matrix3d const error = rotation.transpose() * rotation - Matrix3d::Identity();
    return frame.pose.get_translation().allFinite() && rotation.allFinite() &&
           error.cwiseAbs().maxCoeff() < TOLERANCE && rotation.determinant() > 0.0;
}

void scale_frame(RangeData& frame, double scale)
{
    if (scale == 1.0)
    {
        return;
    }
    for (Vector3f& point : frame.vCoord)
    {
        point = (point.cast<double>() * scale).cast<float>();
    }
    RigidMatrix pose = frame.get_rigidMatrix();
    pose.set_translation(pose.get_translation() * scale);
    frame.set_rigidMatrix(pose);
}

} // namespace veld
