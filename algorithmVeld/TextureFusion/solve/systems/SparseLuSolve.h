#pragma once

#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

namespace OrvaneAlgorithm::detail
{

/// `solve_rectangle`, where `SPARSE_LU` is taken too. That is timed as the step
/// "poisson-solver(*)", with the steps of its solver beside it. Rectangles of more unknown pixels
/// than it takes quickly go to `SIMPLICIAL`, whose solution is the same up to rounding.
/// \param parent the step above them
RectangleFailure solve_rectangle_timed(Image<3, float>& field, Image<1, unsigned char> const& mask,
                                       RectangleSolver solver, char const* parent);

} // namespace OrvaneAlgorithm::detail
