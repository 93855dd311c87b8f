#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>

/// \file
/// Room in the arrays of a mesh for elements that come later: for an eighth of those that are
/// there. Where there is none, the first of them makes all arrays move. Room that nobody uses takes
/// addresses only, no memory.

namespace OrvaneAlgorithm::detail
{

/// Numbers of elements.
struct MeshSizes
{
    std::size_t vertices;
    std::size_t edges;
    std::size_t faces;
};

/// For how many elements an array gets room that is added to the mesh: for as many as fit into the
/// mesh's lists, or will fit when they have been moved.
MeshSizes room_for_new_arrays(TriMesh& mesh);

/// For how many elements the arrays are to have room, so that more fit into them: an array that has
/// to be moved for it gets room for an eighth more.
MeshSizes room_for_more(TriMesh& mesh, MeshSizes const& more);

/// Gives the lists of a mesh room for those of another, which are assigned to it next, and for an
/// eighth more. What they hold may be lost.
void make_room_for_copy(TriMesh::Kernel& mesh, TriMesh::Kernel const& source);

} // namespace OrvaneAlgorithm::detail
