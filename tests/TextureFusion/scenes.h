#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"

#include <array>
#include <cmath>
#include <utility>
#include <vector>

namespace veld_test
{

using OrvaneAlgorithm::CameraInParam;
using OrvaneAlgorithm::Image;
using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RigidMatrix;
using OrvaneAlgorithm::Vector3d;

/// The pose, world to camera, of a camera at `eye` that looks at `target`: x to the right, y down,
/// z forwards.
inline RigidMatrix look_at(Vector3d const& eye, Vector3d const& target,
                           Vector3d const& up = Vector3d(0.0, 1.0, 0.0))
{
    Vector3d const forwards = (target - eye).normalized();
    Vector3d right = forwards.cross(up);
    if (right.norm() < 1e-6)
    {
        right = forwards.cross(Vector3d(1.0, 0.0, 0.0));
    }
    right.normalize();
    Matrix3d rotation;
    rotation.row(0) = right;
    rotation.row(1) = forwards.cross(right);
    rotation.row(2) = forwards;
    RigidMatrix pose;
    pose.set_rotation(rotation);
    pose.set_translation(-(rotation * eye));
    return pose;
}

/// An image whose pixels are `color(x, y)`.
template <typename Color>
Image<3, unsigned char> painted(int width, int height, Color const& color)
{
    Image<3, unsigned char> image(width, height);
    for (int y = 0; y < height; ++y)
    {
        for (int x = 0; x < width; ++x)
        {
            std::array<unsigned char, 3> const channels = color(x, y);
            for (int c = 0; c < 3; ++c)
            {
                image.pixel(x, y)[c] = channels[static_cast<std::size_t>(c)];
            }
        }
    }
    return image;
}

/// A view whose principal point is the middle of its image.
inline OrvaneAlgorithm::detail::TexImage view(int id, RigidMatrix const& pose, double focal_length,
                                              Image<3, unsigned char> image)
{
    OrvaneAlgorithm::detail::TexImage result;
    result.id = id;
    result.intrinsics =
        CameraInParam(focal_length, focal_length, image.width() / 2.0, image.height() / 2.0);
    result.pose = pose;
    result.image = std::move(image);
    return result;
}

} // namespace veld_test
