#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/reconstruction/DepthNoise.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// How far the depths around a place scatter.
struct NoiseSample
{
    double depth = 0.0;
    double deviation = 0.0; ///< from a plane, in millimetres along the axis of the camera
    double slant = 0.0;     ///< square of the tangent of the angle between view and normal
};

/// Measures around places spread over a frame, where there are points all around and no jump. A
/// frame of a camera is compared with planes as a camera sees them, another with planes over its
/// grid.
std::vector<NoiseSample> sample_noise(RangeData const& frame);

/// The noise that most samples tell of, by medians of samples of about one depth. What is curved or
/// has texture scatters more than the noise does, so of each depth the calmer samples count. None
/// if the samples are fewer than 100, which tell of their places more than of the camera. \param
/// grows whether noise may grow with depth
/// Where noise may grow with depth it may grow with slant as well.
DepthNoise fit_noise(std::vector<NoiseSample> samples, bool grows);

} // namespace OrvaneAlgorithm::detail
