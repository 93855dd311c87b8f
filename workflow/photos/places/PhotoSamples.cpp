#include "workflow/photos/places/PhotoSamples.h"

#include "workflow/ForEachIndex.h"

#include "algorithmVeld/common/running/Progress.h"

#include <cmath>
#include <optional>

namespace veld
{

namespace
{

constexpr double LEAST_COSINE = 0.3; // between normal and ray: a slanted place reflects in its way
constexpr int DARKEST = 8;           // of a channel; below it rounding is a tenth of the value
constexpr int BRIGHTEST = 247;       // above it a lens or a file format may have cut off
constexpr std::size_t POLL_EVERY = 4096; // places

/// The mean of nine pixels, if none of them was cut off.
std::optional<PhotoSamples::Colour> colour_at(Photo const& photo, std::array<double, 2> const& at)
{
    auto const [u, v] = at;
    // Also refuses what is no number.
    if (!(u >= 1.0 && v >= 1.0 && u <= photo.width() - 2.0 && v <= photo.height() - 2.0))
    {
        return std::nullopt;
    }
    auto const column = static_cast<int>(std::lround(u));
    auto const row = static_cast<int>(std::lround(v));
    std::array<int, 3> sum{};
    for (int y = row - 1; y <= row + 1; ++y)
    {
        for (int x = column - 1; x <= column + 1; ++x)
        {
            unsigned char const* const pixel = photo.pixel(x, y);
            for (std::size_t channel = 0; channel < 3; ++channel)
            {
                if (pixel[channel] < DARKEST || pixel[channel] > BRIGHTEST)
                {
                    return std::nullopt;
                }
                sum[channel] += pixel[channel];
            }
        }
    }
    PhotoSamples::Colour colour;
    for (std::size_t channel = 0; channel < 3; ++channel)
    {
        colour[channel] = std::log(static_cast<float>(sum[channel]) / 9.0F);
    }
    return colour;
}

} // namespace

PhotoSamples::PhotoSamples(MeshTriangles const& faces, RayScene const& scene,
                           std::vector<PhotoView> const& views, std::vector<Photo> const& photos,
                           double depth_tolerance, std::size_t most_places)
    : seen_(views.size()), colours_(views.size())
{
    auto const places = choose_places(faces, most_places);
    n_places_ = places.size();
    for_each_index(views.size(),
                   [&](std::size_t i)
                   {
                       seen_[i].resize(n_places_);
                       colours_[i].resize(n_places_);
                       PlacedCamera const viewer(views[i]);
                       for (std::size_t k = 0; viewer.is_usable() && k < n_places_; ++k)
                       {
                           if (k % POLL_EVERY == 0)
                           {
                               OrvaneAlgorithm::detail::poll_cancel();
                           }
                           auto const pixel = viewer.pixel(places[k].point);
                           auto const colour = pixel ? colour_at(photos[i], *pixel) : std::nullopt;
                           if (colour && viewer.faces(places[k], LEAST_COSINE) &&
                               viewer.reaches(places[k].point, scene, depth_tolerance))
                           {
                               seen_[i][k] = 1;
                               colours_[i][k] = *colour;
                           }
                       }
                   });
}

} // namespace veld
