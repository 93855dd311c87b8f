#pragma once

#include "algorithmVeld/HoleFilling/smooth/EdgeFans.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The weights of edges and vertices in the mean over the neighbours, when a mesh is smoothed step
/// by step. Those of careful filling are others: their cotangents are computed in `double` from
/// lengths, and give way to 1 at borders and where a face has no area.

namespace OrvaneAlgorithm::detail
{

enum class LaplaceWeighting
{
    UNIFORM,       ///< 1
    COTANGENT,     ///< Sum of the cotangents of the angles opposite; may be negative.
    INVERSE_LENGTH ///< 1 / length; the length itself where that is 1e-5 or less.
};

/// Weight of an edge, from where its vertices are now. On a border it has one angle opposite.
float edge_weight(TriMesh const& mesh, OpenMesh::EdgeHandle edge, LaplaceWeighting weighting);

/// Weight of a vertex: 1 / `sum` of the weights of its edges; the sum itself where its size is 1e-5
/// or less, as at an isolated vertex, whose neighbours' mean so is the origin.
float vertex_weight(float sum);

/// Weights by the numbers of edges and vertices.
struct WeightLists
{
    std::vector<float>& of_edges;
    std::vector<float>& of_vertices;
};

/// Computes the weights of all edges and vertices of the fans; others stay. Each sum is formed in
/// the order of the edges.
void compute_weights(TriMesh const& mesh, EdgeFans const& fans, LaplaceWeighting weighting,
                     WeightLists const& weights);

} // namespace OrvaneAlgorithm::detail
