#pragma once

#include <omp.h>

#include <cstddef>
#include <exception>

namespace OrvaneAlgorithm::detail
{

/// Carries the first exception of a parallel region to the thread that started it. An exception
/// that left the region itself would end the process.
class ExceptionCarrier
{
public:
    template <typename Body>
    void run(Body const& body) noexcept
    {
        try
        {
            body();
        }
        catch (...)
        {
#pragma omp critical(veld_exception_carrier)
            if (!exception_)
            {
                exception_ = std::current_exception();
            }
        }
    }

    void rethrow() const
    {
        if (exception_)
        {
            std::rethrow_exception(exception_);
        }
    }

private:
    std::exception_ptr exception_;
};

/// Runs `body(i)` for i from 0 to `n` - 1 in parallel, in equal shares: for even work. No region is
/// started for no or one iteration. The first exception is thrown again after the loop.
template <typename Body>
void parallel_for_even(std::ptrdiff_t n, Body const& body)
{
    if (n <= 0)
    {
        return;
    }
    ExceptionCarrier carrier;
#pragma omp parallel for num_threads(omp_get_max_threads()) schedule(static) if (n > 1)
    for (std::ptrdiff_t i = 0; i < n; ++i)
    {
        carrier.run([&] { body(i); });
    }
    carrier.rethrow();
}

/// The same with one iteration at a time to whichever thread is free: for work of uneven size.
template <typename Body>
void parallel_for_uneven(std::ptrdiff_t n, Body const& body)
{
    if (n <= 0)
    {
        return;
    }
    ExceptionCarrier carrier;
#pragma omp parallel for num_threads(omp_get_max_threads()) schedule(dynamic, 1) if (n > 1)
    for (std::ptrdiff_t i = 0; i < n; ++i)
    {
        carrier.run([&] { body(i); });
    }
    carrier.rethrow();
}

} // namespace OrvaneAlgorithm::detail
