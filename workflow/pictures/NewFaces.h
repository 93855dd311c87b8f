#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

/// Marks the faces of a mesh that an original lacks. Faces are compared by the places of their
/// corners, so the numbering of the two does not matter.
/// \return one mark for each face
VELD_WORKFLOW_API std::vector<char> mark_new_faces(OrvaneAlgorithm::TriMesh const& mesh,
                                                   OrvaneAlgorithm::TriMesh const& original);

} // namespace veld
