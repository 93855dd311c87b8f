#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The vertices of a surface that is faired as one, in the order in which they are reached. Their
/// places here are the numbers of their unknowns.
using Patch = std::vector<OpenMesh::VertexHandle>;

/// Gathers new vertices and those of the regions to patches: the connected sets that have a new
/// vertex, and one that stays beside them.
/// \param vert_new,vert_region which vertices were made by filling, and which lie on a region
std::vector<Patch> grow_patches(TriMesh const& mesh, OpenMesh::VPropHandleT<bool> vert_new,
                                OpenMesh::VPropHandleT<bool> vert_region);

} // namespace OrvaneAlgorithm::detail
