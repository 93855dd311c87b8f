#include "workflow/steps/MergeJudge.h"

#include "algorithmVeld/reconstruction/DepthNoise.h"

#include <fmt/format.h>

namespace veld
{

namespace
{

/// Parts of all from which on a mesh is in shreds, or of which next to nothing became one.
constexpr double LONG_BORDERS = 0.08;
constexpr double MOST_GONE = 0.5;
/// Of fewer points all that is made is mostly border.
constexpr double FEW_POINTS = 10000.0;
constexpr double FACES_OF_PIECE = 2000.0;
constexpr double MANY_PIECES = 20.0;
constexpr double POSES_OFF = 4.0;

/// What is seen of it.
std::string symptom_of(MergeFacts const& facts)
{
    if (facts.points < FEW_POINTS)
    {
        return {};
    }
    double const left = facts.points - facts.removed;
    if (!facts.prepared && facts.vertices < MOST_GONE * left)
    {
        return fmt::format("only {:.0f} of {:.0f} points are in the mesh", facts.vertices, left);
    }
    if (facts.boundary_edges > LONG_BORDERS * facts.edges)
    {
        return fmt::format("{:.0f} of {:.0f} edges are borders", facts.boundary_edges, facts.edges);
    }
    // An edge and a half for each face.
    if (facts.pieces > MANY_PIECES && facts.edges < 1.5 * FACES_OF_PIECE * facts.pieces)
    {
        return fmt::format("the mesh is in {:.0f} pieces", facts.pieces);
    }
    return {};
}

std::string reason_of(MergeFacts const& facts)
{
    if (!facts.prepared && OrvaneAlgorithm::detail::hides_surface(facts.noise, facts.spacing))
    {
        return fmt::format("their noise of {:.3g} mm is much for points {:.3g} mm apart, and only "
                           "frames of depth cameras are smoothed; a larger spacing may help",
                           facts.noise, facts.spacing);
    }
    if (facts.disagreement > POSES_OFF * facts.noise)
    {
        return fmt::format(
            "frames are {:.3g} mm off each other where they overlap, and their "
            "noise is {:.3g} mm: the poses do not fit, or their unit; veld align may "
            "repair them",
            facts.disagreement, facts.noise);
    }
    if (facts.removed == 0.0 && !facts.prepared)
    {
        return "no frame saw what another one did: the poses, or their unit, may be wrong";
    }
    return "what the frames saw may be in pieces; otherwise the spacing, the poses or the noise "
           "are not what was measured";
}

} // namespace

std::string judge_merge(MergeFacts const& facts)
{
    std::string const symptom = symptom_of(facts);
    return symptom.empty() ? symptom : symptom + ": " + reason_of(facts);
}

} // namespace veld
