#include "algorithmVeld/HoleFilling/careful/HoleRefinement.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/Surroundings.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::EdgeHandle;
using OpenMesh::FaceHandle;
using OpenMesh::FPropHandleT;
using OpenMesh::HalfedgeHandle;
using OpenMesh::VertexHandle;

using OppositeHalfedges = std::array<HalfedgeHandle, 3>;

/// Reads a face, and for each of its edges the halfedge on the other side.
FaceCorners read_face(TriMesh const& mesh, FaceHandle f, OppositeHalfedges& opposite)
{
    FaceCorners face;
    auto h = mesh.halfedge_handle(f);
    for (std::size_t k = 0; k < 3; ++k)
    {
        face.verts[k] = mesh.from_vertex_handle(h);
        face.points[k] = mesh.point(face.verts[k]);
        h = mesh.next_halfedge_handle(h);
    }
    for (std::size_t k = 0; k < 3; ++k)
    {
        if (mesh.to_vertex_handle(h) == face.verts[(k + 1) % 3])
        {
            opposite[k] = mesh.opposite_halfedge_handle(h);
        }
        else
        {
            log_line(gPH.log_enabled,
                     "  !!!!!!!!!! halfedge is not same as expected .. [%s (%d)]\n", __FILE__,
                     __LINE__);
        }
        h = mesh.next_halfedge_handle(h);
    }
    face.centroid = (face.points[0] + face.points[1] + face.points[2]) / 3.0F;
    return face;
}

bool is_live_and_new(TriMesh const& mesh, OpenMesh::FPropHandleT<bool> face_new, FaceHandle f)
{
    return f.is_valid() && !mesh.status(f).deleted() && mesh.property(face_new, f);
}

/// Not so where a product of unit vectors was rounded beyond 1, or of what is no number.
bool is_cosine(float x)
{
    return x >= -1.0F && x <= 1.0F;
}

/// How an edge compares with the other diagonal of its two triangles.
enum class Diagonal
{
    BETTER,
    EVEN, ///< By what rounding may make of a tie; never the better one of the two.
    WORSE
};

/// The edge a-b of the triangles a-b-c and a-b-d, by the sums of the angles at its ends and of
/// those opposite. Bit by bit the same whichever end is called a, and whichever triangle comes
/// first.
Diagonal compare_diagonals(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                           Vector3f const& d)
{
    Vector3f const ac = (c - a).normalized();
    Vector3f const ad = (d - a).normalized();
    Vector3f const bc = (c - b).normalized();
    Vector3f const bd = (d - b).normalized();
    float const cos_a = ac.dot(ad);
    float const cos_b = bc.dot(bd);
    float const cos_c = ac.dot(bc);
    float const cos_d = ad.dot(bd);
    if (is_cosine(cos_a) && is_cosine(cos_b) && is_cosine(cos_c) && is_cosine(cos_d))
    {
        // Most edges are told without the angles: these differ by no less than their cosines, and
        // an angle and the sum of two are rounded by less than 1e-6.
        constexpr float CLEAR = 1e-5F;
        if (std::max(cos_a, cos_b) + CLEAR < std::min(cos_c, cos_d))
        {
            return Diagonal::BETTER;
        }
        if (std::max(cos_c, cos_d) + CLEAR < std::min(cos_a, cos_b))
        {
            return Diagonal::WORSE;
        }
    }
    float const inner = std::acos(cos_a) + std::acos(cos_b);
    float const outer = std::acos(cos_c) + std::acos(cos_d);
    if (inner > outer)
    {
        return Diagonal::BETTER;
    }
    constexpr float TIE = 1e-5F;
    // Corners in one line may have no angle: such an edge is no better and no worse.
    return !(std::abs(inner - outer) > TIE) ? Diagonal::EVEN : Diagonal::WORSE;
}

/// Whether the other diagonal of an edge's two triangles may take its place: it must not exist.
bool can_flip(TriMesh const& mesh, VertexHandle c, VertexHandle d)
{
    return c != d && !halfedge_between(mesh, c, d).is_valid();
}

/// Links the two triangles a-b-c and b-a-d at an edge as c-d-b and d-c-a, handle by handle as
/// OpenMesh's own flip, which asks once more whether it may.
void flip_edge(TriMesh& mesh, EdgeHandle e)
{
    auto const ab = mesh.halfedge_handle(e, 0);
    auto const ba = mesh.halfedge_handle(e, 1);
    auto const bc = mesh.next_halfedge_handle(ab);
    auto const ca = mesh.next_halfedge_handle(bc);
    auto const ad = mesh.next_halfedge_handle(ba);
    auto const db = mesh.next_halfedge_handle(ad);
    auto const b = mesh.to_vertex_handle(ab);
    auto const a = mesh.to_vertex_handle(ba);
    auto const f = mesh.face_handle(ab);
    auto const g = mesh.face_handle(ba);

    mesh.set_vertex_handle(ab, mesh.to_vertex_handle(bc));
    mesh.set_vertex_handle(ba, mesh.to_vertex_handle(ad));
    mesh.set_next_halfedge_handle(ab, ca);
    mesh.set_next_halfedge_handle(ca, ad);
    mesh.set_next_halfedge_handle(ad, ab);
    mesh.set_next_halfedge_handle(ba, db);
    mesh.set_next_halfedge_handle(db, bc);
    mesh.set_next_halfedge_handle(bc, ba);
    mesh.set_face_handle(bc, g);
    mesh.set_face_handle(ad, f);
    mesh.set_halfedge_handle(f, ab);
    mesh.set_halfedge_handle(g, ba);
    if (mesh.halfedge_handle(a) == ab)
    {
        mesh.set_halfedge_handle(a, ad);
    }
    if (mesh.halfedge_handle(b) == ba)
    {
        mesh.set_halfedge_handle(b, bc);
    }
}

/// The triangles beside an edge are others now.
void unsettle_faces_at(TriMesh const& mesh, EdgeHandle e, SettledElements& settled)
{
    for (unsigned int side = 0; side < 2; ++side)
    {
        auto const h = mesh.halfedge_handle(e, side);
        auto const next = mesh.next_halfedge_handle(h);
        settled.remove(mesh.face_handle(h));
        settled.remove(mesh.edge_handle(next));
        settled.remove(mesh.edge_handle(mesh.next_halfedge_handle(next)));
    }
}

/// Flips an edge between two new faces, unless it is the better diagonal, or an even one that is
/// noted already.
/// \param even_edges if it is given, even edges that are flipped are noted there
/// \return whether it was flipped
bool visit_edge(TriMesh& mesh, FPropHandleT<bool> face_new, EdgeHandle e, SettledElements& settled,
                std::vector<char>* even_edges = nullptr)
{
    auto const h0 = mesh.halfedge_handle(e, 0);
    auto const h1 = mesh.halfedge_handle(e, 1);
    if (!is_live_and_new(mesh, face_new, mesh.face_handle(h0)) ||
        !is_live_and_new(mesh, face_new, mesh.face_handle(h1)))
    {
        settled.add(e); // An old face stays, and so does a gap.
        return false;
    }
    auto const a = mesh.to_vertex_handle(h1);
    auto const b = mesh.to_vertex_handle(h0);
    auto const c = mesh.to_vertex_handle(mesh.next_halfedge_handle(h0));
    auto const d = mesh.to_vertex_handle(mesh.next_halfedge_handle(h1));
    auto const diagonal =
        compare_diagonals(mesh.point(a), mesh.point(b), mesh.point(c), mesh.point(d));
    if (diagonal == Diagonal::BETTER)
    {
        settled.add(e);
        return false;
    }
    auto const place = static_cast<std::size_t>(e.idx());
    bool const is_noted =
        even_edges != nullptr && diagonal == Diagonal::EVEN && (*even_edges)[place] != 0;
    if (is_noted || !can_flip(mesh, c, d))
    {
        return false; // It may later, where the edge in its way is flipped.
    }
    if (even_edges != nullptr && diagonal == Diagonal::EVEN)
    {
        (*even_edges)[place] = 1;
    }
    flip_edge(mesh, e);
    unsettle_faces_at(mesh, e, settled);
    return true;
}

/// Puts three faces around the centroid in place of a face.
void split_face(TriMesh& mesh, RefinementFlags const& flags, FaceHandle f, FaceCorners const& face,
                OppositeHalfedges const& opposite, SettledElements& settled,
                SplitNotice const& notice)
{
    mesh.delete_face(f, false);
    VertexHandle const w = mesh.add_vertex(face.centroid);
    mesh.property(flags.vert_new, w) = true;
    mesh.property(flags.vert_boundary, w) = false;
    if (notice)
    {
        notice(w, face);
    }
    for (std::size_t k = 0; k < 3; ++k)
    {
        auto const a = face.verts[k];
        auto const b = face.verts[(k + 1) % 3];
        FaceHandle const g = add_face_checked(mesh, a, b, w);
        if (g.is_valid())
        {
            mesh.property(flags.face_new, g) = true;
            if (opposite[k].is_valid())
            {
                EdgeHandle const outer = mesh.edge_handle(opposite[k]);
                settled.remove(outer);
                visit_edge(mesh, flags.face_new, outer, settled);
            }
        }
    }
}

} // namespace

bool is_coarse(FaceCorners const& face, double long_edge)
{
    int long_edges = 0;
    for (std::size_t k = 0; k < 3; ++k)
    {
        float const to_corner = (face.centroid - face.points[k]).norm();
        if (!(to_corner >= 0.5 * long_edge))
        {
            return false;
        }
        float const edge = (face.points[(k + 1) % 3] - face.points[k]).norm();
        long_edges += edge > long_edge ? 1 : 0;
    }
    return long_edges >= 2;
}

int split_pass(TriMesh& mesh, RefinementFlags const& flags, SplitCriterion const& criterion,
               SettledElements& settled, SplitNotice const& notice)
{
    int splits = 0;
    int const count = static_cast<int>(mesh.n_faces());
    CancelPoll poll;
    for (int i = 0; i < count; ++i)
    {
        poll.next();
        FaceHandle const f(i);
        if (settled.has(f))
        {
            continue;
        }
        if (is_live_and_new(mesh, flags.face_new, f))
        {
            OppositeHalfedges opposite;
            FaceCorners const face = read_face(mesh, f, opposite);
            if (criterion(face))
            {
                split_face(mesh, flags, f, face, opposite, settled, notice);
                ++splits;
            }
        }
        settled.add(f); // What is old, deleted or split just now is not new again.
    }
    return splits;
}

int relax_pass(TriMesh& mesh, FPropHandleT<bool> face_new, SettledElements& settled)
{
    int flips = 0;
    int const count = static_cast<int>(mesh.n_edges());
    CancelPoll poll;
    for (int i = 0; i < count; ++i)
    {
        poll.next();
        EdgeHandle const e(i);
        if (!settled.has(e) && !mesh.status(e).deleted())
        {
            flips += visit_edge(mesh, face_new, e, settled) ? 1 : 0;
        }
    }
    return flips;
}

void relax_until_stable(TriMesh& mesh, FPropHandleT<bool> face_new, SettledElements& settled)
{
    std::vector<char> even_edges(mesh.n_edges(), 0);
    std::size_t left = 4 * mesh.n_edges();
    int const count = static_cast<int>(mesh.n_edges());
    CancelPoll poll;
    bool flipped = true;
    while (flipped && left > 0)
    {
        flipped = false;
        for (int i = 0; i < count && left > 0; ++i)
        {
            poll.next();
            EdgeHandle const e(i);
            if (!settled.has(e) && !mesh.status(e).deleted() &&
                visit_edge(mesh, face_new, e, settled, &even_edges))
            {
                flipped = true;
                --left;
            }
        }
    }
}

bool swap_edge(TriMesh& mesh, FPropHandleT<bool> face_new, FaceHandle f, HalfedgeHandle h,
               VertexHandle a, VertexHandle b, VertexHandle c)
{
    FaceHandle const g = h.is_valid() ? mesh.face_handle(h) : FaceHandle();
    if (!is_live_and_new(mesh, face_new, f) || !is_live_and_new(mesh, face_new, g))
    {
        return false;
    }
    VertexHandle const d = third_vertex(mesh, g, a, b);
    if (!c.is_valid() || !d.is_valid() || !mesh.is_flip_ok(mesh.edge_handle(h)) ||
        compare_diagonals(mesh.point(a), mesh.point(b), mesh.point(c), mesh.point(d)) ==
            Diagonal::BETTER)
    {
        return false;
    }
    mesh.flip(mesh.edge_handle(h));
    return true;
}

void refine_fill(TriMesh& mesh, RefinementFlags const& flags, RefinementRule const& rule)
{
    DeletionScope const status(mesh);
    SettledElements settled;
    for (int round = 0; round < rule.rounds; ++round)
    {
        int const splits = split_pass(mesh, flags, rule.is_coarse, settled);
        int const flips = relax_pass(mesh, flags.face_new, settled);
        if (splits + flips == 0)
        {
            break; // the rounds that are left would find the same mesh and change nothing
        }
    }
    log_line(gPH.log_enabled, "  start garbage_collection() ..\n");
    compact(mesh);
}

void refine_until_stable(TriMesh& mesh, RefinementFlags const& flags, StableRefinement const& rule)
{
    DeletionScope const status(mesh);
    SettledElements settled;
    for (int round = 0; round < rule.most_rounds && mesh.n_faces() < rule.most_faces; ++round)
    {
        if (split_pass(mesh, flags, rule.is_coarse, settled, rule.notice) == 0)
        {
            break;
        }
        relax_until_stable(mesh, flags.face_new, settled);
    }
    log_line(gPH.log_enabled, "  start garbage_collection() ..\n");
    compact(mesh);
}

} // namespace OrvaneAlgorithm::detail
