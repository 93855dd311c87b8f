#include "demo/GourdSurface.h"

#include "demo/angles.h"

#include <algorithm>
#include <cmath>

namespace veld::cli
{

namespace
{

constexpr double RADIUS = 42.0;

/// Height of a round bump at a direction.
double bump(Vector3d const& at, Vector3d const& centre, double width, double height)
{
    double const angle = angle_between(at, centre) / width;
    return height * std::exp(-angle * angle);
}

/// Distance of the surface from the middle.
double gourd_radius(Vector3d const& at)
{
    static Vector3d const top = direction(25, 84);
    static Vector3d const left = direction(-70, 20);
    static Vector3d const right = direction(80, -5);
    static Vector3d const back = direction(170, 15);
    static Vector3d const dent = direction(-150, 0);
    double r = RADIUS + bump(at, top, 30, 30) + bump(at, left, 30, 7) + bump(at, right, 34, 9) +
               bump(at, back, 34, 8) - bump(at, dent, 22, 4);
    // Round ribs that wind from the stem down, sharp between them, and warts on top.
    double const round = std::atan2(at.x(), at.z());
    double const off_axis = std::sqrt(std::max(0.0, 1.0 - at.y() * at.y()));
    double const rib = std::cos(4.5 * round + 1.8 * at.y());
    r += 7.0 * off_axis * (std::sqrt(rib * rib + 0.015) - 0.6);
    double const warts = std::sin(17.0 * at.x() + 1.0) * std::sin(19.0 * at.y() + 2.0) *
                         std::sin(18.0 * at.z() + 3.0);
    return r + 0.9 * std::max(0.0, warts);
}

} // namespace

Vector3d direction(double azimuth, double elevation)
{
    double const a = radians(azimuth);
    double const e = radians(elevation);
    return {std::sin(a) * std::cos(e), std::sin(e), std::cos(a) * std::cos(e)};
}

double angle_between(Vector3d const& a, Vector3d const& b)
{
    return degrees(std::atan2(a.cross(b).norm(), a.dot(b)));
}

Vector3d gourd_point(Vector3d const& direction)
{
    return direction * gourd_radius(direction);
}

Vector3d gourd_normal(Vector3d const& direction, double width)
{
    Vector3d const side = direction.unitOrthogonal() * (0.5 * width / RADIUS);
    Vector3d const other = direction.cross(side);
    Vector3d const across =
        gourd_point((direction + side).normalized()) - gourd_point((direction - side).normalized());
    Vector3d const along = gourd_point((direction + other).normalized()) -
                           gourd_point((direction - other).normalized());
    return across.cross(along).normalized();
}

double distance_to_gourd(Vector3d const& place)
{
    constexpr int MOST_STEPS = 20;
    constexpr double WIDTH = 0.01; // of the patch for a normal
    Vector3d at = place.normalized();
    double nearest = (place - gourd_point(at)).norm();
    for (int i = 0; i < MOST_STEPS; ++i)
    {
        // On to where the tangent plane is nearest.
        Vector3d const normal = gourd_normal(at, WIDTH);
        at = (place - normal * normal.dot(place - gourd_point(at))).normalized();
        double const distance = (place - gourd_point(at)).norm();
        if (!(distance < nearest))
        {
            break;
        }
        bool const settled = nearest - distance < 1e-4 * nearest;
        nearest = distance;
        if (settled)
        {
            break;
        }
    }
    return nearest;
}

} // namespace veld::cli
