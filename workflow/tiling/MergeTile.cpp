#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/steps/MergeStages.h"
#include "workflow/tiling/files/TileFolder.h"
#include "workflow/tiling/files/TileMesh.h"
#include "workflow/words.h"

#include "algorithmVeld/common/arrays/GridMap.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <numeric>
#include <unordered_map>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;
using OrvaneAlgorithm::detail::GridMap;

namespace
{

/// What is left of the frames that a tile sees. While they are merged their colours are the keys of
/// their samples.
class KeyedFrames
{
public:
    KeyedFrames(TileFolder const& folder, std::size_t tile, std::vector<int> const& numbers)
    {
        for (int const number : numbers)
        {
            place_[number] = frames_.size();
            frames_.push_back(read_piece(folder.kept_file(tile, number)));
            RangeData& frame = frames_.back();
            maps_.push_back(std::make_unique<GridMap>(frame));
            colours_.push_back(std::move(frame.vColor));
            frame.has_vColor = true;
            frame.vColor.clear();
            for (auto const& [row, col] : frame.vUV)
            {
                auto const cell =
                    static_cast<std::uint32_t>(row) * static_cast<std::uint32_t>(frame.grid_cols) +
                    static_cast<std::uint32_t>(col);
                frame.vColor.push_back(colour_of(key_of(number, cell)));
            }
        }
    }

    std::vector<RangeData> const& frames() const { return frames_; }

    bool is_own(SampleKey key) const
    {
        auto const [frame, i] = sample(key);
        return frames_[frame].vFlag[i] != 0;
    }

    /// Black where the frame has no colours.
    Vector3f colour(SampleKey key) const
    {
        auto const [frame, i] = sample(key);
        return i < colours_[frame].size() ? colours_[frame][i] : Vector3f(Vector3f::Zero());
    }

private:
    std::pair<std::size_t, std::size_t> sample(SampleKey key) const
    {
        std::size_t const frame = place_.at(static_cast<int>(key >> 32U));
        auto const cell = static_cast<std::uint32_t>(key);
        auto const columns = static_cast<std::uint32_t>(frames_[frame].grid_cols);
        return {frame, static_cast<std::size_t>((*maps_[frame])(cell / columns, cell % columns))};
    }

    std::unordered_map<int, std::size_t> place_;
    std::vector<RangeData> frames_;
    std::vector<std::unique_ptr<GridMap>> maps_;
    std::vector<std::vector<Vector3f>> colours_;
};

ThinRecord read_thin(TileFolder const& folder, TileRecord const& plan, std::size_t tile)
{
    auto thin = folder.find_thin(plan, tile);
    if (!thin)
    {
        throw InputError(fmt::format("{}: tile {} is not thin yet: all have to be before one is "
                                     "stitched",
                                     shown(folder.path()), tile));
    }
    return *thin;
}

/// The box of all tiles. Once one has found it, all tiles were thin.
VertexBox whole_box(TileFolder const& folder, TileRecord const& plan)
{
    if (auto const known = folder.find_box(plan))
    {
        return *known;
    }
    VertexBox whole;
    for (std::size_t t = 0; t < plan.boxes.size(); ++t)
    {
        VertexBox const box = read_thin(folder, plan, t).box;
        if (box.has_any)
        {
            whole.add(box.low, box.high);
        }
    }
    folder.write_box(plan, whole);
    return whole;
}

/// Gives the stitch the box of all tiles.
void set_whole_box(TileFolder const& folder, TileRecord const& plan,
                   OrvaneAlgorithm::MeshMerge& merger)
{
    VertexBox const whole = whole_box(folder, plan);
    if (whole.has_any)
    {
        merger.set_stitch_box(whole.low, whole.high);
    }
}

/// The own vertices of a mesh, in the order of their keys.
std::vector<int> take_vertices(TriMesh const& mesh, std::vector<SampleKey> const& keys,
                               std::vector<char> const& is_used, KeyedFrames const& frames,
                               bool has_colours, TileMesh& tile)
{
    std::vector<int> order;
    for (int v = 0; v < static_cast<int>(keys.size()); ++v)
    {
        if (is_used[static_cast<std::size_t>(v)] != 0)
        {
            order.push_back(v);
        }
    }
    std::sort(order.begin(), order.end(),
              [&](int a, int b)
              { return keys[static_cast<std::size_t>(a)] < keys[static_cast<std::size_t>(b)]; });
    std::vector<int> place(keys.size(), -1);
    for (int const v : order)
    {
        auto const key = keys[static_cast<std::size_t>(v)];
        OpenMesh::VertexHandle const vertex(v);
        place[static_cast<std::size_t>(v)] = static_cast<int>(tile.keys.size());
        tile.keys.push_back(key);
        tile.points.push_back(mesh.point(vertex));
        tile.normals.push_back(mesh.normal(vertex));
        if (has_colours)
        {
            tile.colours.push_back(frames.colour(key));
        }
    }
    return place;
}

/// The corners of a face in their order.
std::array<std::size_t, 3> corners_of(TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    std::array<std::size_t, 3> corners{};
    auto vertex = mesh.cfv_iter(face);
    for (auto& corner : corners)
    {
        corner = static_cast<std::size_t>(vertex->idx());
        ++vertex;
    }
    return corners;
}

void add_crossing(std::array<std::size_t, 3> const& corners, std::vector<SampleKey> const& keys,
                  std::vector<char> const& is_own, TileMesh& tile)
{
    CrossingFace face;
    face.corners = {keys[corners[0]], keys[corners[1]], keys[corners[2]]};
    std::size_t const turn = turn_to_least(face.corners);
    for (std::size_t k = 0; k < 3; ++k)
    {
        face.own |= is_own[corners[(turn + k) % 3]] != 0 ? static_cast<unsigned char>(1U << k) : 0U;
    }
    tile.crossing.push_back(face);
}

/// What of a mesh is the tile's.
TileMesh own_part(TriMesh const& mesh, KeyedFrames const& frames, bool has_colours)
{
    std::vector<SampleKey> keys(mesh.n_vertices());
    std::vector<char> is_own(keys.size());
    std::vector<char> is_used(keys.size(), 0);
    for (std::size_t v = 0; v < keys.size(); ++v)
    {
        OpenMesh::VertexHandle const vertex(static_cast<int>(v));
        keys[v] = key_in(mesh.color(vertex));
        is_own[v] = frames.is_own(keys[v]) ? 1 : 0;
        is_used[v] = is_own[v] != 0 && !mesh.is_isolated(vertex) ? 1 : 0;
    }
    TileMesh tile;
    auto const place = take_vertices(mesh, keys, is_used, frames, has_colours, tile);
    for (auto const face : mesh.faces())
    {
        auto const corners = corners_of(mesh, face);
        int const n_own = is_own[corners[0]] + is_own[corners[1]] + is_own[corners[2]];
        if (n_own == 3)
        {
            tile.faces.push_back({place[corners[0]], place[corners[1]], place[corners[2]]});
        }
        else if (n_own > 0)
        {
            add_crossing(corners, keys, is_own, tile);
        }
    }
    return tile;
}

MergeTileResult result_of(TileMesh const& tile)
{
    MergeTileResult result;
    result.vertices = tile.keys.size();
    result.faces = tile.faces.size();
    result.crossing = tile.crossing.size();
    result.seconds = tile.seconds;
    return result;
}

} // namespace

MergeTileResult merge_tile(std::filesystem::path const& folder, std::size_t tile, Context& context)
{
    StepScope scope(context, "merge-tile", "stitch the tile");
    TileFolder const files(folder);
    TileRecord const record = files.read_plan();
    refuse_unknown_tile(record, tile);
    if (auto const done = find_tile_mesh(files.mesh_file(tile), record, tile))
    {
        MergeTileResult found = result_of(*done);
        found.found = true;
        return found;
    }
    Stopwatch const watch;
    auto merger = merger_for(record.plan.settings);
    read_thin(files, record, tile); // its own pieces have to be whole, whatever became of others
    set_whole_box(files, record, merger);
    KeyedFrames const frames =
        scope.stage("read what stays", 0.1,
                    [&] { return KeyedFrames(files, tile, record.plan.tiles[tile].frames); });
    MergeResult result;
    result.settings = record.plan.settings;
    scope.stage("stitch the tile", 0.9, [&] { stitch(pointers(frames.frames()), merger, result); });
    TileMesh mesh = scope.stage("take the tile's own part", 1.0,
                                [&] { return own_part(result.mesh, frames, record.has_colours); });
    mesh.plan = record.inputs;
    mesh.tile = static_cast<std::uint32_t>(tile);
    mesh.seconds = watch.seconds();
    write_tile_mesh(files.mesh_file(tile), mesh);
    return result_of(mesh);
}

} // namespace veld
