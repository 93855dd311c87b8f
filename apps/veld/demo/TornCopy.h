#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace veld::cli
{

/// A mesh cut into pieces: bands without faces run across it along all three axes. Some of the
/// vertices in the bands stay as loose points, the others are gone.
OrvaneAlgorithm::TriMesh torn_copy(OrvaneAlgorithm::TriMesh const& mesh);

} // namespace veld::cli
