#pragma once

#include "workflow/StepScope.h"
#include "workflow/steps/FillSettings.h"

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// What a pass left open, and what it did besides filling.
struct PassOutcome
{
    std::vector<OrvaneAlgorithm::OpenHole> open;
    std::size_t cut_faces = 0;
    std::size_t markers_without_hole = 0;
};

/// Fills holes by the method of a pass.
PassOutcome run_pass(OrvaneAlgorithm::TriMesh& mesh, FillSettings const& settings,
                     StepScope& scope);

} // namespace veld
