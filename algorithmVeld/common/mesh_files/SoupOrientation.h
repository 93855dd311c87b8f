#pragma once

#include "algorithmVeld/common/mesh_files/MeshSoup.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// Turns triangles over so that neighbours agree. Neighbours are the two faces of an edge that has
/// two; of the faces that hang together so, the smaller number is turned, and of equal ones those
/// unlike the first. \return how many were turned
std::size_t orient(MeshSoup& soup);

} // namespace OrvaneAlgorithm::detail
