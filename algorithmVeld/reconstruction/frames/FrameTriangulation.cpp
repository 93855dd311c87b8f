#include "algorithmVeld/reconstruction/frames/FrameTriangulation.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// Number of elements of a mesh, or of those before a frame's own.
struct Counts
{
    std::size_t vertices = 0;
    std::size_t edges = 0;
    std::size_t faces = 0;
};

/// Channels that are on have to reach to the last vertex; the access that tells so throws.
void check_channels(RangeData const& frame)
{
    if (frame.get_vn() > 0)
    {
        auto const last = frame.get_vn() - 1;
        frame.get_vNrv(last);
        if (frame.has_vColor)
        {
            frame.get_vColor(last);
        }
    }
}

/// The triangles of a frame on vertices numbered as in the frame, in global coordinates.
void triangulate(RangeData const& frame, TriMesh& part)
{
    auto const n = frame.get_vn();
    part.reserve(n, 3 * n, 2 * n);
    CancelPoll poll;
    for (std::size_t i = 0; i < n; ++i)
    {
        poll.next();
        Vector3f point;
        frame.get_global_vCoord(i, point);
        part.add_vertex(point);
    }
    for (auto const& quad : grid_quads(frame))
    {
        poll.next();
        VertexHandle const q0(quad[0]);
        VertexHandle const q1(quad[1]);
        VertexHandle const q2(quad[2]);
        VertexHandle const q3(quad[3]);
        float const d02 = (part.point(q0) - part.point(q2)).norm();
        float const d13 = (part.point(q1) - part.point(q3)).norm();
        if (d13 > d02)
        {
            add_face_checked(part, q0, q1, q2);
            add_face_checked(part, q2, q3, q0);
        }
        else
        {
            add_face_checked(part, q0, q1, q3);
            add_face_checked(part, q1, q2, q3);
        }
    }
}

VertexHandle moved(VertexHandle vertex, Counts const& before)
{
    return VertexHandle(vertex.idx() + static_cast<int>(before.vertices));
}

HalfedgeHandle moved(HalfedgeHandle h, Counts const& before)
{
    return HalfedgeHandle(h.idx() + 2 * static_cast<int>(before.edges));
}

FaceHandle moved(FaceHandle face, Counts const& before)
{
    return FaceHandle(face.idx() + static_cast<int>(before.faces));
}

/// Copies the links of a frame's mesh to its place in the whole mesh.
void copy_links(TriMesh const& part, Counts const& before, TriMesh& mesh)
{
    CancelPoll poll;
    for (auto const vertex : part.vertices())
    {
        poll.next();
        if (!part.is_isolated(vertex))
        {
            mesh.set_halfedge_handle(moved(vertex, before),
                                     moved(part.halfedge_handle(vertex), before));
        }
    }
    for (auto const own : part.halfedges())
    {
        poll.next();
        auto const h = moved(own, before);
        mesh.set_vertex_handle(h, moved(part.to_vertex_handle(own), before));
        mesh.set_next_halfedge_handle(h, moved(part.next_halfedge_handle(own), before));
        if (!part.is_boundary(own))
        {
            mesh.set_face_handle(h, moved(part.face_handle(own), before));
        }
    }
    for (auto const face : part.faces())
    {
        poll.next();
        mesh.set_halfedge_handle(moved(face, before), moved(part.halfedge_handle(face), before));
    }
}

/// Copies the positions and the frame's channels to the vertices of the whole mesh.
void copy_vertices(RangeData const& frame, TriMesh const& part, Counts const& before, TriMesh& mesh)
{
    CancelPoll poll;
    for (auto const own : part.vertices())
    {
        poll.next();
        auto const i = static_cast<std::size_t>(own.idx());
        auto const vertex = moved(own, before);
        mesh.set_point(vertex, part.point(own));
        mesh.set_normal(vertex, frame.get_global_vNrv(i));
        if (mesh.has_vertex_colors())
        {
            mesh.set_color(vertex,
                           frame.has_vColor ? frame.get_vColor(i) : Vector3f(Vector3f::Zero()));
        }
    }
}

/// The elements of all parts before each one, and at the end those of all.
std::vector<Counts> counts_before(std::vector<TriMesh> const& parts)
{
    std::vector<Counts> before(parts.size() + 1);
    for (std::size_t i = 0; i < parts.size(); ++i)
    {
        before[i + 1] = {before[i].vertices + parts[i].n_vertices(),
                         before[i].edges + parts[i].n_edges(),
                         before[i].faces + parts[i].n_faces()};
    }
    return before;
}

bool wants_colours(std::vector<RangeData const*> const& ranges, ColourRule rule)
{
    auto const has_colours = [](RangeData const* frame) { return frame->has_vColor; };
    switch (rule)
    {
    case ColourRule::ANY_FRAME:
        return std::any_of(ranges.begin(), ranges.end(), has_colours);
    case ColourRule::FIRST_FRAME:
        return !ranges.empty() && has_colours(ranges.front());
    }
    return false;
}

} // namespace

bool have_normals(std::vector<RangeData const*> const& ranges)
{
    if (ranges.empty())
    {
        log("  empty ranges.\n");
        return false;
    }
    auto const lacking = std::find_if(ranges.begin(), ranges.end(),
                                      [](RangeData const* frame)
                                      { return frame == nullptr || !frame->has_vNormal; });
    if (lacking != ranges.end())
    {
        log("  range %d missing vertex normal.\n", static_cast<int>(lacking - ranges.begin()));
        return false;
    }
    return true;
}

std::vector<std::vector<int>> grid_quads(RangeData const& frame)
{
    std::vector<std::vector<int>> quads;
    frame.convert_to_quad(quads);
    return quads;
}

void triangulate_frames(std::vector<RangeData const*> const& ranges, ColourRule colours,
                        OpenMesh::VPropHandleT<int> frame_of_vertex, TriMesh& mesh)
{
    for (auto const* frame : ranges)
    {
        check_channels(*frame);
    }
    Stages stages({4, 1});
    stages.next();
    std::vector<TriMesh> parts(ranges.size());
    for_each_index(ranges.size(), [&](std::size_t i) { triangulate(*ranges[i], parts[i]); });

    stages.next();
    auto const before = counts_before(parts);
    mesh.request_vertex_normals();
    if (wants_colours(ranges, colours))
    {
        mesh.request_vertex_colors();
    }
    auto const& all = before.back();
    // Frames are merged to be connected: some room now saves moving everything later.
    mesh.reserve(all.vertices, all.edges + all.edges / 16, all.faces + all.faces / 16);
    mesh.resize(all.vertices, all.edges, all.faces);
    for_each_index(ranges.size(),
                   [&](std::size_t i)
                   {
                       copy_links(parts[i], before[i], mesh);
                       copy_vertices(*ranges[i], parts[i], before[i], mesh);
                       auto const frames = mesh.property(frame_of_vertex).data_vector().begin();
                       std::fill(frames + static_cast<std::ptrdiff_t>(before[i].vertices),
                                 frames + static_cast<std::ptrdiff_t>(before[i + 1].vertices),
                                 static_cast<int>(i));
                       parts[i].clear();
                   });
}

} // namespace OrvaneAlgorithm::detail
