#pragma once

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <string>

namespace OrvaneAlgorithm::detail
{

/// Formats a line and logs it if `enabled` is true.
template <typename... Arguments>
void log_line(bool enabled, char const* format, Arguments... arguments)
{
    if (enabled)
    {
        char line[512];
        format_line(line, format, arguments...);
        gLH.print_log(line);
    }
}

/// Logs finished text if `enabled` is true.
inline void log_line(bool enabled, char const* text)
{
    if (enabled)
    {
        gLH.print_log(text);
    }
}

/// Formats a line and logs it if the log switch is on.
template <typename... Arguments>
void log(char const* format, Arguments... arguments)
{
    log_line(gPH.log_enabled, format, arguments...);
}

/// Times a step from here to the end of the scope, also when an exception leaves it.
class StepTimer
{
public:
    explicit StepTimer(std::string step, std::string const& parent = {}) : step_(std::move(step))
    {
        gLH.startSpecStepTimer(step_, parent);
    }
    ~StepTimer() { gLH.lapSpecStepTimer(step_); }
    StepTimer(StepTimer const&) = delete;
    StepTimer& operator=(StepTimer const&) = delete;

private:
    std::string step_;
};

} // namespace OrvaneAlgorithm::detail
