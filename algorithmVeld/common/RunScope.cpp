#include "algorithmVeld/common/RunScope.h"

#include "algorithmVeld/common/running/Progress.h"

#include <mutex>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

// A signal handler may do nothing with an atomic value that takes a lock.
static_assert(std::atomic<bool>::is_always_lock_free);

// Not seen from outside: a library that is loaded by Windows can't share such a variable.
thread_local RunScope::Context this_thread;

} // namespace

Cancelled::Cancelled() noexcept = default;
Cancelled::Cancelled(Cancelled const&) noexcept = default;
Cancelled& Cancelled::operator=(Cancelled const&) noexcept = default;
Cancelled::~Cancelled() = default;

char const* Cancelled::what() const noexcept
{
    return "cancelled";
}

CancelToken::CancelToken() : state_(std::make_shared<std::atomic<bool>>(false)) {}

void CancelToken::cancel() const noexcept
{
    state_->store(true, std::memory_order_relaxed);
}

bool CancelToken::is_cancelled() const noexcept
{
    return state_->load(std::memory_order_relaxed);
}

class RunScope::Run
{
public:
    Run(CancelToken token, ProgressSink sink, Run const* outer)
        : token_(std::move(token)), sink_(std::move(sink)), outer_(outer)
    {
    }

    bool is_cancelled() const noexcept
    {
        return token_.is_cancelled() || (outer_ != nullptr && outer_->is_cancelled());
    }

    void tell(double fraction)
    {
        if (!sink_ || !is_worth_telling(fraction))
        {
            return;
        }
        std::lock_guard<std::mutex> const lock(mutex_);
        if (is_worth_telling(fraction))
        {
            told_.store(fraction, std::memory_order_relaxed);
            // An operation that the sink calls must not tell in turn.
            detail::ContextScope const outside({});
            sink_(fraction);
        }
    }

private:
    bool is_worth_telling(double fraction) const
    {
        double const told = told_.load(std::memory_order_relaxed);
        return fraction >= told + 0.001 || (fraction >= 1.0 && told < 1.0);
    }

    CancelToken token_;
    ProgressSink sink_;
    Run const* outer_;
    std::mutex mutex_; // Of the sink.
    std::atomic<double> told_{0.0};
};

RunScope::RunScope(CancelToken token, ProgressSink progress)
    : run_(std::make_unique<Run>(std::move(token), std::move(progress), context().run)),
      before_(exchange_context({run_.get(), 0.0, 1.0, true}))
{
}

RunScope::~RunScope()
{
    exchange_context(before_);
}

void RunScope::poll()
{
    if (this_thread.run != nullptr && this_thread.run->is_cancelled())
    {
        throw Cancelled();
    }
}

RunScope::Context RunScope::context() noexcept
{
    return this_thread;
}

RunScope::Context RunScope::exchange_context(Context const& context) noexcept
{
    return std::exchange(this_thread, context);
}

bool RunScope::is_cancelled(Run const& run) noexcept
{
    return run.is_cancelled();
}

void RunScope::tell(Run& run, double fraction)
{
    run.tell(fraction);
}

} // namespace OrvaneAlgorithm
