#pragma once

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Runs `task(k)` for the rectangles of the given sizes: one that is large beside all of them
/// together on all threads, by the parallel loops within the task, and the others side by side, the
/// largest first. Their log lines come in the order of the rectangles.
template <typename Task>
void for_each_rectangle(std::vector<std::size_t> const& n_pixels, Task const& task)
{
    constexpr std::size_t LARGE = 200000;
    constexpr std::size_t LARGE_SHARE = 4;
    auto const sum = std::accumulate(n_pixels.begin(), n_pixels.end(), std::size_t{0});
    std::vector<std::size_t> order(n_pixels.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return n_pixels[a] > n_pixels[b]; });
    std::size_t n_large = 0;
    std::size_t large_pixels = 0;
    while (n_large < order.size() && n_pixels[order[n_large]] >= LARGE &&
           n_pixels[order[n_large]] >= sum / LARGE_SHARE)
    {
        large_pixels += n_pixels[order[n_large++]];
    }
    double const share =
        sum > 0 ? static_cast<double>(large_pixels) / static_cast<double>(sum) : 0.0;
    std::vector<std::vector<std::string>> lines(n_pixels.size());
    auto const run = [&](std::size_t k)
    {
        CollectedLog const collected(lines[k]);
        task(k);
    };
    {
        ProgressPart const part(0.0, share);
        Progress progress(n_large);
        for (std::size_t i = 0; i < n_large; ++i)
        {
            run(order[i]);
            progress.advance();
        }
    }
    {
        ProgressPart const part(share, 1.0);
        parallel_for_uneven(static_cast<std::ptrdiff_t>(order.size() - n_large),
                            [&](std::ptrdiff_t i)
                            { run(order[n_large + static_cast<std::size_t>(i)]); });
    }
    for (auto const& of_one : lines)
    {
        for (auto const& line : of_one)
        {
            CollectedLog::print(line.c_str());
        }
    }
}

} // namespace OrvaneAlgorithm::detail
