#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// Files in `gPH.result_dir` by which a filling is diagnosed.

namespace OrvaneAlgorithm::detail
{

/// Writes the sub-mesh of a hole.
/// \param pattern of the path, for the directory and the hole's number
/// \param step under which the time is booked
void save_sub_mesh(TriMesh const& sub, int hole, char const* pattern, char const* step);

/// Writes each region as text OBJ. A file that cannot be written is logged.
void save_regions(TriMesh const& mesh,
                  std::vector<std::vector<OpenMesh::FaceHandle>> const& regions);

} // namespace OrvaneAlgorithm::detail
