#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/HoleFilling/triangulation/PolygonSearch.h"
#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <vector>

/// \file
/// The triangulation of one hole of a mesh.

namespace OrvaneAlgorithm::detail
{

/// A hole as a polygon.
struct HolePolygon
{
    std::vector<OpenMesh::VertexHandle> verts; ///< From-vertex of each halfedge of the loop.
    std::vector<OpenMesh::FaceHandle> faces;   ///< Face across each of these halfedges.
    std::vector<bool> edge_exist; ///< Whether the mesh joins corners a and b, at a * n + b.
};

/// Reads a hole's polygon, at the cost of the hole.
/// \return false if a halfedge has no face on its other side. Four properties then stay on the
///         mesh, with the marks of the loop up to there.
bool find_hole_polygon(TriMesh& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                       HolePolygon& polygon);

/// Cost of the triangle of corners i < m < j.
/// \param lambda chosen split of each sub-polygon a..b, at a * n + b
SplitCost split_cost(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& verts,
                     std::vector<OpenMesh::FaceHandle> const& faces, std::vector<int> const& lambda,
                     std::size_t i, std::size_t m, std::size_t j,
                     std::vector<bool> const& edge_exist, TriangulationRule const& rule);

/// Corners of the triangles that the splits choose for i..j, in the order of `PolygonFill`. What
/// has no valid split stays open.
/// \param lambda as in `split_cost`
std::vector<PolygonTriangle> chosen_triangles(std::vector<int> const& lambda, std::size_t n,
                                              std::size_t i, std::size_t j);

/// Told of a triangle that the mesh refused.
using RefusedTriangle = std::function<void(
    OpenMesh::VertexHandle const&, OpenMesh::VertexHandle const&, OpenMesh::VertexHandle const&)>;

/// Adds triangles of the polygon to the mesh and marks them as new. What the mesh refuses is left
/// out.
/// \param refused may be empty
void add_polygon_triangles(TriMesh& mesh, std::vector<OpenMesh::VertexHandle> const& verts,
                           std::vector<PolygonTriangle> const& triangles,
                           OpenMesh::FPropHandleT<bool> face_new, RefusedTriangle const& refused);

/// Closes a hole with its best triangulation. All threads work on it, unless it is called from a
/// parallel region; then those of the turn's crew that are idle.
/// \return why the hole stays as it is, if it does: `NOT_A_BOUNDARY` if a halfedge of the loop has
///         no face on its other side, `FOLDS_TOO_SHARPLY` if the chosen triangulation has an angle
///         above `FOLD_ANGLE`
std::optional<OpenReason>
triangulate_hole(TriMesh& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                 OpenMesh::FPropHandleT<bool> face_new, TriangulationRule const& rule,
                 RefusedTriangle const& refused = {}, HoleTurn const* turn = nullptr);

} // namespace OrvaneAlgorithm::detail
