#include "workflow/repairing/passes/EarPass.h"

#include "algorithmVeld/HoleFilling/EarTrimming.h"

namespace veld
{

using OrvaneAlgorithm::TriMesh;

namespace
{

/// Largest turn from the faces around a hole to the ears that close it, in degrees.
constexpr double EAR_ANGLE = 100.0;

} // namespace

void close_with_ears(TriMesh& mesh, double max_perimeter)
{
    OrvaneAlgorithm::EarTrimming ears;
    ears.set_node_num_constraint(false);
    ears.set_edge_length_constraint(false);
    ears.set_norm_constraint(true);
    ears.set_norm_thr(EAR_ANGLE);
    ears.set_max_perimeter(max_perimeter);
    ears.set_take_apart(true);
    ears.ear_trimming(mesh);
}

} // namespace veld
