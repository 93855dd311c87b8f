#include "workflow/tiling/TileJson.h"

#include "workflow/steps/StepJson.h"

#include <utility>

namespace veld
{

Json to_json(TilePlan const& plan)
{
    Json tiles = Json::array();
    for (auto const& tile : plan.tiles)
    {
        tiles.push_back(
            {{"points", tile.points}, {"margin", tile.margin}, {"frames", tile.frames.size()}});
    }
    return {{"frames", plan.frames},        {"left_out", plan.left_out},
            {"points", plan.points},        {"tile_points", plan.tiling.tile_points},
            {"margin", plan.tiling.margin}, {"settings", to_json(plan.settings)},
            {"tiles", std::move(tiles)},    {"found", plan.found},
            {"seconds", plan.seconds}};
}

Json to_json(ThinTileResult const& result)
{
    return {{"points", result.points},
            {"overlap_removed", result.removed},
            {"found", result.found},
            {"seconds", result.seconds}};
}

Json to_json(MergeTileResult const& result)
{
    return {{"vertices", result.vertices},
            {"faces", result.faces},
            {"crossing", result.crossing},
            {"found", result.found},
            {"seconds", result.seconds}};
}

Json to_json(JoinTilesResult const& result)
{
    return {{"vertices", result.vertices}, {"faces", result.faces},
            {"crossing", result.crossing}, {"refused", result.refused},
            {"stitched", result.stitched}, {"seconds", result.seconds}};
}

Json to_json(TiledMergeResult const& result)
{
    Json tiles = Json::array();
    for (std::size_t t = 0; t < result.tiles.size(); ++t)
    {
        tiles.push_back({{"points", result.plan.tiles[t].points},
                         {"margin", result.plan.tiles[t].margin},
                         {"thin", to_json(result.tiles[t].thin)},
                         {"merge", to_json(result.tiles[t].merge)}});
    }
    return {{"frames", result.plan.frames},
            {"points", result.plan.points},
            {"vertices", result.join.vertices},
            {"faces", result.join.faces},
            {"spacing", result.plan.settings.spacing},
            {"stitch_radius", result.plan.settings.stitch_radius},
            {"long_edge", result.plan.settings.long_edge},
            {"tile_points", result.plan.tiling.tile_points},
            {"tile_margin", result.plan.tiling.margin},
            {"plan_seconds", result.plan.seconds},
            {"tiles", std::move(tiles)},
            {"join", to_json(result.join)},
            {"seconds", result.seconds}};
}

} // namespace veld
