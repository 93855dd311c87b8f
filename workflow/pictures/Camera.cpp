#include "workflow/pictures/Camera.h"

#include "algorithmVeld/common/geometry/angles.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace veld
{

using OrvaneAlgorithm::detail::radians;

using OrvaneAlgorithm::Matrix3d;

namespace
{

constexpr double HALF_FIELD_OF_VIEW = radians(12.0); // of the shorter side
constexpr double MARGIN = 1.06;
constexpr double NEAREST_DISTANCE = 0.05;

/// Rows: right, up, and towards the viewer.
Matrix3d view_axes(ViewDirection const& view)
{
    double const azimuth = radians(view.azimuth);
    double const elevation = radians(view.elevation);
    Vector3d const right(std::cos(azimuth), 0.0, -std::sin(azimuth));
    Vector3d const towards(std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
                           std::cos(azimuth) * std::cos(elevation));
    Matrix3d axes;
    axes.row(0) = right;
    axes.row(1) = towards.cross(right);
    axes.row(2) = towards;
    if (view.up == UpAxis::Z)
    {
        // Up is z, and the front looks along y.
        Matrix3d scan_to_picture;
        scan_to_picture << 1, 0, 0, 0, 0, 1, 0, -1, 0;
        axes = axes * scan_to_picture;
    }
    return axes;
}

/// How far the sides of the picture have to open, per axis of the picture. A camera at (x, z) sees
/// a point (px, pz) to the right if px - x <= (z - pz) * slope: z * slope + x >= px + pz * slope.
struct Opening
{
    double slope;
    double right = -std::numeric_limits<double>::infinity();
    double left = -std::numeric_limits<double>::infinity();

    void add(double along, double towards)
    {
        right = std::max(right, along + towards * slope);
        left = std::max(left, -along + towards * slope);
    }
    double distance() const { return (right + left) / (2.0 * slope); }
    double centre() const { return (right - left) / 2.0; }
};

} // namespace

Camera fit_camera(std::vector<Vector3f> const& points, ViewDirection const& view, double aspect)
{
    Matrix3d const axes = view_axes(view);
    double const slope = std::tan(HALF_FIELD_OF_VIEW);
    double const slope_x = aspect > 1.0 ? slope * aspect : slope;
    double const slope_y = aspect > 1.0 ? slope : slope / aspect;
    Opening horizontal{slope_x / MARGIN};
    Opening vertical{slope_y / MARGIN};
    double front = -std::numeric_limits<double>::infinity();
    for (auto const& point : points)
    {
        Vector3d const p = axes * point.cast<double>();
        horizontal.add(p.x(), p.z());
        vertical.add(p.y(), p.z());
        front = std::max(front, p.z());
    }
    Camera camera;
    camera.right = axes.row(0).cast<float>();
    camera.up = axes.row(1).cast<float>();
    camera.forward = -axes.row(2).cast<float>();
    camera.tan_x = static_cast<float>(slope_x);
    camera.tan_y = static_cast<float>(slope_y);
    if (!points.empty())
    {
        double const distance =
            std::max({horizontal.distance(), vertical.distance(), front + NEAREST_DISTANCE});
        Vector3d const place(horizontal.centre(), vertical.centre(), distance);
        camera.origin = (axes.transpose() * place).cast<float>();
    }
    return camera;
}

} // namespace veld
