#pragma once

#include "workflow/filling/HoleList.h"

#include <functional>
#include <set>
#include <utility>
#include <vector>

/// \file
/// Edges of holes' rims, as a pass leaves them.

namespace veld
{

/// A boundary halfedge by its vertices.
using RimEdge = std::pair<int, int>;

std::vector<RimEdge> edges_of(Hole const& hole);

/// The halfedge of an edge; none if the mesh lacks it, or one of the vertices.
OpenMesh::HalfedgeHandle halfedge(OrvaneAlgorithm::TriMesh const& mesh, RimEdge const& edge);
RimEdge edge_of(OrvaneAlgorithm::TriMesh const& mesh, OpenMesh::HalfedgeHandle h);

/// What is open of a hole behind a pass that took nothing of it away: edges that nothing was built
/// on, and those where what was built on the others ends.
/// \param is_new whether the pass made a face
std::set<RimEdge> open_edges_of(std::vector<RimEdge> const& rim,
                                OrvaneAlgorithm::TriMesh const& after,
                                std::function<bool(OpenMesh::FaceHandle)> const& is_new);

} // namespace veld
