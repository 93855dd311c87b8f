#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

using Hole = std::vector<OpenMesh::VertexHandle>;

/// All holes, in the order of the library. Empty for a closed mesh.
OrvaneAlgorithm::Holes all_holes(OrvaneAlgorithm::TriMesh& mesh);

/// Mean of the vertices of a hole that has some.
OrvaneAlgorithm::Vector3d hole_centre(OrvaneAlgorithm::TriMesh const& mesh, Hole const& hole);

/// Length of a hole's rim in millimetres, finite for any finite coordinates.
double hole_perimeter(OrvaneAlgorithm::TriMesh const& mesh, Hole const& hole);

} // namespace veld
