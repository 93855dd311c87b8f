#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/photos/places/SampledPlaces.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// How much photographs agree where nothing tells.
constexpr double UNKNOWN_AGREEMENT = 0.3;

/// How photographs see places.
struct Sight
{
    std::size_t in_view = 0;   ///< Places that are in view of a photograph.
    std::size_t facing = 0;    ///< Those that look towards its camera too.
    double largest_part = 0.0; ///< Of the width or height of a photograph, that they take.
    double mean_part = 0.0;
    double agreement = UNKNOWN_AGREEMENT; ///< Of the colours that photographs show at one place.

    /// How well the poses fit: a surface that is photographed shows its front, fills the
    /// photographs, most of it is in one or another, and they show the same there.
    double worth() const { return static_cast<double>(facing) * mean_part * agreement; }
};

/// \param photos one for each view, of its size
Sight look_at_places(std::vector<SampledPlace> const& places, std::vector<PhotoView> const& views,
                     std::vector<Photo> const& photos);

} // namespace veld
