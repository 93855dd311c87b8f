#pragma once

#include "algorithmVeld/common/TriMesh.h"

namespace OrvaneAlgorithm::detail
{

/// The vertex of a face that is neither `a` nor `b`; invalid if there is none.
inline OpenMesh::VertexHandle third_vertex(TriMesh const& mesh, OpenMesh::FaceHandle face,
                                           OpenMesh::VertexHandle a, OpenMesh::VertexHandle b)
{
    for (auto const vertex : mesh.fv_range(face))
    {
        if (vertex != a && vertex != b)
        {
            return vertex;
        }
    }
    return OpenMesh::VertexHandle();
}

/// The boundary gaps around a vertex: its outgoing halfedges without a face. More than one lie
/// between several fans of faces.
inline int count_gaps(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    int gaps = 0;
    for (auto const h : mesh.voh_range(vertex))
    {
        gaps += mesh.is_boundary(h) ? 1 : 0;
    }
    return gaps;
}

} // namespace OrvaneAlgorithm::detail
