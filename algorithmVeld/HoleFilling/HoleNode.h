#pragma once

#include "algorithmVeld/common/types.h"

namespace OrvaneAlgorithm
{

/// One corner of a hole in the ear methods. The links name vertices and not places in a list, so
/// that a vertex where the boundary touches itself can stand in two nodes.
struct HoleNode
{
    OpenMesh::VertexHandle cur;  ///< The corner.
    OpenMesh::VertexHandle prev; ///< The corner before it on the hole.
    OpenMesh::VertexHandle next; ///< The corner after it.
    float angle = 0.0F;          ///< Interior angle at `cur`, radians, 0 to 2 pi.
    float edge_len = 0.0F;       ///< From `prev` to `next`: the edge that would close this ear.
};

} // namespace OrvaneAlgorithm
