#pragma once

#include "algorithmVeld/HoleFilling/smooth/EdgeFans.h"
#include "algorithmVeld/common/vectors.h"

#include <cmath>
#include <vector>

/// \file
/// One step of Laplacian smoothing: where the moving vertices go, computed from where all are, in
/// `float`. Lists go by the numbers of vertices and edges of the mesh.

namespace OrvaneAlgorithm::detail
{

/// What a step is computed from.
struct StepInput
{
    std::vector<Vector3f> const& points;
    std::vector<float> const& edge_weights;
    std::vector<float> const& vertex_weights;
};

/// The umbrella vectors of the moving vertices and their neighbours: from the weighted mean of the
/// neighbours to the vertex.
void compute_umbrellas(MovingPart const& part, StepInput const& input,
                       std::vector<Vector3f>& umbrellas);

/// C0: half of the way to the weighted mean of the neighbours.
void compute_c0_step(MovingPart const& part, StepInput const& input,
                     std::vector<Vector3f>& new_points);

/// C1: a quarter of the way to where the umbrella of the umbrellas vanishes.
/// \param umbrellas as of `compute_umbrellas`
void compute_c1_step(MovingPart const& part, StepInput const& input,
                     std::vector<Vector3f> const& umbrellas, std::vector<Vector3f>& new_points);

/// A point without the part along a unit normal of its way from the start.
inline Vector3f in_tangent_plane(Vector3f const& point, Vector3f const& start,
                                 Vector3f const& normal)
{
    Vector3f const way = point - start;
    return start + (way - normal * normal.dot(way));
}

/// A point whose whole way from the start, not only its part along the unit normal, is shortened
/// where that part is longer than the tolerance, until it is as long.
inline Vector3f within_tolerance(Vector3f const& point, Vector3f const& start,
                                 Vector3f const& normal, float tolerance)
{
    Vector3f const way = point - start;
    float const error = std::abs(normal.dot(way));
    return error > tolerance ? Vector3f(start + way * (tolerance / error)) : point;
}

} // namespace OrvaneAlgorithm::detail
