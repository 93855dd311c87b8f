#pragma once

#include "workflow/steps/RepairResult.h"

namespace veld
{

/// Repairs a mesh in rounds of passes. What the result says of the mesh before and after, and of
/// the time, is left to the caller.
/// \param settings complete ones
RepairResult run_repair(OrvaneAlgorithm::TriMesh const& mesh, RepairSettings const& settings);

} // namespace veld
