#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// Moves the new vertices of a fill to where the squares of their Laplacians (the mean of the
/// neighbours in the fill, less the vertex) and `hold` times the squares of how far the border
/// would move add up to the least. The border itself stays. Edges of the fill that join what is
/// neither new nor border are logged and left out.
/// \return false, with the mesh as it was, if the symmetric system has no solution
bool fair_with_border(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new,
                      OpenMesh::VPropHandleT<bool> vert_new,
                      OpenMesh::VPropHandleT<bool> vert_boundary, double hold);

} // namespace OrvaneAlgorithm::detail
