#include "algorithmVeld/common/ScopeTimer.h"

#include <cstdio>

namespace OrvaneAlgorithm
{

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
