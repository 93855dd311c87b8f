#pragma once

#include "workflow/StepScope.h"
#include "workflow/steps/RepairResult.h"

namespace veld
{

/// Warns, with the reason, where a repair closed nothing, and of points that got no face. Throws
/// `OperationError` where none got one.
/// \param mesh that was given \param result complete
void judge_repair(OrvaneAlgorithm::TriMesh const& mesh, RepairResult const& result,
                  StepScope& scope);

} // namespace veld
