#pragma once

#include "algorithmVeld/common/export.h"
#include "algorithmVeld/common/types.h"

namespace OrvaneAlgorithm
{

/// What the fillings measure on triangles, for those who build their own on them.
class ALGORITHMVELD_API TriangleMeasures
{
public:
    /// Angle between two vectors of any length, in radians.
    static void calc_angle(Vector3f const& u, Vector3f const& v, float& angle);
    /// Area of a triangle.
    static void calc_area(Vector3f const& a, Vector3f const& b, Vector3f const& c, float& area);
    /// Unit normal of the triangle taken in reverse order, `c`, `b`, `a`.
    static void calc_tri_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                Vector3f& normal);
    /// The angles of a triangle at its corners, in radians.
    static void calc_inner_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                     float& angle_a, float& angle_b, float& angle_c);
    /// The largest of these angles, in radians.
    static void calc_max_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                   float& max);
    /// The smallest of these angles, in radians.
    static void calc_min_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                   float& min);
    /// The largest and the smallest of these angles, in radians.
    static void calc_max_min_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                       float& max, float& min);
};

} // namespace OrvaneAlgorithm
