#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"

#include "algorithmVeld/common/mesh/MeetingOrder.h"
#include "algorithmVeld/common/mesh/SubMesh.h"
#include "algorithmVeld/common/running/Log.h"

#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

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

bool take_vertex(TriMesh const& mesh, OpenMesh::VertexHandle origin,
                 OpenMesh::VPropHandleT<float> edge_len, HoleSubMesh& sub)
{
    auto const copy = copy_vertex(mesh, origin, sub.mesh);
    if (!copy.is_valid())
    {
        return false;
    }
    sub.mesh.property(sub.vert_origin, copy) = origin;
    sub.mesh.property(sub.vert_new, copy) = false;
    sub.mesh.property(sub.vert_boundary, copy) = false;
    sub.mesh.property(sub.vert_edge_len, copy) = mesh.property(edge_len, origin);
    return true;
}

/// \return an invalid handle if there is none
OpenMesh::VertexHandle copy_of(HoleSubMesh const& sub, OpenMesh::VertexHandle origin)
{
    return OpenMesh::VertexHandle(sub.copies.find(origin.idx()));
}

OpenMesh::HalfedgeHandle copy_of(TriMesh const& mesh, OpenMesh::HalfedgeHandle origin,
                                 HoleSubMesh const& sub)
{
    auto const from = copy_of(sub, mesh.from_vertex_handle(origin));
    auto const to = copy_of(sub, mesh.to_vertex_handle(origin));
    return from.is_valid() && to.is_valid() ? sub.mesh.find_halfedge(from, to)
                                            : OpenMesh::HalfedgeHandle();
}

void add_to_loop(OpenMesh::HalfedgeHandle h, HoleSubMesh& sub)
{
    sub.mesh.property(sub.vert_boundary, sub.mesh.from_vertex_handle(h)) = true;
    sub.loop.push_back(h);
}

bool take_face(TriMesh const& mesh, OpenMesh::FaceHandle face, HoleSubMesh& sub)
{
    auto const copy = copy_face(
        mesh, face, sub.mesh, [&](OpenMesh::VertexHandle origin) { return copy_of(sub, origin); });
    if (!copy.is_valid())
    {
        return false;
    }
    sub.mesh.property(sub.face_new, copy) = false;
    return true;
}

} // namespace

std::optional<OpenReason> make_sub_mesh(TriMesh const& mesh,
                                        std::vector<OpenMesh::FaceHandle> const& region,
                                        OpenMesh::VPropHandleT<float> edge_len, int hole,
                                        HoleSubMesh& sub)
{
    auto const vertices = vertices_of(mesh, region, sub.copies);
    if (vertices.size() < 3)
    {
        log("  !!!abnormal: hole[%d] with %d vertices.\n", hole, static_cast<int>(vertices.size()));
        return OpenReason::NOT_A_BOUNDARY;
    }
    add_channels(mesh, sub);
    std::optional<OpenReason> open;
    for (auto const vertex : vertices)
    {
        if (!take_vertex(mesh, vertex, edge_len, sub))
        {
            log("  !!!fail to add vert [%s (%d)]\n", __FILE__, __LINE__);
            open = OpenReason::BOUNDARY_TANGLED;
        }
    }
    for (auto const face : region)
    {
        if (!take_face(mesh, face, sub))
        {
            log("  !!!fail to add face [%s (%d)]\n", __FILE__, __LINE__);
            open = OpenReason::BOUNDARY_TANGLED;
        }
    }
    sub.old_edges = sub.mesh.n_edges();
    return open;
}

bool map_loop(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
              HoleSubMesh& sub)
{
    for (auto const h : loop)
    {
        auto const copy = copy_of(mesh, h, sub);
        if (!copy.is_valid())
        {
            return false;
        }
        add_to_loop(copy, sub);
    }
    return true;
}

LoopMatch walk_loop(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop,
                    HoleSubMesh& sub)
{
    auto const first = loop.empty() ? OpenMesh::HalfedgeHandle() : copy_of(mesh, loop[0], sub);
    if (!first.is_valid())
    {
        return LoopMatch::NO_FIRST_HALFEDGE;
    }
    auto h = first;
    do
    {
        add_to_loop(h, sub);
        h = sub.mesh.next_halfedge_handle(h);
    } while (h != first && sub.loop.size() <= loop.size());
    return sub.loop.size() == loop.size() ? LoopMatch::SAME : LoopMatch::OTHER_LENGTH;
}

} // namespace OrvaneAlgorithm::detail
