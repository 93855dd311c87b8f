#include "algorithmVeld/common/ScopeTimer.h"

#include <cstdio>

namespace OrvaneAlgorithm
{

void CQueryPerformance::print_spend_time(char const* label) const
{
    std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start_;
    std::printf("%s %f s\n", label == nullptr ? "" : label, elapsed.count());
}

ScopeTimer::ScopeTimer(char const* name)
{
    name = name == nullptr ? "" : name;
    std::printf("%s ......\n", name);
    std::snprintf(name_, sizeof name_, "%s", name);
    stopwatch_.reset();
}

ScopeTimer::~ScopeTimer()
{
    stopwatch_.print_spend_time(name_);
}

} // namespace OrvaneAlgorithm
