#include "algorithmVeld/HoleFilling/smooth/EdgeWeights.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{
namespace
{

/// Below this a length or a sum is not inverted.
constexpr float SMALLEST = 1e-5F;

float inverse_length(Vector3f const& a, Vector3f const& b)
{
    float const length = (a - b).norm();
    return length > SMALLEST ? 1.0F / length : length;
}

/// Cotangent of the angle at `apex` between the directions to `a` and `b`; not finite for an angle
/// of 0.
float cotangent(Vector3f const& apex, Vector3f const& a, Vector3f const& b)
{
    float const cosine = (a - apex).normalized().dot((b - apex).normalized());
    return 1.0F / std::tan(std::acos(std::clamp(cosine, -1.0F, 1.0F)));
}

/// Cotangent of the angle opposite to an edge in the face on one side of it; 0 without a face.
float opposite_cotangent(TriMesh const& mesh, OpenMesh::HalfedgeHandle h)
{
    if (mesh.is_boundary(h))
    {
        return 0.0F;
    }
    auto const apex = mesh.to_vertex_handle(mesh.next_halfedge_handle(h));
    return cotangent(mesh.point(apex), mesh.point(mesh.to_vertex_handle(h)),
                     mesh.point(mesh.from_vertex_handle(h)));
}

} // namespace

float edge_weight(TriMesh const& mesh, OpenMesh::EdgeHandle edge, LaplaceWeighting weighting)
{
    auto const h0 = mesh.halfedge_handle(edge, 0);
    auto const h1 = mesh.halfedge_handle(edge, 1);
    switch (weighting)
    {
    case LaplaceWeighting::UNIFORM:
        break;
    case LaplaceWeighting::COTANGENT:
        return opposite_cotangent(mesh, h0) + opposite_cotangent(mesh, h1);
    case LaplaceWeighting::INVERSE_LENGTH:
        return inverse_length(mesh.point(mesh.to_vertex_handle(h0)),
                              mesh.point(mesh.to_vertex_handle(h1)));
    }
    return 1.0F;
}

float vertex_weight(float sum)
{
    return std::abs(sum) > SMALLEST ? 1.0F / sum : sum;
}

void compute_weights(TriMesh const& mesh, EdgeFans const& fans, LaplaceWeighting weighting,
                     WeightLists const& weights)
{
    auto& of_edges = weights.of_edges;
    parallel_for_short(fans.edges.size(),
                       [&](std::size_t k)
                       {
                           Index const edge = fans.edges[k];
                           of_edges[edge] = edge_weight(
                               mesh, OpenMesh::EdgeHandle(static_cast<int>(edge)), weighting);
                       });
    parallel_for_short(fans.vertices.size(),
                       [&](std::size_t k)
                       {
                           float sum = 0.0F;
                           for (auto const* edge = fans.edges_of.begin(k);
                                edge != fans.edges_of.end(k); ++edge)
                           {
                               sum += of_edges[*edge];
                           }
                           weights.of_vertices[fans.vertices[k]] = vertex_weight(sum);
                       });
}

} // namespace OrvaneAlgorithm::detail
