#include "algorithmVeld/HoleFilling/triangulation/TriangleCost.h"

#include "algorithmVeld/common/geometry/TriangleGeometry.h"
#include "algorithmVeld/common/geometry/angles.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{
namespace
{

constexpr float STRAIGHT_ANGLE = 3.132866F;  // 179.5 degrees
constexpr float NEEDLE_ANGLE = 0.017453292F; // 1 degree

// Most triangles are told from needles by squared sines and cosines, without `corner_angles`. Both
// ways start from the same rounded sides. u = 2^-24 is the rounding of one operation:
//
// - A scalar or a cross product is off by 3u of the product of the lengths, a squared length by 3u
//   of itself. So a squared cosine is off by less than 20u, and a sine by 6u.
// - A side made a unit, which is done twice, is off by 4u in length and 2u in direction; so the
//   measured sine or cosine of an angle is off by less than 14u. The inverse of the one that
//   changes faster, by at least 0.7, is taken; with its own rounding a measured angle is off by 14u
//   / 0.7 + 4u = 24u = 1.5e-6.
// - Rounded sides do not quite close: what is missing is at most u times the perimeter, which turns
//   a side by u times the perimeter over its length. That is 5u for the two longest sides. For any
//   side of a triangle that is found to be no needle it is 115u: the side is at least 0.0178 times
//   the second longest, since the cross product is no larger than the product of any two sides.

/// A measured cosine below -0.98 (168.5 degrees) reads as pi, and 0.98^2 = 0.9604. Both limits are
/// 0.0024 or more away from it; rounding reaches 20u here and 2 * 14u there, 3e-6 together.
constexpr float SURELY_NOT_PI = 0.958F;
constexpr float SURELY_PI = 0.963F;

/// sin(1 degree)^2 = 3.046e-4. Where all three sines are above 0.01788 = sin(1.025 degrees), the
/// angles are 4.3e-4 above 1 degree, and none is above 178. Rounding reaches, in the angle that is
/// pi less the two others, 2 * 1.5e-6 + 115u + 6u = 1.1e-5.
constexpr float SURELY_NO_NEEDLE = 3.2e-4F;
/// Where one sine is below 0.01703 = sin(0.976 degrees), that angle is 4.2e-4 below 1 degree.
/// Rounding reaches 2 * 1.5e-6 + 5u + 6u = 4e-6.
constexpr float SURELY_NEEDLE = 2.9e-4F;

/// Between these, no square that an answer rests on under- or overflows. The longest side is at
/// most twice the second, so the second is above (1e-25 / 4)^(1/4) = 4e-7, and the shortest of what
/// is no needle above 0.0178 times that, 7e-9: the products of two squares are above 7e-30. Where
/// one is so small that it underflows, the shortest side is too short for anything but a needle.
constexpr float SMALLEST_SQUARE = 1e-25F;
constexpr float LARGEST_SQUARE = 1e30F;

} // namespace

bool is_needle(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    Vector3f const ab = b - a;
    Vector3f const ac = c - a;
    Vector3f const bc = c - b;
    float const ab2 = ab.squaredNorm();
    float const ac2 = ac.squaredNorm();
    float const bc2 = bc.squaredNorm();
    // The smallest sine is twice the area over the two longest sides.
    float const two_longest = std::max({ab2 * ac2, ab2 * bc2, ac2 * bc2});
    if (two_longest > SMALLEST_SQUARE && two_longest < LARGEST_SQUARE)
    {
        float const sine2 = ab.cross(ac).squaredNorm();
        float const obtuse_a = std::min(ab.dot(ac), 0.0F);
        float const obtuse_b = std::max(ab.dot(bc), 0.0F);
        // The third angle is not measured, so it never reads as pi.
        bool const no_obtuse = obtuse_a * obtuse_a < SURELY_NOT_PI * (ab2 * ac2) &&
                               obtuse_b * obtuse_b < SURELY_NOT_PI * (ab2 * bc2);
        if (no_obtuse && sine2 > SURELY_NO_NEEDLE * two_longest)
        {
            return false;
        }
        bool const is_straight = obtuse_a * obtuse_a > SURELY_PI * (ab2 * ac2) ||
                                 obtuse_b * obtuse_b > SURELY_PI * (ab2 * bc2);
        if (is_straight || sine2 < SURELY_NEEDLE * two_longest)
        {
            return true;
        }
    }
    auto const angles = corner_angles(a, b, c);
    return angles.max() > STRAIGHT_ANGLE || angles.min() < NEEDLE_ANGLE;
}

float triangle_angle(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                     NeighbourNormals const& neighbours, int existing_edges,
                     TriangulationRule const& rule)
{
    Vector3f const normal = (pi - pj).cross(pm - pj).normalized();
    Vector3f const unit = normal.normalized();
    float largest = 0.0F;
    for (std::size_t k = 0; k < neighbours.count; ++k)
    {
        float const angle = angle_between_units(unit, neighbours.units[k]);
        if (angle > largest)
        {
            largest = angle;
        }
    }
    if (rule.flat_weight && largest < STRAIGHT_ANGLE)
    {
        largest = 0.0F;
    }
    for (int k = 0; k < existing_edges; ++k)
    {
        largest += 6.2831855F;
    }
    return static_cast<float>(degrees(static_cast<double>(largest)));
}

SplitCost triangle_cost(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                        NeighbourNormals const& neighbours, int existing_edges,
                        TriangulationRule const& rule)
{
    float area = triangle_area(pi, pm, pj);
    if (is_needle(pi, pm, pj))
    {
        area += rule.bad_triangle_area;
    }
    float const angle = triangle_angle(pi, pm, pj, neighbours, existing_edges, rule);
    if (angle > FOLD_ANGLE)
    {
        area += rule.bad_triangle_area;
    }
    return {angle, area};
}

} // namespace OrvaneAlgorithm::detail
