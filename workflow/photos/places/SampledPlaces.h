#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/pictures/RayScene.h"

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace veld
{

/// A place of a surface that photographs are asked for.
struct SampledPlace
{
    OrvaneAlgorithm::Vector3d point;
    OrvaneAlgorithm::Vector3d normal; ///< Of unit length.
};

/// All faces, as rays need them.
struct MeshTriangles
{
    std::vector<Vector3f> points;
    std::vector<std::array<std::uint32_t, 3>> triangles;

    explicit MeshTriangles(OrvaneAlgorithm::TriMesh const& mesh);

    RayScene scene() const { return RayScene::of_triangles(points, triangles); }
};

/// Every so many vertices one, where it has a normal: up to `most`, spread over all.
std::vector<SampledPlace> choose_places(MeshTriangles const& faces, std::size_t most);

/// A camera at its place in the world.
class PlacedCamera
{
public:
    explicit PlacedCamera(PhotoView const& view);

    bool is_usable() const { return centre_.allFinite() && pose_.get_rotation().allFinite(); }

    /// The depth of a place, below 0 behind the camera.
    double depth(OrvaneAlgorithm::Vector3d const& point) const;

    /// Column and row of a place, or nothing behind the camera.
    std::optional<std::array<double, 2>> pixel(OrvaneAlgorithm::Vector3d const& point) const;

    /// The same for a place that lies on the photograph, at least `border` pixels from its rim.
    std::optional<std::array<double, 2>> pixel_inside(OrvaneAlgorithm::Vector3d const& point,
                                                      double border = 0.0) const;

    /// Whether the cosine of the angle between a place's normal and the way to the camera is more
    /// than `cosine`.
    bool faces(SampledPlace const& place, double cosine) const;

    /// Whether nothing hides a place that is more than `tolerance` nearer.
    bool reaches(OrvaneAlgorithm::Vector3d const& point, RayScene const& scene,
                 double tolerance) const;

private:
    CameraInParam intrinsics_;
    RigidMatrix pose_;
    OrvaneAlgorithm::Vector3d centre_;
    double width_;
    double height_;
};

} // namespace veld
