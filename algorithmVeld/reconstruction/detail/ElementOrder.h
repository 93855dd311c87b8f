#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Faces that were added together, and the edges that came with them. They stand in the mesh behind
/// those of the entry before.
struct AddedFaces
{
    int turn = 0; ///< When they should have been added; no two entries have the same.
    int faces = 0;
    int edges = 0;
};

/// Numbers faces and edges that were added at the end of the mesh as if they had been added in the
/// order of their turns. The mesh must hold together as if they had: what was added out of turn
/// must not touch. They must not carry properties yet.
/// \param added from the first to the last face and edge of the mesh's end
void order_by_turns(TriMesh& mesh, std::vector<AddedFaces> const& added);

} // namespace OrvaneAlgorithm::detail
