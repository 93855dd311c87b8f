#include "workflow/filling/record/EdgeNumbers.h"

#include <cstddef>
#include <numeric>
#include <utility>
#include <vector>

namespace veld
{

using OpenMesh::EdgeHandle;
using OpenMesh::HalfedgeHandle;
using OrvaneAlgorithm::TriMesh;

namespace
{

std::size_t place(EdgeHandle edge)
{
    return static_cast<std::size_t>(edge.idx());
}

/// The edges in their new order; those without faces come last.
std::vector<EdgeHandle> edges_as_read(TriMesh const& mesh)
{
    std::vector<bool> is_met(mesh.n_edges());
    std::vector<EdgeHandle> order;
    order.reserve(mesh.n_edges());
    auto const meet = [&](EdgeHandle edge)
    {
        if (!is_met[place(edge)])
        {
            is_met[place(edge)] = true;
            order.push_back(edge);
        }
    };
    for (auto const face : mesh.faces())
    {
        // The corners begin where this halfedge ends.
        auto h = mesh.halfedge_handle(face);
        for (int corner = 0; corner < 3; ++corner)
        {
            h = mesh.next_halfedge_handle(h);
            meet(mesh.edge_handle(h));
        }
    }
    for (auto const edge : mesh.edges())
    {
        meet(edge);
    }
    return order;
}

/// The swaps that bring elements into an order.
std::vector<std::pair<int, int>> swaps_for(std::vector<EdgeHandle> const& order)
{
    std::vector<int> at(order.size());
    std::iota(at.begin(), at.end(), 0);
    std::vector<int> where = at;
    std::vector<std::pair<int, int>> swaps;
    for (std::size_t i = 0; i < order.size(); ++i)
    {
        int const from = where[place(order[i])];
        int const to = static_cast<int>(i);
        if (from != to)
        {
            swaps.emplace_back(from, to);
            where[static_cast<std::size_t>(at[i])] = from;
            at[static_cast<std::size_t>(from)] = at[i];
        }
    }
    return swaps;
}

/// \param per_edge how many values of a property an edge has
template <typename Properties>
void swap_values(Properties begin, Properties end, std::vector<std::pair<int, int>> const& swaps,
                 std::size_t per_edge)
{
    for (auto property = begin; property != end; ++property)
    {
        for (auto const& [a, b] : swaps)
        {
            for (std::size_t i = 0; *property != nullptr && i < per_edge; ++i)
            {
                (*property)->swap(static_cast<std::size_t>(a) * per_edge + i,
                                  static_cast<std::size_t>(b) * per_edge + i);
            }
        }
    }
}

/// Points all that names halfedges to their new places.
void relink(TriMesh& mesh, std::vector<EdgeHandle> const& order)
{
    std::vector<int> now(order.size());
    for (std::size_t i = 0; i < order.size(); ++i)
    {
        now[place(order[i])] = static_cast<int>(i);
    }
    auto const moved = [&](HalfedgeHandle h)
    {
        return h.is_valid()
                   ? HalfedgeHandle(2 * now[static_cast<std::size_t>(h.idx() / 2)] + h.idx() % 2)
                   : h;
    };
    for (auto const h : mesh.halfedges())
    {
        mesh.set_next_halfedge_handle(h, moved(mesh.next_halfedge_handle(h)));
    }
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_halfedge_handle(vertex, moved(mesh.halfedge_handle(vertex)));
    }
    for (auto const face : mesh.faces())
    {
        mesh.set_halfedge_handle(face, moved(mesh.halfedge_handle(face)));
    }
}

} // namespace

void number_edges_as_read(TriMesh& mesh)
{
    auto const order = edges_as_read(mesh);
    auto const swaps = swaps_for(order);
    for (auto const& [a, b] : swaps)
    {
        std::swap(mesh.edge(EdgeHandle(a)), mesh.edge(EdgeHandle(b)));
    }
    swap_values(mesh.eprops_begin(), mesh.eprops_end(), swaps, 1);
    swap_values(mesh.hprops_begin(), mesh.hprops_end(), swaps, 2);
    relink(mesh, order);
}

} // namespace veld
