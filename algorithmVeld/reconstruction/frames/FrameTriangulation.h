#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Which frames decide whether the mesh gets colours.
enum class ColourRule
{
    ANY_FRAME,
    FIRST_FRAME
};

/// Whether there are frames and all of them have vertex normals; the log tells why not. A null
/// pointer is a frame without normals.
bool have_normals(std::vector<RangeData const*> const& ranges);

/// The complete cells of a frame's grid, each as its four vertices.
std::vector<std::vector<int>> grid_quads(RangeData const& frame);

/// Puts frames into one mesh, each triangulated on its own grid: each grid cell becomes two
/// triangles across its shorter diagonal, across the second one if both are equal. Frames share no
/// vertices; those of a frame follow those of the frame before it, in its own order. The mesh gets
/// vertex normals, and colours by the rule; vertices of a frame without colours are black. Frames
/// are worked on in parallel, and the mesh is that of adding their faces one by one.
/// \param ranges frames with normals. A channel that is shorter than its frame throws
///        `std::out_of_range`, and the mesh stays empty.
/// \param frame_of_vertex gets the position of each vertex's frame
/// \param mesh has to be empty
void triangulate_frames(std::vector<RangeData const*> const& ranges, ColourRule colours,
                        OpenMesh::VPropHandleT<int> frame_of_vertex, TriMesh& mesh);

} // namespace OrvaneAlgorithm::detail
