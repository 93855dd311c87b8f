#pragma once

#include "algorithmVeld/common/export.h"

namespace OrvaneAlgorithm
{

/// Name of the direct sparse solver that this build of the library uses: "MKL PARDISO" or "Eigen
/// SparseLU".
ALGORITHMVELD_API char const* solver_name();

} // namespace OrvaneAlgorithm
