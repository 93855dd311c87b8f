#pragma once

#include "algorithmVeld/common/types.h"

namespace veld::cli
{

/// The true colour of the gourd in a direction from its middle, a unit vector: blue, green and red
/// from 0.1 to 0.85, as a photograph has them under a neutral light. Winding stripes, spots of some
/// millimetres and a grain of one millimetre: finer than the faces of a mesh, and smooth for a
/// photograph of ten pixels a millimetre.
OrvaneAlgorithm::Vector3d gourd_colour(OrvaneAlgorithm::Vector3d const& direction);

} // namespace veld::cli
