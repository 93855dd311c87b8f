#pragma once

#include "algorithmVeld/common/vectors.h"

namespace OrvaneAlgorithm::detail
{

/// The unit vector; zero for a vector without a direction.
inline Vector3f unit_or_zero(Vector3d const& v)
{
    double const length = v.stableNorm();
    return length > 0.0 && v.allFinite() ? Vector3f((v / length).cast<float>())
                                         : Vector3f(Vector3f::Zero());
}

} // namespace OrvaneAlgorithm::detail
