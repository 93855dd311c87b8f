#include "algorithmVeld/TextureFusion/solve/systems/SparseLuSolve.h"

#include "algorithmVeld/TextureFusion/solve/systems/RectangleSystems.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// The time of the general solver grows faster than the number of pixels. Up to here it takes some
/// hundredths of a second.
constexpr std::ptrdiff_t QUICK_PIXELS = 4096;

} // namespace

RectangleFailure solve_rectangle_timed(Image<3, float>& field, Image<1, unsigned char> const& mask,
                                       RectangleSolver solver, char const* parent)
{
    if (solver != RectangleSolver::SPARSE_LU)
    {
        return solve_rectangle(field, mask, solver);
    }
    StepTimer const timer("poisson-solver(*)", parent);
    auto const n = static_cast<std::ptrdiff_t>(mask.width()) * mask.height();
    auto const n_unknown = std::count(mask.data(), mask.data() + n, 0);
    if (n_unknown == 0)
    {
        return RectangleFailure::NONE;
    }
    if (n_unknown == n)
    {
        return RectangleFailure::SPARSE_LU; // Any constant would do.
    }
    return n_unknown > QUICK_PIXELS ? solve_rectangle(field, mask, RectangleSolver::SIMPLICIAL)
                                    : solve_sparse_lu(field, mask, parent);
}

} // namespace OrvaneAlgorithm::detail
