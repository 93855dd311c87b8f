#include "algorithmVeld/reconstruction/depth/DepthGrid.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Pixels along the border of what a frame saw in which it counts less, so that the mean of the
/// frames does not jump where one ends.
constexpr int BORDER_PIXELS = 8;

/// Of the noise, what a plane through some dozens of pixels leaves, which are not independent.
constexpr double LEFT_OF_NOISE = 0.35;

/// What is seen more aslant weighs no less.
constexpr double LEAST_COSINE = 0.05;

int next_step(int steps, int limit)
{
    return std::min(limit, steps + 1);
}

/// For each pixel the steps to the nearest one that is not `set`, or to the border of the grid, up
/// to a limit; 0 for one that is not.
std::vector<int> steps_inside(DepthGrid const& grid, std::vector<char> const& set, int limit)
{
    // Two sweeps over the grid: from above, and from below.
    std::vector<int> steps(set.size(), 0);
    auto const at = [&](int row, int column)
    {
        bool const is_in = row >= 0 && row < grid.rows && column >= 0 && column < grid.columns;
        return is_in ? steps[grid.index(row, column)] : 0;
    };
    for (int row = 0; row < grid.rows; ++row)
    {
        for (int column = 0; column < grid.columns; ++column)
        {
            std::size_t const i = grid.index(row, column);
            steps[i] = set[i] == 0
                           ? 0
                           : next_step(std::min({at(row, column - 1), at(row - 1, column - 1),
                                                 at(row - 1, column), at(row - 1, column + 1)}),
                                       limit);
        }
    }
    for (int row = grid.rows - 1; row >= 0; --row)
    {
        for (int column = grid.columns - 1; column >= 0; --column)
        {
            std::size_t const i = grid.index(row, column);
            steps[i] = std::min(steps[i],
                                next_step(std::min({at(row, column + 1), at(row + 1, column + 1),
                                                    at(row + 1, column), at(row + 1, column - 1)}),
                                          limit));
        }
    }
    return steps;
}

} // namespace

DepthGrid make_depth_grid(RangeData const& frame, PinholeGrid const& camera,
                          DepthNoise const& noise)
{
    DepthGrid grid;
    grid.rows = frame.grid_rows;
    grid.columns = frame.grid_cols;
    grid.camera = camera;
    grid.pose = frame.get_rigidMatrix();
    grid.to_camera = grid.pose.inverse();
    std::size_t const n =
        static_cast<std::size_t>(grid.rows) * static_cast<std::size_t>(grid.columns);
    grid.vertex.assign(n, -1);
    grid.seen.resize(n);
    grid.cell.assign(n, 0);
    std::vector<char> is_seen(n, 0);
    for (std::size_t v = 0; v < frame.get_vn(); ++v)
    {
        std::size_t const i = grid.index(frame.vUV[v].row, frame.vUV[v].col);
        Vector3d const point = frame.vCoord[v].cast<double>();
        Vector3d const normal = frame.vNrv[v].cast<double>();
        double const side = camera.pixel_angle() * point.z();
        double const cosine = std::abs(normal.dot(point)) / point.norm();
        grid.vertex[i] = static_cast<int>(v);
        SeenPoint& seen = grid.seen[i];
        frame.get_global_vCoord(v, seen.point);
        seen.normal = frame.get_global_vNrv(v);
        seen.noise = static_cast<float>(
            LEFT_OF_NOISE * noise.at(std::abs(point.z()), std::max(cosine, LEAST_COSINE)) *
            std::abs(normal.z()));
        seen.density = static_cast<float>(cosine / (side * side));
        grid.cell[i] = frame.cellFlag[v];
        grid.farthest = std::max(grid.farthest, std::abs(frame.vCoord[v].z()));
        is_seen[i] = 1;
    }
    auto const steps = steps_inside(grid, is_seen, BORDER_PIXELS);
    for (std::size_t i = 0; i < n; ++i)
    {
        grid.seen[i].inside = static_cast<float>(steps[i]) / static_cast<float>(BORDER_PIXELS);
    }
    return grid;
}

GridPlace find_place(DepthGrid const& grid, Vector3f const& point)
{
    Vector3d const p =
        grid.to_camera.get_rotation() * point.cast<double>() + grid.to_camera.get_translation();
    double const depth = p.z() * grid.camera.side;
    GridPlace place;
    if (!(depth > 0.0))
    {
        return place;
    }
    double const column = grid.camera.fx * p.x() / p.z() + grid.camera.cx;
    double const row = grid.camera.fy * p.y() / p.z() + grid.camera.cy;
    if (column >= 0.0 && row >= 0.0 && column < grid.columns - 1.0 && row < grid.rows - 1.0)
    {
        place.row = static_cast<int>(row);
        place.column = static_cast<int>(column);
        place.down = static_cast<float>(row - place.row);
        place.right = static_cast<float>(column - place.column);
        place.depth = static_cast<float>(depth);
    }
    return place;
}

} // namespace OrvaneAlgorithm::detail
