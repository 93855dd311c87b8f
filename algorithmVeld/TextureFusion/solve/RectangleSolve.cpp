#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

#include "algorithmVeld/TextureFusion/solve/RectangleSystems.h"

#include <algorithm>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

RectangleFailure solve_rectangle(Image<3, float>& field, Image<1, unsigned char> const& mask,
                                 RectangleSolver solver)
{
    auto const n = static_cast<std::ptrdiff_t>(mask.width()) * mask.height();
    auto const n_unknown = std::count(mask.data(), mask.data() + n, 0);
    if (n_unknown == 0)
    {
        return RectangleFailure::NONE;
    }
    bool const is_pardiso = solver == RectangleSolver::PARDISO;
    if (n_unknown == n)
    {
        // Any constant would do. Rounding decides whether a factorisation notices.
        return is_pardiso ? RectangleFailure::PARDISO : RectangleFailure::DECOMPOSITION;
    }
    return is_pardiso ? solve_pardiso(field, mask) : solve_simplicial(field, mask);
}

} // namespace OrvaneAlgorithm::detail
