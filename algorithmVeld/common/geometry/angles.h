#pragma once

namespace OrvaneAlgorithm::detail
{

constexpr double PI = 3.141592653589793;
constexpr float PI_F = 3.1415927F;

constexpr double radians(double degrees)
{
    return degrees * PI / 180.0;
}

constexpr double degrees(double radians)
{
    return radians * 180.0 / PI;
}

} // namespace OrvaneAlgorithm::detail
