#pragma once

#include "algorithmVeld/common/Image.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// Which solver takes the system of a rectangle.
enum class RectangleSolver
{
    SIMPLICIAL, ///< one unknown for each pixel that is not known; the default. Large systems have a
                ///< solution of their own, which is the same
    PARDISO,    ///< one for each pixel and channel
    SPARSE_LU   ///< the first system by Eigen's general solver, as far as that is quick
};

enum class RectangleFailure
{
    NONE,
    DECOMPOSITION,
    SOLUTION,
    PARDISO,
    SPARSE_LU
};

/// What the log is told of a rectangle, by its number, that the simplicial solver cannot solve.
struct FailureTexts
{
    char const* decomposition;
    char const* solution;
};

/// Tells the log why rectangle `number` could not be solved.
void log_failure(RectangleFailure failure, FailureTexts const& texts, std::size_t number);

/// Fills the unknown pixels of a field so that each is the mean of its neighbours in the rectangle
/// (Laplace's equation, with no flow across the rectangle's edge). All three channels share
/// what is done once for a rectangle.
/// \param field its values where `mask` is not 0 are prescribed and stay; the others are replaced
/// \param mask of the size of `field`
RectangleFailure solve_rectangle(Image<3, float>& field, Image<1, unsigned char> const& mask,
                                 RectangleSolver solver);

} // namespace OrvaneAlgorithm::detail
