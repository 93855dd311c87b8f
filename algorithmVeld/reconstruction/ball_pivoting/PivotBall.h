#pragma once

#include "algorithmVeld/common/vectors.h"

#include <array>

/// \file
/// The geometry of a ball that rolls around an edge. Single precision, but where a comparison says
/// otherwise.

namespace OrvaneAlgorithm::detail
{

/// Finds the centre of the ball that touches three points and lies on the side from which they run
/// against the clock.
/// \return false, with the centre left alone, if the points are nearly on a line or their
///         circumcircle is larger than the ball
bool find_sphere(Vector3f const& p0, Vector3f const& p1, Vector3f const& p2, float radius,
                 Vector3f& centre);

/// The same with a ball that is enlarged until it fits.
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
