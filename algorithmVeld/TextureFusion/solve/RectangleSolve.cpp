#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

#include "algorithmVeld/TextureFusion/solve/sources/SourceSolve.h"
#include "algorithmVeld/TextureFusion/solve/systems/RectangleSystems.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// A factorisation takes longer than sources in the known pixels, unless there are few unknown
/// pixels, or so many known ones that they cut the rectangle to pieces.
bool are_sources_faster(std::ptrdiff_t n_unknown, std::ptrdiff_t n_known)
{
    constexpr std::ptrdiff_t FEW = 1000;
    constexpr std::ptrdiff_t UNKNOWN_PER_KNOWN = 16;
    return n_unknown > FEW && n_unknown / n_known >= UNKNOWN_PER_KNOWN;
}

} // namespace

void log_failure(RectangleFailure failure, FailureTexts const& texts, std::size_t number)
{
    switch (failure)
    {
    case RectangleFailure::NONE:
        break;
    case RectangleFailure::DECOMPOSITION:
        log(texts.decomposition, static_cast<int>(number));
        break;
    case RectangleFailure::SOLUTION:
        log(texts.solution, static_cast<int>(number));
        break;
    case RectangleFailure::SPARSE_LU:
        break; // It has told why itself.
    case RectangleFailure::PARDISO:
        log("  MKL_Pardiso failed.\n");
        break;
    }
}

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
    if (is_pardiso)
    {
        return solve_pardiso(field, mask);
    }
    if (are_sources_faster(n_unknown, n - n_unknown) && solve_by_sources(field, mask))
    {
        return RectangleFailure::NONE;
    }
    return solve_simplicial(field, mask);
}

} // namespace OrvaneAlgorithm::detail
