#include "algorithmVeld/HoleFilling/smooth/EdgeFans.h"

#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Progress.h"

#include <array>
#include <numeric>
#include <utility>

namespace OrvaneAlgorithm::detail
{
namespace
{

template <typename Handle>
Index index_of(Handle handle)
{
    return static_cast<Index>(handle.idx());
}

std::array<Index, 2> ends_of(TriMesh const& mesh, Index edge)
{
    OpenMesh::EdgeHandle const handle(static_cast<int>(edge));
    return {index_of(mesh.to_vertex_handle(mesh.halfedge_handle(handle, 0))),
            index_of(mesh.to_vertex_handle(mesh.halfedge_handle(handle, 1)))};
}

} // namespace

EdgeFans edge_fans(TriMesh const& mesh, std::vector<Index> vertices)
{
    constexpr Index NONE = ~Index{0};
    std::vector<Index> place_of(mesh.n_vertices(), NONE);
    for (std::size_t k = 0; k < vertices.size(); ++k)
    {
        place_of[vertices[k]] = static_cast<Index>(k);
    }
    EdgeFans fans;
    auto& starts = fans.edges_of.starts;
    starts.assign(vertices.size() + 1, 0);
    CancelPoll poll;
    for (auto const edge : mesh.edges())
    {
        poll.next();
        bool is_taken = false;
        for (Index const end : ends_of(mesh, index_of(edge)))
        {
            if (place_of[end] != NONE)
            {
                ++starts[place_of[end] + 1];
                is_taken = true;
            }
        }
        if (is_taken)
        {
            fans.edges.push_back(index_of(edge));
        }
    }
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    fans.edges_of.values.resize(starts.back());
    std::vector<std::size_t> next(starts.begin(), starts.end() - 1);
    for (Index const edge : fans.edges)
    {
        poll.next();
        for (Index const end : ends_of(mesh, edge))
        {
            if (place_of[end] != NONE)
            {
                fans.edges_of.values[next[place_of[end]]++] = edge;
            }
        }
    }
    fans.vertices = std::move(vertices);
    return fans;
}

EdgeFans all_edge_fans(TriMesh const& mesh)
{
    std::vector<Index> vertices;
    vertices.reserve(mesh.n_vertices());
    for (auto const vertex : mesh.vertices())
    {
        vertices.push_back(index_of(vertex));
    }
    return edge_fans(mesh, std::move(vertices));
}

MovingPart moving_part(TriMesh const& mesh, std::vector<bool> const& moves)
{
    MovingPart part;
    std::vector<Index> vertices;
    std::vector<char> is_taken(mesh.n_vertices(), 0);
    for (auto const vertex : mesh.vertices())
    {
        if (moves[index_of(vertex)])
        {
            is_taken[index_of(vertex)] = 1;
            vertices.push_back(index_of(vertex));
        }
    }
    part.n_moving = vertices.size();
    CancelPoll poll;
    for (std::size_t k = 0; k < vertices.size(); ++k)
    {
        poll.next();
        for (auto const h : mesh.voh_range(OpenMesh::VertexHandle(static_cast<int>(vertices[k]))))
        {
            Index const other = index_of(mesh.to_vertex_handle(h));
            if (k < part.n_moving && is_taken[other] == 0)
            {
                is_taken[other] = 1;
                vertices.push_back(other);
            }
            part.neighbours.values.push_back({other, index_of(mesh.edge_handle(h))});
        }
        part.neighbours.starts.push_back(part.neighbours.values.size());
    }
    part.fans = edge_fans(mesh, std::move(vertices));
    return part;
}

} // namespace OrvaneAlgorithm::detail
