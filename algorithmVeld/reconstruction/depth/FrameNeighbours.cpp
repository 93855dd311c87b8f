#include "algorithmVeld/reconstruction/depth/FrameNeighbours.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int TILE = 24;

struct Ball
{
    Vector3d centre = Vector3d::Zero();
    double radius = -1.0; ///< below 0: of no points
};

Ball ball_of(DepthGrid const& grid, FrameTile const& tile)
{
    Vector3d low = Vector3d::Constant(1e300);
    Vector3d high = -low;
    bool is_empty = true;
    for (int row = tile.first_row; row < tile.last_row; ++row)
    {
        for (int column = tile.first_column; column < tile.last_column; ++column)
        {
            std::size_t const i = grid.index(row, column);
            if (grid.vertex[i] >= 0)
            {
                is_empty = false;
                low = low.cwiseMin(grid.seen[i].point.cast<double>());
                high = high.cwiseMax(grid.seen[i].point.cast<double>());
            }
        }
    }
    return is_empty ? Ball{} : Ball{0.5 * (low + high), 0.5 * (high - low).norm()};
}

/// Whether the view of a camera may reach into a ball.
bool may_see(DepthGrid const& grid, Ball const& ball)
{
    Vector3d const p =
        grid.to_camera.get_rotation() * ball.centre + grid.to_camera.get_translation();
    double const depth = p.z() * grid.camera.side;
    if (!(depth > -ball.radius) || depth - ball.radius > 1.5 * static_cast<double>(grid.farthest))
    {
        return false;
    }
    // Distances from the planes through the camera and the sides of its picture.
    auto const reaches = [&](double across, double focal, double centre, double pixels)
    {
        double const low = (-centre) / focal;
        double const high = (pixels - 1.0 - centre) / focal;
        double const from = std::min(low * grid.camera.side, high * grid.camera.side);
        double const to = std::max(low * grid.camera.side, high * grid.camera.side);
        return (across - from * depth) / std::hypot(1.0, from) > -ball.radius &&
               (to * depth - across) / std::hypot(1.0, to) > -ball.radius;
    };
    return reaches(p.x(), grid.camera.fx, grid.camera.cx, grid.columns) &&
           reaches(p.y(), grid.camera.fy, grid.camera.cy, grid.rows);
}

} // namespace

std::vector<int> evenly_spread(std::vector<int> const& all, std::size_t most)
{
    if (all.size() <= most)
    {
        return all;
    }
    std::vector<int> some(most);
    for (std::size_t k = 0; k < most; ++k)
    {
        some[k] = all[k * all.size() / most];
    }
    return some;
}

std::vector<FrameTile> make_tiles(std::vector<DepthGrid> const& grids, std::size_t frame,
                                  std::size_t most)
{
    DepthGrid const& own = grids[frame];
    std::vector<FrameTile> tiles;
    for (int row = 0; row < own.rows; row += TILE)
    {
        for (int column = 0; column < own.columns; column += TILE)
        {
            FrameTile tile{row,
                           std::min(own.rows, row + TILE),
                           column,
                           std::min(own.columns, column + TILE),
                           {}};
            Ball const ball = ball_of(own, tile);
            if (ball.radius < 0.0)
            {
                continue;
            }
            std::vector<int> frames;
            for (std::size_t g = 0; g < grids.size(); ++g)
            {
                if (g != frame && may_see(grids[g], ball))
                {
                    frames.push_back(static_cast<int>(g));
                }
            }
            tile.frames = evenly_spread(frames, most);
            tiles.push_back(std::move(tile));
        }
    }
    return tiles;
}

} // namespace OrvaneAlgorithm::detail
