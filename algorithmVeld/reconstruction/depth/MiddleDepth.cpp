#include "algorithmVeld/reconstruction/depth/MiddleDepth.h"

#include "algorithmVeld/common/arrays/Median.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace OrvaneAlgorithm::detail
{

double middle_depth(std::vector<RangeData const*> const& ranges, std::size_t samples)
{
    std::vector<double> depths;
    for (auto const* frame : ranges)
    {
        std::size_t const step = std::max<std::size_t>(1, frame->get_vn() / samples);
        for (std::size_t i = 0; i < frame->get_vn(); i += step)
        {
            double const depth = std::abs(static_cast<double>(frame->vCoord[i].z()));
            if (std::isfinite(depth))
            {
                depths.push_back(depth);
            }
        }
    }
    return median(std::move(depths));
}

} // namespace OrvaneAlgorithm::detail
