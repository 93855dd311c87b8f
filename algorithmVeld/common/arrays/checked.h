#pragma once

#include <cstddef>
#include <stdexcept>
#include <type_traits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Bounds-checked element access, with the text that hosts know on every platform.
template <typename Vector>
auto at(Vector& vector, std::size_t i) -> decltype(vector[i])
{
    if (i >= vector.size())
    {
        throw std::out_of_range(std::is_same_v<std::remove_cv_t<Vector>, std::vector<bool>>
                                    ? "invalid vector<bool> subscript"
                                    : "invalid vector<T> subscript");
    }
    return vector[i];
}

} // namespace OrvaneAlgorithm::detail
