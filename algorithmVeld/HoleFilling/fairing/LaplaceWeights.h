#pragma once

#include "algorithmVeld/common/TriMesh.h"

/// \file
/// The weights of edges in the mean over the neighbours of a vertex.

namespace OrvaneAlgorithm::detail
{

enum class LaplaceWeight
{
    UNIFORM,        ///< 1
    INVERSE_LENGTH, ///< 1 / length; the length itself where that is 1e-5 or less.
    COTANGENT       ///< `cotangent_weight`; may be negative.
};

/// Weight of the edge from one vertex to another.
float laplace_weight(TriMesh const& mesh, OpenMesh::VertexHandle from, OpenMesh::VertexHandle to,
                     LaplaceWeight kind);

/// Sum of the cotangents of the angles opposite to the edge from `v` to `u`.
/// \return false, with a weight of 1, where there is no such edge with two faces, which is logged,
///         or where one of these has no area
bool cotangent_weight(TriMesh const& mesh, OpenMesh::VertexHandle v, OpenMesh::VertexHandle u,
                      double& weight);

} // namespace OrvaneAlgorithm::detail
