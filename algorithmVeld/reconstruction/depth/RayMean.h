#pragma once

#include "algorithmVeld/reconstruction/depth/DepthGrid.h"
#include "algorithmVeld/reconstruction/depth/PlaceTolerance.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// What the frames together tell of the points of one of them, pixel by pixel.
struct PlaceMean
{
    std::vector<Vector3f> point;  ///< on the view of its own pixel
    std::vector<Vector3f> normal; ///< mean of all that saw the place
    std::vector<char> is_best;    ///< whether nobody saw the place much more densely
};

/// How far layers of one place may lie apart.
struct LayerSpread
{
    PlaceTolerance tolerance; ///< Layers farther than this from the mean do not count, nearer ones
                              ///< the less the farther they are.
    double poses = 0.0;       ///< What is between frames beside the noise, as a standard deviation.
};

/// Moves each point along its view to the mean of the layers that saw its place, each weighing by
/// its noise and what is between frames, less towards its border. The mean is looked for along the
/// normal. \param frame whose points
PlaceMean mean_of_layers(std::vector<DepthGrid> const& grids, std::size_t frame,
                         LayerSpread const& spread);

/// Distances along the normal from some points of a frame, spread over it, to each other frame that
/// saw the place, up to `largest`: how well poses and depths agree.
std::vector<float> distances_to_others(std::vector<DepthGrid> const& grids, std::size_t frame,
                                       double largest);

} // namespace OrvaneAlgorithm::detail
