#include "algorithmVeld/common/mesh/KernelExchange.h"

#include <algorithm>
#include <utility>
#include <vector>

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

namespace
{

using Kernel = TriMesh::Kernel;
using Properties = std::vector<OpenMesh::BaseProperty*>;

/// Calls `visit` with the range of a mesh's properties of each kind.
template <typename Visitor>
void for_each_property_range(Kernel& mesh, Visitor const& visit)
{
    visit(mesh.vprops_begin(), mesh.vprops_end());
    visit(mesh.hprops_begin(), mesh.hprops_end());
    visit(mesh.eprops_begin(), mesh.eprops_end());
    visit(mesh.fprops_begin(), mesh.fprops_end());
    visit(mesh.mprops_begin(), mesh.mprops_end());
}

/// All that grows with a mesh, taken out of it. What is left in the mesh is small, and copies.
class KernelContent
{
public:
    explicit KernelContent(Kernel& mesh)
    {
        exchange_lists(mesh);
        for_each_property_range(mesh,
                                [this](auto first, auto last)
                                {
                                    properties_.insert(properties_.end(), first, last);
                                    std::fill(first, last, nullptr);
                                });
    }

    /// Puts everything into a mesh whose own content is taken out, and whose properties are as many
    /// as those of the mesh that this came from.
    void put_into(Kernel& mesh)
    {
        exchange_lists(mesh);
        auto next = properties_.begin();
        for_each_property_range(mesh,
                                [&next](auto first, auto last)
                                {
                                    auto const end = next + (last - first);
                                    std::copy(next, end, first);
                                    next = end;
                                });
    }

private:
    void exchange_lists(OpenMesh::ArrayKernel& mesh)
    {
        vertices_.swap(mesh.*pointer_to(Vertices()));
        edges_.swap(mesh.*pointer_to(Edges()));
        faces_.swap(mesh.*pointer_to(Faces()));
    }

    std::vector<OpenMesh::ArrayItems::Vertex> vertices_;
    std::vector<OpenMesh::ArrayItems::Edge> edges_;
    std::vector<OpenMesh::ArrayItems::Face> faces_;
    Properties properties_; ///< of all kinds, one after the other
};

} // namespace

void exchange_kernels(Kernel& a, Kernel& b)
{
    KernelContent of_a(a);
    KernelContent of_b(b);
    // Handles of the standard attributes, their numbers of users and the free bits of the status.
    std::swap(a, b);
    of_b.put_into(a);
    of_a.put_into(b);
}

KernelCapacity capacity_of(Kernel& mesh)
{
    OpenMesh::ArrayKernel& lists = mesh;
    return {(lists.*pointer_to(Vertices())).capacity(), (lists.*pointer_to(Edges())).capacity(),
            (lists.*pointer_to(Faces())).capacity()};
}

} // namespace OrvaneAlgorithm::detail
