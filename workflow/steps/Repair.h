#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/RepairResult.h"
#include "workflow/steps/RepairSettings.h"

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Closes the gaps of a torn surface, and ties loose points in. Points without a face get a surface
/// by the ball; they need normals, which tell its sides.
///
/// Warns, with the reason, where nothing is closed. Throws `InputError` where points have no
/// normals or no spacing can be measured, `OperationError` where they give no face.
VELD_WORKFLOW_API RepairResult repair(OrvaneAlgorithm::TriMesh const& mesh,
                                      RepairSettings const& settings, Context& context);

} // namespace veld
