#pragma once

#include "demo/VirtualScanner.h"
#include "workflow/files/MarkerFile.h"
#include "workflow/files/SeedFile.h"
#include "workflow/pictures/RayScene.h"

namespace veld::cli
{

/// What the demonstration scans: the gourd, sticks that stand on it along z, adhesive markers, and
/// lint that floats around it. The same in every run.
class DemoObject : public ScannedObject
{
public:
    DemoObject();

    RayScene const& scene() const override { return scene_; }

    /// The scanner sees nothing where the gourd is too dark or too shiny for it, nor below the ring
    /// that it stands in. It takes the print of a marker for heights.
    std::optional<Vector3d> appearance(RayHit const& hit, Vector3d const& place) const override;

    Markers const& markers() const { return markers_; }
    StickSeeds const& sticks() const { return sticks_; }

    static constexpr double MARKER_RADIUS = 3.0; ///< Millimetres.

private:
    RayScene scene_;
    std::uint32_t gourd_triangles_ = 0; ///< These come first in the scene.
    Markers markers_;
    StickSeeds sticks_;
};

} // namespace veld::cli
