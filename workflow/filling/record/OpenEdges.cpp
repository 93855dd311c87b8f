#include "workflow/filling/record/OpenEdges.h"

namespace veld
{

using OrvaneAlgorithm::TriMesh;

std::vector<RimEdge> edges_of(Hole const& hole)
{
    std::vector<RimEdge> edges;
    for (std::size_t i = 0; i < hole.size(); ++i)
    {
        edges.emplace_back(hole[i].idx(), hole[(i + 1) % hole.size()].idx());
    }
    return edges;
}

OpenMesh::HalfedgeHandle halfedge(TriMesh const& mesh, RimEdge const& edge)
{
    auto const n = static_cast<int>(mesh.n_vertices());
    return edge.first < n && edge.second < n
               ? mesh.find_halfedge(OpenMesh::VertexHandle(edge.first),
                                    OpenMesh::VertexHandle(edge.second))
               : OpenMesh::HalfedgeHandle();
}

RimEdge edge_of(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    return {mesh.from_vertex_handle(h).idx(), mesh.to_vertex_handle(h).idx()};
}

std::set<RimEdge> open_edges_of(std::vector<RimEdge> const& rim, TriMesh const& after,
                                std::function<bool(OpenMesh::FaceHandle)> const& is_new)
{
    std::set<RimEdge> open;
    std::set<int> met;
    std::vector<OpenMesh::FaceHandle> waiting;
    auto const look_at = [&](OpenMesh::HalfedgeHandle h)
    {
        if (after.is_boundary(h))
        {
            open.insert(edge_of(after, h));
        }
        else if (is_new(after.face_handle(h)) && met.insert(after.face_handle(h).idx()).second)
        {
            waiting.push_back(after.face_handle(h));
        }
    };
    for (auto const& edge : rim)
    {
        auto const h = halfedge(after, edge);
        if (h.is_valid())
        {
            look_at(h);
        }
    }
    while (!waiting.empty())
    {
        auto const face = waiting.back();
        waiting.pop_back();
        for (auto const h : after.fh_range(face))
        {
            look_at(after.opposite_halfedge_handle(h));
        }
    }
    return open;
}

} // namespace veld
