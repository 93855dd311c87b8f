#pragma once

#include "algorithmVeld/common/export.h"

namespace OrvaneAlgorithm
{

/// Name of the direct sparse solver that this build of the library uses: "MKL PARDISO" or "Eigen
/// SparseLU".
ALGORITHMVELD_API char const* solver_name();

/// Fixes the solver's kernels to those that compute the same bytes on every processor. The library
/// does it before the first system that it solves; with Eigen's solver there is nothing to be done.
///
/// MKL chooses among its kernels by the processor and by the packages that are installed, unless a
/// mode of its conditional numerical reproducibility is set. The mode holds for the whole process,
/// and MKL takes it only before the first computation. So:
/// - A host that computes with MKL itself calls this when it starts, before that. All that it
///   computes with MKL is the same on every processor then, and slower than on the kernels that are
///   made for the one it runs on.
/// - A host that wants other kernels sets a mode of MKL before the first fill, by `mkl_cbwr_set` or
///   in the environment (`MKL_CBWR`). It stays, and the bytes of a faired fill are those of that
///   mode.
///
/// Any thread may call it, as often as it likes.
/// \return whether the kernels are fixed; false where MKL had computed before, or the host has
///         chosen a mode
ALGORITHMVELD_API bool fix_solver_kernels();

} // namespace OrvaneAlgorithm
