#include "algorithmVeld/reconstruction/depth/StepCells.h"

#include "algorithmVeld/reconstruction/depth/FrameNeighbours.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

using CellCorners = std::array<std::size_t, 4>;

/// Places along the edges of a cell that are looked at.
constexpr std::array<float, 3> PLACES = {{0.25F, 0.5F, 0.75F}};

CellCorners corners_of(DepthGrid const& grid, std::size_t first)
{
    auto const columns = static_cast<std::size_t>(grid.columns);
    return {{first, first + 1, first + columns + 1, first + columns}};
}

bool is_short(DepthGrid const& grid, CellCorners const& corners, float longest)
{
    for (std::size_t k = 0; k < corners.size(); ++k)
    {
        std::size_t const a = corners[k];
        std::size_t const b = corners[(k + 1) % corners.size()];
        if (grid.vertex[a] < 0 || grid.vertex[b] < 0 ||
            !((grid.seen[a].point - grid.seen[b].point).squaredNorm() <= longest * longest))
        {
            return false;
        }
    }
    return true;
}

/// Whether a frame saw a surface behind a place, all around the view to it.
bool looks_through(DepthGrid const& grid, Vector3f const& place, float tolerance)
{
    GridPlace const at = find_place(grid, place);
    if (at.row < 0)
    {
        return false;
    }
    CellCorners const corners = corners_of(grid, grid.index(at.row, at.column));
    Vector3d const axis = grid.to_camera.get_rotation().row(2).transpose() * grid.camera.side;
    return std::all_of(corners.begin(), corners.end(),
                       [&](std::size_t i)
                       {
                           double const behind =
                               axis.dot((grid.seen[i].point - place).cast<double>());
                           return grid.vertex[i] >= 0 && behind > static_cast<double>(tolerance);
                       });
}

bool is_closed(std::vector<DepthGrid> const& grids, FrameTile const& tile, DepthGrid const& own,
               CellCorners const& corners, float tolerance)
{
    for (std::size_t k = 0; k < corners.size(); ++k)
    {
        Vector3f const& a = own.seen[corners[k]].point;
        Vector3f const& b = own.seen[corners[(k + 1) % corners.size()]].point;
        for (float const part : PLACES)
        {
            Vector3f const place = a + part * (b - a);
            if (std::any_of(tile.frames.begin(), tile.frames.end(),
                            [&](int g) {
                                return looks_through(grids[static_cast<std::size_t>(g)], place,
                                                     tolerance);
                            }))
            {
                return false;
            }
        }
    }
    return true;
}

} // namespace

std::vector<char> find_step_cells(std::vector<DepthGrid> const& grids, std::size_t frame,
                                  double longest, double tolerance)
{
    DepthGrid const& own = grids[frame];
    std::vector<char> result(own.size(), 0);
    for (auto const& tile : make_tiles(grids, frame))
    {
        for (int row = tile.first_row; row < std::min(tile.last_row, own.rows - 1); ++row)
        {
            for (int column = tile.first_column;
                 column < std::min(tile.last_column, own.columns - 1); ++column)
            {
                std::size_t const first = own.index(row, column);
                CellCorners const corners = corners_of(own, first);
                result[first] =
                    own.cell[first] == 0 && is_short(own, corners, static_cast<float>(longest)) &&
                            is_closed(grids, tile, own, corners, static_cast<float>(tolerance))
                        ? 1
                        : 0;
            }
        }
    }
    return result;
}

} // namespace OrvaneAlgorithm::detail
