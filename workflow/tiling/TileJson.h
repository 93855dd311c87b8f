#pragma once

#include "workflow/export.h"
#include "workflow/files/Json.h"
#include "workflow/tiling/Tiling.h"

/// \file
/// Results of a tiled merge as JSON.

namespace veld
{

/// How a scan was divided.
VELD_WORKFLOW_API Json to_json(TilePlan const& plan);
/// What became of a tile's samples.
VELD_WORKFLOW_API Json to_json(ThinTileResult const& result);
/// The mesh of a tile.
VELD_WORKFLOW_API Json to_json(MergeTileResult const& result);
/// The mesh of all tiles.
VELD_WORKFLOW_API Json to_json(JoinTilesResult const& result);
/// A merge in tiles, as of `veld merge --tile-points`.
VELD_WORKFLOW_API Json to_json(TiledMergeResult const& result);

} // namespace veld
