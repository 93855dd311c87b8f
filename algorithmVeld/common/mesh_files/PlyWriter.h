#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <ostream>

namespace OrvaneAlgorithm::detail
{

/// Writes a mesh without deleted elements as binary PLY, little-endian, with what it has of
/// normals, colours (as bytes), carried values of vertices and texture coordinates of corners.
void write_ply(TriMesh const& mesh, std::ostream& stream);

} // namespace OrvaneAlgorithm::detail
