#include "algorithmVeld/common/ScopeTimer.h"

#include "algorithmVeld/common/LogHolder.h"

#include <cstdio>
#include <exception>
#include <string>

namespace OrvaneAlgorithm
{

ScopeTimer::ScopeTimer(char const* name)
{
    name = name == nullptr ? "" : name;
    gLH.print_past_log(std::string(name) + " ......\n");
    std::snprintf(name_, sizeof name_, "%s", name);
    stopwatch_.reset();
}

ScopeTimer::~ScopeTimer() noexcept(false)
{
    try
    {
        stopwatch_.print_spend_time(name_);
    }
    catch (...)
    {
        if (std::uncaught_exceptions() == exceptions_)
        {
            throw;
        }
    }
}

} // namespace OrvaneAlgorithm
