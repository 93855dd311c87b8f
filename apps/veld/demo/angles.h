#pragma once

namespace veld::cli
{

inline constexpr double PI = 3.141592653589793;

} // namespace veld::cli
