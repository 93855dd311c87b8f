#pragma once

#include "algorithmVeld/common/types.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Work on places in space that has to be done in an order, in as many threads as there are. A
/// place waits for all those before it in the order that are so near that they could disturb each
/// other, and for nothing else: so it comes to the same as working on one place after the other.
class OrderedWork
{
public:
    /// \param places in the order of the work; finite
    /// \param reach two places disturb each other if they are less than twice this apart; positive
    OrderedWork(std::vector<Vector3f> const& places, double reach);

    /// Works until all is done, or one place cannot be done for now.
    /// \param work `work(place)` is called with the number of a place, by several threads, and sees
    ///        what was done at the places near it before. It returns false to stop all threads; its
    ///        place is then still to be done. So it is if it throws, which the caller gets.
    ///        The threads belong to the calling thread's run: Cancelled comes between places.
    /// \return true if all is done
    bool run(std::function<bool(int)> const& work);

private:
    void sort_into_cells(std::vector<Vector3f> const& places, double reach);
    void find_neighbours();
    int next_place(int cell) const;
    bool is_first_around(int cell) const;
    std::size_t n_left() const;
    void make_ready(int place);
    void finish(int place);
    void help(std::function<bool(int)> const& work);
    void attempt(std::function<bool(int)> const& work, std::unique_lock<std::mutex>& lock);

    std::vector<std::uint64_t> keys_;  // Of the cells that hold places, rising.
    std::vector<int> order_;           // Places by cell, each cell's in their order.
    std::vector<int> next_;            // By cell, where in `order_` it stands.
    std::vector<int> end_;             // By cell, where it ends.
    std::vector<int> cell_;            // By place.
    std::vector<int> neighbours_;      // Of all cells, one after the other.
    std::vector<int> first_neighbour_; // By cell, and one more.
    std::vector<char> is_ready_;       // By place: in `ready_` or in work.

    std::mutex mutex_; // Of all that changes.
    std::condition_variable changed_;
    std::vector<int> ready_; // Heap, the first place in the order on top.
    int in_work_ = 0;
    int n_waiting_ = 0; // Threads.
    bool stopped_ = false;
};

} // namespace OrvaneAlgorithm::detail
