#pragma once

#include "algorithmVeld/common/vectors.h"

#include <array>

/// \file
/// The geometry of a ball that rolls around an edge. Single precision, but where a comparison says
/// otherwise.

namespace OrvaneAlgorithm::detail
{

/// The square of the distance between two points, rounded as a search in a tree rounds it.
inline float square_distance(Vector3f const& a, Vector3f const& b)
{
    Vector3f const d = a - b;
    return (d.x() * d.x() + d.y() * d.y()) + d.z() * d.z();
}

/// Finds the centre of the ball that touches three points and lies on the side from which they run
/// against the clock.
/// \return false, with the centre left alone, if the points are nearly on a line or their
///         circumcircle is larger than the ball
bool find_sphere(Vector3f const& p0, Vector3f const& p1, Vector3f const& p2, float radius,
                 Vector3f& centre);

/// Whether the circumcircle of three points is larger than the ball by so much that `find_sphere`
/// is sure to say so: a look that costs a fraction of it. False decides nothing.
inline bool is_ball_surely_too_small(Vector3f const& p0, Vector3f const& p1, Vector3f const& p2,
                                     float radius)
{
    // For narrower angles rounding in `find_sphere` is not known to stay within the margin, and
    // beyond the limits squares of squares are no numbers to trust.
    constexpr float SMALLEST_SQUARE_SINE = 0.01F;
    constexpr float MARGIN = 1.001F;
    constexpr float SMALLEST = 1e-30F;
    constexpr float LARGEST = 1e30F;
    Vector3f const u = p1 - p0;
    Vector3f const w = p2 - p0;
    float const squares = u.squaredNorm() * w.squaredNorm();
    float const square_area = u.cross(w).squaredNorm();
    float const product = squares * (p2 - p1).squaredNorm();
    return square_area > SMALLEST_SQUARE_SINE * squares && product > SMALLEST &&
           product < LARGEST && product > MARGIN * 4.0F * radius * radius * square_area;
}

/// `find_sphere` with a ball that is enlarged until it fits.
/// \param retries how often
/// \param scale the factor of each enlargement
bool find_enlarged_sphere(std::array<Vector3f, 3> const& corners, float radius, int retries,
                          float scale, Vector3f& centre);

/// A boundary edge, seen along the halfedge without a face.
struct PivotEdge
{
    Vector3f from;
    Vector3f to;

    Vector3f middle() const { return (from + to) * 0.5F; }
};

/// How far the ball turns around the edge from one centre to another, from 0 to 2 pi, by the right
/// hand along the edge. NaN if one of the centres is.
float pivot_angle(PivotEdge const& edge, Vector3f const& start_centre, Vector3f const& centre);

/// The unit normal of the triangle of an edge and a vertex.
/// \return false, with the normal left alone, if they are nearly on a line
bool find_face_normal(PivotEdge const& edge, Vector3f const& vertex, Vector3f& normal);

} // namespace OrvaneAlgorithm::detail
