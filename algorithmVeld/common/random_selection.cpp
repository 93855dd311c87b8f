#include "algorithmVeld/common/random_selection.h"

#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <random>
#include <unordered_map>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

/// A number from 0 to `bound` - 1, each as likely as the others. The standard leaves the numbers of
/// its distributions to each library; the engine's own are the same everywhere.
std::uint32_t draw_below(std::uint32_t bound, std::mt19937& random)
{
    // What lies above the last whole multiple of the bound would favour the small numbers.
    std::uint32_t const excess = (UINT32_MAX % bound + 1) % bound;
    std::uint32_t drawn = static_cast<std::uint32_t>(random());
    while (drawn > UINT32_MAX - excess)
    {
        drawn = static_cast<std::uint32_t>(random());
    }
    return drawn % bound;
}

/// The numbers 0 to n - 1, of which only those that were moved take memory.
class SparseSequence
{
public:
    int operator[](int i) const
    {
        auto const moved = moved_.find(i);
        return moved == moved_.end() ? i : moved->second;
    }
    void set(int i, int value) { moved_[i] = value; }

private:
    std::unordered_map<int, int> moved_;
};

int draw_place(int n, int i, std::mt19937& random)
{
    return i + static_cast<int>(draw_below(static_cast<std::uint32_t>(n - i), random));
}

/// The first `count` steps of the Fisher-Yates shuffle, each in constant time.
void shuffle_beginning(int n, int count, std::mt19937& random, std::vector<int>& list)
{
    SparseSequence sequence;
    detail::LoopProgress progress(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        progress.next();
        int const place = draw_place(n, i, random);
        list.push_back(sequence[place]);
        sequence.set(place, sequence[i]);
    }
}

/// The same steps on a plain array, which is faster where most of it is picked anyway.
void shuffle_array(int n, int count, std::mt19937& random, std::vector<int>& list)
{
    list.resize(static_cast<std::size_t>(n));
    std::iota(list.begin(), list.end(), 0);
    detail::LoopProgress progress(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
    {
        progress.next();
        std::swap(list[static_cast<std::size_t>(i)],
                  list[static_cast<std::size_t>(draw_place(n, i, random))]);
    }
    list.resize(static_cast<std::size_t>(count));
}

} // namespace

void randomly_select_more(int n, int count, std::vector<int>& list)
{
    list.clear();
    count = std::min(n, count);
    if (count <= 0)
    {
        return;
    }
    detail::ProgressPart const whole(0.0, 1.0);
    std::mt19937 random;
    if (count < n / 8)
    {
        shuffle_beginning(n, count, random, list);
    }
    else
    {
        shuffle_array(n, count, random, list);
    }
}

} // namespace OrvaneAlgorithm
