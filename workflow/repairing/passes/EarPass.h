#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Closes holes with ears that do not turn far from the faces around.
/// \param max_perimeter in the lengths of the mesh; a hole has to be shorter
void close_with_ears(OrvaneAlgorithm::TriMesh& mesh, double max_perimeter);

} // namespace veld
