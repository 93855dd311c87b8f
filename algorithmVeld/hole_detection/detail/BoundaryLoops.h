#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The boundary of a mesh as closed lists of halfedges, and what is measured on them. Everybody who
/// walks round holes does it through here.

namespace OrvaneAlgorithm::detail
{

/// Boundary halfedges in the order of `next_halfedge_handle`, closed from the last to the first.
using BoundaryLoop = std::vector<OpenMesh::HalfedgeHandle>;

/// All closed walks along the boundary, in the order of their lowest halfedge, at which each
/// begins. A walk may pass a vertex several times. Halfedges that are marked deleted or hidden
/// start none. Where the links of a mesh are damaged, so that a walk does not come back to its
/// start, it is left out. \param mesh gets a temporary property, nothing else
std::vector<BoundaryLoop> boundary_walks(TriMesh& mesh);

/// The walk that begins at one boundary halfedge; empty if it does not come back there.
BoundaryLoop boundary_walk(TriMesh const& mesh, OpenMesh::HalfedgeHandle start);

/// Cuts walks into loops that pass each of their vertices once.
///
/// A walk closes a loop when it comes back to a vertex of its path: that loop is given out, begins
/// at that vertex, and the path goes on from there as if the loop had not been. So inner loops come
/// first, and what is left at the end of the walk is the last one.
class WalkSplitter
{
public:
    explicit WalkSplitter(TriMesh const& mesh) : mesh_(mesh), on_path_(mesh.n_vertices()) {}

    /// Appends the loops of a walk to `loops`.
    void split(BoundaryLoop const& walk, std::vector<BoundaryLoop>& loops);

private:
    TriMesh const& mesh_;
    std::vector<bool> on_path_; ///< by vertex, all false between two walks
};

/// The from-vertices of a loop's halfedges.
std::vector<OpenMesh::VertexHandle> from_vertices(TriMesh const& mesh, BoundaryLoop const& loop);

/// The to-vertices of a loop's halfedges.
std::vector<OpenMesh::VertexHandle> to_vertices(TriMesh const& mesh, BoundaryLoop const& loop);

/// Cuts each walk into simple loops, in their order, and gives these as lists of from-vertices.
Holes split_into_holes(TriMesh const& mesh, std::vector<BoundaryLoop> const& walks);

/// Length of a closed line of vertices: each edge in `float`, their sum in `double`.
double perimeter(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& hole);

} // namespace OrvaneAlgorithm::detail
