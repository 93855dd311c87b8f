#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Faces that were added together, and the edges that came with them. Each of both stand side by
/// side in the mesh.
struct AddedFaces
{
    int turn = 0; ///< When they should have been added; no two entries have the same.
    int first_face = 0;
    int faces = 0;
    int first_edge = 0;
    int edges = 0;
};

/// Numbers faces and edges that were added behind others as if they had been added in the order of
/// their turns, and lets the mesh end there. What belongs to no entry has to be unlinked, and goes.
/// What was added out of turn must not touch: the links have to be those that adding in turn gives.
/// Nothing that was added may carry properties yet.
/// \param n_edges how many edges the mesh had before; n_faces likewise
void order_by_turns(TriMesh& mesh, std::size_t n_edges, std::size_t n_faces,
                    std::vector<AddedFaces> added);

} // namespace OrvaneAlgorithm::detail
