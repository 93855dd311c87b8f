#include "algorithmVeld/reconstruction/ball_pivoting/FaceFans.h"

#include "algorithmVeld/common/mesh/MeshScope.h"

namespace OrvaneAlgorithm::detail
{

FaceFans::FaceFans(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    for (auto it = mesh.cvf_iter(vertex); it.is_valid(); ++it)
    {
        if (!is_deleted(mesh, *it))
        {
            ++n_faces_;
            reach_.emplace(*it, 0);
        }
    }
    for (auto& [face, reach] : reach_)
    {
        reach = count_reachable(mesh, vertex, face);
    }
}

int FaceFans::count_reachable(TriMesh const& mesh, OpenMesh::VertexHandle vertex,
                              OpenMesh::FaceHandle face) const
{
    int count = 0;
    auto const walk = [&](OpenMesh::HalfedgeHandle h, auto const& side_behind)
    {
        // A closed fan is walked until the count tells it.
        while (reach_.count(mesh.face_handle(h)) != 0 && ++count <= static_cast<int>(n_faces_))
        {
            h = mesh.opposite_halfedge_handle(side_behind(h));
        }
    };
    for (auto it = mesh.cfh_iter(face); it.is_valid(); ++it)
    {
        auto const across = mesh.opposite_halfedge_handle(*it);
        if (mesh.from_vertex_handle(*it) == vertex)
        {
            walk(across, [&](auto h) { return mesh.next_halfedge_handle(h); });
        }
        else if (mesh.to_vertex_handle(*it) == vertex)
        {
            walk(across, [&](auto h) { return mesh.prev_halfedge_handle(h); });
        }
    }
    return count;
}

} // namespace OrvaneAlgorithm::detail
