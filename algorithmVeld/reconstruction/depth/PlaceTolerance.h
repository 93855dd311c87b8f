#pragma once

#include "algorithmVeld/reconstruction/depth/DepthGrid.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

/// How far apart layers of one place may lie: the farther, the noisier the place is.
struct PlaceTolerance
{
    float least = 0.0F;
    float deviations = 0.0F; ///< standard deviations of the noise that smoothing left there

    float at(SeenPoint const& seen) const
    {
        // Along the view nothing is known, and all that is behind would be one.
        constexpr float MOST_TIMES = 8.0F;
        return std::clamp(deviations * seen.noise, least, MOST_TIMES * least);
    }
    PlaceTolerance part(float of) const { return {of * least, of * deviations}; }
};

} // namespace OrvaneAlgorithm::detail
