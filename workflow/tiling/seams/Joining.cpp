#include "workflow/tiling/seams/Joining.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <iterator>

namespace veld
{

namespace
{

/// Each corner of faces once.
std::vector<SampleKey> corners_of(std::vector<std::vector<KeyedFace> const*> const& lists)
{
    std::vector<SampleKey> keys;
    for (auto const* list : lists)
    {
        for (auto const& face : *list)
        {
            keys.insert(keys.end(), face.begin(), face.end());
        }
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

KeyedFace keys_of(TileMesh const& tile, std::array<std::int32_t, 3> const& face)
{
    KeyedFace keys{tile.keys[static_cast<std::size_t>(face[0])],
                   tile.keys[static_cast<std::size_t>(face[1])],
                   tile.keys[static_cast<std::size_t>(face[2])]};
    turn_to_least(keys);
    return keys;
}

} // namespace

Joining::Joining(TileFolder const& folder, TileRecord const& record)
    : folder_(folder), record_(record)
{
}

void Joining::compare_seams()
{
    for_each_tile([this](TileMesh const& tile) { faces_.add(tile.crossing); });
    faces_.compare();
}

void Joining::close_seams()
{
    if (faces_.refused().empty())
    {
        return;
    }
    auto const keys = corners_of({&faces_.agreed(), &faces_.refused()});
    std::unordered_set<SampleKey> const at_seams(keys.begin(), keys.end());
    for_each_tile([&](TileMesh const& tile) { find_corners(tile, at_seams); });
    strip_ = std::make_unique<SeamStrip>(gaps(), record_.plan.settings);
    for_each_tile([this](TileMesh const& tile) { strip_->add(tile); });
    for (auto const& face : faces_.agreed())
    {
        // The mesh of its tile has each corner of a face that tiles agree on.
        strip_->add(face, {corners_.at(face[0]), corners_.at(face[1]), corners_.at(face[2])});
    }
    strip_->close();
}

void Joining::write(OutputFile const& output, JoinTilesResult& result)
{
    MeshRows rows(output, record_.has_colours);
    auto const over_seams = faces_over_seams();
    for (auto const key : corners_of({&over_seams}))
    {
        seam_rows_.emplace(key, 0);
    }
    OrvaneAlgorithm::detail::Stages stages({3.0, 1.0});
    stages.next();
    for_each_tile([&](TileMesh const& tile) { write_tile(tile, rows); });
    OrvaneAlgorithm::detail::CancelPoll poll;
    for (auto const& face : over_seams)
    {
        poll.next();
        rows.add_face({seam_rows_.at(face[0]), seam_rows_.at(face[1]), seam_rows_.at(face[2])});
    }
    stages.next();
    rows.finish();
    result.vertices = rows.vertices();
    result.faces = rows.faces();
    result.refused = faces_.refused().size();
    result.stitched = strip_ ? strip_->added().size() : 0;
    result.crossing = over_seams.size() - result.stitched;
}

void Joining::for_each_tile(std::function<void(TileMesh const&)> const& work) const
{
    OrvaneAlgorithm::detail::Progress progress(record_.boxes.size());
    for (std::size_t t = 0; t < record_.boxes.size(); ++t)
    {
        progress.advance(0);
        work(read_tile_mesh(folder_.mesh_file(t), record_, t));
        progress.advance();
    }
}

/// Costs what the tile's vertices do, however many seams others have.
void Joining::find_corners(TileMesh const& tile, std::unordered_set<SampleKey> const& at_seams)
{
    for (std::size_t v = 0; v < tile.keys.size(); ++v)
    {
        SampleKey const key = tile.keys[v];
        if (at_seams.count(key) > 0)
        {
            corners_.emplace(key, SeamVertex{key, tile.points[v], tile.normals[v]});
        }
    }
}

/// The vertices that lost a face.
std::vector<SeamVertex> Joining::gaps() const
{
    std::vector<SeamVertex> list;
    for (auto const key : corners_of({&faces_.refused()}))
    {
        auto const found = corners_.find(key);
        if (found != corners_.end())
        {
            list.push_back(found->second);
        }
    }
    return list;
}

bool Joining::is_removed(KeyedFace const& face) const
{
    return strip_ && strip_->removed().count(face) > 0;
}

/// Those that tiles agree on, and those that close the gaps of the others.
std::vector<KeyedFace> Joining::faces_over_seams() const
{
    std::vector<KeyedFace> list;
    std::copy_if(faces_.agreed().begin(), faces_.agreed().end(), std::back_inserter(list),
                 [this](KeyedFace const& face) { return !is_removed(face); });
    if (strip_)
    {
        list.insert(list.end(), strip_->added().begin(), strip_->added().end());
    }
    return list;
}

/// Writes the vertices of a tile that any face has, and its own faces.
void Joining::write_tile(TileMesh const& tile, MeshRows& rows)
{
    std::vector<char> is_used(tile.keys.size(), 0);
    std::vector<char> stays(tile.faces.size(), 1);
    for (std::size_t f = 0; f < tile.faces.size(); ++f)
    {
        stays[f] = is_removed(keys_of(tile, tile.faces[f])) ? 0 : 1;
        for (auto const v : tile.faces[f])
        {
            is_used[static_cast<std::size_t>(v)] |= stays[f];
        }
    }
    auto const row = write_vertices(tile, is_used, rows);
    for (std::size_t f = 0; f < tile.faces.size(); ++f)
    {
        if (stays[f] != 0)
        {
            auto const& face = tile.faces[f];
            rows.add_face({row[static_cast<std::size_t>(face[0])],
                           row[static_cast<std::size_t>(face[1])],
                           row[static_cast<std::size_t>(face[2])]});
        }
    }
    rows.flush();
}

/// \return the row of each vertex that was written
std::vector<std::uint32_t> Joining::write_vertices(TileMesh const& tile,
                                                   std::vector<char> const& is_used, MeshRows& rows)
{
    std::vector<std::uint32_t> row(tile.keys.size(), 0);
    for (std::size_t v = 0; v < row.size(); ++v)
    {
        auto const at_seam = seam_rows_.find(tile.keys[v]);
        if (is_used[v] != 0 || at_seam != seam_rows_.end())
        {
            row[v] = rows.add_vertex(tile, v);
        }
        if (at_seam != seam_rows_.end())
        {
            at_seam->second = row[v];
        }
    }
    return row;
}

} // namespace veld
