#pragma once

#include "algorithmVeld/common/KdTree3f.h"
#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/reconstruction/DepthNoise.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What a frame tells other frames of its place, in its own coordinates.
struct SampledFrame
{
    // Points that lie on a surface.
    std::vector<Vector3f> point;
    std::vector<Vector3f> normal; ///< of length 1
    std::vector<float> noise;     ///< standard deviation along the normal, in millimetres
    std::vector<char> inside;     ///< whether the surface goes on all around
    KdTree3f tree;                ///< of the points

    std::vector<int> samples; ///< Points inside that are compared with other frames.

    Vector3d centre = Vector3d::Zero(); ///< of the box around the points
    double radius = 0.0;                ///< from there to the corners of the box
    double spacing = 0.0;               ///< median distance of neighbours
};

/// How much of a frame is taken.
struct SampleLimits
{
    std::size_t points = 0;
    std::size_t samples = 0;
};

/// Takes the points of a frame that lie on a surface, and samples of them: half of these spread
/// evenly over the grid, half over the directions of the normals. A frame of a noisy camera is
/// smoothed before.
/// \param noise of the depths along the z axis \param spacing of all frames, in millimetres
/// \throw std::out_of_range if a channel of the frame is shorter than the frame
SampledFrame sample_frame(RangeData const& frame, DepthNoise const& noise, double spacing,
                          SampleLimits const& limits);

} // namespace OrvaneAlgorithm::detail
