#pragma once

#include <cstddef>
#include <exception>

namespace veld
{

/// Runs `work(i)` for i from 0 to `n` - 1, several at a time. What the first of them in this order
/// throws is thrown when all are done.
template <typename Work>
void for_each_index(std::size_t n, Work const& work)
{
    std::exception_ptr failure;
    auto failed = static_cast<std::ptrdiff_t>(n);
#pragma omp parallel for schedule(dynamic, 1)
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(n); ++i)
    {
        try
        {
            work(static_cast<std::size_t>(i));
        }
        catch (...)
        {
#pragma omp critical
            if (i < failed)
            {
                failed = i;
                failure = std::current_exception();
            }
        }
    }
    if (failure)
    {
        std::rethrow_exception(failure);
    }
}

} // namespace veld
