#pragma once

#include "workflow/tiling/files/TileMesh.h"

#include <vector>

namespace veld
{

/// The faces over the seams of all tiles. One is taken where every tile that owns a corner has it:
/// all faces at a vertex are then faces of the mesh of its tile, so that no edge gets a third face,
/// and none two on one side. What tiles do not agree on is a gap.
class SeamFaces
{
public:
    /// The faces of a further tile.
    void add(std::vector<CrossingFace> const& faces);

    /// Compares what the tiles have.
    void compare();

    /// The faces that are taken, in the order of their corners.
    std::vector<KeyedFace> const& agreed() const { return agreed_; }
    /// The others.
    std::vector<KeyedFace> const& refused() const { return refused_; }

private:
    std::vector<CrossingFace> faces_;
    std::vector<KeyedFace> agreed_;
    std::vector<KeyedFace> refused_;
};

} // namespace veld
