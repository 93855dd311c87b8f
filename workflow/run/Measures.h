#pragma once

#include "workflow/files/MarkerFile.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>

/// \file
/// What a mesh tells of the thresholds that suit it.

namespace veld
{

/// Sizes of the pieces of a mesh; faces hang together over edges.
struct Pieces
{
    std::size_t number = 0;
    std::size_t largest = 0; ///< Faces of the largest one.
};

Pieces measure_pieces(OrvaneAlgorithm::TriMesh const& mesh);

/// The largest piece in faces that is a speck beside the largest piece: a thousandth of that, and
/// one face at least; 0 where no piece has more than one.
int speck_limit(Pieces const& pieces);

/// Mean length of all edges; 0 without any.
double mean_edge_length(OrvaneAlgorithm::TriMesh const& mesh);

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
