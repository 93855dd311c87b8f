#pragma once

#include "workflow/tiling/files/TileFolder.h"

#include "algorithmVeld/common/vectors.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace veld
{

/// Which sample of the scan a vertex is: its frame, and its cell on the frame's grid. All tiles
/// know a sample by the same key.
using SampleKey = std::uint64_t;

SampleKey key_of(int frame, std::uint32_t cell);

/// A key as a colour, and back. A merge takes colours along as they are, and so the key.
OrvaneAlgorithm::Vector3f colour_of(SampleKey key);
SampleKey key_in(OrvaneAlgorithm::Vector3f const& colour);

/// A face by its corners, from the least on, the way round that it has.
using KeyedFace = std::array<SampleKey, 3>;

/// Turns a face so that the least corner comes first. \return how far: its corner at this place is
/// the least
std::size_t turn_to_least(KeyedFace& face);

/// A face over a seam, as one tile has it.
struct CrossingFace
{
    KeyedFace corners{};
    unsigned char own = 0; ///< bits of the corners that are the tile's own
};

/// The mesh of a tile: its own vertices, and the faces that have any of them.
struct TileMesh
{
    std::string plan;            ///< by its checksum, and
    std::uint32_t tile = 0;      ///< the number of the tile in it: what this is the mesh of
    std::vector<SampleKey> keys; ///< rising
    std::vector<OrvaneAlgorithm::Vector3f> points;
    std::vector<OrvaneAlgorithm::Vector3f> normals;
    std::vector<OrvaneAlgorithm::Vector3f> colours; ///< none if the scan has none
    std::vector<std::array<std::int32_t, 3>> faces; ///< of own vertices alone
    std::vector<CrossingFace> crossing;
    double seconds = 0.0; ///< that it took
};

/// Reads the mesh of a plan's tile. None where there is no file, where it is of another plan or
/// tile by the same name, and where another version wrote it in a form of its own. Throws
/// `InputError` with the file's name where it is damaged.
std::optional<TileMesh> find_tile_mesh(std::filesystem::path const& file, TileRecord const& plan,
                                       std::size_t tile);

/// The same where there has to be one: throws `InputError` with the file's name.
TileMesh read_tile_mesh(std::filesystem::path const& file, TileRecord const& plan,
                        std::size_t tile);

void write_tile_mesh(std::filesystem::path const& file, TileMesh const& mesh);

} // namespace veld
