#pragma once

#include "algorithmVeld/common/running/Progress.h"

#include <omp.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <limits>
#include <mutex>

namespace OrvaneAlgorithm::detail
{

/// Carries an exception of a parallel region to the thread that started it. An exception that left
/// the region itself would end the process.
class ExceptionCarrier
{
public:
    template <typename Body>
    void run(Body const& body) noexcept
    {
        run_iteration(0, [&](std::ptrdiff_t) { body(); });
    }

    /// Runs `body(i)`, unless an iteration before it has failed. Of several exceptions the one of
    /// the first iteration stays, as in a loop of one thread.
    template <typename Body>
    void run_iteration(std::ptrdiff_t i, Body const& body) noexcept
    {
        if (i > failed_.load(std::memory_order_relaxed))
        {
            return;
        }
        try
        {
            body(i);
        }
        catch (...)
        {
            std::lock_guard<std::mutex> const lock(mutex_);
            if (!exception_ || i < failed_.load(std::memory_order_relaxed))
            {
                exception_ = std::current_exception();
                failed_.store(i, std::memory_order_relaxed);
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
    std::atomic<std::ptrdiff_t> failed_{std::numeric_limits<std::ptrdiff_t>::max()};
    std::mutex mutex_;
    std::exception_ptr exception_;
};

/// Runs `body(i)` for i from 0 to `n` - 1 in parallel, in equal shares: for even work. No region is
/// started for no or one iteration. If iterations throw, those behind them may not run, and the
/// exception of the first one is thrown again after the loop.
///
/// The threads belong to the calling thread's run: they tell how far the loop is, and end it by
/// Cancelled, between iterations.
template <typename Body>
void parallel_for_even(std::ptrdiff_t n, Body const& body)
{
    if (n <= 0)
    {
        return;
    }
    poll_cancel();
    // Small loops ask often, for their iterations may be long.
    auto const size = static_cast<std::size_t>(n);
    std::size_t const stride = std::clamp<std::size_t>(size / 1024, 1, 256);
    Progress progress(size);
    ExceptionCarrier carrier;
#pragma omp parallel num_threads(omp_get_max_threads()) if (n > 1)
    {
        WorkerProgress worker(progress, stride);
        auto const step = [&](std::ptrdiff_t i)
        {
            body(i);
            worker.next();
        };
#pragma omp for schedule(static) nowait
        for (std::ptrdiff_t i = 0; i < n; ++i)
        {
            carrier.run_iteration(i, step);
        }
    }
    carrier.rethrow();
    progress.finish();
}

/// The same with blocks of iterations, `body(begin, end)`, in which nobody is told or asked: for
/// iterations so short that this would take longer than they do.
template <typename Body>
void parallel_for_blocks(std::ptrdiff_t n, Body const& body)
{
    constexpr std::ptrdiff_t BLOCK = 4096;
    parallel_for_even((n + BLOCK - 1) / BLOCK,
                      [&](std::ptrdiff_t k) { body(k * BLOCK, std::min(n, (k + 1) * BLOCK)); });
}

/// The same for iterations of a few instructions each, `body(i)`. Few of them stay in the calling
/// thread.
template <typename Body>
void parallel_for_short(std::size_t n, Body const& body)
{
    parallel_for_blocks(static_cast<std::ptrdiff_t>(n),
                        [&](std::ptrdiff_t begin, std::ptrdiff_t end)
                        {
                            for (std::ptrdiff_t i = begin; i < end; ++i)
                            {
                                body(static_cast<std::size_t>(i));
                            }
                        });
}

/// The loop of `parallel_for_even` with one iteration at a time to whichever thread is free: for
/// work of uneven size.
template <typename Body>
void parallel_for_uneven(std::ptrdiff_t n, Body const& body)
{
    if (n <= 0)
    {
        return;
    }
    poll_cancel();
    Progress progress(static_cast<std::size_t>(n));
    ExceptionCarrier carrier;
#pragma omp parallel num_threads(omp_get_max_threads()) if (n > 1)
    {
        WorkerProgress worker(progress, 1);
        auto const step = [&](std::ptrdiff_t i)
        {
            poll_cancel(); // A thread may be given earlier iterations than one that was ended.
            body(i);
            worker.next();
        };
#pragma omp for schedule(dynamic, 1) nowait
        for (std::ptrdiff_t i = 0; i < n; ++i)
        {
            carrier.run_iteration(i, step);
        }
    }
    carrier.rethrow();
    progress.finish();
}

/// The same for the places of a list of `n`.
template <typename Body>
void for_each_index(std::size_t n, Body const& body)
{
    parallel_for_uneven(static_cast<std::ptrdiff_t>(n),
                        [&](std::ptrdiff_t i) { body(static_cast<std::size_t>(i)); });
}

} // namespace OrvaneAlgorithm::detail
