#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/HoleFilling/careful/HoleRefinement.h"
#include "algorithmVeld/HoleFilling/careful/HoleTriangulation.h"
#include "algorithmVeld/common/geometry/TriangleGeometry.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"

namespace OrvaneAlgorithm
{
namespace
{

detail::TriangulationRule make_rule(bool flat_weight, int sample_num)
{
    detail::TriangulationRule rule;
    rule.flat_weight = flat_weight;
    rule.sample_num = sample_num;
    return rule;
}

} // namespace

bool HoleFillingCore::hole_triangulation(TriMesh& mesh, std::vector<HalfedgeHandle>& loop,
                                         FPropHandleT<bool>& face_new) const
{
    return detail::triangulate_hole(mesh, loop, face_new,
                                    make_rule(flat_weight_, triangulation_sample_num_));
}

void HoleFillingCore::calc_weight(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                                  std::vector<FaceHandle> const& faces,
                                  std::vector<int> const& lambda, int i, int m, int j, float& angle,
                                  float& area, std::vector<bool> const& edge_exist) const
{
    auto const cost =
        detail::split_cost(mesh, verts, faces, lambda, static_cast<std::size_t>(i),
                           static_cast<std::size_t>(m), static_cast<std::size_t>(j), edge_exist,
                           make_rule(flat_weight_, triangulation_sample_num_));
    angle = cost.angle;
    area = cost.area;
}

void HoleFillingCore::find_best_weight(TriMesh& mesh, std::vector<VertexHandle> const& verts,
                                       std::vector<int> const& lambda, int i, int j,
                                       FPropHandleT<bool>& face_new) const
{
    auto const triangles = detail::chosen_triangles(
        lambda, verts.size(), static_cast<std::size_t>(i), static_cast<std::size_t>(j));
    detail::add_polygon_triangles(mesh, verts, triangles, face_new, {});
}

bool HoleFillingCore::hole_refinement_ex(TriMesh& mesh, FPropHandleT<bool>& face_new,
                                         VPropHandleT<bool>& vert_new,
                                         VPropHandleT<bool>& vert_boundary,
                                         VPropHandleT<float>& /*vert_edge_len*/) const
{
    detail::log_line(gPH.log_enabled, "hole_refinement_ex() ..\n");
    detail::DeletionScope const status(mesh);
    for (int round = 0; round < refine_rounds_; ++round)
    {
        int const splits = detail::split_pass(mesh, {face_new, vert_new, vert_boundary},
                                              [this](detail::FaceCorners const& face)
                                              { return detail::is_coarse(face, long_edge_thr_); });
        int const flips = detail::relax_pass(mesh, face_new);
        if (splits + flips == 0)
        {
            break; // the rounds that are left would find the same mesh and change nothing
        }
    }
    detail::log_line(gPH.log_enabled, "  start garbage_collection() ..\n");
    mesh.garbage_collection(true, true, true);
    return true;
}

bool HoleFillingCore::swap_edge(TriMesh& mesh, FPropHandleT<bool>& face_new, FaceHandle& f,
                                HalfedgeHandle& h, VertexHandle& a, VertexHandle& b,
                                VertexHandle& c) const
{
    detail::DeletionScope const status(mesh);
    return detail::swap_edge(mesh, face_new, f, h, a, b, c);
}

void HoleFillingCore::calc_angle(Vector3f const& u, Vector3f const& v, float& angle)
{
    angle = detail::angle_between(u, v);
}

void HoleFillingCore::calc_area(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                float& area)
{
    area = detail::triangle_area(a, b, c);
}

void HoleFillingCore::calc_tri_normal(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                      Vector3f& normal)
{
    normal = detail::reversed_normal(a, b, c);
}

void HoleFillingCore::calc_inner_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                           float& angle_a, float& angle_b, float& angle_c)
{
    auto const angles = detail::corner_angles(a, b, c);
    angle_a = angles.a;
    angle_b = angles.b;
    angle_c = angles.c;
}

void HoleFillingCore::calc_max_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                         float& max)
{
    max = detail::corner_angles(a, b, c).max();
}

void HoleFillingCore::calc_min_tri_angle(Vector3f const& a, Vector3f const& b, Vector3f const& c,
                                         float& min)
{
    min = detail::corner_angles(a, b, c).min();
}

void HoleFillingCore::calc_max_min_tri_angle(Vector3f const& a, Vector3f const& b,
                                             Vector3f const& c, float& max, float& min)
{
    auto const angles = detail::corner_angles(a, b, c);
    max = angles.max();
    min = angles.min();
}

} // namespace OrvaneAlgorithm
