#pragma once

#include "algorithmVeld/common/TriMesh.h"

/// \file
/// A mesh as the passes of a repair want it.

namespace veld
{

/// Gives a mesh the unit normals of its faces; points without a face keep the direction of theirs.
void provide_unit_normals(OrvaneAlgorithm::TriMesh& mesh);

/// The power of two that brings a spacing near 1 where the margins of the ball, which are lengths,
/// would mean something else than they do for a scan in millimetres.
double unit_for(double spacing);

/// Moves all vertices to multiples of where they are.
void scale_points(OrvaneAlgorithm::TriMesh& mesh, double factor);

} // namespace veld
