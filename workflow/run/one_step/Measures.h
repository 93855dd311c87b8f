#pragma once

#include "workflow/files/MarkerFile.h"

#include "algorithmVeld/common/TriMesh.h"

/// \file
/// What a mesh tells of the thresholds that suit it.

namespace veld
{

/// The largest piece in faces that is a speck beside the largest piece: a thousandth of that, and
/// one face at least; 0 where no piece has more than one. Faces hang together over edges.
int measure_speck_limit(OrvaneAlgorithm::TriMesh const& mesh);

/// A radius in millimetres, and whether the mesh told it.
struct MarkerRadius
{
    double radius = 0.0;
    bool is_measured = false;
};

/// The radius in which the surface of markers goes: somewhat more than that of the holes that they
/// left in the scan. Where not even half of them have one, that of usual markers.
MarkerRadius measure_marker_radius(OrvaneAlgorithm::TriMesh& mesh, Markers const& markers);

} // namespace veld
