#pragma once

namespace OrvaneAlgorithm
{

/// Result code of an operation. Compare it with `RET_SUCCESS`, or pass it on unchanged.
enum RetVal
{
    RET_SUCCESS = 0,       ///< The operation ran to its end.
    RET_INVALID_INPUT = 1, ///< The input cannot be processed, or there is no result for it.
    RET_FAILED = 2         ///< A stage failed, or found nothing that meets the criteria.
};

} // namespace OrvaneAlgorithm
