#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Merge.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <vector>

/// \file
/// A scan that does not fit in memory, merged in tiles: `plan_tiles`, then `thin_tile` for each
/// tile, then `merge_tile` for each, then `join_tiles`. All that one hands to the next is in the
/// files of one folder, so that tiles can be tasks on many machines that share it, in any order
/// and more than once. `merge_in_tiles` takes all of these steps, one tile after the other.
///
/// In memory each step holds one frame or one tile, and the join the seams besides. Text frames
/// that share a file of poses are read at once, all of them. Each step throws `InputError` where
/// the folder lacks what the step before left, or holds it damaged, and names the file.

namespace veld
{

/// The fewest samples of a tile that can be asked for.
inline constexpr std::size_t LEAST_TILE_POINTS = 1;
/// The most samples of a tile that can be asked for.
inline constexpr std::size_t MOST_TILE_POINTS = 1000000000000;
/// The least margin, in spacings: what a point needs to see around it to be taken or left as in the
/// whole, the band in which a frame's border counts less.
inline constexpr double LEAST_TILE_MARGIN = 8.0;
/// The largest margin, in spacings.
inline constexpr double LARGEST_TILE_MARGIN = 1e6;

/// How a scan is divided.
struct TileSettings
{
    /// Samples in a tile at most, without those of its margin. Places of a few spacings
    /// that hold more are not divided.
    std::size_t tile_points = 4000000;
    /// Width in spacings of what a tile sees around it. The wider, the less it differs
    /// from the whole at its seams.
    double margin = 48.0;
};

/// A tile, before it is merged.
struct PlannedTile
{
    std::size_t points = 0; ///< Samples that are its own.
    std::size_t margin = 0; ///< Samples of others that it sees.
    /// That it sees, in their order, by their place among those of the scan that can be used.
    std::vector<int> frames;
};

/// How a scan was divided.
struct TilePlan
{
    std::vector<PlannedTile> tiles; ///< Their numbers are their places here.
    std::size_t frames = 0;         ///< That can be used.
    std::size_t left_out = 0;       ///< That cannot.
    std::size_t points = 0;         ///< Samples of all frames.
    MergeSettings settings;         ///< As they were taken: no length is 0.
    TileSettings tiling;            ///< As they were given.
    bool found = false;             ///< Whether the plan was there already.
    double seconds = 0.0;           ///< That the division took.
};

/// Reads the frames of a source one after the other, twice, and cuts each into the pieces that the
/// tiles see. A plan that the folder has of the same files and settings is taken as it is; what is
/// left in the folder of a plan that is gone goes, as far as it has names of such files.
///
/// Throws `InputError` where the settings are none for tiles (frames whose noise has to be taken
/// out, the method `OUTLIER`), and where the folder has the plan of something else.
/// \param source frames, as `load_frames` takes them
/// \param load how they are read
/// \param settings those of the merge; what is 0 is measured
/// \param tiling how large tiles and margins are
/// \param folder made if it is not there
/// \param context told the progress, and asked whether to go on
VELD_WORKFLOW_API TilePlan plan_tiles(std::filesystem::path const& source,
                                      LoadFramesSettings const& load, MergeSettings const& settings,
                                      TileSettings const& tiling,
                                      std::filesystem::path const& folder, Context& context);

/// The plan that a folder has.
VELD_WORKFLOW_API TilePlan read_tile_plan(std::filesystem::path const& folder);

/// What became of a tile's samples.
struct ThinTileResult
{
    std::size_t points = 0;  ///< Samples of the tile and its margin.
    std::size_t removed = 0; ///< Of these, taken out because a better frame saw the place.
    bool found = false;      ///< Whether that was done already.
    double seconds = 0.0;    ///< That it took.
};

/// Takes the overlap out of the frames that a tile sees.
/// \param folder that of the plan
/// \param tile its number
/// \param context told the progress, and asked whether to go on
VELD_WORKFLOW_API ThinTileResult thin_tile(std::filesystem::path const& folder, std::size_t tile,
                                           Context& context);

/// The mesh of a tile.
struct MergeTileResult
{
    std::size_t vertices = 0; ///< That are the tile's own.
    std::size_t faces = 0;    ///< With such vertices alone.
    std::size_t crossing = 0; ///< With vertices of other tiles as well.
    bool found = false;       ///< Whether the mesh was there already.
    double seconds = 0.0;     ///< That it took.
};

/// Stitches a tile, once all tiles are thin: the order of the stitch is that of the whole scan, so
/// that neighbours agree.
/// \param folder that of the plan
/// \param tile its number
/// \param context told the progress, and asked whether to go on
VELD_WORKFLOW_API MergeTileResult merge_tile(std::filesystem::path const& folder, std::size_t tile,
                                             Context& context);

/// The mesh of all tiles.
struct JoinTilesResult
{
    std::size_t vertices = 0; ///< Of the mesh.
    std::size_t faces = 0;    ///< Of the mesh.
    /// Of these, over a seam, as all sides have them. Those that went where a gap was closed do not
    /// count.
    std::size_t crossing = 0;
    std::size_t refused = 0;  ///< Faces over a seam that only one side has: they are not in it.
    std::size_t stitched = 0; ///< Faces that close the gaps of these.
    double seconds = 0.0;     ///< That it took.
};

/// Joins all tiles to one mesh, as binary PLY. Memory is that of one tile and of the seams.
///
/// Throws `InputError` where the output is one of the scan's files.
/// \param folder that of the plan
/// \param output its extension is `.ply`
/// \param context told the progress, and asked whether to go on
VELD_WORKFLOW_API JoinTilesResult join_tiles(std::filesystem::path const& folder,
                                             OutputFile const& output, Context& context);

/// A tile that is done.
struct TileResult
{
    ThinTileResult thin;   ///< What became of its samples.
    MergeTileResult merge; ///< Its mesh.
};

/// A scan that was merged in tiles.
struct TiledMergeResult
{
    TilePlan plan;                 ///< How it was divided.
    std::vector<TileResult> tiles; ///< In the order of the plan.
    JoinTilesResult join;          ///< The mesh.
    double seconds = 0.0;          ///< Of all steps.
};

/// Takes all steps. What the folder already has of them is not done again.
/// \param source frames, as `load_frames` takes them
/// \param load how they are read
/// \param settings those of the merge; what is 0 is measured
/// \param tiling how large tiles and margins are
/// \param folder of the plan and of what the steps hand on; made if it is not there
/// \param output gets the mesh; its extension is `.ply`
/// \param done is told each tile that has its mesh; may be empty
/// \param context told the progress, and asked whether to go on
VELD_WORKFLOW_API TiledMergeResult
merge_in_tiles(std::filesystem::path const& source, LoadFramesSettings const& load,
               MergeSettings const& settings, TileSettings const& tiling,
               std::filesystem::path const& folder, OutputFile const& output,
               std::function<void(std::size_t, TileResult const&)> const& done, Context& context);

} // namespace veld
