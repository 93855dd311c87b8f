#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <array>
#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The points of several frames in one list, in global coordinates, with the surface that the grid
/// of each frame spans between its points.
struct FrameSurface
{
    /// Neighbours on the grid of a point's frame, -1 where there is none.
    using Neighbours = std::array<int, 8>;

    std::vector<std::size_t> first;     ///< a frame's first point; one entry more than frames
    std::vector<int> frame;             ///< of each point
    std::vector<Vector3f> point;        ///< position
    std::vector<Vector3f> normal;       ///< unit normal; zero where the frame has none
    std::vector<float> spacing;         ///< side of a square as large as the cells around the
                                        ///< point on average; 0 for a point without cells
    std::vector<int> depth;             ///< steps to the border of the frame, up to a limit
    std::vector<Neighbours> neighbours; ///< across the cells around the point
    std::vector<char> cell;             ///< whether the cell that starts at the point is surface

    std::size_t size() const { return point.size(); }
};

/// Lists the points of frames. Cells with an edge that is longer than `longest_edge`, or not
/// finite, are no surface.
/// \param deepest limit of `depth`
/// \throw std::out_of_range if a channel of a frame is shorter than the frame
FrameSurface list_frame_surface(std::vector<RangeData const*> const& ranges, double longest_edge,
                                int deepest);

/// Tells for each point whether the cell that starts there is left: it was surface, its corners
/// stay, and it does not hang on others by a corner alone, at which a mesh would be pinched.
std::vector<char> cells_left(FrameSurface const& surface, std::vector<char> const& stays);

} // namespace OrvaneAlgorithm::detail
