#pragma once

#include "algorithmVeld/common/vectors.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Points on a plane, and what was said about them on the way there.
struct ProjectedPoints
{
    std::vector<Vector3f>& points;
    std::vector<float>& distances; ///< From the plane, never negative.
    std::vector<float>& cosines;   ///< Of the angles between normals, where these are unit vectors.
};

/// Projects points onto the plane through a point with a normal of any length but 0. All three
/// lists are replaced.
/// \throw std::out_of_range if there are fewer normals than points
void project_onto_plane(Vector3f const& point, Vector3f const& normal,
                        std::vector<Vector3f> const& points, std::vector<Vector3f> const& normals,
                        ProjectedPoints const& projected);

/// The matrix that turns by an angle in radians about an axis of unit length, clockwise when the
/// axis looks at the viewer. The fourth row and column are those of the identity.
void rotate_arbitrary_axis(Vector3f const& axis, float angle, Eigen::Matrix4d& rotation);

/// Turns points so that a unit vector comes to lie along z.
void turn_onto_z(Vector3f const& normal, std::vector<Vector3f>& points);

} // namespace OrvaneAlgorithm::detail
