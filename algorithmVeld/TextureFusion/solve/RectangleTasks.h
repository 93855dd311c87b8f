#pragma once

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Rectangles by their sizes.
struct LargeFirst
{
    std::vector<std::size_t> order; ///< The largest first.
    std::size_t n_large = 0;        ///< So many are large beside all of them together.
    double share = 0.0;             ///< Part of all pixels that these have.
};

LargeFirst large_first(std::vector<std::size_t> const& n_pixels);

/// Runs `task(k)` for the rectangles of the given sizes: one that is large beside all of them
/// together on all threads, by the parallel loops within the task, and the others side by side, the
/// largest first. Their log lines come in the order of the rectangles.
template <typename Task>
void for_each_rectangle(std::vector<std::size_t> const& n_pixels, Task const& task)
{
    LargeFirst const sorted = large_first(n_pixels);
    TaskLines lines(n_pixels.size());
    auto const run = [&](std::size_t k)
    {
        CollectedLog const collected(lines[k]);
        task(k);
    };
    {
        ProgressPart const part(0.0, sorted.share);
        Progress progress(sorted.n_large);
        for (std::size_t i = 0; i < sorted.n_large; ++i)
        {
            run(sorted.order[i]);
            progress.advance();
        }
    }
    {
        ProgressPart const part(sorted.share, 1.0);
        for_each_index(sorted.order.size() - sorted.n_large,
                       [&](std::size_t i) { run(sorted.order[sorted.n_large + i]); });
    }
    print_in_order(lines);
}

} // namespace OrvaneAlgorithm::detail
