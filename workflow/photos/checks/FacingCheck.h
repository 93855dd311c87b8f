#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/photos/places/SampledPlaces.h"
#include "workflow/pictures/RayScene.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// How the faces of a mesh are turned where cameras see them.
struct FacingCounts
{
    std::size_t towards = 0;
    std::size_t away = 0;

    /// The part that looks away from the camera that sees it.
    double part_away() const;
};

/// Counts places of a mesh in each photograph that has them in view with nothing before them. A
/// mesh whose faces are turned inside out looks away in most.
/// \param scene of the faces \param spacing of the mesh
FacingCounts count_facing(MeshTriangles const& faces, RayScene const& scene,
                          std::vector<PhotoView> const& views, double spacing);

} // namespace veld
