#include "algorithmVeld/reconstruction/ball_pivoting/PivotBall.h"

#include <Eigen/Geometry>

#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Sine of the smallest angle between two sides of a triangle.
constexpr double SMALLEST_SINE = 0.001;
constexpr float FULL_TURN = 6.2831855F;

} // namespace

bool find_sphere(Vector3f const& p0, Vector3f const& p1, Vector3f const& p2, float radius,
                 Vector3f& centre)
{
    Vector3f const u = p1 - p0;
    Vector3f const w = p2 - p0;
    Vector3f const m = u.cross(w);
    float const area = m.norm();
    if (static_cast<double>(w.norm()) * (static_cast<double>(u.norm()) * SMALLEST_SINE) >
        static_cast<double>(area))
    {
        return false;
    }
    Vector3f const n = m / area;

    float const uu = u.dot(u);
    float const ww = w.dot(w);
    float const uw = u.dot(w);
    float const d = (uu * ww - uw * uw) * 4.0F;
    float const alpha = ((uu * ww - ww * uw) * 2.0F) / d;
    float const beta = ((uu * ww - uw * uu) * 2.0F) / d;
    Vector3f const c = alpha * u + beta * w; // the circumcentre, seen from p0
    float const distance = c.norm();
    if (distance > radius)
    {
        return false;
    }
    float const h = std::sqrt(radius * radius - distance * distance);
    centre = c + p0 + h * n;
    return true;
}

bool find_enlarged_sphere(std::array<Vector3f, 3> const& corners, float radius, int retries,
                          float scale, Vector3f& centre)
{
    bool is_found = find_sphere(corners[0], corners[1], corners[2], radius, centre);
    for (int i = 0; i < retries && !is_found; ++i)
    {
        radius *= scale;
        is_found = find_sphere(corners[0], corners[1], corners[2], radius, centre);
    }
    return is_found;
}

float pivot_angle(PivotEdge const& edge, Vector3f const& start_centre, Vector3f const& centre)
{
    Vector3f const middle = edge.middle();
    Vector3f const a = (middle - start_centre).normalized();
    Vector3f const b = (middle - centre).normalized();
    float const angle = std::acos(a.dot(b));
    return a.cross(b).dot(edge.to - edge.from) < 0.0F ? FULL_TURN - angle : angle;
}

bool find_face_normal(PivotEdge const& edge, Vector3f const& vertex, Vector3f& normal)
{
    Vector3f const e1 = edge.to - edge.from;
    Vector3f const e2 = vertex - edge.to;
    Vector3f const m = e1.cross(e2);
    float const area = m.norm();
    if (e1.norm() * static_cast<float>(SMALLEST_SINE) * e2.norm() > area)
    {
        return false;
    }
    normal = m / area;
    return true;
}

} // namespace OrvaneAlgorithm::detail
