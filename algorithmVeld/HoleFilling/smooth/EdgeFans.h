#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// \file
/// Parts of a mesh as compact lists of numbers, for steps that are repeated: walking round vertices
/// by the links of the mesh takes several times as long as reading a list. The lists hold for as
/// long as the links stay.

namespace OrvaneAlgorithm::detail
{

/// The number of a vertex or an edge.
using Index = std::uint32_t;

/// Several lists, one behind the other.
template <typename T>
struct JoinedLists
{
    std::vector<std::size_t> starts{0}; ///< Where each list begins, and where the last one ends.
    std::vector<T> values;

    T const* begin(std::size_t list) const { return values.data() + starts[list]; }
    T const* end(std::size_t list) const { return values.data() + starts[list + 1]; }
};

/// Vertices, with all edges that end at one of them.
struct EdgeFans
{
    std::vector<Index> vertices;
    std::vector<Index> edges;    ///< In rising order; no edge that is marked deleted.
    JoinedLists<Index> edges_of; ///< Of each of the vertices, in rising order.
};

/// The edges at some vertices. It asks the edges for their ends, so it also finds those that a walk
/// round a vertex misses, in a mesh whose faces touch in unusual ways.
EdgeFans edge_fans(TriMesh const& mesh, std::vector<Index> vertices);

/// The edges at all vertices that are not marked deleted.
EdgeFans all_edge_fans(TriMesh const& mesh);

/// The vertices that move in a step, and all that their moves depend on.
struct MovingPart
{
    /// The vertex at the other end of an edge.
    struct Neighbour
    {
        Index vertex;
        Index edge;
    };

    std::size_t n_moving = 0;
    EdgeFans fans; ///< The vertices: first the moving ones, in rising order, then their neighbours.
    JoinedLists<Neighbour> neighbours; ///< Of each of these, in the order of a walk round it.
};

/// \param moves of each vertex; those that are marked deleted stay in any case
MovingPart moving_part(TriMesh const& mesh, std::vector<bool> const& moves);

} // namespace OrvaneAlgorithm::detail
