#pragma once

#include "algorithmVeld/common/vectors.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

/// Axis-aligned box around the finite points; zero corners without any.
inline void bounding_box(Vector3f const* points, std::size_t n, Vector3f& min, Vector3f& max)
{
    bool any = false;
    min = max = Vector3f::Zero();
    for (std::size_t i = 0; i < n; ++i)
    {
        if (points[i].allFinite())
        {
            min = any ? Vector3f(min.cwiseMin(points[i])) : points[i];
            max = any ? Vector3f(max.cwiseMax(points[i])) : points[i];
            any = true;
        }
    }
}

} // namespace OrvaneAlgorithm::detail
