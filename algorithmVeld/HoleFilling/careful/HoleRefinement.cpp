#include "algorithmVeld/HoleFilling/careful/HoleRefinement.h"

#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cmath>

namespace OrvaneAlgorithm::detail
{
namespace
{

using OpenMesh::FaceHandle;
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

/// Puts three faces around the centroid in place of a face.
void split_face(TriMesh& mesh, RefinementFlags const& flags, FaceHandle f, FaceCorners const& face,
                OppositeHalfedges const& opposite, SplitNotice const& notice)
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
            swap_edge(mesh, flags.face_new, g, opposite[k], a, b, w);
        }
    }
}

/// The vertex of a face that is neither `a` nor `b`; invalid if there is none.
VertexHandle third_vertex(TriMesh const& mesh, FaceHandle f, VertexHandle a, VertexHandle b)
{
    for (auto const v : mesh.fv_range(f))
    {
        if (v != a && v != b)
        {
            return v;
        }
    }
    return VertexHandle();
}

bool is_live_and_new(TriMesh const& mesh, OpenMesh::FPropHandleT<bool> face_new, FaceHandle f)
{
    return f.is_valid() && !mesh.status(f).deleted() && mesh.property(face_new, f);
}

/// Whether the edge a-b of the triangles a-b-c and a-b-d is the better diagonal, by the sums of the
/// angles at its ends and of those opposite.
bool is_better_diagonal(Vector3f const& a, Vector3f const& b, Vector3f const& c, Vector3f const& d)
{
    Vector3f const ac = (c - a).normalized();
    Vector3f const ad = (d - a).normalized();
    Vector3f const bc = (c - b).normalized();
    Vector3f const bd = (d - b).normalized();
    float const angle_a = std::acos(ac.dot(ad));
    float const angle_b = std::acos(bc.dot(bd));
    float const angle_c = std::acos(ac.dot(bc));
    float const angle_d = std::acos(ad.dot(bd));
    return angle_a + angle_b > angle_c + angle_d;
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
               SplitNotice const& notice)
{
    int splits = 0;
    int const count = static_cast<int>(mesh.n_faces());
    CancelPoll poll;
    for (int i = 0; i < count; ++i)
    {
        poll.next();
        FaceHandle const f(i);
        if (!is_live_and_new(mesh, flags.face_new, f))
        {
            continue;
        }
        OppositeHalfedges opposite;
        FaceCorners const face = read_face(mesh, f, opposite);
        if (criterion(face))
        {
            split_face(mesh, flags, f, face, opposite, notice);
            ++splits;
        }
    }
    return splits;
}

int relax_pass(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new)
{
    int flips = 0;
    int const count = static_cast<int>(mesh.n_edges());
    CancelPoll poll;
    for (int i = 0; i < count; ++i)
    {
        poll.next();
        OpenMesh::EdgeHandle const e(i);
        if (mesh.status(e).deleted())
        {
            continue;
        }
        auto const h0 = mesh.halfedge_handle(e, 0);
        auto const h1 = mesh.halfedge_handle(e, 1);
        auto const f0 = mesh.face_handle(h0);
        if (!is_live_and_new(mesh, face_new, f0) ||
            !is_live_and_new(mesh, face_new, mesh.face_handle(h1)))
        {
            continue;
        }
        auto const a = mesh.from_vertex_handle(h0);
        auto const b = mesh.to_vertex_handle(h0);
        flips += swap_edge(mesh, face_new, f0, h1, a, b, third_vertex(mesh, f0, a, b)) ? 1 : 0;
    }
    return flips;
}

bool swap_edge(TriMesh& mesh, OpenMesh::FPropHandleT<bool> face_new, FaceHandle f, HalfedgeHandle h,
               VertexHandle a, VertexHandle b, VertexHandle c)
{
    FaceHandle const g = h.is_valid() ? mesh.face_handle(h) : FaceHandle();
    if (!is_live_and_new(mesh, face_new, f) || !is_live_and_new(mesh, face_new, g))
    {
        return false;
    }
    VertexHandle const d = third_vertex(mesh, g, a, b);
    if (!c.is_valid() || !d.is_valid() || !mesh.is_flip_ok(mesh.edge_handle(h)) ||
        is_better_diagonal(mesh.point(a), mesh.point(b), mesh.point(c), mesh.point(d)))
    {
        return false;
    }
    mesh.flip(mesh.edge_handle(h));
    return true;
}

void refine_fill(TriMesh& mesh, RefinementFlags const& flags, RefinementRule const& rule)
{
    DeletionScope const status(mesh);
    for (int round = 0; round < rule.rounds; ++round)
    {
        int const splits = split_pass(mesh, flags, rule.is_coarse);
        int const flips = relax_pass(mesh, flags.face_new);
        if (splits + flips == 0)
        {
            break; // the rounds that are left would find the same mesh and change nothing
        }
    }
    log_line(gPH.log_enabled, "  start garbage_collection() ..\n");
    mesh.garbage_collection(true, true, true);
}

} // namespace OrvaneAlgorithm::detail
