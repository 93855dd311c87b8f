#pragma once

#include "workflow/StepScope.h"
#include "workflow/steps/FillSettings.h"

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// What a pass left open, and how many faces it cut away.
struct PassOutcome
{
    std::vector<OrvaneAlgorithm::OpenHole> open;
    std::size_t cut_faces = 0;
};

/// Fills holes by the method of a pass.
PassOutcome run_pass(OrvaneAlgorithm::TriMesh& mesh, FillSettings const& settings,
                     StepScope& scope);

} // namespace veld
