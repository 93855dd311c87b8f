#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

// Each of these marks elements as deleted, for which the mesh needs its four status attributes, and
// returns how many. The caller collects the garbage.

/// Whether a walk over the edges passes those that the walk itself has deleted.
enum class EdgeWalk
{
    ALL, ///< They are borders too, and count once more where they are long.
    LIVE ///< They are passed over.
};

/// Deletes the border edges longer than a length, with their faces, in one pass in the order of the
/// edges. An edge that comes to lie on the border behind the pass stays. So do vertices without
/// faces.
int delete_long_border_edges(TriMesh& mesh, double length, EdgeWalk walk);

/// Deletes the border vertices with fewer than three neighbours, with their faces. Neighbours are
/// counted beforehand, so that the removal does not spread.
int delete_thin_border_vertices(TriMesh& mesh);

/// Deletes the faces that have no face across any edge.
int delete_lone_faces(TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
