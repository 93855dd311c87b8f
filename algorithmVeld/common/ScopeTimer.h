#pragma once

#include "algorithmVeld/common/CQueryPerformance.h"
#include "algorithmVeld/common/export.h"

#include <exception>

namespace OrvaneAlgorithm
{

/// Prints past the log, to standard output unless the host has set another sink, when a scope is
/// entered, and how long it took when it is left. No switch holds these two lines back. What the
/// host's sink throws at the end reaches the caller, unless an exception is on its way already.
class ALGORITHMVELD_API ScopeTimer
{
public:
    /// \param name printed with both lines; at the end no more than its first 511 bytes
    explicit ScopeTimer(char const* name);
    ~ScopeTimer() noexcept(false);
    ScopeTimer(ScopeTimer const&) = delete;
    ScopeTimer& operator=(ScopeTimer const&) = delete;

private:
    char name_[512];
    CQueryPerformance stopwatch_;
    int exceptions_ = std::uncaught_exceptions();
};

} // namespace OrvaneAlgorithm
