#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Gives out work on places in space, which has to be done in an order, in rounds of places that
/// cannot disturb each other. Doing it so comes to the same as doing it one by one: a place waits
/// for all those before it in the order that are near.
class StitchRounds
{
public:
    /// \param places in the order of the work; finite
    /// \param reach two places disturb each other if they are less than twice this apart; positive
    StitchRounds(std::vector<Vector3f> const& places, double reach);

    /// The numbers of the places whose turn it is, rising; empty when all are done.
    std::vector<int> const& round() const { return round_; }

    /// Goes on to the next round.
    void finish_round();

private:
    void sort_into_cells(std::vector<Vector3f> const& places, double reach);
    void find_neighbours();
    bool is_first_around(int cell) const;

    int next_place(int cell) const;

    std::vector<std::uint64_t> keys_;  // Of the cells that hold places, rising.
    std::vector<int> order_;           // Places by cell, each cell's in their order.
    std::vector<int> next_;            // By cell, where in `order_` it stands.
    std::vector<int> end_;             // By cell, where it ends.
    std::vector<int> cell_;            // By place.
    std::vector<int> neighbours_;      // Of all cells, one after the other.
    std::vector<int> first_neighbour_; // By cell, and one more.
    std::vector<int> round_;
    std::vector<int> checked_; // By cell, the last round that has looked at it.
    int rounds_ = 0;
};

} // namespace OrvaneAlgorithm::detail
