#pragma once

#include <cstdint>

namespace veld
{

/// A number that looks random but is a function of its input, the same everywhere.
inline std::uint32_t scatter_bits(std::uint32_t number)
{
    number ^= number >> 16;
    number *= 0x7feb352dU;
    number ^= number >> 15;
    number *= 0x846ca68bU;
    number ^= number >> 16;
    return number;
}

/// Random numbers by place: what stands at an index does not depend on what was asked before, nor
/// on the thread that asks.
class Scatter
{
public:
    explicit Scatter(std::uint32_t seed) : seed_(scatter_bits(seed + 0x9e3779b9U)) {}

    /// Evenly spread over -1 to 1.
    double even(std::uint32_t index) const
    {
        return static_cast<double>(scatter_bits(seed_ ^ index)) / 2147483647.5 - 1.0;
    }

    /// About normally spread, with a standard deviation of 1: a sum, which needs no functions that
    /// differ between machines.
    double normal(std::uint32_t index) const
    {
        constexpr double HALF_ROOT_3 = 0.8660254037844386;
        return HALF_ROOT_3 *
               (even(4 * index) + even(4 * index + 1) + even(4 * index + 2) + even(4 * index + 3));
    }

private:
    std::uint32_t seed_;
};

} // namespace veld
