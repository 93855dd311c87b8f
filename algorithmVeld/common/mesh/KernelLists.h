#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The lists of elements of a mesh, which OpenMesh keeps to itself.
struct KernelLists
{
    std::vector<OpenMesh::ArrayItems::Vertex>& vertices;
    std::vector<OpenMesh::ArrayItems::Edge>& edges;
    std::vector<OpenMesh::ArrayItems::Face>& faces;
};
KernelLists lists_of(TriMesh::Kernel& mesh);

} // namespace OrvaneAlgorithm::detail
