#pragma once

#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm
{

/// Makes a half-edge mesh from an array mesh. Vertex order is kept, and face order but for the
/// faces that the half-edge structure cannot hold (a third face at an edge, an index out of range,
/// a repeated vertex), which are left out. Vertex normals, face normals and vertex colours are
/// carried when the source has them. Flagged elements are carried as they are, without their flag.
/// \return the number of faces that were left out
ALGORITHMVELD_API size_t BaseTriMesh_convert_to_TriMesh(BaseTriMesh const& source, TriMesh& target);

/// Makes an array mesh from a half-edge mesh. Vertex and face order is kept; elements marked
/// deleted are left out. Normals and colours are carried when the source has them.
ALGORITHMVELD_API void TriMesh_convert_to_BaseTriMesh(TriMesh const& source, BaseTriMesh& target);

} // namespace OrvaneAlgorithm
