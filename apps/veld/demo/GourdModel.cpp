#include "demo/GourdModel.h"

#include "demo/GourdSurface.h"

namespace veld::cli
{

namespace
{

constexpr int SUBDIVISIONS = 7;

std::vector<Vector3f> normals_of(TriangleSoup const& soup)
{
    std::vector<Vector3f> normals(soup.points.size(), Vector3f::Zero());
    for (auto const& triangle : soup.triangles)
    {
        Vector3f const& origin = soup.points[triangle[0]];
        Vector3f const normal =
            (soup.points[triangle[1]] - origin).cross(soup.points[triangle[2]] - origin);
        for (auto const corner : triangle)
        {
            normals[corner] += normal;
        }
    }
    for (auto& normal : normals)
    {
        normal.normalize();
    }
    return normals;
}

} // namespace

TriangleSoup make_gourd()
{
    TriangleSoup soup = unit_sphere(SUBDIVISIONS);
    for (auto& point : soup.points)
    {
        point = gourd_point(point.cast<double>().normalized()).cast<float>();
    }
    return soup;
}

GourdModel::GourdModel()
    : soup_(make_gourd()),
      normals_(normals_of(soup_)),
      scene_(RayScene::of_triangles(soup_.points, soup_.triangles))
{
}

std::optional<GourdModel::Hit> GourdModel::first_hit(Vector3d const& origin,
                                                     Vector3d const& direction) const
{
    RayHit const hit = scene_.first_hit(origin.cast<float>(), direction.cast<float>());
    if (!hit.hit())
    {
        return std::nullopt;
    }
    auto const& [a, b, c] = soup_.triangles[hit.element];
    auto const mean = [&, a = a, b = b, c = c](std::vector<Vector3f> const& values)
    {
        return Vector3d((values[a] * (1.0F - hit.u - hit.v) + values[b] * hit.u + values[c] * hit.v)
                            .cast<double>());
    };
    return Hit{mean(soup_.points), mean(normals_).normalized()};
}

} // namespace veld::cli
