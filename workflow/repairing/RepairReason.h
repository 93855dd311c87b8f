#pragma once

#include "workflow/StepScope.h"
#include "workflow/steps/RepairResult.h"

namespace veld
{

/// Warns, with the reason, where a repair closed nothing. Throws `OperationError` where points gave
/// no face.
/// \param mesh that was given \param result complete
void judge_repair(OrvaneAlgorithm::TriMesh const& mesh, RepairResult const& result,
                  StepScope& scope);

} // namespace veld
