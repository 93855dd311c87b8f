#pragma once

#include "workflow/files/OutputFile.h"
#include "workflow/tiling/Tiling.h"
#include "workflow/tiling/files/MeshRows.h"
#include "workflow/tiling/files/TileFolder.h"
#include "workflow/tiling/files/TileMesh.h"
#include "workflow/tiling/seams/SeamFaces.h"
#include "workflow/tiling/seams/SeamStrip.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace veld
{

/// The meshes of all tiles on their way to one, stage by stage. In memory are one tile and the
/// seams.
class Joining
{
public:
    /// Both have to outlive this.
    Joining(TileFolder const& folder, TileRecord const& record);

    /// Finds the faces over seams that tiles agree on.
    void compare_seams();

    /// Closes the gaps of the others.
    void close_seams();

    /// \param result gets the counts of the mesh
    void write(OutputFile const& output, JoinTilesResult& result);

private:
    void for_each_tile(std::function<void(TileMesh const&)> const& work) const;
    void find_corners(TileMesh const& tile, std::unordered_set<SampleKey> const& at_seams);
    std::vector<SeamVertex> gaps() const;
    bool is_removed(KeyedFace const& face) const;
    std::vector<KeyedFace> faces_over_seams() const;
    void write_tile(TileMesh const& tile, MeshRows& rows);
    std::vector<std::uint32_t> write_vertices(TileMesh const& tile,
                                              std::vector<char> const& is_used, MeshRows& rows);

    TileFolder const& folder_;
    TileRecord const& record_;
    SeamFaces faces_;
    std::unordered_map<SampleKey, SeamVertex> corners_; ///< of faces over seams, without gaps none
    std::unique_ptr<SeamStrip> strip_;                  ///< none without a gap
    std::unordered_map<SampleKey, std::uint32_t> seam_rows_; ///< in the mesh of all
};

} // namespace veld
