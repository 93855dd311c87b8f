#pragma once

#include "algorithmVeld/HoleFilling/HoleNode.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What came of taking an ear off the list.
enum class EarRemoval
{
    DONE,
    NO_PREVIOUS_NODE,    ///< No node stands at the ear's previous corner.
    NO_NEXT_NODE,        ///< No node stands at the ear's next corner.
    UNMEASURED_CORNER,   ///< A corner beside the ear could not be measured anew.
    NODE_NOT_ERASED,     ///< The list did not get shorter.
    CLOSURE_SIZE,        ///< A closed sub-loop did not take three nodes off the list.
    HOLE_TYPE,           ///< The two ways out of a touching vertex don't meet in one vertex.
    NODE_SIZE,           ///< A sub-loop at a touching vertex did not take three nodes off the list.
    UNEXPECTED_KEY_NODES ///< An ear that closes a sub-loop meets neither three nor four nodes.
};

/// The corners of one hole as a circular list, in boundary order, from which ears are cut.
///
/// A node keeps its place for life: a list that only ever shrinks needs no other order than that
/// of its places. The smallest angle stands at the root of a tournament tree over the places and
/// the nodes of a vertex are found by bisection, so that a border of 100 000 corners costs
/// n log n.
class EarList
{
public:
    using Place = std::size_t;
    static constexpr Place NONE = static_cast<Place>(-1);

    explicit EarList(std::vector<HoleNode> nodes);

    std::size_t size() const { return size_; }
    HoleNode const& operator[](Place place) const { return nodes_[place]; }

    /// The first node of the list, or none.
    Place front() const { return size_ == 0 ? NONE : after_.back(); }

    /// The node of the smallest angle, the first one in list order of several. An angle that is no
    /// number comes after all others.
    Place smallest() const { return size_ == 0 ? NONE : winners_[1]; }

    /// The first node in list order that stands at a vertex, or none.
    Place find(OpenMesh::VertexHandle vertex) const;

    /// Adds to the angle of a node.
    void widen(Place place, float angle);

    /// The corners that are left, in list order.
    std::vector<OpenMesh::VertexHandle> corners() const;

    /// The nodes that have at least two of their three corners among those of an ear, in list
    /// order.
    std::vector<Place> key_nodes(HoleNode const& ear) const;

    /// Takes a cut ear off the list and links its neighbours to each other.
    /// \param measure called as `bool measure(HoleNode&)`: sets angle and edge of the node
    template <typename Measure>
    EarRemoval remove_ear(Place ear, Measure const& measure);

    /// Takes a cut ear off the list whose third edge was there before: it has closed a sub-loop.
    /// \param keys the ear's `key_nodes`
    /// \param measure as above
    template <typename Measure>
    EarRemoval close_sub_loop(HoleNode const& ear, std::vector<Place> const& keys,
                              Measure const& measure);

private:
    template <typename Measure>
    EarRemoval close_at_touching_vertex(HoleNode const& ear, std::vector<Place> const& keys,
                                        Measure const& measure);

    bool alive(Place place) const { return before_[place] != NONE; }
    bool precedes(Place a, Place b) const;
    void play(Place place);
    void erase(Place place);

    /// Changes a node by `change` and measures it.
    template <typename Change, typename Measure>
    bool renew(Place place, Change const& change, Measure const& measure);

    std::vector<HoleNode> nodes_;
    std::size_t size_;
    // Neighbours in list order; the entry behind the last node belongs to the list's ends. An
    // erased node has no neighbour before it.
    std::vector<Place> before_;
    std::vector<Place> after_;
    std::vector<Place> winners_;   // Entry i is the winner of 2 i and 2 i + 1; leaves begin at n.
    std::vector<Place> by_vertex_; // Places ordered by vertex, then by list order.
    std::vector<std::size_t> first_rank_;  // Where a place's vertex begins in by_vertex_.
    std::vector<std::size_t> first_alive_; // There: where its nodes that are alive begin.
};

/// How many of a node's three corners are corners of an ear.
int corners_in_ear(HoleNode const& node, HoleNode const& ear);

/// Whether a vertex is a corner of an ear.
bool is_in_ear(OpenMesh::VertexHandle vertex, HoleNode const& ear);

template <typename Change, typename Measure>
bool EarList::renew(Place place, Change const& change, Measure const& measure)
{
    change(nodes_[place]);
    bool const measured = measure(nodes_[place]);
    play(place);
    return measured;
}

template <typename Measure>
EarRemoval EarList::remove_ear(Place ear, Measure const& measure)
{
    auto const prev = nodes_[ear].prev;
    auto const next = nodes_[ear].next;
    auto const previous_node = find(prev);
    if (previous_node == NONE)
    {
        return EarRemoval::NO_PREVIOUS_NODE;
    }
    if (!renew(
            previous_node, [&](HoleNode& node) { node.next = next; }, measure))
    {
        return EarRemoval::UNMEASURED_CORNER;
    }
    auto const next_node = find(next);
    if (next_node == NONE)
    {
        return EarRemoval::NO_NEXT_NODE;
    }
    if (!renew(
            next_node, [&](HoleNode& node) { node.prev = prev; }, measure))
    {
        return EarRemoval::UNMEASURED_CORNER;
    }
    auto const before = size_;
    erase(ear);
    return before - size_ == 1 ? EarRemoval::DONE : EarRemoval::NODE_NOT_ERASED;
}

template <typename Measure>
EarRemoval EarList::close_sub_loop(HoleNode const& ear, std::vector<Place> const& keys,
                                   Measure const& measure)
{
    if (keys.size() == 4)
    {
        return close_at_touching_vertex(ear, keys, measure);
    }
    if (keys.size() != 3)
    {
        return EarRemoval::UNEXPECTED_KEY_NODES;
    }
    auto const before = size_;
    for (auto const key : keys)
    {
        erase(key);
    }
    return before - size_ == 3 ? EarRemoval::DONE : EarRemoval::CLOSURE_SIZE;
}

template <typename Measure>
EarRemoval EarList::close_at_touching_vertex(HoleNode const& ear, std::vector<Place> const& keys,
                                             Measure const& measure)
{
    std::vector<Place> inner;
    std::vector<Place> outer;
    Place from_outside = NONE;
    Place to_outside = NONE;
    for (auto const key : keys)
    {
        if (corners_in_ear(nodes_[key], ear) == 3)
        {
            inner.push_back(key);
            continue;
        }
        outer.push_back(key);
        from_outside = is_in_ear(nodes_[key].prev, ear) ? from_outside : key;
        to_outside = is_in_ear(nodes_[key].next, ear) ? to_outside : key;
    }
    if (from_outside == NONE || to_outside == NONE ||
        nodes_[from_outside].cur != nodes_[to_outside].cur)
    {
        return EarRemoval::HOLE_TYPE;
    }
    if (inner.size() != 2)
    {
        return EarRemoval::NODE_SIZE;
    }
    auto const prev = nodes_[from_outside].prev;
    auto const next = nodes_[to_outside].next;
    for (auto const place : {inner[0], inner[1], outer[0]})
    {
        erase(place);
    }
    auto const link = [&](HoleNode& node)
    {
        node.prev = prev;
        node.next = next;
    };
    return renew(outer[1], link, measure) ? EarRemoval::DONE : EarRemoval::UNMEASURED_CORNER;
}

} // namespace OrvaneAlgorithm::detail
