#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The inverse depths of a frame on its grid. A plane has an inverse depth that is linear in row
/// and column, however it is slanted, and the noise of a camera that measures disparities is the
/// same near and far.
struct InverseDepths
{
    int rows = 0;
    int columns = 0;
    /// Row by row, and a few more behind the last; 0, which is infinitely far, where there is no
    /// point.
    std::vector<float> value;
    std::vector<int> vertex; ///< of the frame; -1 where there is none

    std::size_t index(int row, int column) const
    {
        return static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
               static_cast<std::size_t>(column);
    }
};

/// \param frame one whose grid is that of a camera
InverseDepths inverse_depths(RangeData const& frame);

/// A plane around a pixel, as an inverse depth: value + by_row (row - its row) + by_column (column
/// - its column).
struct InversePlane
{
    double value = 0.0;
    double by_row = 0.0;
    double by_column = 0.0;
    double support = 0.0; ///< weights of the pixels that lie on it, over the number of the window's
};

/// Fits a plane to what lies within `radius` pixels of a place, each weighing the less the farther
/// it is from the plane, nothing from `tolerance` on: so it never looks across a jump of depth.
/// \param start inverse depth to begin with
InversePlane fit_inverse_plane(InverseDepths const& image, double row, double column, int radius,
                               double start, double tolerance);

} // namespace OrvaneAlgorithm::detail
