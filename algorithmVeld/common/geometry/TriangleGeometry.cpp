#include "algorithmVeld/common/geometry/TriangleGeometry.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

float angle_between(Vector3f const& u, Vector3f const& v)
{
    return angle_between_units(u.normalized(), v.normalized());
}

Vector3f reversed_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f const normal = -(b - a).cross(c - a);
    return normal.normalized();
}

float CornerAngles::max() const
{
    return std::max({a, b, c});
}

float CornerAngles::min() const
{
    return std::min({a, b, c});
}

CornerAngles corner_angles(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f const ab = (b - a).normalized();
    Vector3f const bc = (c - b).normalized();
    Vector3f const ca = (a - c).normalized();
    CornerAngles angles{};
    angles.a = angle_between(ab, -ca);
    angles.b = angle_between(bc, -ab);
    angles.c = static_cast<float>(PI - angles.a - angles.b);
    return angles;
}

} // namespace OrvaneAlgorithm::detail
