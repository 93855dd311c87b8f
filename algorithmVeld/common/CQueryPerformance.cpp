#include "algorithmVeld/common/CQueryPerformance.h"

#include <cstdio>

namespace OrvaneAlgorithm
{

void CQueryPerformance::print_spend_time(char const* label) const
{
    std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start_;
    std::printf("%s %f s\n", label == nullptr ? "" : label, elapsed.count());
}

} // namespace OrvaneAlgorithm
