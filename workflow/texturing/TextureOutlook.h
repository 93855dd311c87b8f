#pragma once

#include "workflow/StepScope.h"
#include "workflow/photos/Photos.h"
#include "workflow/photos/checks/ViewCheck.h"
#include "workflow/photos/places/SampledPlaces.h"
#include "workflow/pictures/RayScene.h"
#include "workflow/steps/TextureResult.h"

#include <optional>
#include <string>
#include <vector>

namespace veld
{

/// What is known before a mesh is textured.
class TextureOutlook
{
public:
    /// Refuses poses that cannot be those of the mesh, warns of those that hardly can, and measures
    /// the depth tolerance that was not given.
    /// \param result has the mesh in millimetres, and the settings, which get the tolerance
    TextureOutlook(PhotoSet const& photos, TextureResult& result, StepScope& scope);

    MeshTriangles const& faces() const { return faces_; }
    /// In millimetres.
    std::vector<PhotoView> const& views() const { return views_; }
    SightReport const& sight() const { return sight_; }

    /// The faces for rays, from the first call until it is dropped.
    RayScene const& scene();
    void drop_scene() { scene_.reset(); }

    /// Refuses poses that are known to fit less than others, where nothing comes of them.
    void refuse_doubtful() const;

private:
    void check_facing(double spacing, StepScope& scope);

    std::string source_;
    MeshTriangles faces_;
    std::vector<PhotoView> views_;
    SightReport sight_;
    std::optional<RayScene> scene_;
};

} // namespace veld
