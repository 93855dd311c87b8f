#pragma once

#include "demo/TriangleSoup.h"
#include "workflow/pictures/RayScene.h"

#include <optional>

namespace veld::cli
{

/// The gourd's surface as triangles, finer than the scanner's grid.
TriangleSoup make_gourd();

/// The gourd with nothing on it or around it, as rays meet it.
class GourdModel
{
public:
    struct Hit
    {
        Vector3d place;
        Vector3d normal; ///< Smooth.
    };

    GourdModel();

    /// What a ray meets first. The direction has unit length. Asked from many threads.
    std::optional<Hit> first_hit(Vector3d const& origin, Vector3d const& direction) const;

private:
    TriangleSoup soup_;
    std::vector<Vector3f> normals_; ///< Of the points, unit vectors.
    RayScene scene_;
};

} // namespace veld::cli
