#include "algorithmVeld/TextureFusion/solve/sources/GreensTable.h"

#include "algorithmVeld/TextureFusion/solve/sources/CosineLines.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace OrvaneAlgorithm::detail
{

GreensTable::GreensTable(std::size_t width, std::size_t height)
    : width_(width), height_(height), values_(new double[(width + 1) * (height + 1)])
{
    constexpr std::size_t BLOCK = 64;
    auto const n_blocks = static_cast<std::ptrdiff_t>(width / BLOCK + 1);
    parallel_for_even(n_blocks,
                      [&](std::ptrdiff_t block)
                      {
                          std::size_t const begin = static_cast<std::size_t>(block) * BLOCK;
                          set_frequencies(begin, std::min(begin + BLOCK, width_ + 1));
                      });
    sum_cosines_at(values_.get(), height_ + 1, width_ + 1,
                   1.0 / (2.0 * static_cast<double>(width_)));
}

/// For each frequency in x what is left is an equation with three terms in y, whose solutions are
/// powers z^y; for the frequency 0 they are polynomials.
void GreensTable::set_frequencies(std::size_t begin, std::size_t end)
{
    constexpr double NOTHING = 1e-200; // no power is so small that computing with it is slow
    std::size_t const n = end - begin;
    std::vector<double> roots(n, 0.0);
    std::vector<double> factors(n, 0.0);
    for (std::size_t k = std::max<std::size_t>(begin, 1); k < end; ++k)
    {
        double const angle = PI * static_cast<double>(k) / (2.0 * static_cast<double>(width_));
        double const exponent = 2.0 * std::asinh(std::sin(angle));
        roots[k - begin] = std::exp(-exponent);
        factors[k - begin] = 1.0 / (2.0 * std::sinh(exponent) *
                                    -std::expm1(-2.0 * static_cast<double>(height_) * exponent));
    }
    std::vector<double> powers((height_ + 1) * n, 1.0);
    for (std::size_t i = n; i < powers.size(); ++i)
    {
        double const power = powers[i - n] * roots[i % n];
        powers[i] = power < NOTHING ? 0.0 : power;
    }
    double const* const last = &powers[height_ * n];
    for (std::size_t y = 0; y <= height_; ++y)
    {
        double* const line = &values_[y * (width_ + 1) + begin];
        double const* const power = &powers[y * n];
        double const* const mirrored = &powers[(height_ - y) * n];
        for (std::size_t k = 0; k < n; ++k)
        {
            line[k] = (power[k] + last[k] * mirrored[k]) * factors[k];
        }
        if (begin == 0)
        {
            double const distance = static_cast<double>(y);
            double const period = 2.0 * static_cast<double>(height_);
            line[0] = distance * distance / (2.0 * period) - distance / 2.0 +
                      (period * period - 1.0) / (12.0 * period);
        }
    }
}

} // namespace OrvaneAlgorithm::detail
