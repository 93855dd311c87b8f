#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// Swaps two meshes of OpenMesh, with all properties and attributes, in a time that does not depend
/// on their sizes. OpenMesh itself can only copy. Handles of each mesh are good for the other one.
void exchange_kernels(TriMesh::Kernel& a, TriMesh::Kernel& b);

} // namespace OrvaneAlgorithm::detail
