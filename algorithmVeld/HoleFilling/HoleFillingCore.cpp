// The run: its calls, and its steps from hole to fairing.

#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/HoleFilling/careful/HoleFiles.h"
#include "algorithmVeld/HoleFilling/careful/HoleMerge.h"
#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/HoleFilling/careful/HoleWork.h"
#include "algorithmVeld/HoleFilling/fairing/Fairing.h"
#include "algorithmVeld/HoleFilling/fairing/PatchGrowth.h"
#include "algorithmVeld/HoleFilling/triangulation/HoleTriangulation.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/mesh/EdgeLengths.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshRoom.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <map>

namespace OrvaneAlgorithm
{

using detail::log;

namespace
{

/// Points at the host's mesh until the end of the scope, and not beyond it.
class MeshOfRun
{
public:
    MeshOfRun(TriMesh*& pointer, TriMesh& mesh) : pointer_(pointer) { pointer_ = &mesh; }
    ~MeshOfRun() { pointer_ = nullptr; }
    MeshOfRun(MeshOfRun const&) = delete;
    MeshOfRun& operator=(MeshOfRun const&) = delete;

private:
    TriMesh*& pointer_;
};

} // namespace

RetVal HoleFillingCore::fill_holes_core(TriMesh& mesh,
                                        std::vector<std::vector<VertexHandle>> const& holes,
                                        int rings, std::vector<std::vector<FaceHandle>>& new_faces,
                                        std::vector<std::vector<VertexHandle>>& new_verts,
                                        std::vector<std::vector<VertexHandle>>& patch_verts,
                                        bool verbose)
{
    gPH.log_enabled = verbose;
    log("fill_holes_core() ..try to fill %d holes\n", static_cast<int>(holes.size()));
    MeshOfRun const scope(mesh_, mesh);
    begin_run(holes.size(), rings);
    std::map<std::size_t, std::size_t> given_index;
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        std::vector<HalfedgeHandle> halfedges;
        if (create_hole_cell_from_verts(holes[i], halfedges) != RET_SUCCESS)
        {
            log("  !!! input hole[%d] is illegal.\n", static_cast<int>(i));
            open_holes_.push_back({holes[i], OpenReason::NOT_A_BOUNDARY});
            continue;
        }
        given_index[holes_.size()] = i;
        holes_.push_back(std::move(halfedges));
    }
    if (holes_.empty())
    {
        return RET_INVALID_INPUT;
    }
    main_process();
    for (std::size_t j = 0; j < hole_done_.size(); ++j)
    {
        hole_result_[given_index[j]] = hole_done_[j];
    }
    get_extra_filling_info(new_faces, new_verts, patch_verts);
    return RET_SUCCESS;
}

RetVal HoleFillingCore::fill_holes_core_ex(TriMesh& mesh,
                                           std::vector<std::vector<VertexHandle>> const& holes,
                                           std::vector<bool>& hole_filled, int rings,
                                           std::vector<std::vector<FaceHandle>>& new_faces,
                                           std::vector<std::vector<VertexHandle>>& new_verts,
                                           std::vector<std::vector<VertexHandle>>& patch_verts,
                                           bool verbose)
{
    RetVal const result =
        fill_holes_core(mesh, holes, rings, new_faces, new_verts, patch_verts, verbose);
    hole_filled = hole_result_;
    return result;
}

RetVal HoleFillingCore::fill_single_hole_core(TriMesh& mesh, std::vector<VertexHandle> const& hole,
                                              int rings, std::vector<FaceHandle>& new_faces,
                                              std::vector<VertexHandle>& new_verts,
                                              std::vector<VertexHandle>& patch_verts, bool verbose)
{
    gPH.log_enabled = verbose;
    log("fill_single_hole_core() ..\n");
    MeshOfRun const scope(mesh_, mesh);
    begin_run(1, rings);
    std::vector<HalfedgeHandle> halfedges;
    if (create_hole_cell_from_verts(hole, halfedges) != RET_SUCCESS)
    {
        log("  !!! wrong hole VertexHandle array.\n");
        open_holes_.push_back({hole, OpenReason::NOT_A_BOUNDARY});
        return RET_INVALID_INPUT;
    }
    holes_.push_back(std::move(halfedges));
    main_process();
    hole_result_ = hole_done_;
    std::vector<std::vector<FaceHandle>> face_lists;
    std::vector<std::vector<VertexHandle>> vert_lists;
    std::vector<std::vector<VertexHandle>> patch_lists;
    get_extra_filling_info(face_lists, vert_lists, patch_lists);
    new_faces = face_lists.empty() ? std::vector<FaceHandle>() : face_lists.front();
    new_verts = vert_lists.empty() ? std::vector<VertexHandle>() : vert_lists.front();
    patch_verts = patch_lists.empty() ? std::vector<VertexHandle>() : patch_lists.front();
    return RET_SUCCESS;
}

RetVal HoleFillingCore::fill_single_hole_core_ex(
    TriMesh& mesh, std::vector<VertexHandle> const& hole, bool& filled, int rings,
    std::vector<FaceHandle>& new_faces, std::vector<VertexHandle>& new_verts,
    std::vector<VertexHandle>& patch_verts, bool verbose)
{
    RetVal const result =
        fill_single_hole_core(mesh, hole, rings, new_faces, new_verts, patch_verts, verbose);
    filled = detail::at(hole_result_, 0);
    return result;
}

void HoleFillingCore::set_smooth_type(int smooth_type)
{
    if (smooth_type >= 0 && smooth_type <= 2)
    {
        smooth_type_ = smooth_type;
    }
}

/// Nothing of a former run stays: its handles are those of another mesh.
void HoleFillingCore::begin_run(std::size_t n_holes, int rings)
{
    topology_dis_thr_ = rings;
    hole_result_.assign(n_holes, false);
    holes_.clear();
    regions_.clear();
    region_verts_.clear();
    hole_done_.clear();
    patches_.clear();
    open_holes_.clear();
}

bool HoleFillingCore::has_mesh() const
{
    if (mesh_ == nullptr)
    {
        log("  !!!error: no mesh outside a run [%s (%d)]\n", __FILE__, __LINE__);
    }
    return mesh_ != nullptr;
}

RetVal HoleFillingCore::create_hole_cell_from_verts(std::vector<VertexHandle> const& verts,
                                                    std::vector<HalfedgeHandle>& halfedges)
{
    log("create_hole_cell_from_verts() ..\n");
    if (!has_mesh())
    {
        return RET_INVALID_INPUT;
    }
    if (verts.size() < 3)
    {
        return RET_INVALID_INPUT;
    }
    for (std::size_t k = 0; k < verts.size(); ++k)
    {
        auto const a = verts[k];
        auto const b = verts[(k + 1) % verts.size()];
        bool const on_boundary = mesh_->is_valid_handle(a) && mesh_->is_valid_handle(b) &&
                                 mesh_->is_boundary(a) && mesh_->is_boundary(b);
        auto const h = on_boundary ? mesh_->find_halfedge(a, b) : HalfedgeHandle();
        if (!h.is_valid())
        {
            return RET_INVALID_INPUT;
        }
        halfedges.push_back(h);
    }
    return RET_SUCCESS;
}

RetVal HoleFillingCore::main_process()
{
    detail::StepTimer const timer("main-process");
    log("main_process() ..\n");
    if (!has_mesh())
    {
        return RET_FAILED;
    }
    detail::Stages stages({1, 3, 4, 50, 2, 40});
    stages.next();
    calc_avg_edge_len();
    dijkstra_dis_thr_ = static_cast<float>(topology_dis_thr_ * avg_edge_len_);
    long_edge_thr_ = 1.5 * avg_edge_len_;
    log("\n  long edge thr:       %f\n\n", long_edge_thr_);
    show_hole_filling_param();
    stages.next();
    detail::renew_normals(*mesh_);
    add_run_properties();
    stages.next();
    {
        detail::StepTimer const step("find-holes-region", "main-process");
        find_holes_region();
    }
    show_mesh_info();
    stages.next();
    {
        detail::StepTimer const step("process-holes-expanded", "main-process");
        process_holes_expanded();
    }
    stages.next();
    {
        detail::StepTimer const step("create-smooth-patch", "main-process");
        create_smooth_patch();
    }
    stages.next();
    fair_patches();
    return RET_SUCCESS;
}

void HoleFillingCore::add_run_properties()
{
    old_verts_ = mesh_->n_vertices();
    old_faces_ = mesh_->n_faces();
    auto const room = detail::room_for_new_arrays(*mesh_);
    detail::add_filled_property(*mesh_, vert_edge_len_prop_, "<vprop>", 0.0F, room.vertices);
    detail::add_filled_property(*mesh_, face_new_prop_, "<fprop>", false, room.faces);
    detail::add_filled_property(*mesh_, face_hole_prop_, "<fprop>", -1, room.faces);
    detail::add_filled_property(*mesh_, face_region_prop_, "<fprop>", false, room.faces);
    detail::add_filled_property(*mesh_, vert_new_prop_, "<vprop>", false, room.vertices);
    detail::add_filled_property(*mesh_, vert_hole_prop_, "<vprop>", -1, room.vertices);
    detail::add_filled_property(*mesh_, vert_region_prop_, "<vprop>", false, room.vertices);
    detail::add_filled_property(*mesh_, vert_patch_prop_, "<vprop>", -1, room.vertices);
    detail::add_filled_property(*mesh_, vert_patch_index_prop_, "<vprop>", -1, room.vertices);
}

void HoleFillingCore::fair_patches()
{
    {
        detail::StepTimer const step("fairing-patch", "main-process");
        smooth_type_ == 0   ? fairing_patch_C0()
        : smooth_type_ == 1 ? fairing_patch_C1()
                            : fairing_patch_C2();
    }
    if (gPH.log_enabled && weight_type_ == 0)
    {
        smooth_type_ == 0   ? check_C0_value()
        : smooth_type_ == 1 ? check_C1_value()
                            : check_C2_value();
    }
}

void HoleFillingCore::calc_avg_edge_len()
{
    log("calc_avg_edge_len() ..\n");
    if (!has_mesh())
    {
        return;
    }
    double const sum = detail::sum_of_edge_lengths(*mesh_);
    avg_edge_len_ = mesh_->n_edges() > 0 ? sum / static_cast<double>(mesh_->n_edges()) : 0.0;
    log("  mesh avg edge length:      %15.6f mm\n\n", avg_edge_len_);
}

void HoleFillingCore::find_holes_region()
{
    log("find_holes_region() ..\n");
    if (!has_mesh())
    {
        return;
    }
    for (auto const& region : regions_)
    {
        for (auto const face : region)
        {
            mesh_->property(face_region_prop_, face) = false;
        }
    }
    detail::Stages stages({4, 1});
    stages.next();
    regions_ = detail::grow_regions(*mesh_, holes_, {topology_dis_thr_, dijkstra_dis_thr_},
                                    face_region_prop_);
    stages.next();
    auto const vertices = detail::mark_vertices(*mesh_, regions_, vert_region_prop_);
    region_verts_.insert(region_verts_.end(), vertices.begin(), vertices.end());
    detail::measure_edges(*mesh_, vertices, vert_edge_len_prop_);
}

void HoleFillingCore::process_holes_expanded()
{
    log("process_holes_expanded() ..\n");
    if (!has_mesh())
    {
        return;
    }
    hole_done_.assign(holes_.size(), false);
    if (holes_.empty())
    {
        return;
    }
    std::vector<detail::HoleWork> works(holes_.size());
    detail::Stages stages({1, 5, 5, 1});
    stages.next();
    {
        detail::StepTimer const step("create-sub-mesh", "process-holes-expanded");
        log("create hole mesh array ..\n");
        detail::for_each_hole(holes_, [&](std::size_t i, auto const* /*turn*/)
                              { create_sub_mesh(i, works[i]); });
    }
    stages.next();
    {
        detail::StepTimer const step("hole-triangulation", "process-holes-expanded");
        log("start fill hole mesh array ..\n");
        detail::for_each_hole(holes_, [&](std::size_t i, auto const* turn)
                              { triangulate_hole(i, works[i], turn); });
    }
    stages.next();
    {
        detail::StepTimer const step("hole-refinement", "process-holes-expanded");
        detail::for_each_hole(holes_, [&](std::size_t i, auto const* /*turn*/)
                              { refine_hole(i, works[i]); });
    }
    stages.next();
    {
        detail::StepTimer const step("merge-hole-mesh", "process-holes-expanded");
        merge_holes(works);
    }
}

void HoleFillingCore::create_sub_mesh(std::size_t hole, detail::HoleWork& work) const
{
    int const index = static_cast<int>(hole);
    if (use_hole_vert_num_thr_ && static_cast<int>(holes_[hole].size()) > hole_verts_thr_)
    {
        log("  skip hole[%d] with %d boundary.\n", index, static_cast<int>(holes_[hole].size()));
        work.open = OpenReason::TOO_MANY_EDGES;
        return;
    }
    work.sub = std::make_unique<detail::HoleSubMesh>();
    work.open =
        detail::make_sub_mesh(*mesh_, regions_[hole], vert_edge_len_prop_, index, *work.sub);
    if (work.open == OpenReason::NOT_A_BOUNDARY)
    {
        return;
    }
    save_sub_mesh(hole, work, "%s/extracted-hole-%04d-sub-mesh.stl", "save-step-0-hole-mesh");
    if (!detail::map_loop(*mesh_, holes_[hole], *work.sub))
    {
        log("  !!!fail to find exact boundary halfedges of hole[%d].\n", index);
        work.open = OpenReason::BOUNDARY_TANGLED;
    }
}

void HoleFillingCore::triangulate_hole(std::size_t hole, detail::HoleWork& work,
                                       detail::HoleTurn const* turn) const
{
    if (work.open)
    {
        return;
    }
    int const index = static_cast<int>(hole);
    auto& sub = *work.sub;
    int const vertices = static_cast<int>(sub.loop.size());
    log("  start hole_triangulation( %d )  with ( %d ) vertices ..\n", index, vertices);
    work.open =
        detail::triangulate_hole(sub.mesh, sub.loop, sub.face_new, triangulation_rule(), {}, turn);
    log("  hole_triangulation( %d ) done.\n", index);
    if (work.open)
    {
        log("  !!!fail to fill hole [%6d] with ( %d ) vertices.\n", index, vertices);
        return;
    }
    save_sub_mesh(hole, work, "%s/extracted-hole-%04d-sub-mesh-step-1-filled.stl",
                  "save-step-1-filled-mesh");
}

void HoleFillingCore::refine_hole(std::size_t hole, detail::HoleWork& work) const
{
    if (work.open)
    {
        return;
    }
    int const index = static_cast<int>(hole);
    auto& sub = *work.sub;
    log("  start hole_refinement( %d ) ..\n", index);
    bool const refined = hole_refinement_ex(sub.mesh, sub.face_new, sub.vert_new, sub.vert_boundary,
                                            sub.vert_edge_len);
    log("  hole_refinement( %6d ) done.\n", index);
    if (!refined)
    {
        log("  fail to refine hole [%6d].\n", index);
        work.open = OpenReason::FOLDS_TOO_SHARPLY;
        return;
    }
    save_sub_mesh(hole, work, "%s/extracted-hole-%04d-sub-mesh-step-2-refined.stl",
                  "save-step-2-refined-mesh");
    work.fill = detail::take_fill(sub);
    work.sub.reset();
}

void HoleFillingCore::merge_holes(std::vector<detail::HoleWork>& works)
{
    detail::reserve_for_fills(*mesh_, works);
    for (std::size_t i = 0; i < works.size(); ++i)
    {
        detail::poll_cancel(); // between holes: one that is merged is merged whole
        if (!works[i].open)
        {
            log("  start merge_hole( %6d ) ..\n", static_cast<int>(i));
            if (!merge_hole(i, works[i].fill))
            {
                works[i].open = OpenReason::FACE_REFUSED;
            }
            hole_done_[i] = true;
        }
        if (works[i].open)
        {
            open_holes_.push_back({loop_vertices(i), *works[i].open});
        }
        works[i].fill = {};
    }
}

bool HoleFillingCore::merge_hole(std::size_t hole, detail::Fill const& fill)
{
    auto const merged = detail::merge_fill(*mesh_, fill, detail::RefusedFace::IS_LEFT_OUT);
    for (auto const vertex : merged.verts)
    {
        mesh_->property(vert_new_prop_, vertex) = true;
        mesh_->property(vert_hole_prop_, vertex) = static_cast<int>(hole);
        mesh_->property(vert_patch_prop_, vertex) = -1;
        mesh_->property(vert_patch_index_prop_, vertex) = -1;
    }
    for (auto const face : merged.faces)
    {
        mesh_->property(face_new_prop_, face) = true;
        mesh_->property(face_hole_prop_, face) = static_cast<int>(hole);
    }
    return merged.complete;
}

std::vector<OpenMesh::VertexHandle> HoleFillingCore::loop_vertices(std::size_t hole) const
{
    std::vector<VertexHandle> vertices;
    for (auto const h : holes_[hole])
    {
        vertices.push_back(mesh_->from_vertex_handle(h));
    }
    return vertices;
}

void HoleFillingCore::save_sub_mesh(std::size_t hole, detail::HoleWork const& work,
                                    char const* pattern, char const* step) const
{
    if (gPH.log_enabled && enable_file_saving_)
    {
        detail::save_sub_mesh(work.sub->mesh, static_cast<int>(hole), pattern, step);
    }
}

void HoleFillingCore::create_smooth_patch()
{
    log("create_smooth_patch() ..\n");
    if (!has_mesh())
    {
        return;
    }
    show_mesh_info();
    for (auto const& patch : patches_)
    {
        for (auto const vertex : patch)
        {
            mesh_->property(vert_patch_prop_, vertex) = -1;
            mesh_->property(vert_patch_index_prop_, vertex) = -1;
        }
    }
    patches_ = detail::grow_patches(
        *mesh_, {vert_new_prop_, vert_region_prop_, vert_patch_prop_, vert_patch_index_prop_},
        movable_vertices());
    log("  ###total regions:          %8d\n", static_cast<int>(patches_.size()));
}

std::vector<OpenMesh::VertexHandle> HoleFillingCore::movable_vertices() const
{
    auto vertices = region_verts_;
    std::sort(vertices.begin(), vertices.end());
    for (auto i = old_verts_; i < mesh_->n_vertices(); ++i)
    {
        vertices.emplace_back(static_cast<int>(i));
    }
    return vertices;
}

bool HoleFillingCore::fairing_patch_C0()
{
    log("fairing_patch_C0() ..\n");
    return fair(1);
}

bool HoleFillingCore::fairing_patch_C1()
{
    log("fairing_patch_C1() ..\n");
    return fair(2);
}

bool HoleFillingCore::fairing_patch_C2()
{
    log("fairing_patch_C2() ..\n");
    return fair(3);
}

bool HoleFillingCore::fair(int order)
{
    if (!has_mesh())
    {
        return false;
    }
    detail::fair_patches(*mesh_, patches_, fairing_system(order),
                         {fairing_min_verts_thr_, fairing_verts_thr_});
    return true;
}

void HoleFillingCore::check_C0_value()
{
    log("check_C0_value() ..\n");
    check(1, " error: patch %d vert %d C0 value of point( %15.8f, %15.8f, %15.8f) = %15.8f\n");
}

void HoleFillingCore::check_C1_value()
{
    log("check_C1_value() ..\n");
    check(2, " error: patch %d vert %d C1 value of point( %15.8f, %15.8f, %15.8f) = %15.8f\n");
}

void HoleFillingCore::check_C2_value()
{
    log("check_C2_value() ..\n");
    check(3, " error: patch %d vert %d C2 value of point( %15.8f, %15.8f, %15.8f) = %15.8f\n");
}

void HoleFillingCore::check(int order, char const* format)
{
    if (!has_mesh())
    {
        return;
    }
    detail::log_unmet_equations(*mesh_, patches_, fairing_system(order),
                                {fairing_min_verts_thr_, fairing_verts_thr_}, format);
}

detail::FairingSystem HoleFillingCore::fairing_system(int order) const
{
    auto const weight = weight_type_ == 1   ? detail::LaplaceWeight::INVERSE_LENGTH
                        : weight_type_ == 2 ? detail::LaplaceWeight::COTANGENT
                                            : detail::LaplaceWeight::UNIFORM;
    return {order, weight};
}

void HoleFillingCore::get_extra_filling_info(std::vector<std::vector<FaceHandle>>& new_faces,
                                             std::vector<std::vector<VertexHandle>>& new_verts,
                                             std::vector<std::vector<VertexHandle>>& patch_verts)
{
    log("get_extra_filling_info() ..\n");
    if (!has_mesh())
    {
        return;
    }
    new_faces.clear();
    new_verts.clear();
    patch_verts = patches_;
    std::vector<std::vector<FaceHandle>> faces(holes_.size());
    std::vector<std::vector<VertexHandle>> verts(holes_.size());
    for (auto i = old_faces_; i < mesh_->n_faces(); ++i)
    {
        FaceHandle const face(static_cast<int>(i));
        int const hole = mesh_->property(face_hole_prop_, face);
        if (hole >= 0)
        {
            detail::at(faces, static_cast<std::size_t>(hole)).push_back(face);
        }
    }
    for (auto i = old_verts_; i < mesh_->n_vertices(); ++i)
    {
        // From 1 on: hosts have never been told the vertices of the first hole, and count on it.
        VertexHandle const vertex(static_cast<int>(i));
        int const hole = mesh_->property(vert_hole_prop_, vertex);
        if (hole >= 1)
        {
            detail::at(verts, static_cast<std::size_t>(hole)).push_back(vertex);
        }
    }
    for (std::size_t i = 0; i < faces.size(); ++i)
    {
        if (!faces[i].empty())
        {
            new_faces.push_back(std::move(faces[i]));
            new_verts.push_back(std::move(verts[i]));
        }
    }
}

} // namespace OrvaneAlgorithm
