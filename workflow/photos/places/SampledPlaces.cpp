#include "workflow/photos/places/SampledPlaces.h"

#include <cmath>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

/// At each vertex the sum of the normals of its faces, by their areas.
std::vector<Vector3d> sum_normals(MeshTriangles const& faces)
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
    return normals;
}

} // namespace

MeshTriangles::MeshTriangles(TriMesh const& mesh)
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

std::vector<SampledPlace> choose_places(MeshTriangles const& faces, std::size_t most)
{
    auto const normals = sum_normals(faces);
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

PlacedCamera::PlacedCamera(PhotoView const& view)
    : intrinsics_(view.intrinsics),
      pose_(view.pose),
      centre_(view.pose.inverse().get_translation()),
      width_(view.width),
      height_(view.height)
{
}

double PlacedCamera::depth(Vector3d const& point) const
{
    return pose_.get_rotation().row(2).dot(point) + pose_.get_translation().z();
}

std::optional<std::array<double, 2>> PlacedCamera::pixel(Vector3d const& point) const
{
    Vector3d const p = pose_.get_rotation() * point + pose_.get_translation();
    if (!(p.z() > 0.0))
    {
        return std::nullopt;
    }
    return {{intrinsics_.get_fx() * p.x() / p.z() + intrinsics_.get_cx(),
             intrinsics_.get_fy() * p.y() / p.z() + intrinsics_.get_cy()}};
}

std::optional<std::array<double, 2>> PlacedCamera::pixel_inside(Vector3d const& point,
                                                                double border) const
{
    auto const at = pixel(point);
    bool const is_inside = at && (*at)[0] >= border && (*at)[1] >= border &&
                           (*at)[0] <= width_ - 1.0 - border && (*at)[1] <= height_ - 1.0 - border;
    return is_inside ? at : std::nullopt;
}

bool PlacedCamera::faces(SampledPlace const& place, double cosine) const
{
    Vector3d const way = centre_ - place.point;
    return way.dot(place.normal) > cosine * way.norm();
}

bool PlacedCamera::reaches(Vector3d const& point, RayScene const& scene, double tolerance) const
{
    Vector3d const way = point - centre_;
    double const distance = way.norm();
    double const clear = distance - tolerance;
    return !(clear > 0.0) ||
           !scene.blocked(centre_.cast<float>(), Vector3d(way / distance).cast<float>(),
                          static_cast<float>(clear));
}

} // namespace veld
