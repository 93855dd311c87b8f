#pragma once

#include "algorithmVeld/common/RangeData.h"
#include "algorithmVeld/reconstruction/DepthNoise.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What a frame saw at a pixel. In one place of memory, since whoever asks a frame of a place asks
/// for most of it; all of it 0 where there is nothing.
struct SeenPoint
{
    Vector3f point = Vector3f::Zero();
    Vector3f normal = Vector3f::Zero();
    float noise = 0.0F;   ///< standard deviation along the normal that smoothing left
    float density = 0.0F; ///< points on a square millimetre of the surface
    float inside = 0.0F;  ///< 1, and towards the border of what was seen down to 0
};

/// A frame of a depth camera on its whole grid, in global coordinates, so that what it saw at a
/// place is found by projecting the place.
struct DepthGrid
{
    int rows = 0;
    int columns = 0;
    PinholeGrid camera;
    RigidMatrix pose;      ///< camera to global
    RigidMatrix to_camera; ///< global to camera
    float farthest = 0.0F; ///< of all depths

    // For each pixel.
    std::vector<int> vertex; ///< of the frame, -1 where there is none
    std::vector<SeenPoint> seen;
    std::vector<char> cell; ///< whether the cell that starts at the pixel is surface

    std::size_t size() const { return vertex.size(); }
    std::size_t index(int row, int column) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
               static_cast<std::size_t>(column);
    }
};

/// \param frame one that `smooth_depth` made, of the camera
DepthGrid make_depth_grid(RangeData const& frame, PinholeGrid const& camera,
                          DepthNoise const& noise);

/// Where a place is on the grid of a camera: between which pixels.
struct GridPlace
{
    int row = -1; ///< of the cell that the place is in; -1 outside of all
    int column = -1;
    float down = 0.0F; ///< from that row to the next, 0 to 1
    float right = 0.0F;
    float depth = 0.0F;
};

GridPlace find_place(DepthGrid const& grid, Vector3f const& point);

} // namespace OrvaneAlgorithm::detail
