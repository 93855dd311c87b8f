#include "algorithmVeld/TextureFusion/holes/HoleView.h"

#include "algorithmVeld/common/geometry/LocalFrame.h"
#include "algorithmVeld/common/mesh/FaceSearch.h"
#include "algorithmVeld/common/mesh/MeetingOrder.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

double mean_depth(TriMesh const& mesh, TexProperties const& properties,
                  std::vector<FaceHandle> const& faces)
{
    double sum = 0.0;
    for (auto const face : faces)
    {
        for (VertTex const& corner : properties.chosen(mesh, face).corner)
        {
            sum += static_cast<double>(corner.depth);
        }
    }
    return sum / (3.0 * static_cast<double>(faces.size()));
}

Vector3f mean_point(TriMesh const& mesh, std::vector<VertexHandle> const& vertices)
{
    Vector3f sum = Vector3f::Zero();
    for (auto const vertex : vertices)
    {
        sum += mesh.point(vertex);
    }
    return sum / static_cast<float>(vertices.size());
}

/// The camera that sees a hole.
struct HoleCamera
{
    Vector3f eye;
    std::optional<Eigen::Matrix3f> axes; ///< as columns; none for those of the world
    double distance = 0.0;               ///< from `eye` back to the camera along its own third axis
    CameraInParam intrinsics;
    PixelRule rule;

    Vector3f to_camera(Vector3f const& point) const
    {
        Vector3f q = point - eye;
        if (axes)
        {
            q = axes->transpose() * q;
            q.z() = static_cast<float>(static_cast<double>(q.z()) + distance);
        }
        return q;
    }

    /// (column, row), before they are truncated
    Eigen::Vector2d project(Vector3f const& point) const
    {
        Vector3f const q = to_camera(point);
        double const z = std::abs(static_cast<double>(q.z()));
        double const half = rule == PixelRule::ROUNDED ? 0.5 : 0.0;
        return {(q.x() / z) * intrinsics.get_fx() + intrinsics.get_cx() + half,
                (q.y() / z) * intrinsics.get_fy() + intrinsics.get_cy() + half};
    }
};

HoleCamera camera_at(TriMesh const& mesh, TexProperties const& properties, TexImage const& photo,
                     HoleSurroundings const& around, HoleViewRules const& rules)
{
    HoleCamera camera;
    camera.intrinsics = photo.intrinsics;
    camera.rule = rules.pixels;
    camera.eye = mean_point(mesh, around.hole_vertices);
    double const depth = mean_depth(mesh, properties, around.ring_faces);
    if (rules.axis == HoleAxis::WORLD_Z)
    {
        camera.eye.z() = static_cast<float>(static_cast<double>(camera.eye.z()) - depth);
        return camera;
    }
    std::vector<Vector3f> points;
    points.reserve(around.hole_vertices.size());
    for (auto const vertex : around.hole_vertices)
    {
        points.push_back(mesh.point(vertex));
    }
    camera.axes = compute_lrf(points, mesh.normal(around.hole_vertices.front()));
    camera.distance = depth;
    return camera;
}

/// Projects vertices. \return false if a pixel has no number
bool project_all(TriMesh const& mesh, std::vector<VertexHandle> const& vertices,
                 HoleCamera const& camera, std::vector<Vector2i>& pixels)
{
    constexpr double FARTHEST = 1e9;
    for (auto const vertex : vertices)
    {
        Eigen::Vector2d const place = camera.project(mesh.point(vertex));
        if (!(std::abs(place.x()) < FARTHEST && std::abs(place.y()) < FARTHEST))
        {
            return false;
        }
        pixels.emplace_back(static_cast<int>(place.x()), static_cast<int>(place.y()));
    }
    return true;
}

void extend(PatchTex& rectangle, std::vector<Vector2i> const& pixels)
{
    for (Vector2i const& pixel : pixels)
    {
        rectangle.min_x = std::min(rectangle.min_x, pixel.x());
        rectangle.max_x = std::max(rectangle.max_x, pixel.x());
        rectangle.min_y = std::min(rectangle.min_y, pixel.y());
        rectangle.max_y = std::max(rectangle.max_y, pixel.y());
    }
}

/// Keeps a rectangle within a photograph, and the hole's pixels within the rectangle.
/// \return false if nothing of it is there
bool clip(HoleView& view, Image<3, unsigned char> const& photo)
{
    PatchTex& rectangle = view.rectangle;
    rectangle.min_x = std::max(rectangle.min_x, 0);
    rectangle.min_y = std::max(rectangle.min_y, 0);
    rectangle.max_x = std::min(rectangle.max_x, photo.width() - 1);
    rectangle.max_y = std::min(rectangle.max_y, photo.height() - 1);
    if (rectangle.min_x > rectangle.max_x || rectangle.min_y > rectangle.max_y)
    {
        return false;
    }
    for (Vector2i& pixel : view.hole_pixels)
    {
        pixel.x() = std::clamp(pixel.x(), rectangle.min_x, rectangle.max_x);
        pixel.y() = std::clamp(pixel.y(), rectangle.min_y, rectangle.max_y);
    }
    return true;
}

} // namespace

HoleSurroundings hole_surroundings(TriMesh const& mesh, TexProperties const& properties,
                                   std::vector<FaceHandle> const& hole)
{
    HoleSurroundings around;
    IndexTable met_faces;
    AroundCorners const around_corners(mesh);
    for (auto const face : hole)
    {
        around_corners(face,
                       [&](FaceHandle other)
                       {
                           if (mesh.property(properties.face_has_tex, other))
                           {
                               meet(other, met_faces, around.ring_faces);
                           }
                           return true;
                       });
    }
    IndexTable met_on_ring;
    around.ring_vertices = vertices_of(mesh, around.ring_faces, met_on_ring);
    IndexTable met_in_hole;
    around.hole_vertices = vertices_of(mesh, hole, met_in_hole);
    return around;
}

std::optional<HoleView> look_at_hole(TriMesh const& mesh, TexProperties const& properties,
                                     TexImage const& photo, HoleSurroundings const& around,
                                     int margin, HoleViewRules const& rules)
{
    HoleCamera const camera = camera_at(mesh, properties, photo, around, rules);
    HoleView view;
    if (!project_all(mesh, around.hole_vertices, camera, view.hole_pixels) ||
        !project_all(mesh, around.ring_vertices, camera, view.ring_pixels))
    {
        return {};
    }
    PatchTex& rectangle = view.rectangle;
    rectangle.min_x = rectangle.max_x = view.hole_pixels.front().x();
    rectangle.min_y = rectangle.max_y = view.hole_pixels.front().y();
    extend(rectangle, view.hole_pixels);
    extend(rectangle, view.ring_pixels);
    rectangle.min_x -= margin;
    rectangle.max_x += margin;
    rectangle.min_y -= margin;
    rectangle.max_y += margin;
    if (rules.bounds == HoleBounds::OF_PHOTO && !clip(view, photo.image))
    {
        return {};
    }
    return view;
}

} // namespace OrvaneAlgorithm::detail
