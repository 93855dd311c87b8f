#pragma once

namespace veld::cli
{

inline constexpr double PI = 3.141592653589793;

constexpr double radians(double degrees)
{
    return degrees * PI / 180.0;
}

constexpr double degrees(double radians)
{
    return radians * 180.0 / PI;
}

} // namespace veld::cli
