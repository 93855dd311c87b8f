#pragma once

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Sets of numbers that are joined pair by pair. The lowest number of a set stands for it, so that
/// the result does not depend on the order of joining.
class DisjointSets
{
public:
    explicit DisjointSets(std::size_t n) : parent_(n)
    {
        std::iota(parent_.begin(), parent_.end(), 0);
    }

    std::size_t size() const { return parent_.size(); }

    /// The lowest number of the set that a number belongs to.
    int root(int i)
    {
        while (parent(i) != i)
        {
            parent(i) = parent(parent(i));
            i = parent(i);
        }
        return i;
    }

    void join(int a, int b)
    {
        a = root(a);
        b = root(b);
        parent(std::max(a, b)) = std::min(a, b);
    }

private:
    int& parent(int i) { return parent_[static_cast<std::size_t>(i)]; }

    std::vector<int> parent_;
};

} // namespace OrvaneAlgorithm::detail
