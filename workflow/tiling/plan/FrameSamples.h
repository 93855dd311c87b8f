#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cstddef>

namespace veld
{

/// Calls `take(i, point)` with each sample of a frame and its place in global coordinates. Points
/// without a cell of their own are none.
template <typename Take>
void for_each_sample(OrvaneAlgorithm::RangeData const& frame, Take const& take)
{
    OrvaneAlgorithm::detail::GridMap const map(frame);
    OrvaneAlgorithm::detail::CancelPoll poll;
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        poll.next();
        auto const [row, col] = frame.vUV[i];
        if (map(row, col) == static_cast<int>(i))
        {
            OrvaneAlgorithm::Vector3f point;
            frame.get_global_vCoord(i, point);
            take(i, point);
        }
    }
}

} // namespace veld
