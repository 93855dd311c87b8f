#pragma once

#include "workflow/pictures/RayScene.h"

#include <cstdint>

namespace veld
{

/// How open a place of a surface is to the sky around it: 0 closed in, 1 free.
///
/// The rays of one pixel are spread evenly over all its samples; each pixel turns their pattern by
/// an angle of its own, so that the picture shows fine grain in place of bands.
class AmbientOcclusion
{
public:
    /// \param reach how far away a surface still shades
    /// \param rays_per_pixel number of rays over all samples of a pixel
    AmbientOcclusion(RayScene const& scene, float reach, int rays_per_pixel)
        : scene_(scene), reach_(reach), rays_per_pixel_(rays_per_pixel)
    {
    }

    /// \param place a place just above the surface \param normal unit normal there
    /// \param pixel any number that tells the pixel from its neighbours
    /// \param first \param count which of the pixel's rays to shoot
    float openness(Vector3f const& place, Vector3f const& normal, std::uint32_t pixel, int first,
                   int count) const;

private:
    RayScene const& scene_;
    float reach_;
    int rays_per_pixel_;
};

} // namespace veld
