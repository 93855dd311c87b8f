#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// Files by which a filling is diagnosed, in `gPH.result_dir` unless something else is said.

namespace OrvaneAlgorithm::detail
{

/// Writes the sub-mesh of a hole.
/// \param pattern of the path, for the directory and the hole's number
/// \param step under which the time is booked
void save_sub_mesh(TriMesh const& sub, int hole, char const* pattern, char const* step);

/// Writes what is around a triangle to `gPH.debug_dir`, once with the triangle and once without, if
/// logging is on and its corners are vertices of the mesh.
void dump_triangle(TriMesh const& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                   OpenMesh::VertexHandle c, char const* name);

/// Writes each region as text OBJ. A file that cannot be written is logged.
void save_regions(TriMesh const& mesh,
                  std::vector<std::vector<OpenMesh::FaceHandle>> const& regions);

} // namespace OrvaneAlgorithm::detail
