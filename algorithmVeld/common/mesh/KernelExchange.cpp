#include "algorithmVeld/common/mesh/KernelExchange.h"

#include "algorithmVeld/common/mesh/KernelLists.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace OrvaneAlgorithm::detail
{

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
    void exchange_lists(Kernel& mesh)
    {
        auto const lists = lists_of(mesh);
        vertices_.swap(lists.vertices);
        edges_.swap(lists.edges);
        faces_.swap(lists.faces);
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

} // namespace OrvaneAlgorithm::detail
