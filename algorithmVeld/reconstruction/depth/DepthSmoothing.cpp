#include "algorithmVeld/reconstruction/depth/DepthSmoothing.h"

#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/reconstruction/depth/InverseDepths.h"
#include "algorithmVeld/reconstruction/depth/MiddleDepth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

constexpr int LARGEST_FACTOR = 16;
/// Half of the window in pixels: this, and this for each pixel of a block.
constexpr double LEAST_RADIUS = 2.5;
constexpr double RADIUS_OF_BLOCK = 1.0;
/// In standard deviations: what is farther from a plane does not belong to it.
constexpr double PLANE_TOLERANCE = 4.0;
/// Least part of the window that has to lie on the plane of a point. At a straight rim it is a
/// half, in a corner of a thing a quarter.
constexpr double LEAST_SUPPORT = 0.2;
/// A strip of so many pixels across a larger window is enough: what flies between two things is one
/// pixel wide.
constexpr double LEAST_STRIP = 1.5;
/// Least cosine of the slant: what stretches between a thing and what is behind it lies along the
/// view, and a camera measures nothing there.
constexpr double LEAST_SLANT_COSINE = 0.06;

/// Pixels of a block to begin with beside the one in the middle, in halves of the block down and to
/// the right.
constexpr std::array<std::array<int, 2>, 8> OTHER_STARTS = {
    {{{0, 0}}, {{0, 2}}, {{2, 0}}, {{2, 2}}, {{0, 1}}, {{1, 0}}, {{1, 2}}, {{2, 1}}}};

/// A point of the new frame.
struct SmoothPoint
{
    Vector3d point = Vector3d::Zero();
    Vector3d normal = Vector3d::Zero();
    double noise = 0.0; ///< along the normal
    int vertex = -1;    ///< of the old frame, which it is nearest to; -1 for no point
};

class DepthSmoother
{
public:
    DepthSmoother(RangeData const& frame, PinholeGrid const& camera, DepthNoise const& noise,
                  int factor)
        : frame_(frame),
          camera_(camera),
          noise_(noise),
          factor_(factor),
          radius_(static_cast<int>(std::lround(LEAST_RADIUS + RADIUS_OF_BLOCK * factor))),
          least_support_(std::min(LEAST_SUPPORT, LEAST_STRIP / (2 * radius_ + 1))),
          image_(inverse_depths(frame)),
          rows_(image_.rows / factor),
          columns_(image_.columns / factor),
          points_(static_cast<std::size_t>(rows_) * static_cast<std::size_t>(columns_))
    {
    }

    RangeData run()
    {
        CancelPoll poll(256);
        for (int row = 0; row < rows_; ++row)
        {
            for (int column = 0; column < columns_; ++column)
            {
                poll.next();
                at(row, column) = smooth_point(row, column);
            }
        }
        return list_points();
    }

private:
    SmoothPoint& at(int row, int column)
    {
        return points_[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns_) +
                       static_cast<std::size_t>(column)];
    }

    SmoothPoint smooth_point(int block_row, int block_column) const
    {
        double const middle = 0.5 * (factor_ - 1);
        double const row = block_row * factor_ + middle;
        double const column = block_column * factor_ + middle;
        int const first_row = block_row * factor_;
        int const first_column = block_column * factor_;
        SmoothPoint best =
            from_pixel(first_row + factor_ / 2, first_column + factor_ / 2, row, column);
        // At a rim the pixel in the middle may fly between two things, or be missing.
        for (std::size_t k = 0; k < OTHER_STARTS.size() && best.vertex < 0; ++k)
        {
            auto const [down, right] = OTHER_STARTS[k];
            best = from_pixel(first_row + down * (factor_ - 1) / 2,
                              first_column + right * (factor_ - 1) / 2, row, column);
        }
        return best;
    }

    /// The plane that goes through a pixel, at a place near it.
    SmoothPoint from_pixel(int pixel_row, int pixel_column, double row, double column) const
    {
        auto const pixel = image_.index(pixel_row, pixel_column);
        if (image_.vertex[pixel] < 0)
        {
            return {};
        }
        auto const start = static_cast<double>(image_.value[pixel]);
        double const tolerance = PLANE_TOLERANCE * noise_.at(1.0 / start) * start * start;
        if (!(tolerance > 0.0) || tolerance > 0.5 * start)
        {
            return {};
        }
        InversePlane const plane =
            fit_inverse_plane(image_, row, column, radius_, start, tolerance);
        return point_of(plane, row, column, start, tolerance, image_.vertex[pixel]);
    }

    SmoothPoint point_of(InversePlane const& plane, double row, double column, double start,
                         double tolerance, int vertex) const
    {
        if (!(plane.support >= least_support_) || !(plane.value > 0.0) ||
            !(std::abs(plane.value - start) <= tolerance))
        {
            return {};
        }
        Vector3d const ray = camera_.ray(row, column);
        // All points p of the plane have n p = 1, with the inverse depth n ray.
        double const x = plane.by_column * camera_.fx;
        double const y = plane.by_row * camera_.fy;
        Vector3d const n(x, y, plane.value - x * ray.x() - y * ray.y());
        double const cosine = plane.value / (n.norm() * ray.norm());
        if (!(cosine >= LEAST_SLANT_COSINE))
        {
            return {};
        }
        double const z = camera_.side / plane.value;
        SmoothPoint result;
        result.point = z * ray;
        result.normal = -camera_.side * n.normalized();
        result.noise = noise_.at(std::abs(z), cosine) * std::abs(result.normal.z());
        result.vertex = vertex;
        return result;
    }

    /// Whether two neighbours lie on one surface: one of them on the plane of the other, but for
    /// the noise and for an edge between them.
    bool are_joined(SmoothPoint const& a, SmoothPoint const& b) const
    {
        Vector3d const step = b.point - a.point;
        double const off = std::min(std::abs(step.dot(a.normal)), std::abs(step.dot(b.normal)));
        double const beside = factor_ * camera_.pixel_angle() * std::abs(a.point.z());
        return off <= std::max(PLANE_TOLERANCE * std::max(a.noise, b.noise), beside);
    }

    bool is_cell(int row, int column)
    {
        if (row + 1 >= rows_ || column + 1 >= columns_)
        {
            return false;
        }
        std::array<SmoothPoint const*, 4> const corners = {{&at(row, column), &at(row, column + 1),
                                                            &at(row + 1, column + 1),
                                                            &at(row + 1, column)}};
        bool result = std::all_of(corners.begin(), corners.end(),
                                  [](SmoothPoint const* p) { return p->vertex >= 0; });
        for (std::size_t k = 0; k < 4 && result; ++k)
        {
            result = are_joined(*corners[k], *corners[(k + 1) % 4]);
        }
        return result;
    }

    RangeData list_points()
    {
        RangeData result;
        result.set_grid_size(rows_, columns_);
        result.set_rigidMatrix(frame_.get_rigidMatrix());
        result.has_vNormal = true;
        result.has_vColor = frame_.has_vColor;
        for (int row = 0; row < rows_; ++row)
        {
            for (int column = 0; column < columns_; ++column)
            {
                SmoothPoint const& p = at(row, column);
                if (p.vertex < 0)
                {
                    continue;
                }
                auto const i = result.add_vCoord_and_vUV(p.point.cast<float>(), {row, column});
                result.vNrv.resize(i + 1);
                result.vNrv[i] = p.normal.cast<float>();
                result.set_cellFlag(i, static_cast<char>(is_cell(row, column)));
                if (result.has_vColor)
                {
                    result.vColor.resize(i + 1);
                    result.vColor[i] =
                        detail::at(frame_.vColor, static_cast<std::size_t>(p.vertex));
                }
            }
        }
        return result;
    }

    RangeData const& frame_;
    PinholeGrid camera_;
    DepthNoise noise_;
    int factor_;
    int radius_;
    double least_support_;
    InverseDepths image_;
    int rows_;
    int columns_;
    std::vector<SmoothPoint> points_;
};

} // namespace

int thinning_factor(RangeData const& frame, PinholeGrid const& camera, double spacing)
{
    constexpr std::size_t SAMPLES = 1000;
    double const factor = spacing / (middle_depth({&frame}, SAMPLES) * camera.pixel_angle());
    return std::isfinite(factor)
               ? static_cast<int>(std::lround(std::clamp(factor, 1.0, double{LARGEST_FACTOR})))
               : 1;
}

RangeData smooth_depth(RangeData const& frame, PinholeGrid const& camera, DepthNoise const& noise,
                       int factor)
{
    return DepthSmoother(frame, camera, noise, factor).run();
}

} // namespace OrvaneAlgorithm::detail
