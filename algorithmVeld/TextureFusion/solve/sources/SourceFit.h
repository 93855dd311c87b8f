#pragma once

#include "algorithmVeld/TextureFusion/solve/sources/Sites.h"

#include <Eigen/Core>

#include <optional>

namespace OrvaneAlgorithm::detail
{

/// The sources in the sites whose fields have given values there, each field up to a constant.
/// \param values of three fields in each site; not all pixels may be sites
/// \return strengths in three columns, each with the sum 0; nothing if no steps come near to the
///         values
std::optional<Eigen::MatrixX3d> fit_sources(SiteGrid const& grid, Eigen::MatrixX3d const& values);

} // namespace OrvaneAlgorithm::detail
