#include "workflow/filling/record/ReasonFinder.h"

#include "workflow/filling/FillValues.h"

#include "algorithmVeld/common/mesh/RimTurn.h"

namespace veld
{

using OrvaneAlgorithm::OpenHole;
using OrvaneAlgorithm::OpenReason;
using OrvaneAlgorithm::TriMesh;

ReasonFinder::ReasonFinder(FillSettings limits) : limits_(std::move(limits)) {}

void ReasonFinder::add(TriMesh const& mesh, std::vector<OpenHole> const& open_holes,
                       FillSettings const& settings,
                       std::function<bool(OpenMesh::FaceHandle)> const& is_new)
{
    for (auto const& open : open_holes)
    {
        if (is_beyond_no_more(mesh, open, settings))
        {
            continue;
        }
        Found const found{open.reason, moves_regions(settings)};
        auto const rim = edges_of(open.corners);
        for (auto const& edge : rim)
        {
            reasons_[edge] = found;
        }
        if (open.reason == OpenReason::FACE_REFUSED)
        {
            for (auto const& edge : open_edges_of(rim, mesh, is_new))
            {
                reasons_[edge] = found;
            }
        }
    }
}

bool ReasonFinder::is_beyond_no_more(TriMesh const& mesh, OpenHole const& open,
                                     FillSettings const& settings) const
{
    switch (open.reason)
    {
    case OpenReason::TOO_MANY_EDGES:
        return has_few_enough_edges(limits_, open.corners.size());
    case OpenReason::PERIMETER_TOO_LONG:
        return !moves_regions(settings) &&
               is_short_enough(limits_, hole_perimeter(mesh, open.corners));
    default:
        return false;
    }
}

std::string ReasonFinder::reason(TriMesh const& mesh, Hole const& hole, double perimeter) const
{
    bool const is_short = is_short_enough(limits_, perimeter);
    for (auto const& edge : edges_of(hole))
    {
        auto const found = reasons_.find(edge);
        if (found != reasons_.end())
        {
            return found->second.text(is_short);
        }
    }
    if (!is_short)
    {
        return to_string(OpenReason::PERIMETER_TOO_LONG);
    }
    if (limits_.method == FillMethod::MARKERS)
    {
        return "no marker is near its centre";
    }
    if (!has_few_enough_edges(limits_, hole.size()))
    {
        return to_string(OpenReason::TOO_MANY_EDGES);
    }
    // No pass is run for such holes alone, so that none tells of them.
    return OrvaneAlgorithm::detail::turns_back(mesh, hole, limits_.normal_angle)
               ? to_string(OpenReason::NORMALS_DISAGREE)
               : "left between filled holes that touch";
}

std::string ReasonFinder::Found::text(bool is_short) const
{
    return reason == OpenReason::PERIMETER_TOO_LONG && is_short && regions_moved
               ? "longer than allowed before the regions were cut or smoothed"
               : to_string(reason);
}

} // namespace veld
