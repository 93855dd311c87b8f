#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The smoothing of the faces around holes: each of their vertices goes to the plain mean of its
/// neighbours.

namespace OrvaneAlgorithm::detail
{

using Regions = std::vector<std::vector<OpenMesh::FaceHandle>>;

/// One pass in the order of the vertices, in which each sees where those before it have gone.
void smooth_one_by_one(TriMesh& mesh, Regions const& regions);

/// Passes in which all vertices go at once, and see where the others were before.
void smooth_at_once(TriMesh& mesh, Regions const& regions, unsigned int passes);

} // namespace OrvaneAlgorithm::detail
