#include "algorithmVeld/common/mesh/ElementOrder.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

/// The new numbers of edges and faces.
class Numbering
{
public:
    /// \param added in the order of their turns
    Numbering(TriMesh const& mesh, std::size_t n_edges, std::size_t n_faces,
              std::vector<AddedFaces> const& added)
        : old_edges_(static_cast<int>(n_edges)),
          old_faces_(static_cast<int>(n_faces)),
          edges_(mesh.n_edges() - n_edges, -1),
          faces_(mesh.n_faces() - n_faces, -1),
          n_edges_(old_edges_),
          n_faces_(old_faces_)
    {
        for (auto const& entry : added)
        {
            auto const edge = edges_.begin() + (entry.first_edge - old_edges_);
            auto const face = faces_.begin() + (entry.first_face - old_faces_);
            std::iota(edge, edge + entry.edges, n_edges_);
            std::iota(face, face + entry.faces, n_faces_);
            n_edges_ += entry.edges;
            n_faces_ += entry.faces;
        }
    }

    std::size_t n_edges() const { return static_cast<std::size_t>(n_edges_); }
    std::size_t n_faces() const { return static_cast<std::size_t>(n_faces_); }

    bool is_new(HalfedgeHandle h) const { return h.idx() >= 2 * old_edges_; }

    HalfedgeHandle operator()(HalfedgeHandle h) const
    {
        return is_new(h)
                   ? HalfedgeHandle(2 * edges_[static_cast<std::size_t>(h.idx() / 2 - old_edges_)] +
                                    h.idx() % 2)
                   : h;
    }

    FaceHandle operator()(FaceHandle face) const
    {
        return face.idx() >= old_faces_
                   ? FaceHandle(faces_[static_cast<std::size_t>(face.idx() - old_faces_)])
                   : face;
    }

private:
    int old_edges_;
    int old_faces_;
    std::vector<int> edges_; // By old number.
    std::vector<int> faces_;
    int n_edges_;
    int n_faces_;
};

/// The links of a halfedge as they were.
struct HalfedgeLinks
{
    HalfedgeHandle self, next, prev;
    VertexHandle to;
    FaceHandle face;
};

/// The links of a vertex or face as they were.
struct VertexLink
{
    VertexHandle self;
    HalfedgeHandle halfedge;
};

struct FaceLinks
{
    FaceHandle self;
    std::array<HalfedgeHandle, 3> halfedges; ///< The face's own one first.
};

/// All links to and from the new elements.
struct Links
{
    std::vector<HalfedgeLinks> halfedges;
    std::vector<VertexLink> vertices;
    std::vector<FaceLinks> faces;
};

Links collect(TriMesh const& mesh, Numbering const& numbering, std::vector<AddedFaces> const& added)
{
    Links links;
    for (auto const& entry : added)
    {
        for (int i = 2 * entry.first_edge; i < 2 * (entry.first_edge + entry.edges); ++i)
        {
            HalfedgeHandle const h(i);
            auto const to = mesh.to_vertex_handle(h);
            links.halfedges.push_back({h, mesh.next_halfedge_handle(h),
                                       mesh.prev_halfedge_handle(h), to, mesh.face_handle(h)});
            if (numbering.is_new(mesh.halfedge_handle(to)))
            {
                links.vertices.push_back({to, mesh.halfedge_handle(to)});
            }
        }
        for (int i = entry.first_face; i < entry.first_face + entry.faces; ++i)
        {
            FaceHandle const face(i);
            auto const h = mesh.halfedge_handle(face);
            links.faces.push_back(
                {face, {{h, mesh.next_halfedge_handle(h), mesh.prev_halfedge_handle(h)}}});
        }
    }
    return links;
}

} // namespace

void order_by_turns(TriMesh& mesh, std::size_t n_edges, std::size_t n_faces,
                    std::vector<AddedFaces> added)
{
    std::sort(added.begin(), added.end(),
              [](AddedFaces const& a, AddedFaces const& b) { return a.turn < b.turn; });
    Numbering const numbering(mesh, n_edges, n_faces, added);
    Links const links = collect(mesh, numbering, added);
    for (auto const& old : links.halfedges)
    {
        auto const h = numbering(old.self);
        mesh.set_vertex_handle(h, old.to);
        // Each also sets the link back.
        mesh.set_next_halfedge_handle(h, numbering(old.next));
        mesh.set_next_halfedge_handle(numbering(old.prev), h);
        if (old.face.is_valid())
        {
            mesh.set_face_handle(h, numbering(old.face));
        }
        else
        {
            mesh.set_boundary(h);
        }
    }
    for (auto const& old : links.faces)
    {
        auto const face = numbering(old.self);
        mesh.set_halfedge_handle(face, numbering(old.halfedges[0]));
        for (auto const h : old.halfedges)
        {
            mesh.set_face_handle(numbering(h), face);
        }
    }
    for (auto const& old : links.vertices)
    {
        mesh.set_halfedge_handle(old.self, numbering(old.halfedge));
    }
    mesh.resize(mesh.n_vertices(), numbering.n_edges(), numbering.n_faces());
}

} // namespace OrvaneAlgorithm::detail
