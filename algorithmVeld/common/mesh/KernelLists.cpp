#include "algorithmVeld/common/mesh/KernelLists.h"

namespace OrvaneAlgorithm::detail
{

/// Hands out a member that its class keeps private. Only an explicit instantiation may name it, and
/// that defines the friend function by which the rest of the file gets at it.
template <typename Tag, typename Tag::Pointer MEMBER>
struct Opened
{
    friend typename Tag::Pointer pointer_to(Tag) { return MEMBER; }
};

/// A private list of OpenMesh's kernel.
template <typename Item>
struct ListOf
{
    using Pointer = std::vector<Item> OpenMesh::ArrayKernel::*;
};

struct Vertices : ListOf<OpenMesh::ArrayItems::Vertex>
{
    friend Pointer pointer_to(Vertices);
};
struct Edges : ListOf<OpenMesh::ArrayItems::Edge>
{
    friend Pointer pointer_to(Edges);
};
struct Faces : ListOf<OpenMesh::ArrayItems::Face>
{
    friend Pointer pointer_to(Faces);
};

template struct Opened<Vertices, &OpenMesh::ArrayKernel::vertices_>;
template struct Opened<Edges, &OpenMesh::ArrayKernel::edges_>;
template struct Opened<Faces, &OpenMesh::ArrayKernel::faces_>;

KernelLists lists_of(TriMesh::Kernel& mesh)
{
    OpenMesh::ArrayKernel& kernel = mesh;
    return {kernel.*pointer_to(Vertices()), kernel.*pointer_to(Edges()),
            kernel.*pointer_to(Faces())};
}

} // namespace OrvaneAlgorithm::detail
