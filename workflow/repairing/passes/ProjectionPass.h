#pragma once

#include "workflow/steps/RepairSettings.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>

namespace veld
{

/// Connects the vertices around each border vertex in its tangent plane. What the projection does
/// not ask of a face is asked behind it.
/// \param radius of the search, in the lengths of the mesh
/// \param is_old of each face, not 0 where it was there before the repair
/// \return how many faces went again
std::size_t run_projection(OrvaneAlgorithm::TriMesh& mesh, float radius,
                           RepairSettings const& settings, OpenMesh::FPropHandleT<char> is_old);

} // namespace veld
