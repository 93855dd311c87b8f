// What hosts may call by itself: the operations on any mesh with a hole, and what a run shows and
// saves.

#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/HoleFilling/careful/HoleFiles.h"
#include "algorithmVeld/HoleFilling/careful/HoleRefinement.h"
#include "algorithmVeld/HoleFilling/fairing/LaplaceWeights.h"
#include "algorithmVeld/HoleFilling/triangulation/HoleTriangulation.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh_files/MeshDump.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/solver/LoggedSolve.h"

namespace OrvaneAlgorithm
{

using detail::log;

detail::TriangulationRule HoleFillingCore::triangulation_rule() const
{
    detail::TriangulationRule rule;
    rule.flat_weight = flat_weight_;
    rule.sample_num = triangulation_sample_num_;
    return rule;
}

bool HoleFillingCore::hole_triangulation(TriMesh& mesh, std::vector<HalfedgeHandle>& loop,
                                         FPropHandleT<bool>& face_new) const
{
    return !detail::triangulate_hole(mesh, loop, face_new, triangulation_rule());
}

void HoleFillingCore::calc_weight(TriMesh const& mesh, std::vector<VertexHandle> const& verts,
                                  std::vector<FaceHandle> const& faces,
                                  std::vector<int> const& lambda, int i, int m, int j, float& angle,
                                  float& area, std::vector<bool> const& edge_exist) const
{
    auto const cost = detail::split_cost(mesh, verts, faces, lambda, static_cast<std::size_t>(i),
                                         static_cast<std::size_t>(m), static_cast<std::size_t>(j),
                                         edge_exist, triangulation_rule());
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
    log("hole_refinement_ex() ..\n");
    auto const is_coarse = [this](detail::FaceCorners const& face)
    { return detail::is_coarse(face, long_edge_thr_); };
    detail::refine_fill(mesh, {face_new, vert_new, vert_boundary}, {is_coarse, refine_rounds_});
    return true;
}

bool HoleFillingCore::swap_edge(TriMesh& mesh, FPropHandleT<bool>& face_new, FaceHandle& f,
                                HalfedgeHandle& h, VertexHandle& a, VertexHandle& b,
                                VertexHandle& c) const
{
    detail::DeletionScope const status(mesh);
    return detail::swap_edge(mesh, face_new, f, h, a, b, c);
}

bool HoleFillingCore::calc_cot_weight(TriMesh const& mesh, VertexHandle const& v,
                                      VertexHandle const& u, double& weight) const
{
    return detail::cotangent_weight(mesh, v, u, weight);
}

bool HoleFillingCore::MKL_Pardiso(SparseRows const& a, DenseVector const& b,
                                  std::vector<double>& x) const
{
    return detail::solve_logged(a, b, x);
}

void HoleFillingCore::show_hole_filling_param()
{
    log("show_hole_filling_param() ..\n");
    if (!has_mesh())
    {
        return;
    }
    log("\n===============< Hole Filling Param >===============\n");
    log(weight_type_ == 0 ? "  hole fairing weight type:        uniform\n"
                          : "  hole fairing weight type:        scale-dependent\n");
    log(smooth_type_ == 0   ? "  hole fairing type:               C0\n"
        : smooth_type_ == 1 ? "  hole fairing type:               C1\n"
                            : "  hole fairing type:               C2\n");
    log("  topology dis thr:          %8d rings\n", topology_dis_thr_);
    log("  dijkstra dis thr:          %15.6f mm\n", dijkstra_dis_thr_);
    log("  use hole vert num thr:     %8d\n", static_cast<int>(use_hole_vert_num_thr_));
    log("  use hole perimeter thr:    %8d\n", static_cast<int>(use_hole_perimeter_thr_));
    log("  hole verts thr:            %8d\n", hole_verts_thr_);
    log("  fairing verts thr:         %8d\n", fairing_verts_thr_);
    log("\n  mesh info:\n");
    log("    faces:                   %8d\n", static_cast<int>(mesh_->n_faces()));
    log("    verts:                   %8d\n", static_cast<int>(mesh_->n_vertices()));
    log("  enable file saving:        %8d\n", static_cast<int>(enable_file_saving_));
    log("===============</Hole Filling Param >===============\n\n");
}

void HoleFillingCore::show_mesh_info()
{
    if (!has_mesh() || !gPH.log_enabled)
    {
        return;
    }
    int new_faces = 0;
    int region_faces = 0;
    for (auto const face : mesh_->all_faces())
    {
        bool const is_new = mesh_->property(face_new_prop_, face);
        new_faces += is_new ? 1 : 0;
        region_faces += !is_new && mesh_->property(face_region_prop_, face) ? 1 : 0;
    }
    int new_verts = 0;
    int region_verts = 0;
    for (auto const vertex : mesh_->all_vertices())
    {
        bool const is_new = mesh_->property(vert_new_prop_, vertex);
        new_verts += is_new ? 1 : 0;
        region_verts += !is_new && mesh_->property(vert_region_prop_, vertex) ? 1 : 0;
    }
    int const faces = static_cast<int>(mesh_->n_faces());
    int const verts = static_cast<int>(mesh_->n_vertices());
    int const old_faces = faces - new_faces - region_faces;
    int const old_verts = verts - new_verts - region_verts;
    log("show_mesh_info() ..\n");
    log("\n===============< mesh info >===============\n");
    log("  total faces:               %8d\n", faces);
    log("  faces new:                 %8d\n", new_faces);
    log("  faces in region:           %8d\n", region_faces);
    log("  faces unchange:            %8d\n", old_faces);
    log("  check:                     %8d + %d + %d = %d\n", new_faces, region_faces, old_faces,
        new_faces + region_faces + old_faces);
    log("  total verts:               %8d\n", verts);
    log("  verts new:                 %8d\n", new_verts);
    log("  verts in region:           %8d\n", region_verts);
    log("  verts unchange:            %8d\n", old_verts);
    log("  check:                     %8d + %d + %d = %d\n\n", new_verts, region_verts, old_verts,
        new_verts + region_verts + old_verts);
}

void HoleFillingCore::save_mesh(std::string const& name)
{
    if (!has_mesh() || !gPH.log_enabled || !enable_file_saving_)
    {
        return;
    }
    char path[512];
    format_line(path, "%s/%s", gPH.result_dir.c_str(), name.c_str());
    detail::dump_mesh(*mesh_, path, "save-mesh");
}

void HoleFillingCore::save_holes()
{
    if (!has_mesh() || !gPH.log_enabled)
    {
        return;
    }
    log("save_holes() ..\n");
    detail::save_regions(*mesh_, regions_);
}

} // namespace OrvaneAlgorithm
