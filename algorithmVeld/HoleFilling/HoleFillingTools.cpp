// What the stages of one hole are made of: each works on any mesh with a hole.

#include "algorithmVeld/HoleFilling/HoleFilling.h"

#include "algorithmVeld/HoleFilling/HoleSmooth.h"
#include "algorithmVeld/HoleFilling/careful/HoleFiles.h"
#include "algorithmVeld/HoleFilling/careful/HoleRefinement.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/HoleFilling/fairing/Fairing.h"
#include "algorithmVeld/HoleFilling/triangulation/HoleTriangulation.h"
#include "algorithmVeld/HoleFilling/whole/BorderFairing.h"
#include "algorithmVeld/HoleFilling/whole/PatchShape.h"
#include "algorithmVeld/common/geometry/TriangleGeometry.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/pause.h"
#include "algorithmVeld/common/solver/LoggedSolve.h"

#include <cmath>

namespace OrvaneAlgorithm
{

using detail::log;

namespace
{

using OpenMesh::VertexHandle;

/// Splits of more rounds, or into more faces, are taken for endless: a scale of 0 asks for them.
constexpr int MOST_ROUNDS = 100;
constexpr std::size_t MOST_FACES = 4'000'000;

/// The vertices that carry a flag, in the order of their numbers.
detail::Patch flagged_vertices(TriMesh const& mesh, OpenMesh::VPropHandleT<bool> flag)
{
    detail::Patch patch;
    for (auto const vertex : mesh.all_vertices())
    {
        if (mesh.property(flag, vertex))
        {
            patch.push_back(vertex);
        }
    }
    return patch;
}

/// Writes what is around the triangles that a mesh refuses, with logging on.
detail::RefusedTriangle dump_refused(TriMesh const& mesh)
{
    return [&mesh](VertexHandle a, VertexHandle b, VertexHandle c)
    { detail::dump_triangle(mesh, a, b, c, "HoleFilling-find_best_weight-add_face"); };
}

} // namespace

detail::TriangulationRule HoleFilling::triangulation_rule() const
{
    detail::TriangulationRule rule;
    rule.bad_triangle_area = static_cast<float>(avg_area * 1000.0);
    rule.flat_weight = flat_weight_;
    rule.sample_num = triangulation_sample_num_;
    return rule;
}

std::optional<OpenReason> HoleFilling::triangulate(detail::HoleSubMesh& sub,
                                                   detail::HoleTurn const* turn) const
{
    return detail::triangulate_hole(sub.mesh, sub.loop, sub.face_new, triangulation_rule(),
                                    dump_refused(sub.mesh), turn);
}

bool HoleFilling::hole_triangulation(TriMesh& mesh, std::vector<HalfedgeHandle>& loop,
                                     FPropHandleT<bool>& face_new) const
{
    return !detail::triangulate_hole(mesh, loop, face_new, triangulation_rule(),
                                     dump_refused(mesh));
}

void HoleFilling::calc_weight(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                              std::vector<FaceHandle> const& faces, std::vector<int> const& lambda,
                              int i, int m, int j, float& angle, float& area,
                              std::vector<bool> const& edge_exist) const
{
    auto const cost = detail::split_cost(mesh, verts, faces, lambda, static_cast<std::size_t>(i),
                                         static_cast<std::size_t>(m), static_cast<std::size_t>(j),
                                         edge_exist, triangulation_rule());
    angle = cost.angle;
    area = cost.area;
}

bool HoleFilling::hole_refinement(TriMesh& mesh, FPropHandleT<bool>& face_new,
                                  VPropHandleT<bool>& vert_new, VPropHandleT<bool>& vert_boundary,
                                  VPropHandleT<float>& vert_edge_len) const
{
    log("hole_refinement() ..\n");
    auto const mean_scale = [&](detail::FaceCorners const& face)
    {
        auto const& v = face.verts;
        return (mesh.property(vert_edge_len, v[0]) + mesh.property(vert_edge_len, v[1]) +
                mesh.property(vert_edge_len, v[2])) /
               3.0F;
    };
    auto const is_coarse = [&](detail::FaceCorners const& face)
    {
        auto const& p = face.points;
        if (detail::corner_angles(p[0], p[1], p[2]).min() < angle_thr_)
        {
            return false;
        }
        float const scale = mean_scale(face);
        for (std::size_t k = 0; k < 3; ++k)
        {
            float const reach = (face.centroid - p[k]).norm();
            if (density_thr_ * mesh.property(vert_edge_len, face.verts[k]) < reach &&
                density_thr_ * scale < reach)
            {
                return true;
            }
        }
        return false;
    };
    auto const keep_scale = [&](VertexHandle vertex, detail::FaceCorners const& face)
    { mesh.property(vert_edge_len, vertex) = mean_scale(face); };
    detail::refine_until_stable(mesh, {face_new, vert_new, vert_boundary},
                                {is_coarse, keep_scale, MOST_ROUNDS, MOST_FACES});
    return true;
}

void HoleFilling::smooth_hole_inner_patch(TriMesh& mesh, VPropHandleT<bool>& active) const
{
    HoleSmooth smooth(mesh, active);
    smooth.initialize(HoleSmooth::Tangential, HoleSmooth::C1);
    smooth.smooth(100);
    if (!smooth.get_iterative_smoothed_mesh(mesh))
    {
        log("  ###### fail to get mesh [%s (%d)]\n", __FILE__, __LINE__);
        detail::pause_for_inspection();
    }
}

bool HoleFilling::hole_fairing(TriMesh& mesh, FPropHandleT<bool>& /*face_new*/,
                               VPropHandleT<bool>& vert_new,
                               VPropHandleT<bool>& /*vert_boundary*/) const
{
    log("hole_fairing() ..\n");
    return fairing_minimization_with_SparseLU(mesh, vert_new);
}

bool HoleFilling::fairing_minimization_with_SparseLU(TriMesh& mesh, VPropHandleT<bool>& inner) const
{
    log("fairing_minimization_with_SparseLU() ..\n");
    return fair_with_solver(mesh, inner);
}

bool HoleFilling::fairing_minimization_with_ConjugateGradient(TriMesh& mesh,
                                                              VPropHandleT<bool>& inner) const
{
    log("fairing_minimization_with_ConjugateGradient() ..\n");
    return fair_with_solver(mesh, inner);
}

bool HoleFilling::fair_with_solver(TriMesh& mesh, VPropHandleT<bool>& inner) const
{
    auto const patch = flagged_vertices(mesh, inner);
    int const n = static_cast<int>(patch.size());
    log("  Laplace's equation dim:\n");
    log("    inner verts:       %8d\n", n);
    log("    total verts:       %8d\n", static_cast<int>(mesh.n_vertices()));
    if (n > fairing_verts_thr_)
    {
        log("  skip large dim Laplace's equation. [%s (%d)]", __FILE__, __LINE__);
        return true;
    }
    if (n == 0)
    {
        return true;
    }
    auto const weight =
        weight_type_ == 0 ? detail::LaplaceWeight::UNIFORM : detail::LaplaceWeight::INVERSE_LENGTH;
    auto const points =
        detail::faired_points(mesh, patch, {2, weight}, detail::SolverLog::PHASES_AND_SIZES);
    for (std::size_t k = 0; k < points.size(); ++k)
    {
        mesh.set_point(patch[k], points[k]);
    }
    return true;
}

bool HoleFilling::fairing_minimization_with_SimplicialCholesky(
    TriMesh& mesh, FPropHandleT<bool>& face_new, VPropHandleT<bool>& vert_new,
    VPropHandleT<bool>& vert_boundary) const
{
    log("fairing_minimization_with_SimplicialCholesky() ..\n");
    return detail::fair_with_border(mesh, face_new, vert_new, vert_boundary, fairing_lambda_);
}

void HoleFilling::fairing_plane(TriMesh& mesh, VPropHandleT<bool>& inner) const
{
    log("fairing_plane() ..\n");
    detail::move_to_neighbours(mesh, flagged_vertices(mesh, inner));
}

bool HoleFilling::is_flat_hole(TriMesh& mesh, FPropHandleT<bool>& face_new) const
{
    Vector3f mean = Vector3f::Zero();
    double const share = detail::even_share(mesh, face_new, mean);
    log("  average normal of border triangles: %.5f / %.5f / %.5f\n", mean.x(), mean.y(), mean.z());
    log("    percentage of even triangles:  %.4f\n", share);
    return share > 0.9;
}

void HoleFilling::verify_mesh(TriMesh& mesh) const
{
    log("verify_mesh() ..\n");
    log("  verts:          %8d\n", static_cast<int>(mesh.n_vertices()));
    log("  faces:          %8d\n", static_cast<int>(mesh.n_faces()));
    log("  has vert nor:   %8d\n", static_cast<int>(mesh.has_vertex_normals()));
    log("  has face nor:   %8d\n", static_cast<int>(mesh.has_face_normals()));
    detail::log_bad_normals(mesh);
}

bool HoleFilling::MKL_Pardiso(SparseRows const& a, DenseVector const& b, int inner,
                              std::vector<double>& x) const
{
    return detail::solve_logged(a, b, x, inner);
}

void HoleFilling::calc_tri_circum_circle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                         Vector3f& centre, float& radius)
{
    Vector3d const ab = (b - a).cast<double>();
    Vector3d const ac = (c - a).cast<double>();
    Vector3d const n = ab.cross(ac);
    Vector3d const to_centre =
        (ac.squaredNorm() * n.cross(ab) + ab.squaredNorm() * ac.cross(n)) / (2.0 * n.squaredNorm());
    centre = (a.cast<double>() + to_centre).cast<float>();
    radius = static_cast<float>(to_centre.norm());
}

} // namespace OrvaneAlgorithm
