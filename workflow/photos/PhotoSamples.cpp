#include "workflow/photos/PhotoSamples.h"

#include "workflow/ForEachIndex.h"
#include "workflow/pictures/RayScene.h"

#include "algorithmVeld/common/running/Progress.h"

#include <cmath>
#include <cstdint>
#include <optional>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;
using Photo = OrvaneAlgorithm::Image<3, unsigned char>;

namespace
{

constexpr double LEAST_COSINE = 0.3; // between normal and ray: a slanted place reflects in its way
constexpr int DARKEST = 8;           // of a channel; below it rounding is a tenth of the value
constexpr int BRIGHTEST = 247;       // above it a lens or a file format may have cut off
constexpr std::size_t POLL_EVERY = 4096; // places

/// A place that photographs are asked for.
struct SampledPlace
{
    Vector3d point;
    Vector3d normal;
};

/// All faces, as rays need them.
struct MeshTriangles
{
    std::vector<Vector3f> points;
    std::vector<std::array<std::uint32_t, 3>> triangles;

    explicit MeshTriangles(TriMesh const& mesh)
    {
        points.reserve(mesh.n_vertices());
        for (auto const vertex : mesh.vertices())
        {
            points.push_back(mesh.point(vertex));
        }
        triangles.reserve(mesh.n_faces());
        for (auto const face : mesh.faces())
        {
            auto corner = mesh.cfv_begin(face);
            std::array<std::uint32_t, 3> triangle{};
            for (auto& index : triangle)
            {
                index = static_cast<std::uint32_t>((*corner).idx());
                ++corner;
            }
            triangles.push_back(triangle);
        }
    }
};

/// Every so many vertices one, where it has a normal.
std::vector<SampledPlace> choose_places(MeshTriangles const& faces, std::size_t most)
{
    std::vector<Vector3d> normals(faces.points.size(), Vector3d::Zero());
    for (auto const& [a, b, c] : faces.triangles)
    {
        Vector3d const origin = faces.points[a].cast<double>();
        Vector3d const normal = (faces.points[b].cast<double>() - origin)
                                    .cross(faces.points[c].cast<double>() - origin);
        for (auto const corner : {a, b, c})
        {
            normals[corner] += normal;
        }
    }
    std::size_t const step = most > 0 ? (normals.size() + most - 1) / most : normals.size();
    std::vector<SampledPlace> places;
    for (std::size_t i = 0; i < normals.size(); i += step)
    {
        double const length = normals[i].norm();
        if (std::isfinite(length) && length > 0.0)
        {
            places.push_back({faces.points[i].cast<double>(), normals[i] / length});
        }
    }
    return places;
}

/// A camera at its place in the world.
class PlacedCamera
{
public:
    explicit PlacedCamera(PhotoView const& view)
        : intrinsics_(view.intrinsics),
          pose_(view.pose),
          centre_(view.pose.inverse().get_translation())
    {
    }

    bool is_usable() const { return centre_.allFinite() && pose_.get_rotation().allFinite(); }

    /// Column and row of a place, or nothing behind the camera.
    std::optional<std::array<double, 2>> pixel(Vector3d const& point) const
    {
        Vector3d const p = pose_.get_rotation() * point + pose_.get_translation();
        if (!(p.z() > 0.0))
        {
            return std::nullopt;
        }
        return {{intrinsics_.get_fx() * p.x() / p.z() + intrinsics_.get_cx(),
                 intrinsics_.get_fy() * p.y() / p.z() + intrinsics_.get_cy()}};
    }

    /// Whether the place is turned to the camera and nothing hides it.
    bool sees(SampledPlace const& place, RayScene const& scene, double depth_tolerance) const
    {
        Vector3d const way = place.point - centre_;
        double const distance = way.norm();
        if (!(-way.dot(place.normal) > LEAST_COSINE * distance))
        {
            return false;
        }
        double const clear = distance - depth_tolerance;
        return !(clear > 0.0) ||
               !scene.blocked(centre_.cast<float>(), Vector3d(way / distance).cast<float>(),
                              static_cast<float>(clear));
    }

private:
    CameraInParam intrinsics_;
    RigidMatrix pose_;
    Vector3d centre_;
};

/// The mean of nine pixels, if none of them was cut off.
std::optional<PhotoSamples::Colour> colour_at(Photo const& photo, std::array<double, 2> const& at)
{
    auto const [u, v] = at;
    // Also refuses what is no number.
    if (!(u >= 1.0 && v >= 1.0 && u <= photo.width() - 2.0 && v <= photo.height() - 2.0))
    {
        return std::nullopt;
    }
    auto const column = static_cast<int>(std::lround(u));
    auto const row = static_cast<int>(std::lround(v));
    std::array<int, 3> sum{};
    for (int y = row - 1; y <= row + 1; ++y)
    {
        for (int x = column - 1; x <= column + 1; ++x)
        {
            unsigned char const* const pixel = photo.pixel(x, y);
            for (std::size_t channel = 0; channel < 3; ++channel)
            {
                if (pixel[channel] < DARKEST || pixel[channel] > BRIGHTEST)
                {
                    return std::nullopt;
                }
                sum[channel] += pixel[channel];
            }
        }
    }
    PhotoSamples::Colour colour;
    for (std::size_t channel = 0; channel < 3; ++channel)
    {
        colour[channel] = std::log(static_cast<float>(sum[channel]) / 9.0F);
    }
    return colour;
}

} // namespace

PhotoSamples::PhotoSamples(TriMesh const& mesh, std::vector<PhotoView> const& views,
                           std::vector<Photo> const& photos, double depth_tolerance,
                           std::size_t most_places)
    : seen_(views.size()), colours_(views.size())
{
    MeshTriangles const faces(mesh);
    auto const places = choose_places(faces, most_places);
    auto const scene = RayScene::of_triangles(faces.points, faces.triangles);
    n_places_ = places.size();
    for_each_index(views.size(),
                   [&](std::size_t i)
                   {
                       seen_[i].resize(n_places_);
                       colours_[i].resize(n_places_);
                       PlacedCamera const viewer(views[i]);
                       for (std::size_t k = 0; viewer.is_usable() && k < n_places_; ++k)
                       {
                           if (k % POLL_EVERY == 0)
                           {
                               OrvaneAlgorithm::detail::poll_cancel();
                           }
                           auto const pixel = viewer.pixel(places[k].point);
                           auto const colour = pixel ? colour_at(photos[i], *pixel) : std::nullopt;
                           if (colour && viewer.sees(places[k], scene, depth_tolerance))
                           {
                               seen_[i][k] = 1;
                               colours_[i][k] = *colour;
                           }
                       }
                   });
}

} // namespace veld
