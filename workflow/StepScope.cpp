#include "workflow/StepScope.h"

#include <omp.h>

#include <algorithm>
#include <utility>

namespace veld
{

StepScope::StepScope(Context& context, std::string timer, std::string doing)
    : context_(context),
      threads_(context.threads),
      doing_(std::move(doing)),
      run_(context.cancel, context.progress ? [this](double fraction) { tell({}, fraction); }
                                            : OrvaneAlgorithm::RunScope::ProgressSink()),
      timer_(std::move(timer))
{
    OrvaneAlgorithm::detail::poll_cancel();
    tell({}, 0.0);
}

StepScope::Threads::Threads(int threads) : before_(omp_get_max_threads())
{
    // A setting of the calling thread alone.
    if (threads > 0)
    {
        omp_set_num_threads(threads);
    }
}

StepScope::Threads::~Threads()
{
    omp_set_num_threads(before_);
}

void StepScope::warn(WarningCode code, std::string about, std::string text, std::string setting)
{
    std::lock_guard<std::mutex> const lock(mutex_);
    if (context_.warn)
    {
        context_.warn({code, std::move(about), std::move(text), std::move(setting)});
    }
}

void StepScope::tell(std::string doing, double fraction)
{
    std::lock_guard<std::mutex> const lock(mutex_);
    if (!doing.empty())
    {
        doing_ = std::move(doing);
    }
    told_ = std::max(told_, fraction);
    if (context_.progress)
    {
        context_.progress({doing_, told_});
    }
}

} // namespace veld
