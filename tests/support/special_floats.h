#pragma once

#include <limits>

namespace veld_test
{

constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
constexpr float INFINITE = std::numeric_limits<float>::infinity();

} // namespace veld_test
