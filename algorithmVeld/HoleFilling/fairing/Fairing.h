#pragma once

#include "algorithmVeld/HoleFilling/fairing/LaplaceWeights.h"
#include "algorithmVeld/HoleFilling/fairing/PatchGrowth.h"
#include "algorithmVeld/common/TriMesh.h"

#include <vector>

/// \file
/// The fairing of patches: each is moved to where a power of the Laplace operator vanishes, with
/// everything around it fixed.

namespace OrvaneAlgorithm::detail
{

/// The system whose solution a patch takes.
struct FairingSystem
{
    int order = 2; ///< Power of the operator: 1 for C0, 2 for C1, 3 for C2.
    LaplaceWeight weight = LaplaceWeight::UNIFORM;
};

/// Numbers of vertices between which a patch is faired, both included.
struct FairingLimits
{
    int min_verts = 5;
    int max_verts = 20000;
};

/// How much is logged of a solution.
enum class SolverLog
{
    PHASES,          ///< How its phases ended.
    PHASES_AND_SIZES ///< Also how large the system and its factors are.
};

/// Where the system puts the vertices of a patch.
/// \return empty, with the reason in the log, if it cannot be solved
std::vector<Vector3f> faired_points(TriMesh const& mesh, Patch const& patch,
                                    FairingSystem const& system,
                                    SolverLog what = SolverLog::PHASES);

/// Moves the patches. One outside the limits, or whose system cannot be solved, is logged and stays
/// as it is. All systems see the positions of before, whichever is solved first.
void fair_patches(TriMesh& mesh, std::vector<Patch> const& patches, FairingSystem const& system,
                  FairingLimits const& limits);

/// Logs the vertices of patches within the limits at which the left side of the system's equation
/// is longer than 0.0005.
/// \param format for patch, vertex, the three coordinates and the length
void log_unmet_equations(TriMesh const& mesh, std::vector<Patch> const& patches,
                         FairingSystem const& system, FairingLimits const& limits,
                         char const* format);

} // namespace OrvaneAlgorithm::detail
