#include "workflow/files/KeptAttributes.h"

#include <algorithm>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

KeptAttributes::KeptAttributes(TriMesh const& mesh)
    : had_vertex_normals_(mesh.has_vertex_normals()),
      had_face_normals_(mesh.has_face_normals()),
      faces_(mesh.n_faces())
{
    for (auto const vertex : mesh.vertices())
    {
        points_.push_back(mesh.point(vertex));
        if (had_vertex_normals_)
        {
            normals_.push_back(mesh.normal(vertex));
        }
    }
}

void KeptAttributes::restore(TriMesh& mesh) const
{
    if (had_vertex_normals_)
    {
        restore_normals(mesh);
    }
    else if (mesh.has_vertex_normals())
    {
        mesh.release_vertex_normals();
    }
    if (!had_face_normals_ && mesh.has_face_normals())
    {
        mesh.release_face_normals();
    }
    if (mesh.has_vertex_colors())
    {
        colour_new_vertices(mesh);
    }
}

void KeptAttributes::restore_normals(TriMesh& mesh) const
{
    mesh.request_face_normals();
    mesh.update_face_normals();
    for (auto const vertex : mesh.vertices())
    {
        bool changed = static_cast<std::size_t>(vertex.idx()) >= normals_.size();
        for (auto const face : mesh.vf_range(vertex))
        {
            changed = changed || is_changed(mesh, face);
        }
        mesh.set_normal(vertex, changed ? mesh.calc_vertex_normal(vertex)
                                        : normals_[static_cast<std::size_t>(vertex.idx())]);
    }
    mesh.release_face_normals();
}

bool KeptAttributes::is_changed(TriMesh const& mesh, OpenMesh::FaceHandle face) const
{
    auto const corners = mesh.fv_range(face);
    return static_cast<std::size_t>(face.idx()) >= faces_ ||
           std::any_of(
               corners.begin(), corners.end(),
               [&](OpenMesh::VertexHandle corner)
               { return mesh.point(corner) != points_[static_cast<std::size_t>(corner.idx())]; });
}

void KeptAttributes::colour_new_vertices(TriMesh& mesh) const
{
    std::vector<char> has_colour(mesh.n_vertices(), 0);
    std::fill_n(has_colour.begin(), points_.size(), 1);
    std::vector<OpenMesh::VertexHandle> waiting;
    for (auto i = points_.size(); i < mesh.n_vertices(); ++i)
    {
        waiting.push_back(mesh.vertex_handle(static_cast<unsigned>(i)));
        mesh.set_color(waiting.back(), Vector3f::Zero());
    }
    // From the rims inwards, one row of vertices after the other.
    for (bool going_on = true; going_on;)
    {
        std::vector<OpenMesh::VertexHandle> later;
        std::vector<OpenMesh::VertexHandle> row;
        for (auto const vertex : waiting)
        {
            Vector3f sum = Vector3f::Zero();
            int count = 0;
            for (auto const neighbour : mesh.vv_range(vertex))
            {
                if (has_colour[static_cast<std::size_t>(neighbour.idx())] != 0)
                {
                    sum += mesh.color(neighbour);
                    ++count;
                }
            }
            if (count > 0)
            {
                mesh.set_color(vertex, sum / static_cast<float>(count));
            }
            (count > 0 ? row : later).push_back(vertex);
        }
        for (auto const vertex : row)
        {
            has_colour[static_cast<std::size_t>(vertex.idx())] = 1;
        }
        going_on = !row.empty();
        waiting = std::move(later);
    }
}

} // namespace veld
