#pragma once

#include "workflow/tiling/Tiling.h"
#include "workflow/tiling/plan/TileBoxes.h"

#include "algorithmVeld/common/RangeData.h"

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// \file
/// The files by which the steps of a tiled merge go on from each other.

namespace veld
{

/// A plan, and what only the steps need of it.
struct TileRecord
{
    TilePlan plan;
    std::string inputs;                         ///< checksum of all that the plan was made of
    std::vector<std::filesystem::path> sources; ///< the files of the scan, by their full names
    double side = 0.0;                          ///< of the cells, in millimetres
    std::vector<TileBox> boxes;                 ///< of the tiles
    bool has_colours = false;                   ///< whether any frame has
};

/// The box of vertices, of which there may be none.
struct VertexBox
{
    bool has_any = false;
    OrvaneAlgorithm::Vector3f low = OrvaneAlgorithm::Vector3f::Zero();
    OrvaneAlgorithm::Vector3f high = OrvaneAlgorithm::Vector3f::Zero();

    /// Takes in what reaches from one point to another.
    void add(OrvaneAlgorithm::Vector3f const& from, OrvaneAlgorithm::Vector3f const& to);
};

/// What a thin tile tells the others.
struct ThinRecord
{
    ThinTileResult result;
    VertexBox box; ///< of its own vertices
};

/// What makes the tiles: a version of the library, with its solver. Those of another one do not
/// fit.
std::string tile_maker();

/// Throws `InputError` where a plan has no tile of a number.
void refuse_unknown_tile(TileRecord const& record, std::size_t tile);

/// Names of the files of a folder, which readers and writers of them share.
class TileFolder
{
public:
    explicit TileFolder(std::filesystem::path folder) : folder_(std::move(folder)) {}

    std::filesystem::path const& path() const { return folder_; }
    std::filesystem::path tile(std::size_t tile) const;
    std::filesystem::path plan_file() const { return folder_ / "plan.json"; }
    std::filesystem::path box_file() const { return folder_ / "box.json"; }
    std::filesystem::path thin_file(std::size_t tile) const;
    std::filesystem::path mesh_file(std::size_t tile) const;
    /// What a tile sees of a frame.
    std::filesystem::path piece_file(std::size_t tile, int frame) const;
    /// What stays of that.
    std::filesystem::path kept_file(std::size_t tile, int frame) const;

    /// Throws `InputError` where there is none, a damaged one, or one of another version.
    TileRecord read_plan() const;
    void write_plan(TileRecord const& record) const;

    /// None where a tile has not been thinned, or was by another plan.
    std::optional<ThinRecord> find_thin(TileRecord const& plan, std::size_t tile) const;
    void write_thin(TileRecord const& plan, std::size_t tile, ThinRecord const& record) const;
    /// The box of the vertices of all tiles, which the first tile that is stitched leaves for the
    /// others: none of them has to look at all the others again. None if there is none of the plan.
    std::optional<VertexBox> find_box(TileRecord const& plan) const;
    void write_box(TileRecord const& plan, VertexBox const& box) const;

    /// Takes the record of another plan away before its files change. That of this plan stays, for
    /// whoever is at the same tile writes the same.
    void drop_thin_of_others(TileRecord const& plan, std::size_t tile) const;

    /// Removes what earlier plans left in the folder and this one has no file of that name for:
    /// files with names of ours alone, and the folders that are empty then.
    void remove_files_of_others(TileRecord const& plan) const;

private:
    std::filesystem::path folder_;
};

/// Reads a piece of a frame, with the flag of each sample that is the tile's own.
OrvaneAlgorithm::RangeData read_piece(std::filesystem::path const& file);

} // namespace veld
