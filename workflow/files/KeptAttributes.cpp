#include "workflow/files/KeptAttributes.h"

#include "algorithmVeld/common/mesh_files/Carried.h"

#include <algorithm>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// Calls `mix(vertex, neighbours)` for the vertices that were added behind the old ones, from the
/// rims inwards, one row after the other: all neighbours that are given have their values. Vertices
/// that no way leads to are left out.
template <typename Mix>
void for_each_new_vertex(TriMesh const& mesh, std::size_t n_old, Mix const& mix)
{
    std::vector<char> is_done(mesh.n_vertices(), 0);
    std::fill_n(is_done.begin(), n_old, 1);
    std::vector<OpenMesh::VertexHandle> waiting;
    for (auto i = n_old; i < mesh.n_vertices(); ++i)
    {
        waiting.push_back(mesh.vertex_handle(static_cast<unsigned>(i)));
    }
    for (bool going_on = true; going_on;)
    {
        std::vector<OpenMesh::VertexHandle> later;
        std::vector<OpenMesh::VertexHandle> row;
        for (auto const vertex : waiting)
        {
            std::vector<OpenMesh::VertexHandle> neighbours;
            for (auto const neighbour : mesh.vv_range(vertex))
            {
                if (is_done[static_cast<std::size_t>(neighbour.idx())] != 0)
                {
                    neighbours.push_back(neighbour);
                }
            }
            if (!neighbours.empty())
            {
                mix(vertex, neighbours);
            }
            (neighbours.empty() ? later : row).push_back(vertex);
        }
        for (auto const vertex : row)
        {
            is_done[static_cast<std::size_t>(vertex.idx())] = 1;
        }
        going_on = !row.empty();
        waiting = std::move(later);
    }
}

} // namespace

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
    restore(mesh, [&](OpenMesh::FaceHandle face)
            { return static_cast<std::size_t>(face.idx()) < faces_; });
}

void KeptAttributes::restore(TriMesh& mesh,
                             std::function<bool(OpenMesh::FaceHandle)> const& is_old) const
{
    if (had_vertex_normals_)
    {
        restore_normals(mesh, is_old);
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

void KeptAttributes::restore_normals(TriMesh& mesh,
                                     std::function<bool(OpenMesh::FaceHandle)> const& is_old) const
{
    mesh.request_face_normals();
    mesh.update_face_normals();
    for (auto const vertex : mesh.vertices())
    {
        bool changed = static_cast<std::size_t>(vertex.idx()) >= normals_.size();
        for (auto const face : mesh.vf_range(vertex))
        {
            changed = changed || !is_old(face) || is_moved(mesh, face);
        }
        mesh.set_normal(vertex, changed ? mesh.calc_vertex_normal(vertex)
                                        : normals_[static_cast<std::size_t>(vertex.idx())]);
    }
    mesh.release_face_normals();
}

bool KeptAttributes::is_moved(TriMesh const& mesh, OpenMesh::FaceHandle face) const
{
    auto const corners = mesh.fv_range(face);
    return std::any_of(
        corners.begin(), corners.end(),
        [&](OpenMesh::VertexHandle corner)
        { return mesh.point(corner) != points_[static_cast<std::size_t>(corner.idx())]; });
}

void KeptAttributes::colour_new_vertices(TriMesh& mesh) const
{
    for (auto i = points_.size(); i < mesh.n_vertices(); ++i)
    {
        mesh.set_color(mesh.vertex_handle(static_cast<unsigned>(i)), Vector3f::Zero());
    }
    for_each_new_vertex(mesh, points_.size(),
                        [&](OpenMesh::VertexHandle vertex, auto const& neighbours)
                        {
                            Vector3f sum = Vector3f::Zero();
                            for (auto const neighbour : neighbours)
                            {
                                sum += mesh.color(neighbour);
                            }
                            mesh.set_color(vertex, sum / static_cast<float>(neighbours.size()));
                        });
}

void complete_carried(TriMesh const& before, TriMesh& after, std::vector<int> const& made_by)
{
    namespace detail = OrvaneAlgorithm::detail;
    auto const values = detail::carried_values(after);
    auto const mix = [&](OpenMesh::VertexHandle vertex, auto const& neighbours)
    {
        for (auto const value : values)
        {
            float sum = 0.0F;
            for (auto const neighbour : neighbours)
            {
                sum += after.property(value, neighbour);
            }
            after.property(value, vertex) = sum / static_cast<float>(neighbours.size());
        }
    };
    if (!values.empty())
    {
        for_each_new_vertex(after, before.n_vertices(), mix);
    }
    if (!detail::carries_texcoords(after))
    {
        return;
    }
    for (auto const face : after.faces())
    {
        if (made_by[static_cast<std::size_t>(face.idx())] == 0)
        {
            continue;
        }
        for (auto const h : after.fh_range(face))
        {
            after.set_texcoord2D(h, detail::no_texcoord());
        }
    }
}

void carry_over(TriMesh const& before, TriMesh& after)
{
    namespace detail = OrvaneAlgorithm::detail;
    bool const has_normals = before.has_vertex_normals() && after.has_vertex_normals();
    auto const values = detail::carried_values(before);
    std::vector<detail::CarriedValue> copies;
    copies.reserve(values.size());
    for (auto const value : values)
    {
        copies.push_back(detail::add_carried_value(after, detail::name_in_file(before, value)));
    }
    auto old = before.vertices_begin();
    auto const is_it = [&](OpenMesh::VertexHandle vertex)
    {
        return before.point(*old) == after.point(vertex) &&
               (!has_normals || before.normal(*old) == after.normal(vertex));
    };
    for (auto const vertex : after.vertices())
    {
        while (old != before.vertices_end() && !is_it(vertex))
        {
            ++old;
        }
        if (old == before.vertices_end())
        {
            return;
        }
        for (std::size_t i = 0; i < values.size(); ++i)
        {
            after.property(copies[i], vertex) = before.property(values[i], *old);
        }
        ++old;
    }
}

} // namespace veld
