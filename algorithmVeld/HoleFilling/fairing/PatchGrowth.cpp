#include "algorithmVeld/HoleFilling/fairing/PatchGrowth.h"

#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>
#include <utility>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::VertexHandle;

constexpr int NO_PATCH = -1;
/// The vertex' set was no patch; whoever starts there would find the same.
constexpr int TURNED_DOWN = -2;

struct PatchGrowth
{
    TriMesh& mesh;
    PatchProperties properties;

    int& patch_of(VertexHandle vertex) const
    {
        return mesh.property(properties.vert_patch, vertex);
    }

    void set(VertexHandle vertex, int patch, int place) const
    {
        patch_of(vertex) = patch;
        mesh.property(properties.vert_place, vertex) = place;
    }

    bool is_new(VertexHandle vertex) const { return mesh.property(properties.vert_new, vertex); }
    bool is_movable(VertexHandle vertex) const
    {
        return is_new(vertex) || mesh.property(properties.vert_region, vertex);
    }

    /// Gathers the connected set of a vertex. \return whether it is a patch
    bool gather(VertexHandle first, int patch, Patch& members) const
    {
        bool touches_outside = false;
        bool has_new = false;
        auto const take = [&](VertexHandle vertex)
        {
            set(vertex, patch, static_cast<int>(members.size()));
            has_new = has_new || is_new(vertex);
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
                else if (patch_of(other) < 0)
                {
                    take(other);
                }
            }
        }
        return touches_outside && has_new;
    }
};

} // namespace

std::vector<Patch> grow_patches(TriMesh& mesh, PatchProperties const& properties,
                                std::vector<VertexHandle> const& starts)
{
    PatchGrowth const growth{mesh, properties};
    std::vector<Patch> patches;
    Patch turned_down;
    CancelPoll poll;
    for (auto const vertex : starts)
    {
        poll.next();
        if (growth.patch_of(vertex) != NO_PATCH)
        {
            continue;
        }
        Patch members;
        if (growth.gather(vertex, static_cast<int>(patches.size()), members))
        {
            patches.push_back(std::move(members));
            continue;
        }
        for (auto const member : members)
        {
            growth.set(member, TURNED_DOWN, -1);
        }
        turned_down.insert(turned_down.end(), members.begin(), members.end());
    }
    for (auto const vertex : turned_down)
    {
        growth.set(vertex, NO_PATCH, -1);
    }
    return patches;
}

} // namespace OrvaneAlgorithm::detail
