#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// Replaces each vertex normal by the direction of the sum of itself and its neighbours', one
/// vertex after the other and in place: a vertex sees the new normals of the neighbours before it.
/// \param mesh with vertex normals
void smooth_vertex_normals(TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
