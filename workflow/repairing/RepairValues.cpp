#include "workflow/repairing/RepairValues.h"

#include "algorithmVeld/common/geometry/angles.h"

#include <algorithm>
#include <cmath>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

bool is_cloud_of(TriMesh const& mesh)
{
    return mesh.n_faces() == 0;
}

bool has_direction(Vector3f const& normal)
{
    return normal.allFinite() && (normal.array() != 0.0F).any();
}

double least_cosine(RepairSettings const& settings)
{
    return settings.normal_angle >= 180.0
               ? -1.0
               : std::cos(OrvaneAlgorithm::detail::radians(settings.normal_angle));
}

double reach_of(RepairSettings const& settings)
{
    return (settings.method == RepairMethod::PROJECT ? 1.0 : 2.0) *
           *std::max_element(settings.radii.begin(), settings.radii.end());
}

} // namespace veld
