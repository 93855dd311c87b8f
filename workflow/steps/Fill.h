#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/FillResult.h"
#include "workflow/steps/FillSettings.h"

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

/// Closes the holes of a mesh.
VELD_WORKFLOW_API FillResult fill(OrvaneAlgorithm::TriMesh const& mesh,
                                  FillSettings const& settings, Context& context);

/// The same in several passes. A hole that several of them left open has the last one's reason.
VELD_WORKFLOW_API FillResult fill(OrvaneAlgorithm::TriMesh const& mesh,
                                  std::vector<FillSettings> const& passes, Context& context);

} // namespace veld
