#pragma once

#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// What was done where surfaces meet.
struct Separation
{
    std::size_t edges = 0;  ///< Those of more than two faces, or of two that cannot agree.
    std::size_t points = 0; ///< How many were added.
};

/// Takes surfaces apart where more than one passes an edge or a point, so that no face is lost:
/// each gets its own points there.
///
/// Faces at an edge stay together in pairs that agree in their orientation: first those that hang
/// together by other edges, then those whose normals differ least, of equal ones the first in the
/// file; faces of the same corners, back to back, come last. Where a mesh could not hold that,
/// because a surface would pass the edge twice, the next best pairs. A face that is left over ends
/// there. At a point the faces that hang together over such pairs are a fan. Fans that end at a
/// boundary share their point, as a mesh allows; the first one has it alone where one of them is
/// closed, or where an edge was taken apart.
Separation separate(MeshSoup& soup);

} // namespace OrvaneAlgorithm::detail
