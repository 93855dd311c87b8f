#pragma once

#include "algorithmVeld/common/types.h"

#include <algorithm>
#include <cmath>

/// \file
/// Limits for the cosine between the normals of two triangles that tell, without the angle itself,
/// whether the angle is larger or smaller than another one.
///
/// The angle is what `triangle_angle` makes of the normal of a triangle, which it makes a unit
/// twice, and a neighbour's normal that is a unit by `is_unit`. The cosine that is held against a
/// limit is their scalar product over the length of the first. u = 2^-24 is the rounding of one
/// operation:
///
/// - That cosine is off by 3u for the product, 3u for the length and u for the product of limit and
///   length, and by 1.1e-6 for the neighbour's length: 7u + 1.1e-6 = 1.6e-6.
/// - `triangle_angle` takes the angle from the cosine or the sine, whichever changes faster, by at
///   least 0.7. Either is off by less than 13u (3u for the product, 6u for length and direction of
///   the unit, 3u for the length of a vector product) and 1.1e-6 for the neighbour's length; the
///   inverse function adds up to 4u. So the angle is off by less than (13u + 1.1e-6) / 0.7 + 4u =
///   3e-6 radians.

namespace OrvaneAlgorithm::detail
{

/// How far a squared length may be from 1. The square of what was divided by its length is off by
/// 3u for the squared length, 2u for its root and 2u for the division, and by 3u as it is measured:
/// 10u = 6e-7. What is further off was too short to be made a unit: its squared length has few
/// digits, and its cosines do not tell its sines.
constexpr float UNIT_TOLERANCE = 2e-6F;

/// A face may be without a normal, or have one that is too short to be made a unit.
inline bool is_unit(Vector3f const& u)
{
    return std::fabs(u.squaredNorm() - 1.0F) < UNIT_TOLERANCE;
}

/// How far cosines are kept apart. A cosine changes no faster than its angle, so this one keeps
/// angles 4e-5 radians apart or more. It covers what is named above, 1.6e-6 + 3e-6, and 3e-7 for
/// `std::cos` of a rounded argument in `steeper_cosine`, 8e-6 for the series in `gentler_cosine`.
constexpr float COSINE_MARGIN = 4e-5F;

/// Added to an angle, in degrees, than which others are to be larger. It covers the 1e-5 within
/// which angles count as equal, and the rounding of an angle to which 2 pi was added for an
/// existing edge: 7e-7 radians, then half of the 6e-5 between floats near 540 degrees, 8e-5
/// together.
constexpr double STEEPER_MARGIN = 1e-3;

/// Larger angles than this one, in degrees, are not told: all above 168.6 degrees are measured as
/// 180, so nothing but 180 is above it.
constexpr double STEEPEST_LIMIT = 179.0;

/// A measured cosine below -0.98 reads as pi, a fold. Above this one none does: it is 0.01 away,
/// and rounding reaches 3e-6. The angle is below 166 degrees then.
constexpr float SURELY_NO_FOLD = -0.97F;

/// A cosine that none is below.
constexpr float NO_COSINE = -2.0F;

/// A cosine below which an angle is surely larger than one in degrees, by more than what counts as
/// equal; `NO_COSINE` if there is none.
inline float steeper_cosine(double degrees)
{
    double const limit = degrees + STEEPER_MARGIN;
    return limit < STEEPEST_LIMIT
               ? std::cos(static_cast<float>(limit * 0.017453292519943295)) - COSINE_MARGIN
               : NO_COSINE;
}

/// A cosine above which an angle is surely smaller than one in degrees, and no fold.
///
/// The power series up to a positive term is never smaller than the cosine. For pi its terms add up
/// to 11.6 without their signs and go through less than 10 roundings each, the angle through 3:
/// 116u + 3u pi = 8e-6.
inline float gentler_cosine(float degrees)
{
    float const angle = std::min(degrees, 180.0F) * 0.017453292F;
    float const x = angle * angle;
    float const series =
        1.0F - x * (1.0F / 2 - x * (1.0F / 24 - x * (1.0F / 720 - x * (1.0F / 40320))));
    return std::max(series, SURELY_NO_FOLD) + COSINE_MARGIN;
}

} // namespace OrvaneAlgorithm::detail
