#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/SeedFile.h"

#include "algorithmVeld/common/TriMesh.h"

#include <vector>

namespace veld
{

/// Which way the tips of sticks lie.
enum class StickTips
{
    UP,  ///< Towards +z.
    DOWN ///< Towards -z.
};

/// How sticks are cut out.
struct CutSticksSettings
{
    StickTips tips = StickTips::UP; ///< Where their tips are.
};

/// Cuts sticks out of a mesh, which stays as it is.
///
/// Throws `InputError` where seeds and sizes are not as many, `OperationError` where the mesh has
/// no vertex or its coordinates are too large to measure distances. \return one mesh for each seed;
/// empty, with a warning, where no face is within reach
VELD_WORKFLOW_API std::vector<OrvaneAlgorithm::TriMesh>
cut_sticks(OrvaneAlgorithm::TriMesh& mesh, StickSeeds const& seeds,
           CutSticksSettings const& settings, Context& context);

} // namespace veld
