#pragma once

#include "algorithmVeld/HoleFilling/careful/RegionGrowth.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The surface around holes: how far it reaches, and what its vertices measure.

namespace OrvaneAlgorithm::detail
{

/// What regions are asked for.
enum class RegionUse
{
    FACES,     ///< Which faces they have, all together, and what lies at each hole.
    SUB_MESHES ///< Only what lies at each hole, for the sub-mesh in which it is filled.
};

/// Grows a region around each hole, one behind the other (see `RegionGrowth`): together they have
/// the faces that this gives, and those at one hole stand in the order in which they are reached.
///
/// A region goes on through those before it that it touches; in a mesh with many holes that is half
/// of the mesh. Here it ends where the hole's own rings do, and costs what it is by itself. Only
/// where holes whose regions touch can matter to each other, all of them are grown in their order.
/// \param loops boundary halfedges of each hole; one without a face behind it is passed over
/// \param in_region set to true on every face that is taken
std::vector<std::vector<OpenMesh::FaceHandle>>
grow_regions(TriMesh& mesh, std::vector<std::vector<OpenMesh::HalfedgeHandle>> const& loops,
             RegionLimits const& limits, OpenMesh::FPropHandleT<bool> in_region,
             RegionUse use = RegionUse::FACES);

/// The vertices of the faces of all regions, each once, in the order in which they are met.
std::vector<OpenMesh::VertexHandle>
vertices_of(TriMesh const& mesh, std::vector<std::vector<OpenMesh::FaceHandle>> const& regions);

/// Sets `on_region` to true on the vertices of all faces of regions.
/// \return those on which it was false, in the order in which they are met
std::vector<OpenMesh::VertexHandle>
mark_vertices(TriMesh& mesh, std::vector<std::vector<OpenMesh::FaceHandle>> const& regions,
              OpenMesh::VPropHandleT<bool> on_region);

/// Sets `edge_len` of vertices to the mean length of the edges around each, 0 without edges.
/// \param vertices each at most once
void measure_edges(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& vertices,
                   OpenMesh::VPropHandleT<float> edge_len);

} // namespace OrvaneAlgorithm::detail
