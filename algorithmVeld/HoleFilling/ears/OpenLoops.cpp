#include "algorithmVeld/HoleFilling/ears/OpenLoops.h"

#include "algorithmVeld/HoleFilling/ears/SimpleLoops.h"

#include <unordered_set>

namespace OrvaneAlgorithm::detail
{

void OpenLoops::note(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                     std::size_t first_edge, std::size_t last_edge, OpenReason reason)
{
    Attempt const attempt{++attempts_, reason};
    for (auto const h : loop)
    {
        note(mesh, h, attempt);
    }
    for (auto e = first_edge; e < last_edge; ++e)
    {
        OpenMesh::EdgeHandle const edge(static_cast<int>(e));
        note(mesh, mesh.halfedge_handle(edge, 0), attempt);
        note(mesh, mesh.halfedge_handle(edge, 1), attempt);
    }
}

void OpenLoops::note(TriMesh const& mesh, OpenMesh::HalfedgeHandle h, Attempt const& attempt)
{
    if (mesh.is_boundary(h) && latest_.insert_or_assign(h.idx(), attempt).second)
    {
        noted_.push_back(h);
    }
}

std::vector<OpenHole> OpenLoops::collect(TriMesh const& mesh, bool apart) const
{
    std::vector<BoundaryLoop> loops;
    std::unordered_set<int> visited;
    for (auto const start : noted_)
    {
        if (!mesh.is_boundary(start) || visited.count(start.idx()) != 0)
        {
            continue;
        }
        loops.push_back(boundary_walk(mesh, start));
        for (auto const h : loops.back())
        {
            visited.insert(h.idx());
        }
    }
    if (apart)
    {
        loops = simple_loops(mesh, loops);
    }
    std::vector<OpenHole> result;
    result.reserve(loops.size());
    for (auto const& loop : loops)
    {
        result.push_back({from_vertices(mesh, loop), reason_of(loop)});
    }
    return result;
}

OpenReason OpenLoops::reason_of(std::vector<OpenMesh::HalfedgeHandle> const& loop) const
{
    Attempt last{0, OpenReason::BOUNDARY_TANGLED};
    for (auto const h : loop)
    {
        auto const attempt = latest_.find(h.idx());
        if (attempt != latest_.end() && attempt->second.number > last.number)
        {
            last = attempt->second;
        }
    }
    return last.reason;
}

} // namespace OrvaneAlgorithm::detail
