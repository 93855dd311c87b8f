#include "workflow/steps/CutSticks.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"

#include "algorithmVeld/api/algorithms.h"
#include "algorithmVeld/common/ParamHolder.h"

#include <fmt/format.h>

namespace veld
{

using OrvaneAlgorithm::TriMesh;

std::vector<TriMesh> cut_sticks(TriMesh& mesh, StickSeeds const& seeds,
                                CutSticksSettings const& settings, Context& context)
{
    StepScope scope(context, "cut-sticks", "cut the sticks out");
    std::vector<TriMesh> sticks;
    switch (OrvaneAlgorithm::extract_sticks(mesh, seeds.points, seeds.sizes, sticks,
                                            settings.tips == StickTips::UP,
                                            OrvaneAlgorithm::gPH.log_enabled))
    {
    case OrvaneAlgorithm::RET_SUCCESS:
        break;
    case OrvaneAlgorithm::RET_INVALID_INPUT:
        throw InputError("no seeds, or not as many sizes as places");
    default:
        throw OperationError("no vertex is nearest to a seed: the mesh has none, or coordinates "
                             "are too large to measure distances");
    }
    for (std::size_t i = 0; i < sticks.size(); ++i)
    {
        if (sticks[i].n_faces() == 0)
        {
            scope.warn(WarningCode::STICK_EMPTY, fmt::format("stick {}", i),
                       "empty: no face at the seed is within the stick's reach");
        }
    }
    return sticks;
}

} // namespace veld
