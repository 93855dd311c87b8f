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

/// What happens to halfedges that the host has marked hidden.
enum class HiddenHalfedges
{
    SKIPPED, ///< They start no walk.
    WALKED   ///< They are halfedges like any other.
};

/// All closed walks along the boundary, in the order of their lowest halfedge, at which each
/// begins. A walk may pass a vertex several times. Halfedges that are marked deleted, or whose edge
/// is, start none. Where the links of a mesh are damaged, so that a walk leaves the boundary or
/// does not come back to its start, it is left out.
/// \param mesh gets a temporary property, nothing else
std::vector<BoundaryLoop> boundary_walks(TriMesh& mesh,
                                         HiddenHalfedges hidden = HiddenHalfedges::SKIPPED);

/// The same walks as the from-vertices of their halfedges. Faster where nobody asks for halfedges.
Holes boundary_walks_by_vertex(TriMesh& mesh);

/// The walk that begins at one boundary halfedge; empty if it does not come back there.
BoundaryLoop boundary_walk(TriMesh const& mesh, OpenMesh::HalfedgeHandle start);

/// The from-vertices of a walk's halfedges.
std::vector<OpenMesh::VertexHandle> from_vertices(TriMesh const& mesh, BoundaryLoop const& walk);

/// Logs how many walks there are and, if there are any, the largest, the smallest, the sum and the
/// mean of their numbers of edges.
void log_loop_counts(std::vector<BoundaryLoop> const& walks);

/// Cuts walks into loops that pass each of their vertices once.
///
/// A walk closes a loop when it comes back to a vertex of its path: that loop is given out, begins
/// at that vertex, and the path goes on from there as if the loop had not been. So inner loops come
/// first, and what is left at the end of the walk is the last one.
/// \param walks valid vertices, in the order of their from-vertices
Holes split_into_simple_holes(TriMesh const& mesh, Holes const& walks);

/// Length of a closed line of vertices: each edge in `float`, their sum in `double`.
double perimeter(TriMesh const& mesh, std::vector<OpenMesh::VertexHandle> const& hole);

/// Whether a limit keeps a walk from being filled: its perimeter is not below the limit, or is no
/// number. A limit of 0 is none.
bool is_beyond_perimeter(TriMesh const& mesh, BoundaryLoop const& walk, double limit);

} // namespace OrvaneAlgorithm::detail
