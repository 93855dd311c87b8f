#pragma once

#include "algorithmVeld/HoleFilling/triangulation/PolygonSearch.h"
#include "algorithmVeld/HoleFilling/triangulation/SplitTables.h"
#include "algorithmVeld/HoleFilling/triangulation/TileLengths.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// Finds the best splits of the sub-polygons i..j of a tile, i from `first_i` and j from `first_j`
/// on. What they build on lies in the tile, left of it or below it, and has to be in the tables.
/// \param side number of corners i and j of a tile
void solve_tile(PolygonRim const& rim, TriangulationRule const& rule, SplitTables& tables,
                TileLengths& lengths, std::size_t first_i, std::size_t first_j, std::size_t side);

} // namespace OrvaneAlgorithm::detail
