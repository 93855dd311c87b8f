#include "algorithmVeld/HoleFilling/ears/OpenLoops.h"

#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

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

std::vector<OpenHole> OpenLoops::collect(TriMesh const& mesh) const
{
    std::vector<OpenHole> result;
    std::unordered_set<int> visited;
    for (auto const start : noted_)
    {
        if (!mesh.is_boundary(start) || visited.count(start.idx()) != 0)
        {
            continue;
        }
        auto const loop = boundary_walk(mesh, start);
        Attempt last{0, OpenReason::BOUNDARY_TANGLED};
        for (auto const h : loop)
        {
            visited.insert(h.idx());
            auto const attempt = latest_.find(h.idx());
            if (attempt != latest_.end() && attempt->second.number > last.number)
            {
                last = attempt->second;
            }
        }
        result.push_back({from_vertices(mesh, loop), last.reason});
    }
    return result;
}

} // namespace OrvaneAlgorithm::detail
