#pragma once

#include "algorithmVeld/HoleFilling/OpenHole.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include <optional>

namespace OrvaneAlgorithm::detail
{

/// How large a loop may be.
struct LoopLimits
{
    std::optional<int> most_edges; ///< None: any number.
    double perimeter = 0.0;        ///< It has to be below this, in millimetres; 0: any.
};

/// The limit that a loop is beyond, if it is beyond one.
std::optional<OpenReason> limit_against(TriMesh const& mesh, BoundaryLoop const& loop,
                                        LoopLimits const& limits);

/// What is against filling a loop of a boundary that was taken apart, if anything is: a limit, or
/// that it goes round a fan.
std::optional<OpenReason> reason_against_part(TriMesh const& mesh, BoundaryLoop const& loop,
                                              LoopLimits const& limits);

} // namespace OrvaneAlgorithm::detail
