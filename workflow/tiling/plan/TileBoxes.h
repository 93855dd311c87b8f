#pragma once

#include "algorithmVeld/common/vectors.h"

#include <array>
#include <cstddef>
#include <map>
#include <vector>

namespace veld
{

/// A cube of space, by its place in a grid of cubes.
using TileCell = std::array<int, 3>;

/// A box of cells, half open. The cells of all tiles are all cells: what is at the outside of the
/// scan reaches as far as numbers do.
struct TileBox
{
    TileCell low;
    TileCell high;

    /// That of all cells.
    static TileBox everything();

    bool has(TileCell const& cell) const;
};

/// The cell of a point, in cells of a side.
TileCell cell_of(OrvaneAlgorithm::Vector3f const& point, double side);

/// Whether what reaches from `low` to `high` lies in a box or no farther outside than a margin,
/// along each axis.
bool is_near(TileBox const& box, OrvaneAlgorithm::Vector3f const& low,
             OrvaneAlgorithm::Vector3f const& high, double side, double margin);

/// Samples in each cell that has some.
using CellCounts = std::map<TileCell, std::size_t>;

/// The same samples in cells of twice the side.
CellCounts in_larger_cells(CellCounts const& counts);

/// Cuts space in two where both halves have as many samples, across its longest side, and these
/// again, until none has more than `most` or more than one cell.
std::vector<TileBox> divide_space(CellCounts const& counts, std::size_t most);

} // namespace veld
