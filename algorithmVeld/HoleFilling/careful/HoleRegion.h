#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The surface around holes: how far it reaches, and what its vertices measure.

namespace OrvaneAlgorithm::detail
{

/// How far a region reaches from its hole. A face lies within it while it is below both.
struct RegionLimits
{
    int rings;  ///< Rings of faces; those along the hole are ring 0.
    float path; ///< Length of the path over the centroids of faces.
};

/// Grows a region around each hole: the faces along its boundary, whatever the limits, then those
/// around them, in the order in which they are reached. That costs as much as they are.
///
/// Ring and path of a face stay from one region to the next: a face that an earlier hole reached in
/// fewer steps keeps that number, so the order of the holes matters.
/// \param loops boundary halfedges of each hole; one without a face behind it is passed over
/// \param in_region set to true on every face that is taken
std::vector<std::vector<OpenMesh::FaceHandle>>
grow_regions(TriMesh& mesh, std::vector<std::vector<OpenMesh::HalfedgeHandle>> const& loops,
             RegionLimits const& limits, OpenMesh::FPropHandleT<bool> in_region);

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
