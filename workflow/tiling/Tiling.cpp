#include "workflow/tiling/Tiling.h"

#include "workflow/Error.h"
#include "workflow/Stopwatch.h"
#include "workflow/tiling/files/MeshRows.h"
#include "workflow/words.h"

namespace veld
{

namespace
{

/// Parts of the time that the steps take, as far as that can be told before.
constexpr double PLANNED = 0.1;
constexpr double THIN = 0.55;
constexpr double MERGED = 0.95;

/// The share of a tile in the progress from `begin` to `end`.
Context share_of_tile(Context const& whole, double begin, double end, std::size_t tile,
                      std::size_t tiles)
{
    double const width = (end - begin) / static_cast<double>(tiles);
    return share_of(whole, begin + width * static_cast<double>(tile),
                    begin + width * static_cast<double>(tile + 1));
}

} // namespace

TiledMergeResult merge_in_tiles(std::filesystem::path const& source, LoadFramesSettings const& load,
                                MergeSettings const& settings, TileSettings const& tiling,
                                std::filesystem::path const& folder, OutputFile const& output,
                                std::function<void(std::size_t, TileResult const&)> const& done,
                                Context& context)
{
    namespace fs = std::filesystem;
    if (fs::absolute(folder).lexically_normal() == fs::absolute(output.path()).lexically_normal())
    {
        throw InputError(shown(folder) + ": is named for the tiles and for the mesh");
    }
    check_mesh_output(output, frame_source_files(source));
    Stopwatch const watch;
    TiledMergeResult result;
    Context planning = share_of(context, 0.0, PLANNED);
    result.plan = plan_tiles(source, load, settings, tiling, folder, planning);
    std::size_t const n = result.plan.tiles.size();
    result.tiles.resize(n);
    for (std::size_t t = 0; t < n; ++t)
    {
        Context part = share_of_tile(context, PLANNED, THIN, t, n);
        result.tiles[t].thin = thin_tile(folder, t, part);
    }
    for (std::size_t t = 0; t < n; ++t)
    {
        Context part = share_of_tile(context, THIN, MERGED, t, n);
        result.tiles[t].merge = merge_tile(folder, t, part);
        if (done)
        {
            done(t, result.tiles[t]);
        }
    }
    Context joining = share_of(context, MERGED, 1.0);
    result.join = join_tiles(folder, output, joining);
    result.seconds = watch.seconds();
    return result;
}

} // namespace veld
