#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// Takes what is marked deleted out of the mesh, where the status attributes tell. Leaves the same
/// mesh as `garbage_collection(true, true, true)`: the gaps are filled from the end.
void compact(TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
