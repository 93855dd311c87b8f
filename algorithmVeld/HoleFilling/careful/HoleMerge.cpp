#include "algorithmVeld/HoleFilling/careful/HoleMerge.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/running/Log.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::VertexHandle;

/// What a new element has in the mesh's arrays is what was in the memory before. It goes to files.
void clear_attributes(TriMesh& mesh, VertexHandle vertex)
{
    if (mesh.has_vertex_normals())
    {
        mesh.set_normal(vertex, Vector3f::Zero());
    }
    if (mesh.has_vertex_colors())
    {
        mesh.set_color(vertex, Vector3f::Zero());
    }
}

void clear_attributes(TriMesh& mesh, OpenMesh::FaceHandle face)
{
    if (mesh.has_face_normals())
    {
        mesh.set_normal(face, Vector3f::Zero());
    }
}

/// The new vertices in the mesh, by their places in the fill.
std::vector<VertexHandle> add_vertices(TriMesh& mesh, Fill const& fill)
{
    std::vector<VertexHandle> vertices;
    vertices.reserve(fill.points.size());
    for (auto const& point : fill.points)
    {
        vertices.push_back(mesh.add_vertex(point));
        if (!vertices.back().is_valid())
        {
            log("  !!!fail to merge vert [%s (%d)]\n", __FILE__, __LINE__);
            continue;
        }
        clear_attributes(mesh, vertices.back());
    }
    return vertices;
}

} // namespace

Fill take_fill(HoleSubMesh const& sub)
{
    Fill fill;
    std::vector<Fill::Corner> corners;
    corners.reserve(sub.mesh.n_vertices());
    for (auto const vertex : sub.mesh.all_vertices())
    {
        if (sub.mesh.property(sub.vert_new, vertex))
        {
            corners.push_back({true, static_cast<int>(fill.points.size())});
            fill.points.push_back(sub.mesh.point(vertex));
        }
        else
        {
            corners.push_back({false, sub.mesh.property(sub.vert_origin, vertex).idx()});
        }
    }
    for (auto const face : sub.mesh.all_faces())
    {
        if (!sub.mesh.property(sub.face_new, face))
        {
            continue;
        }
        std::array<Fill::Corner, 3> triangle;
        std::size_t n = 0;
        for (auto const vertex : sub.mesh.fv_range(face))
        {
            triangle[n++ % 3] = corners[static_cast<std::size_t>(vertex.idx())];
        }
        if (n != 3)
        {
            log("  !!!unexpected non triangle [%s (%d)]\n", __FILE__, __LINE__);
            triangle = {};
        }
        fill.faces.push_back(triangle);
    }
    fill.edges = sub.mesh.n_edges() - std::min(sub.mesh.n_edges(), sub.old_edges);
    return fill;
}

MergedFill merge_fill(TriMesh& mesh, Fill const& fill, RefusedFace refused)
{
    MergedFill merged;
    merged.verts = add_vertices(mesh, fill);
    auto const vertex_of = [&](Fill::Corner const& corner)
    {
        return corner.is_new ? merged.verts[static_cast<std::size_t>(corner.index)]
                             : VertexHandle(corner.index);
    };
    for (auto const& [a, b, c] : fill.faces)
    {
        auto const face = add_face_checked(mesh, vertex_of(a), vertex_of(b), vertex_of(c));
        if (face.is_valid())
        {
            clear_attributes(mesh, face);
            merged.faces.push_back(face);
            continue;
        }
        log("  !!!fail to add face [%s (%d)]\n", __FILE__, __LINE__);
        merged.complete = false;
        if (refused == RefusedFace::ENDS_MERGE)
        {
            break;
        }
    }
    return merged;
}

} // namespace OrvaneAlgorithm::detail
