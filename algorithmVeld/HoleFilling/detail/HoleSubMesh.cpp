#include "algorithmVeld/HoleFilling/detail/HoleSubMesh.h"

#include "algorithmVeld/common/detail/AddFace.h"

#include <unordered_map>

namespace OrvaneAlgorithm::detail
{

namespace
{

using VertexMap = std::unordered_map<int, OpenMesh::VertexHandle>;

/// From the handles of the main mesh to those of the copy, which are numbered in order.
VertexMap number_vertices(std::vector<OpenMesh::VertexHandle> const& vertices)
{
    VertexMap map;
    map.reserve(vertices.size());
    for (std::size_t i = 0; i < vertices.size(); ++i)
    {
        map.emplace(vertices[i].idx(), OpenMesh::VertexHandle(static_cast<int>(i)));
    }
    return map;
}

void add_channels(TriMesh const& mesh, HoleSubMesh& sub)
{
    if (mesh.has_vertex_colors())
    {
        sub.mesh.request_vertex_colors();
    }
    if (mesh.has_vertex_normals())
    {
        sub.mesh.request_vertex_normals();
    }
    if (mesh.has_face_normals())
    {
        sub.mesh.request_face_normals();
    }
    sub.mesh.add_property(sub.face_new, "<fprop>");
    sub.mesh.add_property(sub.vert_new, "<vprop>");
    sub.mesh.add_property(sub.vert_boundary, "<vprop>");
    sub.mesh.add_property(sub.vert_edge_len, "<vprop>");
    sub.mesh.add_property(sub.vert_origin, "<vprop>");
}

bool copy_vertex(TriMesh const& mesh, OpenMesh::VertexHandle origin,
                 OpenMesh::VPropHandleT<float> edge_len, HoleSubMesh& sub)
{
    auto const copy = sub.mesh.add_vertex(mesh.point(origin));
    if (!copy.is_valid())
    {
        return false;
    }
    if (mesh.has_vertex_colors())
    {
        sub.mesh.set_color(copy, mesh.color(origin));
    }
    if (mesh.has_vertex_normals())
    {
        sub.mesh.set_normal(copy, mesh.normal(origin));
    }
    sub.mesh.property(sub.vert_origin, copy) = origin;
    sub.mesh.property(sub.vert_new, copy) = false;
    sub.mesh.property(sub.vert_boundary, copy) = false;
    sub.mesh.property(sub.vert_edge_len, copy) = mesh.property(edge_len, origin);
    return true;
}

bool copy_face(TriMesh const& mesh, OpenMesh::FaceHandle face, VertexMap const& copies,
               HoleSubMesh& sub)
{
    std::array<OpenMesh::VertexHandle, 3> corners;
    std::size_t n = 0;
    for (auto const vertex : mesh.fv_range(face))
    {
        corners[n++ % 3] = copies.at(vertex.idx());
    }
    auto const copy = add_face_checked(sub.mesh, corners[0], corners[1], corners[2]);
    if (!copy.is_valid())
    {
        return false;
    }
    if (mesh.has_face_normals())
    {
        sub.mesh.set_normal(copy, mesh.normal(face));
    }
    sub.mesh.property(sub.face_new, copy) = false;
    return true;
}

} // namespace

std::vector<OpenMesh::VertexHandle> vertices_of(TriMesh const& mesh,
                                                std::vector<OpenMesh::FaceHandle> const& faces)
{
    VertexMap seen;
    seen.reserve(faces.size());
    std::vector<OpenMesh::VertexHandle> vertices;
    for (auto const face : faces)
    {
        for (auto const vertex : mesh.fv_range(face))
        {
            if (seen.emplace(vertex.idx(), vertex).second)
            {
                vertices.push_back(vertex);
            }
        }
    }
    return vertices;
}

SubMeshResult make_sub_mesh(TriMesh const& mesh,
                            std::vector<OpenMesh::VertexHandle> const& vertices,
                            std::vector<OpenMesh::FaceHandle> const& faces,
                            OpenMesh::VPropHandleT<float> edge_len, HoleSubMesh& sub)
{
    add_channels(mesh, sub);
    for (auto const vertex : vertices)
    {
        if (!copy_vertex(mesh, vertex, edge_len, sub))
        {
            return SubMeshResult::VERTEX_REFUSED;
        }
    }
    VertexMap const copies = number_vertices(vertices);
    SubMeshResult result = SubMeshResult::COMPLETE;
    for (auto const face : faces)
    {
        if (!copy_face(mesh, face, copies, sub))
        {
            result = SubMeshResult::FACE_REFUSED;
        }
    }
    sub.old_edges = sub.mesh.n_edges();
    return result;
}

bool map_loop(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
              std::vector<OpenMesh::VertexHandle> const& vertices, HoleSubMesh& sub)
{
    VertexMap const copies = number_vertices(vertices);
    for (auto const h : loop)
    {
        auto const from = copies.find(mesh.from_vertex_handle(h).idx());
        auto const to = copies.find(mesh.to_vertex_handle(h).idx());
        if (from == copies.end() || to == copies.end())
        {
            return false;
        }
        auto const copy = sub.mesh.find_halfedge(from->second, to->second);
        if (!copy.is_valid())
        {
            return false;
        }
        sub.mesh.property(sub.vert_boundary, from->second) = true;
        sub.loop.push_back(copy);
    }
    return true;
}

} // namespace OrvaneAlgorithm::detail
