#include "algorithmVeld/TextureFusion/holes/HoleView.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

namespace OrvaneAlgorithm::detail
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

namespace
{

/// Handles in the order in which they come first.
template <typename Handle>
class FirstMeetings
{
public:
    explicit FirstMeetings(std::vector<Handle>& list) : list_(list) {}

    void meet(Handle handle)
    {
        if (met_.insert(handle.idx()).second)
        {
            list_.push_back(handle);
        }
    }

private:
    std::vector<Handle>& list_;
    std::unordered_set<int> met_;
};

std::vector<VertexHandle> corners_of(TriMesh const& mesh, std::vector<FaceHandle> const& faces)
{
    std::vector<VertexHandle> vertices;
    FirstMeetings meetings(vertices);
    for (auto const face : faces)
    {
        for (auto const vertex : mesh.fv_range(face))
        {
            meetings.meet(vertex);
        }
    }
    return vertices;
}

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

/// Projects vertices. \return false if a pixel has no number
bool project_all(TriMesh const& mesh, std::vector<VertexHandle> const& vertices,
                 Vector3f const& eye, CameraInParam const& intrinsics,
                 std::vector<Vector2i>& pixels)
{
    constexpr double FARTHEST = 1e9;
    for (auto const vertex : vertices)
    {
        Vector3f const q = mesh.point(vertex) - eye;
        double const z = std::abs(static_cast<double>(q.z()));
        double const column = (q.x() / z) * intrinsics.get_fx() + intrinsics.get_cx();
        double const row = (q.y() / z) * intrinsics.get_fy() + intrinsics.get_cy();
        if (!(std::abs(column) < FARTHEST && std::abs(row) < FARTHEST))
        {
            return false;
        }
        pixels.emplace_back(static_cast<int>(column), static_cast<int>(row));
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

} // namespace

HoleSurroundings hole_surroundings(TriMesh const& mesh, TexProperties const& properties,
                                   std::vector<FaceHandle> const& hole)
{
    HoleSurroundings around;
    FirstMeetings meetings(around.ring_faces);
    for (auto const face : hole)
    {
        for (auto const vertex : mesh.fv_range(face))
        {
            for (auto const other : mesh.vf_range(vertex))
            {
                if (mesh.property(properties.face_has_tex, other))
                {
                    meetings.meet(other);
                }
            }
        }
    }
    around.ring_vertices = corners_of(mesh, around.ring_faces);
    around.hole_vertices = corners_of(mesh, hole);
    return around;
}

std::optional<HoleView> look_at_hole(TriMesh const& mesh, TexProperties const& properties,
                                     CameraInParam const& intrinsics,
                                     HoleSurroundings const& around, int margin)
{
    Vector3f eye = mean_point(mesh, around.hole_vertices);
    eye.z() = static_cast<float>(static_cast<double>(eye.z()) -
                                 mean_depth(mesh, properties, around.ring_faces));
    HoleView view;
    if (!project_all(mesh, around.hole_vertices, eye, intrinsics, view.hole_pixels) ||
        !project_all(mesh, around.ring_vertices, eye, intrinsics, view.ring_pixels))
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
    return view;
}

} // namespace OrvaneAlgorithm::detail
