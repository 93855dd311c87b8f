#pragma once

#include "workflow/clouds/PlaneFits.h"

#include "algorithmVeld/common/vectors.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// Turns normals so that those of neighbours agree, along a minimum spanning tree of the graph of
/// neighbours (Hoppe et al. 1992). Two normals are compared in the plane across the way from one
/// point to the other: what is left of their dot product there is 1 on a plane, stays positive
/// along any bend, and is 0 through a thin wall, where the two sides say nothing of each other.
/// Ways that say nothing do not join points. What hangs together is a piece, and is turned outwards
/// as a whole: of its points that lie farthest along +z, +y, +x, -z, -y and -x, the first whose
/// normal is within 60 degrees of that axis (the one nearest to it if there is none) has it on the
/// axis' side.
/// \param points all different \param fits their planes, whose normals are turned
/// \return the number of pieces
std::size_t orient_by_neighbours(std::vector<Vector3f> const& points, PlaneFits& fits);

} // namespace veld
