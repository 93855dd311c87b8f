#pragma once

#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Boundaries that pass a vertex more than once as loops that don't: the same loops, in the same
/// order, that a search for holes finds. Unlike those of a walk, the halfedges of such a loop need
/// not be each other's next ones.
std::vector<BoundaryLoop> simple_loops(TriMesh const& mesh, std::vector<BoundaryLoop> const& walks);

/// Whether a loop comes to a vertex along one side of a fan of faces and leaves it along the fan's
/// other side, with other fans at that vertex. It is the outline of a piece of surface that hangs
/// there, or a hole on whose rim one hangs. Neither can be closed: the vertex would become an inner
/// one, and the other fans would hang on it.
bool goes_round_a_fan(TriMesh const& mesh, BoundaryLoop const& loop);

} // namespace OrvaneAlgorithm::detail
