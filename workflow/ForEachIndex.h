#pragma once

#include "algorithmVeld/common/running/ParallelFor.h"

#include <cstddef>

namespace veld
{

/// Runs `work(i)` for i from 0 to `n` - 1, several at a time. What the first of them in this order
/// throws is thrown when all are done.
template <typename Work>
void for_each_index(std::size_t n, Work const& work)
{
    OrvaneAlgorithm::detail::parallel_for_uneven(static_cast<std::ptrdiff_t>(n),
                                                 [&work](std::ptrdiff_t i)
                                                 { work(static_cast<std::size_t>(i)); });
}

} // namespace veld
