#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The vertices of a surface that is faired as one, in the order in which they are reached. Their
/// places here are the numbers of their unknowns.
using Patch = std::vector<OpenMesh::VertexHandle>;

/// Properties by which patches are grown.
struct PatchProperties
{
    OpenMesh::VPropHandleT<bool> vert_new;    ///< Vertex was made by filling.
    OpenMesh::VPropHandleT<bool> vert_region; ///< Vertex lies on a region.
    OpenMesh::VPropHandleT<int> vert_patch;   ///< Number of its patch; -1 before, and without one.
    OpenMesh::VPropHandleT<int> vert_place;   ///< Its place in the patch; -1 likewise.
};

/// Gathers new vertices and those of the regions to patches: the connected sets that have a new
/// vertex, and one that stays beside them. That costs as much as these vertices are.
/// \param starts the vertices that are new or lie on a region, ascending
std::vector<Patch> grow_patches(TriMesh& mesh, PatchProperties const& properties,
                                std::vector<OpenMesh::VertexHandle> const& starts);

} // namespace OrvaneAlgorithm::detail
