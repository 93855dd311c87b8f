#pragma once

#include "algorithmVeld/HoleFilling/fairing/PatchGrowth.h"
#include "algorithmVeld/common/TriMesh.h"

/// \file
/// The shape of a fill and of the faces around it.

namespace OrvaneAlgorithm::detail
{

/// Moves each vertex in turn to the mean of its neighbours, weighted with one over their distance
/// (the distance itself where that is 1e-5 or less). One whose weights add up to less than 1e-5
/// stays.
void move_to_neighbours(TriMesh& mesh, Patch const& patch);

/// Share of the old faces that are within ten degrees of their mean normal, of those with no corner
/// narrower than that; 0 if there are none.
/// \param mean the unit normal
double even_share(TriMesh const& mesh, OpenMesh::FPropHandleT<bool> face_new, Vector3f& mean);

/// Logs the normals that are not finite.
void log_bad_normals(TriMesh const& mesh);

} // namespace OrvaneAlgorithm::detail
