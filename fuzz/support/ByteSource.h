#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace veld_fuzz
{

/// Reads values from an input, byte by byte from its front, so that the seeds can be written by
/// hand. Behind its end everything is 0.
class ByteSource
{
public:
    explicit ByteSource(std::string_view input) : rest_(input) {}

    int byte()
    {
        if (rest_.empty())
        {
            return 0;
        }
        int const value = static_cast<unsigned char>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }

    bool flag() { return (byte() & 1) != 0; }

    /// A number from 0 up to, but not including, `n`.
    int below(int n) { return n > 0 ? byte() % n : 0; }

    /// A coordinate: near the origin on a grid, which makes duplicates; seldom one of the values
    /// that arithmetic stumbles over.
    float coordinate()
    {
        constexpr int N_PLAIN = 240;
        static constexpr std::array<float, 16> SPECIAL{std::numeric_limits<float>::quiet_NaN(),
                                                       std::numeric_limits<float>::infinity(),
                                                       -std::numeric_limits<float>::infinity(),
                                                       std::numeric_limits<float>::max(),
                                                       std::numeric_limits<float>::lowest(),
                                                       std::numeric_limits<float>::min(),
                                                       std::numeric_limits<float>::denorm_min(),
                                                       -std::numeric_limits<float>::denorm_min(),
                                                       1e30F,
                                                       -1e30F,
                                                       1e15F,
                                                       -1e15F,
                                                       1e6F,
                                                       1e-6F,
                                                       1e-20F,
                                                       -0.0F};
        int const value = byte();
        return value < N_PLAIN ? static_cast<float>(value - N_PLAIN / 2) / 8.0F
                               : SPECIAL[static_cast<std::size_t>(value - N_PLAIN)];
    }

    /// A setting: counts and indices in range and out of it.
    int integer()
    {
        constexpr int N_PLAIN = 240;
        static constexpr std::array<int, 16> SPECIAL{-1,
                                                     -2,
                                                     -1000,
                                                     std::numeric_limits<int>::min(),
                                                     std::numeric_limits<int>::min() + 1,
                                                     std::numeric_limits<int>::max(),
                                                     std::numeric_limits<int>::max() - 1,
                                                     std::numeric_limits<int>::max() / 2,
                                                     std::numeric_limits<int>::max() / 6,
                                                     1 << 16,
                                                     46341,
                                                     1 << 24,
                                                     1000,
                                                     256,
                                                     4096,
                                                     100000};
        int const value = byte();
        return value < N_PLAIN ? value / 4 : SPECIAL[static_cast<std::size_t>(value - N_PLAIN)];
    }

    /// A setting: lengths, factors, cosines and degrees in range and out of it.
    double number()
    {
        constexpr int N_PLAIN = 232;
        static constexpr std::array<double, 24> SPECIAL{std::numeric_limits<double>::quiet_NaN(),
                                                        std::numeric_limits<double>::infinity(),
                                                        -std::numeric_limits<double>::infinity(),
                                                        std::numeric_limits<double>::max(),
                                                        std::numeric_limits<double>::lowest(),
                                                        std::numeric_limits<double>::min(),
                                                        1e300,
                                                        1e38,
                                                        1e20,
                                                        1e10,
                                                        1e5,
                                                        1e-3,
                                                        1e-10,
                                                        1e-40,
                                                        -1e-3,
                                                        -1.0,
                                                        -0.5,
                                                        -180.0,
                                                        30.0,
                                                        90.0,
                                                        150.0,
                                                        180.0,
                                                        360.0,
                                                        1000.0};
        int const value = byte();
        return value < N_PLAIN ? value / 16.0 : SPECIAL[static_cast<std::size_t>(value - N_PLAIN)];
    }

private:
    std::string_view rest_;
};

} // namespace veld_fuzz
