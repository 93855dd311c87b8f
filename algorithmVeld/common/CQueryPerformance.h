#pragma once

#include "algorithmVeld/common/export.h"

#include <chrono>

namespace OrvaneAlgorithm
{

/// Wall-clock stopwatch that prints past the log, to standard output unless the host has set
/// another sink.
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

} // namespace OrvaneAlgorithm
