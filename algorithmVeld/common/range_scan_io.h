#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <string>

namespace OrvaneAlgorithm
{

/// Reads a frame from a PLY file with a range grid, the form of public collections of range scans:
/// lines `obj_info num_cols C` and `obj_info num_rows R` in the header, an element `vertex` with
/// the coordinates, and an element `range_grid` with C * R lists, row by row, of no vertex index or
/// one.
///
/// Vertices come in the order of the grid, with their colours; those that no cell of it names are
/// left out. A cell is flagged where its four corners hold vertices. Normals of the file are not
/// taken, coordinates come as they are, also those that are not finite, and the pose is the
/// identity: such files do not hold one.
///
/// A file that is missing, cut off or damaged, whose grid has another size than it says, more than
/// 2^28 cells, an index that is not there, or a vertex in two cells, is refused. Memory use is
/// bounded by the size of the file, whatever it declares.
/// \param frame replaced; empty on failure
/// \param error replaced: why the file was refused, one line that begins with the path; empty on
///        success
/// \return true on success
ALGORITHMVELD_API bool read_range_ply(std::string const& path, RangeData& frame,
                                      std::string& error);

} // namespace OrvaneAlgorithm
