#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// How far apart neighbouring vertices of a mesh are in millimetres, or its points if it has no
/// faces; 0 where most of them lie in one place.
double measure_spacing(OrvaneAlgorithm::TriMesh const& mesh);

} // namespace veld
