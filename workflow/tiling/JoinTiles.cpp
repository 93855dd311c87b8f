#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/tiling/files/MeshRows.h"
#include "workflow/tiling/files/TileFolder.h"
#include "workflow/tiling/seams/Joining.h"
#include "workflow/words.h"

#include <fmt/format.h>

namespace veld
{

JoinTilesResult join_tiles(std::filesystem::path const& folder, OutputFile const& output,
                           Context& context)
{
    StepScope scope(context, "join-tiles", "join the tiles");
    Stopwatch const watch;
    TileFolder const files(folder);
    check_mesh_output(output, {});
    TileRecord const record = files.read_plan();
    check_mesh_output(output, record.sources);
    Joining joining(files, record);
    JoinTilesResult result;
    scope.stage("compare the seams", 0.2, [&] { joining.compare_seams(); });
    scope.stage("close the seams", 0.6, [&] { joining.close_seams(); });
    scope.stage("write the mesh", 1.0, [&] { joining.write(output, result); });
    if (result.faces == 0)
    {
        throw OperationError(
            fmt::format(
                "no piece of the tiles has more than {}",
                counted(static_cast<std::size_t>(record.plan.settings.min_component), "face")),
            "min_component");
    }
    result.seconds = watch.seconds();
    return result;
}

} // namespace veld
