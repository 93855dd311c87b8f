#pragma once

#include <cstddef>
#include <exception>

namespace veld
{

/// Runs `work(i)` for i from 0 to `n` - 1, several at a time. What one of them throws is thrown
/// when all are done.
template <typename Work>
void for_each_index(std::size_t n, Work const& work)
{
    std::exception_ptr failure;
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
            failure = std::current_exception();
        }
    }
    if (failure)
    {
        std::rethrow_exception(failure);
    }
}

} // namespace veld
