#pragma once

#include "workflow/steps/RepairSettings.h"

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Throws `InputError` for settings out of their range, and for a mesh that they cannot repair.
void check_repair(OrvaneAlgorithm::TriMesh const& mesh, RepairSettings const& settings);

/// The given settings, and what the mesh tells where they say nothing. Throws `InputError` where it
/// tells no spacing.
RepairSettings complete_settings(RepairSettings settings, OrvaneAlgorithm::TriMesh const& mesh);

} // namespace veld
