#include "algorithmVeld/reconstruction/detail/ElementOrder.h"

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
    Numbering(TriMesh const& mesh, std::vector<AddedFaces> const& added)
    {
        for (auto const& entry : added)
        {
            first_edge_ += entry.edges;
            first_face_ += entry.faces;
        }
        edges_.resize(static_cast<std::size_t>(first_edge_));
        faces_.resize(static_cast<std::size_t>(first_face_));
        first_edge_ = static_cast<int>(mesh.n_edges()) - first_edge_;
        first_face_ = static_cast<int>(mesh.n_faces()) - first_face_;
        number(added);
    }

    int first_edge() const { return first_edge_; }
    int first_face() const { return first_face_; }

    HalfedgeHandle operator()(HalfedgeHandle h) const
    {
        int const edge = h.idx() / 2 - first_edge_;
        return edge < 0 ? h
                        : HalfedgeHandle(2 * edges_[static_cast<std::size_t>(edge)] + h.idx() % 2);
    }

    FaceHandle operator()(FaceHandle face) const
    {
        int const i = face.idx() - first_face_;
        return i < 0 ? face : FaceHandle(faces_[static_cast<std::size_t>(i)]);
    }

private:
    void number(std::vector<AddedFaces> const& added)
    {
        std::vector<std::size_t> by_turn(added.size());
        std::iota(by_turn.begin(), by_turn.end(), std::size_t{0});
        std::sort(by_turn.begin(), by_turn.end(),
                  [&](std::size_t a, std::size_t b) { return added[a].turn < added[b].turn; });
        std::vector<AddedFaces> numbers(added.size()); // The first ones of each entry.
        int edge = first_edge_;
        int face = first_face_;
        for (auto const i : by_turn)
        {
            numbers[i] = {added[i].turn, face, edge};
            edge += added[i].edges;
            face += added[i].faces;
        }
        auto next_edge = edges_.begin();
        auto next_face = faces_.begin();
        for (std::size_t i = 0; i < added.size(); ++i)
        {
            std::iota(next_edge, next_edge + added[i].edges, numbers[i].edges);
            std::iota(next_face, next_face + added[i].faces, numbers[i].faces);
            next_edge += added[i].edges;
            next_face += added[i].faces;
        }
    }

    int first_edge_ = 0;
    int first_face_ = 0;
    std::vector<int> edges_;
    std::vector<int> faces_;
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

Links collect(TriMesh const& mesh, Numbering const& numbering)
{
    Links links;
    for (int i = 2 * numbering.first_edge(); i < static_cast<int>(mesh.n_halfedges()); ++i)
    {
        HalfedgeHandle const h(i);
        auto const to = mesh.to_vertex_handle(h);
        links.halfedges.push_back({h, mesh.next_halfedge_handle(h), mesh.prev_halfedge_handle(h),
                                   to, mesh.face_handle(h)});
        if (mesh.halfedge_handle(to).idx() >= 2 * numbering.first_edge())
        {
            links.vertices.push_back({to, mesh.halfedge_handle(to)});
        }
    }
    for (int i = numbering.first_face(); i < static_cast<int>(mesh.n_faces()); ++i)
    {
        FaceHandle const face(i);
        auto const h = mesh.halfedge_handle(face);
        links.faces.push_back(
            {face, {{h, mesh.next_halfedge_handle(h), mesh.prev_halfedge_handle(h)}}});
    }
    return links;
}

} // namespace

void order_by_turns(TriMesh& mesh, std::vector<AddedFaces> const& added)
{
    Numbering const numbering(mesh, added);
    Links const links = collect(mesh, numbering);
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
}

} // namespace OrvaneAlgorithm::detail
