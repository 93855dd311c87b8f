#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <cmath>
#include <optional>

namespace OrvaneAlgorithm::detail
{

/// The camera whose pixels are the grid of a frame: column = fx x / z + cx, row = fy y / z + cy. Of
/// a grid that is mirrored, or of a camera that looks down its z axis, focal lengths are negative.
struct PinholeGrid
{
    double fx = 1.0;
    double fy = 1.0;
    double cx = 0.0;
    double cy = 0.0;
    double side = 1.0; ///< the sign of z of all that is seen

    /// The point of a pixel with z = 1.
    Vector3d ray(double row, double column) const
    {
        return {(column - cx) / fx, (row - cy) / fy, 1.0};
    }
    /// Sides of the square that a pixel sees at a depth of 1, as their geometric mean.
    double pixel_angle() const { return 1.0 / std::sqrt(std::abs(fx * fy)); }
    /// The camera with one pixel for a block of `factor` x `factor`, from the first row and column
    /// on.
    PinholeGrid thinned(int factor) const
    {
        double const middle = 0.5 * (factor - 1);
        return {fx / factor, fy / factor, (cx - middle) / factor, (cy - middle) / factor, side};
    }
};

/// Finds the camera of a frame from where its points lie on the grid; nothing if they are not
/// seen through one point, the origin of the frame, by pixels of one size.
std::optional<PinholeGrid> fit_pinhole(RangeData const& frame);

/// The same for work on the whole grid: nothing, either, where a few points stand on a huge grid,
/// which takes memory for each of its pixels.
std::optional<PinholeGrid> camera_of(RangeData const& frame);

} // namespace OrvaneAlgorithm::detail
