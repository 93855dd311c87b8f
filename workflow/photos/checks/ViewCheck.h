#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/photos/places/SampledPlaces.h"

#include <string>
#include <vector>

namespace veld
{

/// How photographs have a mesh in view.
struct SightReport
{
    /// The part of its places that look towards a camera that has them in view, whatever lies
    /// between.
    double facing = 0.0;
    std::string doubt;   ///< Why the poses look like other ones; empty if they do not.
    std::string setting; ///< With which they would fit; empty if there is none.
};

/// Looks for the mesh in the photographs, and for the poses by which they agree best on the colours
/// of its places. Throws `InputError` where no place is in view of any, or
/// where poses that are turned round or have other axes show far more of it; what would bring the
/// mesh into view is told.
/// \param faces and views in one unit
/// \param photos one for each view, of its size
/// \param pose_scale by which the poses have been multiplied already
/// \param source of the views, for messages
SightReport check_sight(MeshTriangles const& faces, std::vector<PhotoView> const& views,
                        std::vector<Photo> const& photos, double pose_scale,
                        std::string const& source);

/// The factor on the lengths of the poses by which photographs see a mesh at a size that they are
/// taken at, and agree on its colours: 1 where they do so as they are, or with no other unit.
double likely_pose_scale(MeshTriangles const& faces, std::vector<PhotoView> const& views,
                         std::vector<Photo> const& photos);

} // namespace veld
