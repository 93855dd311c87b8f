#include "workflow/steps/Repair.h"

#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/repairing/RepairInput.h"
#include "workflow/repairing/RepairReason.h"
#include "workflow/repairing/RepairRun.h"
#include "workflow/repairing/RepairValues.h"
#include "workflow/steps/Inspect.h"

namespace veld
{

using OrvaneAlgorithm::TriMesh;

RepairResult repair(TriMesh const& mesh, RepairSettings const& settings, Context& context)
{
    check_repair(mesh, settings);
    StepScope scope(context, "repair-mesh", "measure the mesh");
    TriMesh copy = mesh;
    MeshHealth const before =
        scope.stage("measure the mesh", 0.05, [&] { return measure_health(copy); });
    RepairSettings const completed =
        scope.stage("measure the spacing", 0.1, [&] { return complete_settings(settings, mesh); });
    Stopwatch const watch;
    RepairResult result = scope.stage(is_cloud_of(mesh) ? "connect the points" : "close the gaps",
                                      0.9, [&] { return run_repair(mesh, completed); });
    result.seconds = watch.seconds();
    result.before = before;
    result.after =
        scope.stage("measure the mesh", 0.95, [&] { return measure_health(result.mesh); });
    scope.stage("look at the result", 1.0, [&] { judge_repair(mesh, result, scope); });
    return result;
}

} // namespace veld
