#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/reconstruction/DepthNoise.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"

namespace OrvaneAlgorithm::detail
{

/// How many pixels of a frame, along each axis, become one, so that its points are about a length
/// apart. At least 1.
int thinning_factor(RangeData const& frame, PinholeGrid const& camera, double spacing);

/// A frame with one point for each block of pixels, on the plane of what lies around it within the
/// noise, and with the normal of that plane: the filter of Tomasi and Manduchi, "Bilateral
/// filtering for gray and color images", ICCV 1998, with planes in place of means, in inverse
/// depth. Points that few around them support, such as those that fly between a thing and what is
/// behind it, get none; cells do not reach across jumps. The new frame has the pose, and the
/// colours, of the old one; it may be empty.
RangeData smooth_depth(RangeData const& frame, PinholeGrid const& camera, DepthNoise const& noise,
                       int factor);

} // namespace OrvaneAlgorithm::detail
