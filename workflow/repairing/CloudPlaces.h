#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

/// The points of a cloud that a surface can have as its vertices: of those in one place the first
/// one, or the first one with a normal. In the order of the cloud.
std::vector<OpenMesh::VertexHandle> one_of_each_place(OrvaneAlgorithm::TriMesh const& cloud);

} // namespace veld
