#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// Swaps two meshes of OpenMesh, with all properties and attributes, in a time that does not depend
/// on their sizes. OpenMesh itself can only copy. Handles of each mesh are good for the other one.
void exchange_kernels(TriMesh::Kernel& a, TriMesh::Kernel& b);

/// How many elements fit into the lists of a mesh without moving them.
struct KernelCapacity
{
    std::size_t vertices;
    std::size_t edges;
    std::size_t faces;
};
KernelCapacity capacity_of(TriMesh::Kernel& mesh);

} // namespace OrvaneAlgorithm::detail
