#pragma once

#include "algorithmVeld/common/RunScope.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <initializer_list>
#include <numeric>
#include <utility>
#include <vector>

/// \file
/// How operations tell how far they are, and end when they are asked to. All of it acts on the run
/// of the calling thread (see RunScope), and costs next to nothing where there is none.
///
/// An operation divides its range of fractions among its stages (`Stages`), by roughly the time
/// that they take. Within a stage the outermost loop tells progress, be it parallel
/// (`ParallelFor.h` does it) or not (`Progress`, `LoopProgress`); what runs inside that loop is
/// only asked whether to go on. So every long loop asks, on its own and whoever calls it, but never
/// between the writes that belong together: an exception there would leave an element half made.

namespace OrvaneAlgorithm::detail
{

/// Throws Cancelled if the calling thread's run was cancelled.
inline void poll_cancel()
{
    RunScope::poll();
}

/// The same for places that no exception may leave, such as what a C library calls.
inline bool is_run_cancelled() noexcept
{
    auto const* const run = RunScope::context().run;
    return run != nullptr && RunScope::is_cancelled(*run);
}

/// poll_cancel() in a loop of many small steps, which ends far from every step.
class CancelPoll
{
public:
    /// \param stride after how many steps it asks
    explicit CancelPoll(std::size_t stride = 4096) : stride_(stride), left_(stride) {}

    void next()
    {
        if (--left_ == 0)
        {
            left_ = stride_;
            poll_cancel();
        }
    }

private:
    std::size_t stride_;
    std::size_t left_;
};

/// What the calling thread knows of its run, until the end of the scope.
class ContextScope
{
public:
    explicit ContextScope(RunScope::Context const& context)
        : before_(RunScope::exchange_context(context))
    {
    }
    ~ContextScope() { RunScope::exchange_context(before_); }
    ContextScope(ContextScope const&) = delete;
    ContextScope& operator=(ContextScope const&) = delete;

    RunScope::Context const& before() const { return before_; }

private:
    RunScope::Context before_;
};

/// A part of a range, given by fractions of it. The end is met exactly.
inline RunScope::Context part_of(RunScope::Context range, double begin, double end)
{
    auto const at = [&](double fraction)
    { return fraction >= 1.0 ? range.end : range.begin + fraction * (range.end - range.begin); };
    return {range.run, at(begin), at(end), range.tells};
}

inline void tell_if_open(RunScope::Context const& range, double fraction)
{
    if (range.tells)
    {
        RunScope::tell(*range.run, fraction);
    }
}

/// Restricts the calling thread to a part of its range, given by fractions of it, until the end of
/// the scope. Whoever leaves without an exception has done that part; what the sink throws then
/// reaches the caller.
class ProgressPart
{
public:
    ProgressPart(double begin, double end) : part_(part_of(RunScope::context(), begin, end))
    {
        poll_cancel();
    }
    ~ProgressPart() noexcept(false)
    {
        if (std::uncaught_exceptions() == exceptions_)
        {
            tell_if_open(part_, part_.end);
        }
    }
    ProgressPart(ProgressPart const&) = delete;
    ProgressPart& operator=(ProgressPart const&) = delete;

private:
    RunScope::Context part_;
    ContextScope scope_{part_};
    int exceptions_ = std::uncaught_exceptions();
};

/// The stages of an operation, one after the other:
///
///     Stages stages({1, 20, 4});
///     stages.next();
///     prepare();
///     stages.next();
///     ...
class Stages
{
public:
    /// \param weights roughly how long each stage takes
    explicit Stages(std::initializer_list<double> weights)
        : ends_(weights), whole_(RunScope::context()), scope_(whole_)
    {
        std::partial_sum(ends_.begin(), ends_.end(), ends_.begin());
    }
    ~Stages() noexcept(false)
    {
        if (std::uncaught_exceptions() == exceptions_)
        {
            tell_if_open(whole_, whole_.end);
        }
    }
    Stages(Stages const&) = delete;
    Stages& operator=(Stages const&) = delete;

    /// Goes to the next stage. Throws Cancelled if the run was cancelled. Behind the last one
    /// nothing is left to be told.
    void next()
    {
        double const begin = end_of(current_);
        auto const stage = part_of(whole_, begin, end_of(++current_));
        RunScope::exchange_context(stage);
        tell_if_open(stage, stage.begin);
        poll_cancel();
    }

    /// Goes over several stages that there is nothing to do for, to the one behind them.
    void skip(std::size_t n)
    {
        current_ += n;
        next();
    }

private:
    double end_of(std::size_t n) const
    {
        if (n == 0)
        {
            return 0.0;
        }
        return n < ends_.size() ? ends_[n - 1] / ends_.back() : 1.0;
    }

    std::vector<double> ends_;
    RunScope::Context whole_;
    ContextScope scope_; // Puts the whole range back.
    std::size_t current_ = 0;
    int exceptions_ = std::uncaught_exceptions();
};

/// Equal steps of the calling thread's range. While it lives that thread tells no other progress.
class Progress
{
public:
    /// \param n how many steps; more than that tell nothing any more
    explicit Progress(std::size_t n) : n_(n) {}
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    /// Steps are done. Throws Cancelled if the run was cancelled. Any thread may call it.
    void advance(std::size_t steps = 1)
    {
        auto const& range = scope_.before();
        if (range.run == nullptr)
        {
            return;
        }
        if (range.tells)
        {
            auto const done = done_.fetch_add(steps, std::memory_order_relaxed) + steps;
            auto const fraction =
                static_cast<double>(done) / static_cast<double>(std::max<std::size_t>(n_, 1));
            RunScope::tell(*range.run, part_of(range, 0.0, fraction).end);
        }
        if (RunScope::is_cancelled(*range.run))
        {
            throw Cancelled();
        }
    }

    /// All is done.
    void finish() { tell_if_open(scope_.before(), scope_.before().end); }

    /// The run, for other threads that work on these steps. It tells nothing there.
    RunScope::Context carried() const { return silent(scope_.before()); }

private:
    static RunScope::Context silent(RunScope::Context context)
    {
        context.tells = false;
        return context;
    }

    ContextScope scope_{silent(RunScope::context())};
    std::size_t n_;
    std::atomic<std::size_t> done_{0};
};

/// Some of another's steps, which are one long piece of work.
class ProgressShare
{
public:
    ProgressShare(Progress& whole, std::size_t steps) : whole_(whole), steps_(steps) {}
    ProgressShare(ProgressShare const&) = delete;
    ProgressShare& operator=(ProgressShare const&) = delete;

    /// So much of it is done, from 0 to 1. Throws Cancelled if the run was cancelled. Any thread
    /// may call it.
    void reach(double fraction)
    {
        auto const reached = static_cast<std::size_t>(fraction * static_cast<double>(steps_));
        auto before = reached_.load(std::memory_order_relaxed);
        while (before < reached &&
               !reached_.compare_exchange_weak(before, reached, std::memory_order_relaxed))
        {
        }
        if (before < reached)
        {
            whole_.advance(reached - before);
        }
    }

private:
    Progress& whole_;
    std::size_t steps_;
    std::atomic<std::size_t> reached_{0};
};

/// Progress of a loop of many small steps in one thread.
class LoopProgress
{
public:
    /// \param n how often the loop runs
    explicit LoopProgress(std::size_t n) : progress_(n) {}

    /// A step is done. Throws Cancelled now and then, if the run was cancelled.
    void next()
    {
        if (++count_ % STRIDE == 0)
        {
            progress_.advance(STRIDE);
        }
    }

private:
    static constexpr std::size_t STRIDE = 4096;
    Progress progress_;
    std::size_t count_ = 0;
};

/// One thread's share of steps that several threads do.
class WorkerProgress
{
public:
    /// \param progress of all threads together
    /// \param stride after how many steps the thread tells, and asks whether to go on
    WorkerProgress(Progress& progress, std::size_t stride)
        : progress_(progress), stride_(stride), left_(stride), scope_(progress.carried())
    {
    }

    /// A step is done. Throws Cancelled now and then, if the run was cancelled.
    void next()
    {
        if (--left_ == 0)
        {
            left_ = stride_;
            progress_.advance(stride_);
        }
    }

private:
    Progress& progress_;
    std::size_t stride_;
    std::size_t left_;
    ContextScope scope_;
};

} // namespace OrvaneAlgorithm::detail
