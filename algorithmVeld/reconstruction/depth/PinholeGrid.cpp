#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr std::size_t MOST_FIT_SAMPLES = 4096;
/// In pixels: what texts with few digits leave is far less, and what another kind of grid leaves
/// far more.
constexpr double LARGEST_PIXEL_ERROR = 0.2;

/// A line through pairs of numbers, by least squares.
class FitLine
{
public:
    void add(double x, double y)
    {
        ++n_;
        x_ += x;
        y_ += y;
        xx_ += x * x;
        xy_ += x * y;
    }
    double slope() const { return (n_ * xy_ - x_ * y_) / (n_ * xx_ - x_ * x_); }
    double offset() const { return (y_ - slope() * x_) / n_; }

private:
    double n_ = 0.0;
    double x_ = 0.0;
    double y_ = 0.0;
    double xx_ = 0.0;
    double xy_ = 0.0;
};

/// Runs `use(direction, row, column)` for points spread over a frame, up to the first for which it
/// is false. \return whether it was true for all
template <typename Use>
bool all_samples(RangeData const& frame, Use const& use)
{
    std::size_t const n = std::min(frame.get_vn(), frame.vUV.size());
    std::size_t const step = std::max<std::size_t>(1, n / MOST_FIT_SAMPLES);
    for (std::size_t i = 0; i < n; i += step)
    {
        Vector3d const point = frame.vCoord[i].cast<double>();
        if (!use(Vector3d(point / point.z()), point.z(), frame.vUV[i]))
        {
            return false;
        }
    }
    return n > 0;
}

} // namespace

std::optional<PinholeGrid> fit_pinhole(RangeData const& frame)
{
    if (frame.get_vn() == 0)
    {
        return std::nullopt;
    }
    FitLine columns;
    FitLine rows;
    double const side = frame.vCoord.front().z() > 0.0F ? 1.0 : -1.0;
    bool const is_before = all_samples(frame,
                                       [&](Vector3d const& ray, double z, auto const& cell)
                                       {
                                           columns.add(ray.x(), cell.col);
                                           rows.add(ray.y(), cell.row);
                                           return z * side > 0.0;
                                       });
    PinholeGrid const camera{columns.slope(), rows.slope(), columns.offset(), rows.offset(), side};
    bool const fits = is_before && std::abs(camera.fx * camera.fy) > 0.0 &&
                      all_samples(frame,
                                  [&](Vector3d const& ray, double, auto const& cell)
                                  {
                                      // A comparison with NaN is false.
                                      return std::abs(camera.fx * ray.x() + camera.cx - cell.col) <=
                                                 LARGEST_PIXEL_ERROR &&
                                             std::abs(camera.fy * ray.y() + camera.cy - cell.row) <=
                                                 LARGEST_PIXEL_ERROR;
                                  });
    return fits ? std::optional<PinholeGrid>(camera) : std::nullopt;
}

std::optional<PinholeGrid> camera_of(RangeData const& frame)
{
    double const pixels = static_cast<double>(frame.grid_rows) * frame.grid_cols;
    bool const is_believable = pixels <= 1e6 + 64.0 * static_cast<double>(frame.get_vn());
    return is_believable ? fit_pinhole(frame) : std::nullopt;
}

} // namespace OrvaneAlgorithm::detail
