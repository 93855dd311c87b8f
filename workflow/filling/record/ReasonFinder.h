#pragma once

#include "workflow/filling/HoleList.h"
#include "workflow/filling/record/OpenEdges.h"
#include "workflow/steps/FillSettings.h"

#include "algorithmVeld/HoleFilling/OpenHole.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace veld
{

/// Finds why a hole stayed open. The loops of a run may touch themselves where the holes of a
/// search are simple, so the two are matched by their rims' edges: each has one open side only.
class ReasonFinder
{
public:
    /// \param limits the settings of the last pass: others may have narrower limits, for holes that
    ///        are another pass's
    explicit ReasonFinder(FillSettings limits);

    /// Takes the holes that a pass left open. They override what an earlier one left. A hole that
    /// was beyond a limit and got shorter when others were filled is not beyond it any more. One of
    /// which the mesh refused a face may be left with new edges only; these have its reason.
    /// \param is_new whether the pass made a face
    void add(OrvaneAlgorithm::TriMesh const& mesh,
             std::vector<OrvaneAlgorithm::OpenHole> const& open_holes, FillSettings const& settings,
             std::function<bool(OpenMesh::FaceHandle)> const& is_new);

    /// \param mesh after all passes
    std::string reason(OrvaneAlgorithm::TriMesh const& mesh, Hole const& hole,
                       double perimeter) const;

private:
    struct Found
    {
        OrvaneAlgorithm::OpenReason reason = OrvaneAlgorithm::OpenReason::FACE_REFUSED;
        bool regions_moved = false; ///< In that pass, behind the reason.

        std::string text(bool is_short) const;
    };

    bool is_beyond_no_more(OrvaneAlgorithm::TriMesh const& mesh,
                           OrvaneAlgorithm::OpenHole const& open,
                           FillSettings const& settings) const;

    FillSettings limits_;
    std::map<RimEdge, Found> reasons_;
};

} // namespace veld
