#pragma once

#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/vectors.h"

#include <Eigen/Geometry>

#include <cmath>

namespace OrvaneAlgorithm::detail
{

/// Angle in radians between two vectors that are unit vectors up to rounding.
inline float angle_between_units(Vector3f const& u, Vector3f const& v)
{
    float const cosine = u.dot(v);
    if (cosine > -0.7 && cosine < 0.7)
    {
        return std::acos(cosine);
    }
    if (cosine < -0.98)
    {
        return PI_F; // folded onto each other, whatever the rounding
    }
    // Near 0 and pi the cosine hardly changes with the angle; the sine does.
    float const angle = std::asin(u.cross(v).norm());
    return cosine <= 0.0F ? static_cast<float>(PI - angle) : angle;
}

/// Angle in radians between two vectors of any length; a vector without a direction is at right
/// angles to everything.
float angle_between(Vector3f const& u, Vector3f const& v);

/// Area from the lengths of the sides; 0 where rounding leaves nothing of it.
inline float triangle_area(float ab, float bc, float ca)
{
    float const s = (ab + bc + ca) * 0.5F;
    float const square = s * (s - ab) * (s - bc) * (s - ca);
    return std::sqrt(square > 0.0F ? square : 0.0F);
}
inline float triangle_area(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    return triangle_area((b - a).norm(), (c - b).norm(), (a - c).norm());
}

/// Unit normal of the triangle `c`, `b`, `a`: the negative of the usual one.
Vector3f reversed_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c);

/// Angles of a triangle at its corners, in radians. The third is what the two others leave of pi.
struct CornerAngles
{
    float a;
    float b;
    float c;

    float max() const;
    float min() const;
};

CornerAngles corner_angles(Vector3f const& a, Vector3f const& b, Vector3f const& c);

} // namespace OrvaneAlgorithm::detail
