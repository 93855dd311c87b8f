#include "algorithmVeld/reconstruction/depth/FrameNeighbours.h"
#include "algorithmVeld/reconstruction/depth/FrameCover.h"
#include "algorithmVeld/reconstruction/depth/RayMean.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

using namespace OrvaneAlgorithm;
using detail::DepthGrid;
using detail::FrameTile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

constexpr int TILED_SIDE = 48; ///< two tiles each way

/// What a camera sees that looks along z at a wall 1000 mm in front of it. A pixel is 10 mm of the
/// wall, which is 480 mm wide.
DepthGrid wall_grid(Vector3d const& place)
{
    DepthGrid grid;
    grid.rows = TILED_SIDE;
    grid.columns = TILED_SIDE;
    grid.camera = {100.0, 100.0, 0.5 * (TILED_SIDE - 1), 0.5 * (TILED_SIDE - 1), 1.0};
    grid.pose.set_translation(place);
    grid.to_camera = grid.pose.inverse();
    grid.farthest = 1000.0F;
    for (int row = 0; row < TILED_SIDE; ++row)
    {
        for (int column = 0; column < TILED_SIDE; ++column)
        {
            grid.vertex.push_back(static_cast<int>(grid.vertex.size()));
            Vector3d const point = place + 1000.0 * grid.camera.ray(row, column);
            grid.seen.emplace_back();
            grid.seen.back().point = point.cast<float>();
        }
    }
    return grid;
}

std::vector<std::vector<int>> neighbours_of(std::vector<DepthGrid> const& grids, std::size_t frame)
{
    std::vector<std::vector<int>> lists;
    for (auto const& tile : detail::make_tiles(grids, frame))
    {
        lists.push_back(tile.frames);
    }
    return lists;
}

/// A wall so far from the camera at the origin, as sure as all others.
DepthGrid sure_wall(double depth)
{
    DepthGrid grid = wall_grid(Vector3d::Zero());
    for (auto& seen : grid.seen)
    {
        seen.point *= static_cast<float>(depth / 1000.0);
        seen.normal = Vector3f(0.0F, 0.0F, -1.0F);
        seen.noise = 1.0F;
        seen.density = 0.01F;
        seen.inside = 1.0F;
    }
    return grid;
}

} // namespace

TEST(FrameNeighbours, TilesCoverEachPixelOnce)
{
    DepthGrid grid = wall_grid(Vector3d::Zero());
    grid.rows = TILED_SIDE - 5; // of no whole number of tiles
    std::vector<int> times(grid.size(), 0);
    for (auto const& tile : detail::make_tiles({grid}, 0))
    {
        for (int row = tile.first_row; row < tile.last_row; ++row)
        {
            for (int column = tile.first_column; column < tile.last_column; ++column)
            {
                ++times[grid.index(row, column)];
            }
        }
    }
    auto const seen = static_cast<std::ptrdiff_t>(grid.index(TILED_SIDE - 5, 0));
    EXPECT_EQ(std::count(times.begin(), times.begin() + seen, 1), seen);
    EXPECT_EQ(std::count(times.begin() + seen, times.end(), 0), times.end() - times.begin() - seen);
}

TEST(FrameNeighbours, ATileOfNoPointsAsksNobody)
{
    std::vector<DepthGrid> grids(2, wall_grid(Vector3d::Zero()));
    for (int row = 0; row < TILED_SIDE / 2; ++row)
    {
        std::fill_n(grids[0].vertex.begin() + row * TILED_SIDE, TILED_SIDE / 2, -1);
    }
    // The other three go on asking.
    EXPECT_THAT(neighbours_of(grids, 0),
                ElementsAre(ElementsAre(1), ElementsAre(1), ElementsAre(1)));
}

TEST(FrameNeighbours, AreThoseWhoseViewReachesTheTile)
{
    std::vector<DepthGrid> grids = {wall_grid(Vector3d::Zero()),
                                    wall_grid(Vector3d(240.0, 0.0, 0.0)),
                                    wall_grid(Vector3d(0.0, 2000.0, 0.0))};
    // Half a view to the right: it sees the right half, and the last one sees nothing.
    auto const tiles = detail::make_tiles(grids, 0);
    ASSERT_EQ(tiles.size(), 4U);
    for (auto const& tile : tiles)
    {
        if (tile.first_column > 0)
        {
            EXPECT_THAT(tile.frames, ElementsAre(1));
        }
        EXPECT_EQ(std::count(tile.frames.begin(), tile.frames.end(), 2), 0);
    }
}

TEST(FrameNeighbours, AViewFromBehindOrFarTooFarAwayDoesNotReachATile)
{
    // One stands behind the wall and looks away from it, one sees only what is much nearer.
    std::vector<DepthGrid> grids = {wall_grid(Vector3d::Zero()),
                                    wall_grid(Vector3d(0.0, 0.0, 2000.0)),
                                    wall_grid(Vector3d(0.0, 0.0, -2000.0))};
    EXPECT_THAT(neighbours_of(grids, 0), ElementsAre(IsEmpty(), IsEmpty(), IsEmpty(), IsEmpty()));
    // What a camera looks at down its z axis has negative depths there.
    grids[1].camera.side = -1.0;
    grids[1].farthest = 2000.0F;
    EXPECT_THAT(neighbours_of(grids, 0),
                ElementsAre(ElementsAre(1), ElementsAre(1), ElementsAre(1), ElementsAre(1)));
}

TEST(FrameNeighbours, OfManyFramesSomeAreAskedFromTheFirstToTheLast)
{
    std::vector<DepthGrid> const grids(41, wall_grid(Vector3d::Zero()));
    for (auto const& frames : neighbours_of(grids, 20))
    {
        ASSERT_EQ(frames.size(), 16U);
        EXPECT_EQ(std::set<int>(frames.begin(), frames.end()).size(), 16U);
        EXPECT_TRUE(std::is_sorted(frames.begin(), frames.end()));
        EXPECT_EQ(std::count(frames.begin(), frames.end(), 20), 0);
        EXPECT_LE(frames.front(), 3);
        EXPECT_GE(frames.back(), 37);
        for (std::size_t k = 1; k < frames.size(); ++k)
        {
            // 40 others: two or three steps each, one more across the frame itself.
            EXPECT_LE(frames[k] - frames[k - 1], 4);
        }
    }
}

/// Frames whose view is blocked by something near do not keep those from being asked that see it.
TEST(RayMean, AsksThoseAmongManyFramesThatSeeAPlace)
{
    std::vector<DepthGrid> grids{sure_wall(1000.0)};
    for (int i = 0; i < 30; ++i)
    {
        grids.push_back(sure_wall(i % 15 == 6 ? 1003.0 : 700.0));
    }
    auto const mean = detail::mean_of_layers(grids, 0, {{20.0F, 0.0F}, 0.0});
    std::size_t const middle = grids[0].index(TILED_SIDE / 2, TILED_SIDE / 2);
    EXPECT_NEAR(mean.point[middle].z(), (1000.0 + 2.0 * 1003.0) / 3.0, 0.05);
}

/// Far away, where noise is large, layers of one place lie farther apart than in the middle.
TEST(RayMean, TakesLayersForOneByTheNoiseOfTheirPlace)
{
    std::vector<DepthGrid> const grids{sure_wall(1000.0), sure_wall(994.0)};
    std::size_t const middle = grids[0].index(TILED_SIDE / 2, TILED_SIDE / 2);
    // Their noise is 1 mm.
    for (auto const& [deviations, expected] : {std::pair(4.0F, 1000.0F), std::pair(60.0F, 997.0F)})
    {
        auto const mean = detail::mean_of_layers(grids, 0, {{2.0F, deviations}, 0.0});
        EXPECT_NEAR(mean.point[middle].z(), expected, 0.1F) << deviations;
    }
}

TEST(FrameCover, TakesPlacesForOneByTheirNoise)
{
    std::vector<DepthGrid> grids{sure_wall(1000.0), sure_wall(1006.0)};
    for (auto& grid : grids)
    {
        grid.cell.assign(grid.size(), 0);
        for (int row = 0; row + 1 < TILED_SIDE; ++row)
        {
            std::fill_n(grid.cell.begin() + row * TILED_SIDE, TILED_SIDE - 1, 1);
        }
    }
    std::vector<std::vector<char>> const is_best(2, std::vector<char>(grids[0].size(), 1));
    for (auto const& [deviations, patches] : {std::pair(4.0F, 2), std::pair(8.0F, 1)})
    {
        auto const stays = detail::choose_cover(grids, is_best, {2.0F, deviations});
        EXPECT_EQ(std::count_if(stays.begin(), stays.end(),
                                [](std::vector<char> const& frame)
                                { return std::count(frame.begin(), frame.end(), 1) > 0; }),
                  patches)
            << deviations;
    }
}
