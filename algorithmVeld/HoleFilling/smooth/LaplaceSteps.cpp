#include "algorithmVeld/HoleFilling/smooth/LaplaceSteps.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <cmath>

namespace OrvaneAlgorithm::detail
{
namespace
{

/// Mean of the neighbours of the k-th vertex.
Vector3f weighted_mean(MovingPart const& part, std::size_t k, StepInput const& input)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const* n = part.neighbours.begin(k); n != part.neighbours.end(k); ++n)
    {
        sum += input.edge_weights[n->edge] * input.points[n->vertex];
    }
    return sum * input.vertex_weights[part.fans.vertices[k]];
}

} // namespace

void compute_umbrellas(MovingPart const& part, StepInput const& input,
                       std::vector<Vector3f>& umbrellas)
{
    parallel_for_short(part.fans.vertices.size(),
                       [&](std::size_t k)
                       {
                           Index const v = part.fans.vertices[k];
                           umbrellas[v] = input.points[v] - weighted_mean(part, k, input);
                       });
}

void compute_c0_step(MovingPart const& part, StepInput const& input,
                     std::vector<Vector3f>& new_points)
{
    parallel_for_short(part.n_moving,
                       [&](std::size_t k)
                       {
                           Vector3f const& point = input.points[part.fans.vertices[k]];
                           Vector3f const mean = weighted_mean(part, k, input);
                           new_points[part.fans.vertices[k]] = point + 0.5F * (mean - point);
                       });
}

void compute_c1_step(MovingPart const& part, StepInput const& input,
                     std::vector<Vector3f> const& umbrellas, std::vector<Vector3f>& new_points)
{
    // Below this the step is taken as it is.
    constexpr float SMALLEST_DIAGONAL = 1e-5F;
    parallel_for_short(part.n_moving,
                       [&](std::size_t k)
                       {
                           Index const v = part.fans.vertices[k];
                           Vector3f sum = Vector3f::Zero();
                           float diagonal = 0.0F;
                           for (auto const* n = part.neighbours.begin(k);
                                n != part.neighbours.end(k); ++n)
                           {
                               float const w = input.edge_weights[n->edge];
                               sum += w * umbrellas[n->vertex];
                               diagonal += w * (w * input.vertex_weights[n->vertex] + 1.0F);
                           }
                           Vector3f step = umbrellas[v] - sum * input.vertex_weights[v];
                           diagonal *= input.vertex_weights[v];
                           if (std::abs(diagonal) > SMALLEST_DIAGONAL)
                           {
                               step /= diagonal;
                           }
                           new_points[v] = input.points[v] - 0.25F * step;
                       });
}

} // namespace OrvaneAlgorithm::detail
