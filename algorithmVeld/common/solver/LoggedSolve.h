#pragma once

#include "algorithmVeld/common/solver/Pardiso.h"

#include <optional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Solves `a x = b` and logs how it went.
/// \param x cleared before it is filled
/// \param verts number of vertices, if the sizes are to be logged too
/// \return false if the solver reports an error
bool solve_logged(RowMajorMatrix const& a, Eigen::VectorXd const& b, std::vector<double>& x,
                  std::optional<int> verts = {});

} // namespace OrvaneAlgorithm::detail
