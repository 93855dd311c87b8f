#pragma once

#include "algorithmVeld/common/TriMesh.h"

#include <array>
#include <cstddef>
#include <utility>

namespace OrvaneAlgorithm::detail
{

/// The halfedge from one vertex to another, invalid if there is none. The mesh's own search checks
/// every handle that it passes, which costs three times as much.
inline OpenMesh::HalfedgeHandle halfedge_between(TriMesh const& mesh, OpenMesh::VertexHandle from,
                                                 OpenMesh::VertexHandle to)
{
    auto const first = mesh.halfedge_handle(from);
    if (first.is_valid())
    {
        auto h = first;
        do
        {
            if (mesh.to_vertex_handle(h) == to)
            {
                return h;
            }
            h = mesh.next_halfedge_handle(mesh.opposite_halfedge_handle(h));
        } while (h != first);
    }
    return OpenMesh::HalfedgeHandle();
}

/// New edges and faces at the end of a mesh, as OpenMesh makes them.
class AppendedElements
{
public:
    explicit AppendedElements(TriMesh& mesh) : mesh_(mesh) {}

    OpenMesh::HalfedgeHandle edge(OpenMesh::VertexHandle from, OpenMesh::VertexHandle to)
    {
        return mesh_.new_edge(from, to);
    }
    OpenMesh::FaceHandle face() { return mesh_.new_face(); }

private:
    TriMesh& mesh_;
};

/// A triangle on its way into a mesh. What it does to the mesh's links is what OpenMesh's own
/// `add_face` does, to the last handle; but that one ends the process for a repeated vertex, writes
/// a line to standard error for every refusal, and checks every handle that it touches.
class NewTriangle
{
public:
    NewTriangle(TriMesh const& mesh, std::array<OpenMesh::VertexHandle, 3> const& corners)
        : mesh_(mesh), corners_(corners)
    {
    }

    /// Whether the mesh can take the triangle: three different, valid vertices on a boundary, no
    /// edge that already has a face on this side, and room to link the boundary anew around each
    /// corner. To be asked before it is linked.
    bool fits()
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            auto const a = corners_[i];
            auto const b = corners_[after(i)];
            if (!mesh_.is_valid_handle(a) || !mesh_.is_valid_handle(b) || a == b ||
                !mesh_.is_boundary(a))
            {
                return false;
            }
            sides_[i] = halfedge_between(mesh_, a, b);
            is_new_[i] = !sides_[i].is_valid();
            if (!is_new_[i] && !mesh_.is_boundary(sides_[i]))
            {
                return false;
            }
        }
        return make_room(0) && make_room(1) && make_room(2);
    }

    /// Links the triangle into the mesh that was asked.
    /// \param elements gives new edges and faces
    template <typename Elements>
    OpenMesh::FaceHandle link(TriMesh& mesh, Elements& elements)
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            if (is_new_[i])
            {
                sides_[i] = elements.edge(corners_[i], corners_[after(i)]);
            }
        }
        auto const face = elements.face();
        mesh.set_halfedge_handle(face, sides_[2]);
        std::array<bool, 3> needs_adjusting{};
        for (std::size_t i = 0; i < 3; ++i)
        {
            needs_adjusting[after(i)] = link_corner(mesh, i);
            mesh.set_face_handle(sides_[i], face);
        }
        for (std::size_t i = 0; i < n_links_; ++i)
        {
            mesh.set_next_halfedge_handle(links_[i].first, links_[i].second);
        }
        for (std::size_t i = 0; i < 3; ++i)
        {
            if (needs_adjusting[i])
            {
                choose_outgoing(mesh, corners_[i]);
            }
        }
        return face;
    }

private:
    using Halfedge = OpenMesh::HalfedgeHandle;

    static std::size_t after(std::size_t i) { return (i + 1) % 3; }

    /// Links are made at the end, so that what is read until then is the mesh as it was.
    void link_later(Halfedge from, Halfedge to) { links_[n_links_++] = {from, to}; }

    /// Where another fan lies between two sides that exist, it has to find a gap elsewhere round
    /// the corner.
    bool make_room(std::size_t i)
    {
        auto const in = sides_[i];
        auto const out = sides_[after(i)];
        if (is_new_[i] || is_new_[after(i)] || mesh_.next_halfedge_handle(in) == out)
        {
            return true;
        }
        auto gap = mesh_.opposite_halfedge_handle(out);
        do
        {
            gap = mesh_.opposite_halfedge_handle(mesh_.next_halfedge_handle(gap));
        } while (!mesh_.is_boundary(gap));
        if (gap == in)
        {
            return false;
        }
        link_later(gap, mesh_.next_halfedge_handle(in));
        link_later(mesh_.prev_halfedge_handle(out), mesh_.next_halfedge_handle(gap));
        link_later(in, out);
        return true;
    }

    /// Links the border around the corner behind side `i`. \return whether the corner's own
    /// halfedge has to be chosen anew
    bool link_corner(TriMesh& mesh, std::size_t i)
    {
        auto const corner = corners_[after(i)];
        auto const in = sides_[i];
        auto const out = sides_[after(i)];
        if (!is_new_[i] && !is_new_[after(i)])
        {
            return mesh.halfedge_handle(corner) == out;
        }
        auto const outer_in = mesh.opposite_halfedge_handle(out);
        auto const outer_out = mesh.opposite_halfedge_handle(in);
        auto const border = mesh.halfedge_handle(corner);
        if (!is_new_[after(i)])
        {
            link_later(mesh.prev_halfedge_handle(out), outer_out);
            mesh.set_halfedge_handle(corner, outer_out);
        }
        else if (!is_new_[i])
        {
            link_later(outer_in, mesh.next_halfedge_handle(in));
            mesh.set_halfedge_handle(corner, mesh.next_halfedge_handle(in));
        }
        else if (!border.is_valid())
        {
            mesh.set_halfedge_handle(corner, outer_out);
            link_later(outer_in, outer_out);
        }
        else
        {
            link_later(mesh.prev_halfedge_handle(border), outer_out);
            link_later(outer_in, border);
        }
        link_later(in, out);
        return false;
    }

    /// The own halfedge of a vertex on a boundary is one of the boundary: the first behind the one
    /// that it was.
    static void choose_outgoing(TriMesh& mesh, OpenMesh::VertexHandle vertex)
    {
        auto const first = mesh.halfedge_handle(vertex);
        auto h = first;
        do
        {
            if (mesh.is_boundary(h))
            {
                mesh.set_halfedge_handle(vertex, h);
                return;
            }
            h = mesh.next_halfedge_handle(mesh.opposite_halfedge_handle(h));
        } while (h != first);
    }

    TriMesh const& mesh_;
    std::array<OpenMesh::VertexHandle, 3> corners_;
    std::array<Halfedge, 3> sides_;
    std::array<bool, 3> is_new_{};
    std::array<std::pair<Halfedge, Halfedge>, 9> links_; // Three at most for each corner.
    std::size_t n_links_ = 0;
};

/// Adds a triangle if the mesh can take it.
/// \param elements gives the new edges and the face
/// \return an invalid handle if it cannot
template <typename Elements>
OpenMesh::FaceHandle add_face_checked(TriMesh& mesh, OpenMesh::VertexHandle a,
                                      OpenMesh::VertexHandle b, OpenMesh::VertexHandle c,
                                      Elements& elements)
{
    NewTriangle triangle(mesh, {a, b, c});
    return triangle.fits() ? triangle.link(mesh, elements) : OpenMesh::FaceHandle();
}

/// The same at the end of the mesh.
inline OpenMesh::FaceHandle add_face_checked(TriMesh& mesh, OpenMesh::VertexHandle a,
                                             OpenMesh::VertexHandle b, OpenMesh::VertexHandle c)
{
    AppendedElements elements(mesh);
    return add_face_checked(mesh, a, b, c, elements);
}

} // namespace OrvaneAlgorithm::detail
