#pragma once

#include "algorithmVeld/common/running/ParallelFor.h"

namespace veld
{

using OrvaneAlgorithm::detail::for_each_index;

} // namespace veld
