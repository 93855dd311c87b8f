#pragma once

#include "algorithmVeld/common/Image.h"

namespace OrvaneAlgorithm::detail
{

/// Fills the unknown pixels as `solve_rectangle` says, by the field of sources in the known ones.
/// It needs a known and an unknown pixel. \return false if the field does not take the known values
/// to nine digits; it is as before then
bool solve_by_sources(Image<3, float>& field, Image<1, unsigned char> const& mask);

} // namespace OrvaneAlgorithm::detail
