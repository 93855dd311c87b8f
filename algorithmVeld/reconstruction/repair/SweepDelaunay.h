#pragma once

#include "algorithmVeld/common/vectors.h"

#include <array>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The circle through the corners of a triangle.
struct Circumcircle
{
    float cx = 0.0F;
    float cy = 0.0F;
    float radius = 0.0F;
    /// A little more than the square of the radius: points on the circle count as inside.
    float wide_square_radius = 0.0F;
};

/// Corners on a line along x get a circle round the middle between the outer two; those on any
/// other line one that is not finite.
Circumcircle circumcircle(Vector2f const& a, Vector2f const& b, Vector2f const& c);

struct DelaunayTriangle
{
    std::array<int, 3> corners; ///< Numbers of points.
    Circumcircle circle;
};

/// Whether a point comes before another in the order of the sweep: by x, and by y where x is equal.
inline bool is_swept_before(Vector2f const& a, Vector2f const& b)
{
    return a.x() < b.x() || (a.x() == b.x() && a.y() < b.y());
}

/// Triangulates points of the plane by a sweep in rising x after Bowyer and Watson: each point
/// removes the triangles whose circumcircle holds it and is connected to the outline of the hole.
/// The sweep begins with one triangle around all points.
///
/// A triangle is given out when the sweep has passed its circle. Those whose circle reaches the
/// largest x or past it never are, so a set of points has no triangles at its right rim, and three
/// points have none at all. The triangle at the beginning fits closely, so that flat triangles at
/// the other rims are lost as well. Results rely on both. The orientation is either.
///
/// \param vertices finite, in any order; equal ones count once
/// \param triangles replaced: ordered by the centres of their circles, by x and then by y
/// \param points replaced: the different points in the order of the sweep; none if there are fewer
///        than three
/// \param triples replaced: the corners of the triangles as numbers of points, in the same order
void delaunay_triangulate(std::vector<Vector2f> const& vertices,
                          std::vector<DelaunayTriangle>& triangles, std::vector<Vector2f>& points,
                          std::vector<std::array<int, 3>>& triples);

} // namespace OrvaneAlgorithm::detail
