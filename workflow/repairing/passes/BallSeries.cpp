#include "workflow/repairing/passes/BallSeries.h"

#include "workflow/repairing/RepairValues.h"

#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

BallSeries::BallSeries(RepairSettings const& settings) : deletes_fans_(settings.delete_fans)
{
    ball_.set_NormConsistencyThr(static_cast<float>(least_cosine(settings)));
    ball_.set_norm_mode(settings.renew_normals);
    ball_.set_node_in_sphere_restrain(settings.empty_ball);
    ball_.set_enable_delete_isolated_faces(settings.delete_fans);
    ball_.set_debug_save_path(settings.refused_faces.string());
}

/// The ball has to have been on these vertices in a series of passes to ask which of them it holds.
void BallSeries::roll(TriMesh& mesh, float radius)
{
    if (knows_vertices_ && !deletes_fans_)
    {
        int added = 0;
        int boundary_vertices = 0;
        ball_.repair_mesh(mesh, radius, added, boundary_vertices, 0);
        return;
    }
    ball_.repair_mesh(mesh, std::vector<float>{radius});
    knows_vertices_ = true;
}

} // namespace veld
