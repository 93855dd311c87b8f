#pragma once

#include "algorithmVeld/common/CQueryPerformance.h"
#include "algorithmVeld/common/export.h"

namespace OrvaneAlgorithm
{

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
