#pragma once

#include "workflow/pictures/View.h"

#include "algorithmVeld/common/types.h"

#include <vector>

namespace veld
{

using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

/// A perspective camera without lens errors.
struct Camera
{
    Vector3f origin = Vector3f::Zero();
    Vector3f right = Vector3f::UnitX();
    Vector3f up = Vector3f::UnitY();
    Vector3f forward = -Vector3f::UnitZ();
    float tan_x = 0.0F; ///< Half the picture's width at distance 1.
    float tan_y = 0.0F; ///< Half the picture's height at distance 1.

    /// Direction through a place in the picture: (-1, -1) bottom left to (1, 1) top right.
    Vector3f ray(float x, float y) const
    {
        return (forward + right * (x * tan_x) + up * (y * tan_y)).normalized();
    }

    /// Distance of a point from the plane of the camera.
    float depth(Vector3f const& point) const { return (point - origin).dot(forward); }
};

/// The camera from which all points just fit into the picture with a small margin.
/// \param aspect width of the picture through its height
Camera fit_camera(std::vector<Vector3f> const& points, ViewDirection const& view, double aspect);

} // namespace veld
