#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/reconstruction/stitch/DelaunayFan.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Adds the fan of each border vertex to the mesh. Fans are planned and added in parallel; the mesh
/// is that of adding one after the other.
/// \param centres in the order in which they are stitched; their coordinates are finite
void stitch_borders(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> centres,
                    FanSettings const& settings);

} // namespace OrvaneAlgorithm::detail
