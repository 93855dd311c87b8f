#include "algorithmVeld/TextureFusion/solve/RectangleTasks.h"

#include <algorithm>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

LargeFirst large_first(std::vector<std::size_t> const& n_pixels)
{
    constexpr std::size_t LARGE = 200000;
    constexpr std::size_t LARGE_SHARE = 4;
    auto const sum = std::accumulate(n_pixels.begin(), n_pixels.end(), std::size_t{0});
    LargeFirst sorted;
    sorted.order.resize(n_pixels.size());
    std::iota(sorted.order.begin(), sorted.order.end(), std::size_t{0});
    std::stable_sort(sorted.order.begin(), sorted.order.end(),
                     [&](std::size_t a, std::size_t b) { return n_pixels[a] > n_pixels[b]; });
    std::size_t large_pixels = 0;
    for (auto const k : sorted.order)
    {
        if (n_pixels[k] < LARGE || n_pixels[k] < sum / LARGE_SHARE)
        {
            break;
        }
        large_pixels += n_pixels[k];
        ++sorted.n_large;
    }
    sorted.share = sum > 0 ? static_cast<double>(large_pixels) / static_cast<double>(sum) : 0.0;
    return sorted;
}

} // namespace OrvaneAlgorithm::detail
