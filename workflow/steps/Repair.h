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
/// Points of a cloud that lie where another one does stay without a face, with a warning.
///
/// Warns, with the reason, where nothing is closed, and where more than a tenth of the points get
/// no face. Throws `InputError` where points have no normals or no spacing can be measured,
/// `OperationError` where they give no face.
VELD_WORKFLOW_API RepairResult repair(OrvaneAlgorithm::TriMesh const& mesh,
                                      RepairSettings const& settings, Context& context);

} // namespace veld
