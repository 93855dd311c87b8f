#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/photos/places/SampledPlaces.h"

#include <string>
#include <vector>

namespace veld
{

/// What decides whether a photograph shows a place that it has in view.
struct SightLimits
{
    double lowest_cosine = 0.0;
    double image_border = 0.0;    ///< Pixels.
    double depth_tolerance = 0.0; ///< In the mesh's unit.
};

/// Why something came out as it did.
struct UnseenReason
{
    std::string text;
    std::string setting; ///< With which another try may do better; empty if none.
};

/// Finds out why photographs show no face of a mesh that some have in view: the first limit that
/// leaves nothing.
UnseenReason find_unseen_reason(MeshTriangles const& faces, std::vector<PhotoView> const& views,
                                SightLimits const& limits);

} // namespace veld
