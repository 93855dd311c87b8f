#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The value in the middle, of an even number of values the larger one; 0 of none. No value may be
/// NaN.
template <typename Value = double>
Value median(std::vector<Value> values)
{
    if (values.empty())
    {
        return Value(0);
    }
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace OrvaneAlgorithm::detail
