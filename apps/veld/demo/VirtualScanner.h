#pragma once

#include "workflow/pictures/RayScene.h"

#include "algorithmVeld/common/RigidMatrix.h"
#include "algorithmVeld/common/types.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace veld::cli
{

using OrvaneAlgorithm::Vector3d;

/// A thing that a scanner looks at. Asked from many threads.
class ScannedObject
{
public:
    ScannedObject() = default;
    virtual ~ScannedObject() = default;
    ScannedObject(ScannedObject const&) = delete;
    ScannedObject& operator=(ScannedObject const&) = delete;

    /// What rays are cast at.
    virtual RayScene const& scene() const = 0;

    /// Where a scanner without noise takes a place to be, or nothing if it does not see it.
    virtual std::optional<Vector3d> appearance(RayHit const& hit, Vector3d const& place) const = 0;
};

/// What a scanner is like. Lengths are millimetres, angles degrees.
struct ScannerSettings
{
    int rows = 270;
    int columns = 252;
    double distance = 400.0;           ///< From the middle of what it looks at.
    double spacing = 0.5;              ///< Of the rays there.
    double noise = 0.03;               ///< Standard deviation along the ray.
    double largest_slant = 72.0;       ///< Between ray and normal; what is farther gives nothing.
    double depth_jump = 2.5;           ///< Where neighbours differ by more, neither is measured.
    double lost = 0.003;               ///< Part of the points that are lost for no reason.
    double registration_shift = 0.025; ///< Standard deviation of the poses along each axis.
    double registration_turn = 0.01;   ///< The same round each axis through the middle.
};

/// From where the scanner looks: degrees round y from the z axis, and above the x-z plane.
struct ScannerView
{
    double azimuth = 0.0;
    double elevation = 0.0;
};

/// What the scanner gives for one view. The scanner stands in the origin of the frame's coordinates
/// and looks along -z, x to the right and y up. Rows go up and columns to the right, so that faces
/// on the grid look at the scanner.
struct ScannedFrame
{
    int rows = 0;
    int columns = 0;
    std::vector<Vector3f> points; ///< Row by row; the origin is no point.
    OrvaneAlgorithm::RigidMatrix
        pose; ///< To the object's coordinates, with the registration's error.
};

/// A range scanner with a grid of rays from one point, cast at an object.
class VirtualScanner
{
public:
    /// \param middle of what the scanner looks at
    VirtualScanner(ScannerSettings const& settings, Vector3d const& middle)
        : settings_(settings), middle_(middle)
    {
    }

    /// Takes a frame from each view. Errors are random, yet the same in every run.
    std::vector<ScannedFrame> scan(ScannedObject const& object,
                                   std::vector<ScannerView> const& views) const;

private:
    struct Shot;

    OrvaneAlgorithm::RigidMatrix true_pose(ScannerView const& view) const;
    OrvaneAlgorithm::RigidMatrix registered(OrvaneAlgorithm::RigidMatrix const& pose,
                                            std::uint32_t frame) const;
    std::vector<Shot> shoot(ScannedObject const& object,
                            OrvaneAlgorithm::RigidMatrix const& pose) const;
    bool is_at_jump(std::vector<Shot> const& shots, std::size_t pixel) const;
    ScannedFrame take_frame(ScannedObject const& object, ScannerView const& view,
                            std::uint32_t frame) const;

    ScannerSettings settings_;
    Vector3d middle_;
};

} // namespace veld::cli
