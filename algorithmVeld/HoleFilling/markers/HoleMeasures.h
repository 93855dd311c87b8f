#pragma once

#include "algorithmVeld/HoleFilling/HoleRadius.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// Where a hole lies, and how large it is.

namespace OrvaneAlgorithm::detail
{

/// The mean of the corners of a hole, each counted at both of its halfedges.
Vector3f hole_centre(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop);

/// The radii of a hole.
/// \param perimeter of the loop
HoleRadius hole_radius(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                       Vector3f const& centre, double perimeter);

} // namespace OrvaneAlgorithm::detail
