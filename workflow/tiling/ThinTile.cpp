#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/files/InputFile.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/steps/MergeStages.h"
#include "workflow/tiling/files/TileFolder.h"

#include <fmt/format.h>

#include <utility>

namespace veld
{

namespace
{

std::vector<RangeData> read_pieces(TileFolder const& folder, std::size_t tile,
                                   std::vector<int> const& frames)
{
    std::vector<RangeData> pieces;
    pieces.reserve(frames.size());
    for (int const frame : frames)
    {
        pieces.push_back(read_piece(folder.piece_file(tile, frame)));
    }
    return pieces;
}

/// Finds the box of the vertices that a tile brings into the stitch. What the margin has is right
/// in other tiles only.
void find_box(std::vector<RangeData> const& kept, TileRecord const& record, std::size_t tile,
              ThinRecord& thin)
{
    OrvaneAlgorithm::TriMesh mesh;
    merger_for(record.plan.settings)
        .frames_to_mesh(pointers(kept), record.plan.settings.long_edge, mesh);
    for (auto const vertex : mesh.vertices())
    {
        auto const& point = mesh.point(vertex);
        if (record.boxes[tile].has(cell_of(point, record.side)))
        {
            thin.box.add(point, point);
        }
    }
}

} // namespace

ThinTileResult thin_tile(std::filesystem::path const& folder, std::size_t tile, Context& context)
{
    StepScope scope(context, "thin-tile", "take the overlap out");
    TileFolder const files(folder);
    TileRecord const record = files.read_plan();
    refuse_unknown_tile(record, tile);
    if (auto const done = files.find_thin(record, tile))
    {
        ThinTileResult found = done->result;
        found.found = true;
        return found;
    }
    Stopwatch const watch;
    auto const& frames = record.plan.tiles[tile].frames;
    auto pieces =
        scope.stage("read the pieces", 0.1, [&] { return read_pieces(files, tile, frames); });
    ThinRecord thin;
    for (auto const& piece : pieces)
    {
        thin.result.points += piece.get_vn();
    }
    if (record.plan.settings.layers != Layers::ALL)
    {
        MergeResult result;
        result.settings = record.plan.settings;
        pieces = scope.stage("take the overlap out", 0.8,
                             [&] { return single_layer(pointers(pieces), result); });
        thin.result.removed = result.removed;
    }
    scope.stage("measure the tile", 0.9, [&] { find_box(pieces, record, tile, thin); });
    scope.stage("write what stays", 1.0,
                [&]
                {
                    files.drop_thin_of_others(record, tile);
                    for (std::size_t i = 0; i < pieces.size(); ++i)
                    {
                        write_frame(files.kept_file(tile, frames[i]), pieces[i]);
                    }
                });
    thin.result.seconds = watch.seconds();
    files.write_thin(record, tile, thin);
    return thin.result;
}

} // namespace veld
