#pragma once

#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <cstddef>
#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// From so many pixels on, all threads work on one rectangle.
constexpr std::size_t SHARED_RECTANGLE_PIXELS = 200000;

/// Runs `task(k)` for the rectangles of the given sizes: large ones one after the other, each on
/// all threads by the parallel loops within the task, and the others side by side. Their log lines
/// come in the order of the rectangles.
template <typename Task>
void for_each_rectangle(std::vector<std::size_t> const& n_pixels, Task const& task)
{
    std::vector<std::size_t> large;
    std::vector<std::size_t> small;
    double large_pixels = 0.0;
    double all_pixels = 0.0;
    for (std::size_t k = 0; k < n_pixels.size(); ++k)
    {
        bool const is_large = n_pixels[k] >= SHARED_RECTANGLE_PIXELS;
        (is_large ? large : small).push_back(k);
        large_pixels += is_large ? static_cast<double>(n_pixels[k]) : 0.0;
        all_pixels += static_cast<double>(n_pixels[k]);
    }
    double const share = all_pixels > 0.0 ? large_pixels / all_pixels : 0.0;
    std::vector<std::vector<std::string>> lines(n_pixels.size());
    auto const run = [&](std::size_t k)
    {
        CollectedLog const collected(lines[k]);
        task(k);
    };
    {
        ProgressPart const part(0.0, share);
        Progress progress(large.size());
        for (auto const k : large)
        {
            run(k);
            progress.advance();
        }
    }
    {
        ProgressPart const part(share, 1.0);
        parallel_for_uneven(static_cast<std::ptrdiff_t>(small.size()),
                            [&](std::ptrdiff_t i) { run(small[static_cast<std::size_t>(i)]); });
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
