#include "algorithmVeld/HoleFilling/careful/HoleMerge.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

void merge_vertices(TriMesh& mesh, HoleSubMesh& sub, MergedFill& merged)
{
    for (auto const vertex : sub.mesh.all_vertices())
    {
        if (!sub.mesh.property(sub.vert_new, vertex))
        {
            continue;
        }
        auto const added = mesh.add_vertex(sub.mesh.point(vertex));
        if (!added.is_valid())
        {
            log("  !!!fail to merge vert [%s (%d)]\n", __FILE__, __LINE__);
            continue;
        }
        sub.mesh.property(sub.vert_origin, vertex) = added;
        merged.verts.push_back(added);
    }
}

/// \return an invalid handle if the mesh has not got the face
FaceHandle merge_face(TriMesh& mesh, HoleSubMesh const& sub, FaceHandle face)
{
    std::vector<VertexHandle> corners;
    for (auto const vertex : sub.mesh.fv_range(face))
    {
        corners.push_back(sub.mesh.property(sub.vert_origin, vertex));
    }
    if (corners.size() != 3)
    {
        log("  !!!unexpected non triangle [%s (%d)]\n", __FILE__, __LINE__);
        return FaceHandle();
    }
    auto const added = add_face_checked(mesh, corners[0], corners[1], corners[2]);
    if (!added.is_valid())
    {
        log("  !!!fail to add face [%s (%d)]\n", __FILE__, __LINE__);
    }
    return added;
}

void merge_faces(TriMesh& mesh, HoleSubMesh const& sub, MergedFill& merged)
{
    for (auto const face : sub.mesh.all_faces())
    {
        if (!sub.mesh.property(sub.face_new, face))
        {
            continue;
        }
        auto const added = merge_face(mesh, sub, face);
        if (added.is_valid())
        {
            merged.faces.push_back(added);
        }
        else
        {
            merged.complete = false;
        }
    }
}

} // namespace

void reserve_for_fills(TriMesh& mesh, std::vector<HoleWork> const& works)
{
    std::size_t vertices = 0;
    std::size_t edges = 0;
    std::size_t faces = 0;
    for (auto const& work : works)
    {
        if (!work.open)
        {
            auto const& sub = *work.sub;
            auto const& vert_new = sub.mesh.property(sub.vert_new).data_vector();
            auto const& face_new = sub.mesh.property(sub.face_new).data_vector();
            vertices +=
                static_cast<std::size_t>(std::count(vert_new.begin(), vert_new.end(), true));
            faces += static_cast<std::size_t>(std::count(face_new.begin(), face_new.end(), true));
            edges += sub.mesh.n_edges() - std::min(sub.mesh.n_edges(), sub.old_edges);
        }
    }
    mesh.reserve_more(vertices, edges, faces);
}

MergedFill merge_fill(TriMesh& mesh, HoleSubMesh& sub)
{
    MergedFill merged;
    merge_vertices(mesh, sub, merged);
    merge_faces(mesh, sub, merged);
    return merged;
}

} // namespace OrvaneAlgorithm::detail
