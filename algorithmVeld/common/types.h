#pragma once

/// \file
/// The names that the whole library uses for vectors, matrices, holes and lists of points. The mesh
/// whose vertices a hole names is in `TriMesh.h`.

#include "algorithmVeld/common/vectors.h"

#include <OpenMesh/Core/Mesh/Handles.hh>

#include <vector>

namespace OrvaneAlgorithm
{

/// Boundary loops: each is a list of vertices in boundary order, closed from the last to the first.
using Holes = std::vector<std::vector<OpenMesh::VertexHandle>>;

} // namespace OrvaneAlgorithm
