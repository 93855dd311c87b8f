#include "algorithmVeld/HoleFilling/TriangleMeasures.h"

#include "algorithmVeld/common/geometry/TriangleGeometry.h"

namespace OrvaneAlgorithm
{

void TriangleMeasures::calc_angle(Vector3f const& u, Vector3f const& v, float& angle)
{
    angle = detail::angle_between(u, v);
}

void TriangleMeasures::calc_area(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                 float& area)
{
    area = detail::triangle_area(a, b, c);
}

void TriangleMeasures::calc_tri_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                       Vector3f& normal)
{
    normal = detail::reversed_normal(a, b, c);
}

void TriangleMeasures::calc_inner_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                            float& angle_a, float& angle_b, float& angle_c)
{
    auto const angles = detail::corner_angles(a, b, c);
    angle_a = angles.a;
    angle_b = angles.b;
    angle_c = angles.c;
}

void TriangleMeasures::calc_max_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                          float& max)
{
    max = detail::corner_angles(a, b, c).max();
}

void TriangleMeasures::calc_min_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                          float& min)
{
    min = detail::corner_angles(a, b, c).min();
}

void TriangleMeasures::calc_max_min_tri_angle(Vector3f const& a, Vector3f const& b,
                                              Vector3f const& c, float& max, float& min)
{
    auto const angles = detail::corner_angles(a, b, c);
    max = angles.max();
    min = angles.min();
}

} // namespace OrvaneAlgorithm
