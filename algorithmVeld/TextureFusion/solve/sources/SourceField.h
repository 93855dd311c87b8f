#pragma once

#include "algorithmVeld/TextureFusion/solve/sources/Sites.h"

#include <Eigen/Core>

#include <memory>

namespace OrvaneAlgorithm::detail
{

/// Three fields on a rectangle of pixels: the lines of the first, second and third for y = 0, those
/// for y = 1, and so on. A vector would be filled with zeros first, by one thread.
using FieldLines = std::unique_ptr<double[]>;

/// The fields of sources in Laplace's equation with no flow across the rectangle's edge, up to a
/// constant.
/// \param strengths of the sources in three columns, each with the sum 0
FieldLines source_fields(SiteGrid const& grid, Eigen::MatrixX3d const& strengths);

/// The values of fields in the sites.
Eigen::MatrixX3d values_at_sites(SiteGrid const& grid, FieldLines const& fields);

} // namespace OrvaneAlgorithm::detail
