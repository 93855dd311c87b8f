#pragma once

#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/reconstruction/stitch/DelaunayFan.h"

#include <functional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Adds the fan of each border vertex to the mesh. Fans are planned and added in parallel; the mesh
/// is that of adding one after the other.
/// \param centres in the order in which they are stitched; their coordinates are finite
void stitch_borders(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> centres,
                    FanSettings const& settings);

/// Is told of a triangle that the mesh could not take, while the mesh is as it was then.
using RefusedTriangle =
    std::function<void(OpenMesh::VertexHandle centre, FanTriangle const& triangle)>;

/// The same in the calling thread alone, for whoever wants to know of refused triangles.
void stitch_borders_in_turn(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& centres,
                            FanSettings const& settings, RefusedTriangle const& refused);

} // namespace OrvaneAlgorithm::detail
