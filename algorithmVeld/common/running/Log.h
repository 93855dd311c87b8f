#pragma once

#include "algorithmVeld/common/LogHolder.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Keeps back what the calling thread logs in a scope. Tasks of a parallel loop collect their lines
/// so, and the loop's caller logs them behind it in the order of the tasks.
class CollectedLog
{
public:
    explicit CollectedLog(std::vector<std::string>& lines) : before_(current())
    {
        current() = &lines;
    }
    ~CollectedLog() { current() = before_; }
    CollectedLog(CollectedLog const&) = delete;
    CollectedLog& operator=(CollectedLog const&) = delete;

    /// Logs a line, or keeps it back if the calling thread is in such a scope.
    static void print(char const* line)
    {
        if (current() != nullptr)
        {
            current()->emplace_back(line);
        }
        else
        {
            gLH.print_log(line);
        }
    }

private:
    static std::vector<std::string>*& current()
    {
        static thread_local std::vector<std::string>* lines = nullptr;
        return lines;
    }

    std::vector<std::string>* before_;
};

/// The lines that each task of a loop collected.
using TaskLines = std::vector<std::vector<std::string>>;

/// Logs what tasks collected, in their order.
inline void print_in_order(TaskLines const& lines)
{
    for (auto const& of_task : lines)
    {
        for (auto const& line : of_task)
        {
            CollectedLog::print(line.c_str());
        }
    }
}

/// Formats a line and logs it if `enabled` is true.
template <typename... Arguments>
void log_line(bool enabled, char const* format, Arguments... arguments)
{
    if (enabled)
    {
        char line[512];
        format_line(line, format, arguments...);
        CollectedLog::print(line);
    }
}

/// Logs finished text if `enabled` is true.
inline void log_line(bool enabled, char const* text)
{
    if (enabled)
    {
        CollectedLog::print(text);
    }
}

/// Formats a line and logs it if the log switch is on.
template <typename... Arguments>
void log(char const* format, Arguments... arguments)
{
    log_line(gPH.log_enabled, format, arguments...);
}

/// Formats a line and prints it past the log.
template <typename... Arguments>
void print_line(char const* format, Arguments... arguments)
{
    char line[512];
    format_line(line, format, arguments...);
    gLH.print_past_log(line);
}

/// Prints finished text past the log.
inline void print_line(char const* text)
{
    gLH.print_past_log(text);
}

/// Logs finished text and prints it past the log as well, if `enabled` is true. Hosts of long
/// standing read one or the other.
inline void log_and_print_line(bool enabled, char const* text)
{
    if (enabled)
    {
        gLH.print_past_log(text);
        gLH.LogPrintf("%s", text);
    }
}

/// The same for a line that is formatted first.
template <typename... Arguments>
void log_and_print_line(bool enabled, char const* format, Arguments... arguments)
{
    if (enabled)
    {
        char line[512];
        format_line(line, format, arguments...);
        log_and_print_line(true, static_cast<char const*>(line));
    }
}

/// Times a step from here to the end of the scope, also when an exception leaves it. What the
/// host's observer throws at the end of the step reaches the caller, unless an exception is on its
/// way already.
class StepTimer
{
public:
    explicit StepTimer(std::string step, std::string const& parent = {}) : step_(std::move(step))
    {
        gLH.startSpecStepTimer(step_, parent);
    }
    ~StepTimer() noexcept(false)
    {
        if (is_left_running_)
        {
            return;
        }
        try
        {
            gLH.lapSpecStepTimer(step_);
        }
        catch (...)
        {
            if (std::uncaught_exceptions() == exceptions_)
            {
                throw;
            }
        }
    }
    StepTimer(StepTimer const&) = delete;
    StepTimer& operator=(StepTimer const&) = delete;

    /// The step does not end with the scope.
    void leave_running() { is_left_running_ = true; }

private:
    std::string step_;
    bool is_left_running_ = false;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace OrvaneAlgorithm::detail
