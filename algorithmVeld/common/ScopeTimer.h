#pragma once

#include "algorithmVeld/common/export.h"

#include <chrono>

namespace OrvaneAlgorithm
{

/// Wall-clock stopwatch that prints to standard output.
class ALGORITHMVELD_API CQueryPerformance
{
public:
    CQueryPerformance() { reset(); }

    /// Starts anew from zero.
    void reset() { start_ = std::chrono::steady_clock::now(); }

    /// Prints the time since the start, in seconds, behind the label.
    void print_spend_time(char const* label) const;

private:
    std::chrono::steady_clock::time_point start_;
};

/// Prints to standard output when a scope is entered, and how long it took when it is left.
/// These two lines are no log lines: no switch holds them back.
class ALGORITHMVELD_API ScopeTimer
{
public:
    /// \param name printed with both lines; at the end no more than its first 511 bytes
    explicit ScopeTimer(char const* name);
    ~ScopeTimer();
    ScopeTimer(ScopeTimer const&) = delete;
    ScopeTimer& operator=(ScopeTimer const&) = delete;

private:
    char name_[512];
    CQueryPerformance stopwatch_;
};

} // namespace OrvaneAlgorithm
