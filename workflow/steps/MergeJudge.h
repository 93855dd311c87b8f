#pragma once

#include <string>

namespace veld
{

/// What became of frames, as far as it tells whether their mesh is any good.
struct MergeFacts
{
    double points = 0.0; ///< Of the frames, or of what was left when they were thinned.
    double vertices = 0.0;
    double edges = 0.0;
    double boundary_edges = 0.0;
    double pieces = 0.0;
    double removed = 0.0; ///< Points that were taken out with the overlap.
    double spacing = 0.0; ///< Of the frames, in millimetres.
    double noise = 0.0;   ///< Of their depths.
    bool prepared = false;
    double disagreement = 0.0; ///< Median distance of frames from each other; 0: not known.
};

/// What is wrong with a merged mesh, the likely reason, and what may help; empty if nothing is.
std::string judge_merge(MergeFacts const& facts);

} // namespace veld
