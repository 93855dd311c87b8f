#include "algorithmVeld/common/CQueryPerformance.h"

#include "algorithmVeld/common/LogHolder.h"

#include <string>

namespace OrvaneAlgorithm
{

void CQueryPerformance::print_spend_time(char const* label) const
{
    std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start_;
    char seconds[512];
    format_line(seconds, " %f s\n", elapsed.count());
    gLH.print_past_log(std::string(label == nullptr ? "" : label) + seconds);
}

} // namespace OrvaneAlgorithm
