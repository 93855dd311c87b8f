#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// The length of an edge, to the precision of a sum or of a result.
inline double edge_length(TriMesh const& mesh, OpenMesh::EdgeHandle edge)
{
    auto const h = mesh.halfedge_handle(edge, 0);
    return (mesh.point(mesh.from_vertex_handle(h)).cast<double>() -
            mesh.point(mesh.to_vertex_handle(h)).cast<double>())
        .norm();
}

/// Sum of the lengths of all edges that are not deleted, hidden ones too: bit for bit what adding
/// one after the other gives, for any number of threads.
double sum_of_edge_lengths(TriMesh const& mesh);

} // namespace OrvaneAlgorithm::detail
