#include "workflow/filling/ReasonFinder.h"

#include "workflow/filling/FillValues.h"

namespace veld
{

using OrvaneAlgorithm::OpenHole;
using OrvaneAlgorithm::OpenReason;
using OrvaneAlgorithm::TriMesh;

ReasonFinder::ReasonFinder(FillSettings limits) : limits_(std::move(limits)) {}

void ReasonFinder::add(TriMesh const& mesh, std::vector<OpenHole> const& open_holes,
                       FillSettings const& settings)
{
    for (auto const& open : open_holes)
    {
        if (is_beyond_no_more(mesh, open, settings))
        {
            continue;
        }
        for (std::size_t i = 0; i < open.corners.size(); ++i)
        {
            auto const next = open.corners[(i + 1) % open.corners.size()];
            note({open.corners[i].idx(), next.idx()}, {open.reason, moves_regions(settings)});
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

void ReasonFinder::note(Edge const& edge, Found const& found)
{
    // A pass that judges whole boundaries knows less of a hole that is part of one.
    if (found.reason == OpenReason::PERIMETER_TOO_LONG && !found.regions_moved)
    {
        reasons_.emplace(edge, found);
    }
    else
    {
        reasons_[edge] = found;
    }
}

std::string ReasonFinder::reason(Hole const& hole, double perimeter) const
{
    bool const is_short = is_short_enough(limits_, perimeter);
    for (std::size_t i = 0; i < hole.size(); ++i)
    {
        auto const found = reasons_.find(Edge(hole[i].idx(), hole[(i + 1) % hole.size()].idx()));
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
    return has_few_enough_edges(limits_, hole.size()) ? "left between filled holes that touch"
                                                      : to_string(OpenReason::TOO_MANY_EDGES);
}

std::string ReasonFinder::Found::text(bool is_short) const
{
    if (reason != OpenReason::PERIMETER_TOO_LONG || !is_short)
    {
        return to_string(reason);
    }
    return regions_moved ? "longer than allowed before the regions were cut or smoothed"
                         : "on a boundary that touches itself and is longer than allowed";
}

} // namespace veld
