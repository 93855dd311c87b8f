#include "workflow/steps/Fill.h"

#include "workflow/StepScope.h"
#include "workflow/filling/FillPlan.h"
#include "workflow/filling/FillRun.h"
#include "workflow/steps/FindHoles.h"

#include <memory>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

FillResult fill(TriMesh const& mesh, FillSettings const& settings, Context& context)
{
    return fill(mesh, std::vector<FillSettings>{settings}, context);
}

FillResult fill(TriMesh const& mesh, std::vector<FillSettings> const& given, Context& context)
{
    auto const passes = plan_passes(given, box_diagonal(mesh));
    StepScope scope(context, "fill-holes", "find the holes");
    FillResult result;
    result.mesh = mesh;
    auto const limits = passes.empty() ? FillSettings() : passes.back();
    auto const begin = [&] { return std::make_unique<FillRun>(mesh, limits, result, scope); };
    {
        auto const run = scope.stage("find the holes", 0.05, begin);
        double const share = 0.9 / static_cast<double>(passes.size());
        for (std::size_t i = 0; i < passes.size(); ++i)
        {
            scope.stage("close the holes", 0.05 + share * static_cast<double>(i + 1),
                        [&] { run->run(passes[i]); });
        }
        scope.stage("count the holes", 1.0, [&] { run->finish(); });
    } // takes what the run notes at faces off the mesh
    return result;
}

} // namespace veld
