#include "workflow/repairing/passes/ProjectionPass.h"

#include "workflow/repairing/RepairValues.h"
#include "workflow/repairing/passes/SpoiltFaces.h"

#include "algorithmVeld/reconstruction/TopologyRepair.h"

namespace veld
{

using OrvaneAlgorithm::TriMesh;

std::size_t run_projection(TriMesh& mesh, float radius, RepairSettings const& settings,
                           OpenMesh::FPropHandleT<char> is_old)
{
    OrvaneAlgorithm::TopologyRepair projection;
    projection.set_search_radius(radius);
    projection.set_normal_z_thr(static_cast<float>(settings.normal_z));
    projection.repair_mesh(mesh);
    return drop_spoilt_faces(
        mesh, is_old,
        {settings.manifold ? Pinches::OF_NEW_FACES : Pinches::KEPT, least_cosine(settings)});
}

} // namespace veld
