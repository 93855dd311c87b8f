#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/photos/places/SampledPlaces.h"
#include "workflow/pictures/RayScene.h"

#include <array>
#include <cstddef>
#include <vector>

namespace veld
{

/// The colours that photographs show at places of a mesh, as logarithms: a gain is a shift of them.
class PhotoSamples
{
public:
    /// Logarithms of blue, green and red.
    using Colour = std::array<float, 3>;

    /// Looks at up to `most_places` vertices, spread over all. One counts as seen in a photograph
    /// where its surface is turned towards the camera, nothing hides it that is more than
    /// `depth_tolerance` nearer, and no pixel around its own is black or saturated: what has been
    /// cut off there shows no gain.
    /// \param scene of the faces
    PhotoSamples(MeshTriangles const& faces, RayScene const& scene,
                 std::vector<PhotoView> const& views, std::vector<Photo> const& photos,
                 double depth_tolerance, std::size_t most_places);

    std::size_t n_views() const { return seen_.size(); }
    std::size_t n_places() const { return n_places_; }

    /// Whether a photograph shows a place.
    bool seen(std::size_t view, std::size_t place) const { return seen_[view][place] != 0; }
    /// What it shows; only where it does.
    Colour const& colour(std::size_t view, std::size_t place) const
    {
        return colours_[view][place];
    }

private:
    std::size_t n_places_ = 0;
    std::vector<std::vector<unsigned char>> seen_;
    std::vector<std::vector<Colour>> colours_;
};

} // namespace veld
