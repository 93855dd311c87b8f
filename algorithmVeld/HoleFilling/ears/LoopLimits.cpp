#include "algorithmVeld/HoleFilling/ears/LoopLimits.h"

#include "algorithmVeld/HoleFilling/ears/SimpleLoops.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

std::optional<OpenReason> limit_against(TriMesh const& mesh, BoundaryLoop const& loop,
                                        LoopLimits const& limits)
{
    if (limits.most_edges && *limits.most_edges < static_cast<std::ptrdiff_t>(loop.size()))
    {
        return OpenReason::TOO_MANY_EDGES;
    }
    if (is_beyond_perimeter(mesh, loop, limits.perimeter))
    {
        return OpenReason::PERIMETER_TOO_LONG;
    }
    return std::nullopt;
}

std::optional<OpenReason> reason_against_part(TriMesh const& mesh, BoundaryLoop const& loop,
                                              LoopLimits const& limits)
{
    auto const limit = limit_against(mesh, loop, limits);
    if (!limit && goes_round_a_fan(mesh, loop))
    {
        return OpenReason::HANGS_ON_A_VERTEX;
    }
    return limit;
}

} // namespace OrvaneAlgorithm::detail
