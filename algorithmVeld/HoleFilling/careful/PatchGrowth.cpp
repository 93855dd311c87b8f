#include "algorithmVeld/HoleFilling/careful/PatchGrowth.h"

#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>
#include <utility>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::VertexHandle;

/// What the growth knows of a vertex.
enum class Growth : char
{
    UNTOUCHED,
    TAKEN,
    TURNED_DOWN ///< Its set was no patch; whoever starts there would find the same.
};

struct PatchGrowth
{
    TriMesh const& mesh;
    OpenMesh::VPropHandleT<bool> vert_new;
    OpenMesh::VPropHandleT<bool> vert_region;
    std::vector<Growth> states;

    Growth& state(VertexHandle vertex) { return states[static_cast<std::size_t>(vertex.idx())]; }

    bool is_movable(VertexHandle vertex) const
    {
        return mesh.property(vert_new, vertex) || mesh.property(vert_region, vertex);
    }

    /// Gathers the connected set of a vertex. \return whether it is a patch
    bool gather(VertexHandle first, Patch& members)
    {
        bool touches_outside = false;
        bool has_new = false;
        auto const take = [&](VertexHandle vertex)
        {
            state(vertex) = Growth::TAKEN;
            has_new = has_new || mesh.property(vert_new, vertex);
            members.push_back(vertex);
        };
        take(first);
        CancelPoll poll;
        for (std::size_t i = 0; i < members.size(); ++i)
        {
            poll.next();
            for (auto const other : mesh.vv_range(members[i]))
            {
                if (!is_movable(other))
                {
                    touches_outside = true;
                }
                else if (state(other) != Growth::TAKEN)
                {
                    take(other);
                }
            }
        }
        return touches_outside && has_new;
    }
};

} // namespace

std::vector<Patch> grow_patches(TriMesh const& mesh, OpenMesh::VPropHandleT<bool> vert_new,
                                OpenMesh::VPropHandleT<bool> vert_region)
{
    PatchGrowth growth{mesh, vert_new, vert_region, {}};
    growth.states.assign(mesh.n_vertices(), Growth::UNTOUCHED);
    std::vector<Patch> patches;
    CancelPoll poll;
    for (auto const vertex : mesh.all_vertices())
    {
        poll.next();
        if (growth.state(vertex) != Growth::UNTOUCHED || !growth.is_movable(vertex))
        {
            continue;
        }
        Patch members;
        if (growth.gather(vertex, members))
        {
            patches.push_back(std::move(members));
            continue;
        }
        for (auto const member : members)
        {
            growth.state(member) = Growth::TURNED_DOWN;
        }
    }
    return patches;
}

} // namespace OrvaneAlgorithm::detail
