#include "workflow/photos/checks/Sight.h"

#include "workflow/ForEachIndex.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace veld
{

namespace
{

constexpr double LEAST_AGREEMENT = 0.1;  // a wrong guess may have it by chance
constexpr std::size_t LEAST_SHARED = 30; // places; fewer may be chance
constexpr double LEAST_VARIANCE = 25.0;  // of a channel; a plain surface looks alike from anywhere

enum Look : unsigned char
{
    OUTSIDE = 0,
    IN_VIEW = 1,
    FACING = 2
};

/// What one photograph shows of places.
struct PhotoLooks
{
    std::vector<unsigned char> looks;         ///< Of each place.
    std::vector<unsigned char const*> pixels; ///< Of each place that faces the camera.
    double part = 0.0;                        ///< Of its width or height, that they take.
};

PhotoLooks look(std::vector<SampledPlace> const& places, PhotoView const& view, Photo const& photo)
{
    PlacedCamera const camera(view);
    Eigen::Vector2d const size(view.width, view.height);
    Eigen::Vector2d min = Eigen::Vector2d::Constant(std::numeric_limits<double>::infinity());
    Eigen::Vector2d max = -min;
    bool const has_pixels = photo.width() == view.width && photo.height() == view.height;
    PhotoLooks result;
    result.looks.assign(places.size(), OUTSIDE);
    result.pixels.assign(places.size(), nullptr);
    for (std::size_t i = 0; i < places.size(); ++i)
    {
        if (auto const at = camera.pixel_inside(places[i].point))
        {
            Eigen::Vector2d const pixel((*at)[0], (*at)[1]);
            min = min.cwiseMin(pixel);
            max = max.cwiseMax(pixel);
            result.looks[i] = camera.faces(places[i], 0.0) ? FACING : IN_VIEW;
            if (result.looks[i] == FACING && has_pixels)
            {
                result.pixels[i] = photo.pixel(static_cast<int>(std::lround(pixel.x())),
                                               static_cast<int>(std::lround(pixel.y())));
            }
        }
    }
    result.part = std::max(0.0, ((max - min).array() / size.array()).maxCoeff());
    return result;
}

/// 1 less the part of all differences of colours that lies between photographs of one place.
double find_agreement(std::vector<PhotoLooks> const& photos, std::size_t n_places)
{
    using Eigen::Array3d;
    Array3d sum = Array3d::Zero();
    Array3d squares = Array3d::Zero();
    Array3d within = Array3d::Zero();
    double n = 0.0;
    std::size_t n_shared = 0;
    for (std::size_t i = 0; i < n_places; ++i)
    {
        Array3d place_sum = Array3d::Zero();
        Array3d place_squares = Array3d::Zero();
        double k = 0.0;
        for (auto const& photo : photos)
        {
            if (auto const* const pixel = photo.pixels[i])
            {
                Array3d const colour(pixel[0], pixel[1], pixel[2]);
                place_sum += colour;
                place_squares += colour.square();
                k += 1.0;
            }
        }
        if (k > 1.0)
        {
            ++n_shared;
            n += k;
            sum += place_sum;
            squares += place_squares;
            within += place_squares - place_sum.square() / k;
        }
    }
    double const all = (squares - sum.square() / std::max(n, 1.0)).sum();
    if (n_shared < LEAST_SHARED || all < LEAST_VARIANCE * n)
    {
        return UNKNOWN_AGREEMENT;
    }
    double const freedom = (n - 1.0) / (n - static_cast<double>(n_shared));
    return std::clamp(1.0 - freedom * within.sum() / all, LEAST_AGREEMENT, 1.0);
}

} // namespace

Sight look_at_places(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views,
                     std::vector<Photo> const& photos)
{
    std::vector<PhotoLooks> looks(views.size());
    for_each_index(views.size(),
                   [&](std::size_t i) { looks[i] = look(places, views[i], photos[i]); });
    Sight sight;
    for (std::size_t i = 0; i < places.size(); ++i)
    {
        unsigned char best = OUTSIDE;
        for (auto const& photo : looks)
        {
            best = std::max(best, photo.looks[i]);
        }
        sight.in_view += best != OUTSIDE ? 1 : 0;
        sight.facing += best == FACING ? 1 : 0;
    }
    for (auto const& photo : looks)
    {
        sight.largest_part = std::max(sight.largest_part, photo.part);
        sight.mean_part += photo.part / static_cast<double>(looks.size());
    }
    sight.agreement = find_agreement(looks, places.size());
    return sight;
}

} // namespace veld
