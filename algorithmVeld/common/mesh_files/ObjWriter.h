#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <ostream>

namespace OrvaneAlgorithm::detail
{

/// Writes a mesh without deleted elements as OBJ text, with normals where it has them, with
/// colours behind the coordinates (OpenMesh's own writer refuses those) and with texture
/// coordinates of corners, which stand in front of the first face that has them. Numbers are as
/// short as brings back the same float.
void write_obj(TriMesh const& mesh, std::ostream& stream);

} // namespace OrvaneAlgorithm::detail
