#include "algorithmVeld/TextureFusion/solve/sources/CosineLines.h"

#include "algorithmVeld/common/running/ParallelFor.h"

// Threads are ours, and plans are cheap beside the lines that they serve.
#define POCKETFFT_NO_MULTITHREADING
#define POCKETFFT_CACHE_SIZE 0
#include <pocketfft_hdronly.h>

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// \param type of the cosine transform, as they are numbered
void transform_lines(int type, double* lines, std::size_t n_lines, std::size_t length,
                     double factor)
{
    constexpr std::size_t LINES_AT_A_TIME = 64;
    auto const n_chunks =
        static_cast<std::ptrdiff_t>((n_lines + LINES_AT_A_TIME - 1) / LINES_AT_A_TIME);
    auto const element = static_cast<std::ptrdiff_t>(sizeof(double));
    pocketfft::stride_t const strides{static_cast<std::ptrdiff_t>(length) * element, element};
    parallel_for_even(
        n_chunks,
        [&](std::ptrdiff_t chunk)
        {
            std::size_t const begin = static_cast<std::size_t>(chunk) * LINES_AT_A_TIME;
            std::size_t const n = std::min(LINES_AT_A_TIME, n_lines - begin);
            double* const data = lines + begin * length;
            pocketfft::dct({n, length}, strides, strides, {1}, type, data, data, factor, false);
        });
}

} // namespace

void sum_cosines_between(double* lines, std::size_t n_lines, std::size_t length, double factor)
{
    if (length > 1)
    {
        transform_lines(3, lines, n_lines, length, factor);
    }
}

void sum_cosines_at(double* lines, std::size_t n_lines, std::size_t length, double factor)
{
    transform_lines(1, lines, n_lines, length, factor);
}

double cosine_line_cost(std::size_t length)
{
    double sum = 1.0;
    std::size_t rest = length;
    for (std::size_t factor = 2; factor * factor <= rest; ++factor)
    {
        for (; rest % factor == 0; rest /= factor)
        {
            sum += static_cast<double>(factor);
        }
    }
    sum += static_cast<double>(rest);
    // A large prime is turned into a convolution of a length with small factors.
    constexpr double CONVOLUTION = 60.0;
    return static_cast<double>(length) * std::min(sum, CONVOLUTION);
}

} // namespace OrvaneAlgorithm::detail
