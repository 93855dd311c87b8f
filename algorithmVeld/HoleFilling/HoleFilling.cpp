// The run: its steps from the mesh that is given to the one that is given back.

#include "algorithmVeld/HoleFilling/HoleFilling.h"

#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "algorithmVeld/HoleFilling/careful/HoleFiles.h"
#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/HoleFilling/careful/HoleWork.h"
#include "algorithmVeld/HoleFilling/ears/SimpleLoops.h"
#include "algorithmVeld/HoleFilling/whole/MeshMeasures.h"
#include "algorithmVeld/HoleFilling/whole/RegionSmoothing.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/mesh/Compaction.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh/MeshScope.h"
#include "algorithmVeld/common/mesh/RimTurn.h"
#include "algorithmVeld/common/mesh_files/MeshDump.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/TimedStages.h"
#include "algorithmVeld/hole_detection/loops/BoundaryLoops.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace OrvaneAlgorithm
{

using detail::log;

namespace
{

constexpr detail::TimedStages RUN("holes-filling");
constexpr detail::TimedStages HOLE("process-holes");

/// A copy of what a spread is called in the class.
void store(detail::Spread const& spread, double& min, double& max, double& mean)
{
    min = spread.min;
    max = spread.max;
    mean = spread.mean();
}

} // namespace

RetVal HoleFilling::holes_filling(TriMesh& mesh)
{
    detail::StepTimer const timer("holes-filling");
    log("holes_filling() ..\n");
    detail::Stages stages({2, 10, 4, 2, 4, 6, 90});
    stages.next();
    begin_run(mesh);
    stages.next();
    RUN.run("preprocessing", [&] { preprocessing(); });
    stages.next();
    RUN.run("fill-tiny-holes", [&] { fill_tiny_holes(); });
    stages.next();
    RUN.run("find-holes-border-1", [&] { find_holes_ordered_halfedges(); });
    stages.next();
    RUN.run("expand-holes-1", [&] { expand_holes(); });
    stages.next();
    handle_regions();
    stages.next();
    RUN.run("process-holes", [&] { process_holes(); });
    RUN.run("copy-final-mesh", [&] { give_back(mesh); });
    return RET_SUCCESS;
}

void HoleFilling::handle_regions()
{
    if (region_process_type_ == 0)
    {
        RUN.run("smooth-holes-region", [&] { smooth_holes_region(); });
    }
    else if (region_process_type_ == 1)
    {
        RUN.run("delete-hole-region", [&] { delete_hole_region(); });
        // The cut has made the holes larger, and renumbered what is left.
        RUN.run("find-holes-border-2", [&] { find_holes_ordered_halfedges(); });
        RUN.run("expand-holes-2", [&] { expand_holes(); });
    }
}

void HoleFilling::begin_run(TriMesh const& mesh)
{
    mesh_ = mesh;
    vert_edge_len_prop_ = VPropHandleT<float>();
    face_region_prop_ = FPropHandleT<bool>();
    holes_.clear();
    regions_.clear();
    hole_lengths_.clear();
    open_holes_.clear();
    unfaired_fills_.clear();
    border_.clear();
    searched_ = false;
    is_cut_ = false;
}

void HoleFilling::give_back(TriMesh& mesh)
{
    mesh_.remove_property(vert_edge_len_prop_);
    mesh_.remove_property(face_region_prop_);
    mesh = std::move(mesh_);
    mesh_ = TriMesh();
    // They are of the mesh that is gone.
    holes_.clear();
    regions_.clear();
}

void HoleFilling::preprocessing()
{
    log("preprocessing() ..\n");
    log(region_process_type_ == 0 ? "  hole region process type:    smooth\n"
                                  : "  hole region process type:    delete\n");
    log(weight_type_ == 0 ? "  hole fairing weight type:    uniform\n"
                          : "  hole fairing weight type:    scale-dependent\n");
    detail::renew_normals(mesh_);
    mesh_.add_property(vert_edge_len_prop_, "<vprop>");
    mesh_.add_property(face_region_prop_, "<fprop>");
    detail::StepTimer const timer("calc-mesh-fea", "preprocessing");
    calc_mesh_fea();
}

void HoleFilling::calc_mesh_fea()
{
    log("calc_mesh_fea() ..\n");
    auto const areas = detail::face_areas(mesh_);
    auto const rings = detail::valences(mesh_);
    store(detail::edge_lengths(mesh_), min_edge, max_edge, avg_edge);
    store(areas, min_area, max_area, avg_area);
    total_area = areas.total;
    min_ring = static_cast<int>(rings.min);
    max_ring = static_cast<int>(rings.max);
    avg_ring = rings.mean();
    dijkstra_dis_thr_ = static_cast<float>(10.0 * avg_edge);
    log("\n=============== mesh info ===============\n");
    log("  vertices:      %8d\n", static_cast<int>(mesh_.n_vertices()));
    log("  faces:         %8d\n", static_cast<int>(mesh_.n_faces()));
    log("  edges:         %8d\n", static_cast<int>(mesh_.n_edges()));
    log("  halfedges:     %8d\n\n", static_cast<int>(mesh_.n_halfedges()));
    log("  min_edge:      %f\n", min_edge);
    log("  max_edge:      %f\n", max_edge);
    log("  avg_edge:      %f\n", avg_edge);
    log("  min_area:      %f\n", min_area);
    log("  max_area:      %f\n", max_area);
    log("  total_area:    %f\n", total_area);
    log("  avg_area:      %f\n", avg_area);
    log("  min_ring:      %d\n", min_ring);
    log("  max_ring:      %d\n", max_ring);
    log("  avg_ring:      %f\n\n", avg_ring);
    dump("00-initial-mesh.stl", "save-initial-mesh");
}

void HoleFilling::fill_tiny_holes()
{
    log("fill_tiny_holes() ..\n");
    EarTrimming trimming;
    trimming.set_max_perimeter(max_perimeter_);
    trimming.set_take_apart(take_apart_);
    trimming.ear_trimming(mesh_, true, true, true, tiny_hole_edges_, 2.0 * avg_edge, 150.0);
    detail::update_normals(mesh_);
    dump("10-tiny-holes-filled-mesh.stl", "save-tiny-holes-filled-mesh");
}

void HoleFilling::find_holes_ordered_halfedges()
{
    log("find_all_holes_ordered_halfedges() ..\n");
    holes_ = detail::boundary_walks(mesh_, detail::HiddenHalfedges::WALKED);
    if (take_apart_)
    {
        take_boundaries_apart();
    }
    leave_out_borders();
    hole_lengths_.clear();
    detail::Spread lengths;
    for (auto const& loop : holes_)
    {
        hole_lengths_.push_back(detail::perimeter(mesh_, detail::from_vertices(mesh_, loop)));
        lengths.add(hole_lengths_.back());
    }
    log("\n=============== hole info ===============\n");
    detail::log_loop_counts(holes_);
    if (!holes_.empty())
    {
        log("  hole length max:      %15.6f\n", lengths.max);
        log("  hole length min:      %15.6f\n", lengths.min);
        log("  hole length total:    %15.6f\n", lengths.total);
        log("  hole length avg:      %15.6f\n\n", lengths.mean());
    }
}

/// What touches itself for a scrap that hangs on it stays whole, within the limits: closed round
/// the scrap it is closed, while neither loop could be.
void HoleFilling::take_boundaries_apart()
{
    std::vector<std::vector<HalfedgeHandle>> holes;
    for (auto& walk : holes_)
    {
        auto corners = detail::from_vertices(mesh_, walk);
        std::sort(corners.begin(), corners.end());
        bool const is_simple = std::adjacent_find(corners.begin(), corners.end()) == corners.end();
        auto loops = is_simple ? std::vector<detail::BoundaryLoop>{walk}
                               : detail::simple_loops(mesh_, {walk});
        bool const is_within_limits = static_cast<std::ptrdiff_t>(walk.size()) <= hole_verts_thr_ &&
                                      !detail::is_beyond_perimeter(mesh_, walk, max_perimeter_);
        if (is_within_limits && std::any_of(loops.begin(), loops.end(),
                                            [&](detail::BoundaryLoop const& loop)
                                            { return detail::goes_round_a_fan(mesh_, loop); }))
        {
            loops = {std::move(walk)};
        }
        std::move(loops.begin(), loops.end(), std::back_inserter(holes));
    }
    holes_ = std::move(holes);
}

/// Why a loop that the first search finds is none of the holes to fill.
std::optional<OpenReason>
HoleFilling::reason_to_leave_out(std::vector<HalfedgeHandle> const& loop,
                                 std::vector<VertexHandle> const& corners) const
{
    if (detail::is_beyond_perimeter(mesh_, loop, max_perimeter_))
    {
        return OpenReason::PERIMETER_TOO_LONG;
    }
    if (detail::turns_back(mesh_, corners, rim_angle_thr_))
    {
        return OpenReason::NORMALS_DISAGREE;
    }
    return std::nullopt;
}

/// A loop that was left out at the first search stays out of the second, also where the cut has
/// made it shorter or joined a hole to it.
void HoleFilling::leave_out_borders()
{
    if (!(max_perimeter_ > 0.0) && !(rim_angle_thr_ < 180.0))
    {
        return;
    }
    bool const first_search = !searched_;
    searched_ = true;
    std::vector<std::vector<HalfedgeHandle>> holes;
    for (auto& loop : holes_)
    {
        auto const corners = detail::from_vertices(mesh_, loop);
        auto const reason =
            first_search ? reason_to_leave_out(loop, corners) : std::optional<OpenReason>();
        if (reason)
        {
            open_holes_.push_back({corners, *reason});
            for (auto const vertex : corners)
            {
                border_.insert(vertex.idx());
            }
        }
        else if (first_search ||
                 std::none_of(corners.begin(), corners.end(),
                              [&](VertexHandle v) { return border_.count(v.idx()) > 0; }))
        {
            holes.push_back(std::move(loop));
        }
    }
    holes_ = std::move(holes);
}

void HoleFilling::expand_holes()
{
    log("expand_holes() ..\n");
    log("  ==========< hole region param thr >==========\n");
    log("  |  topology dis thr:     %4d\n", topology_dis_thr_);
    log("  |  dijkstra dis thr:     %11.6f\n", dijkstra_dis_thr_);
    log("  ==========</hole region param thr >==========\n");
    calc_mesh_prop_value();
}

void HoleFilling::calc_mesh_prop_value()
{
    log("calc_mesh_prop_value() ..\n");
    grow_regions(holes_, face_region_prop_);
}

void HoleFilling::grow_regions(std::vector<std::vector<HalfedgeHandle>> const& loops,
                               FPropHandleT<bool> in_region)
{
    auto& flags = mesh_.property(in_region).data_vector();
    std::fill(flags.begin(), flags.end(), false);
    // Behind the cut nobody asks for the flags any more.
    auto const use = is_cut_ ? detail::RegionUse::SUB_MESHES : detail::RegionUse::FACES;
    detail::Stages stages({4, 1});
    stages.next();
    regions_ =
        detail::grow_regions(mesh_, loops, {topology_dis_thr_, dijkstra_dis_thr_}, in_region, use);
    stages.next();
    detail::measure_edges(mesh_, detail::vertices_of(mesh_, regions_), vert_edge_len_prop_);
}

void HoleFilling::smooth_holes_region()
{
    log("smooth_holes_region() ..\n");
    detail::smooth_one_by_one(mesh_, regions_);
    dump("20-holes-region-smoothed-mesh.stl", "save-holes-region-smoothed-mesh");
}

void HoleFilling::delete_hole_region()
{
    log("delete_hole_region() ..\n");
    delete_flagged_faces(face_region_prop_);
    dump("20-holes-region-deleted-mesh.stl", "save-holes-region-deleted-mesh");
}

void HoleFilling::delete_flagged_faces(FPropHandleT<bool> flag)
{
    detail::DeletionScope const status(mesh_);
    detail::LoopProgress progress(mesh_.n_faces());
    for (auto const face : mesh_.all_faces())
    {
        progress.next();
        if (mesh_.property(flag, face))
        {
            detail::delete_face_checked(mesh_, face, detail::IsolatedVertices::KEPT);
        }
    }
    detail::compact(mesh_);
    is_cut_ = true;
}

void HoleFilling::process_holes()
{
    log("process_holes() ..\n");
    fill_holes([](std::size_t) { return true; });
}

void HoleFilling::fill_holes(std::function<bool(std::size_t)> const& selected)
{
    std::vector<detail::HoleWork> works(holes_.size());
    detail::Stages stages({20, 1});
    stages.next();
    detail::for_each_hole(holes_,
                          [&](std::size_t i, detail::HoleTurn const* turn)
                          {
                              if (selected(i))
                              {
                                  close_hole(i, works[i], turn);
                              }
                          });
    stages.next();
    detail::reserve_for_fills(mesh_, works);
    for (std::size_t i = 0; i < works.size(); ++i)
    {
        detail::poll_cancel(); // between holes: one that is merged is merged whole
        if (selected(i))
        {
            merge_hole(i, works[i]);
        }
    }
}

bool HoleFilling::hole_filling(int hole)
{
    auto const index = static_cast<std::size_t>(hole);
    // What follows does not look at the bounds in its loops.
    static_cast<void>(detail::at(holes_, index));
    static_cast<void>(detail::at(regions_, index));
    detail::HoleWork work;
    close_hole(index, work, nullptr);
    merge_hole(index, work);
    return !work.open;
}

void HoleFilling::close_hole(std::size_t hole, detail::HoleWork& work,
                             detail::HoleTurn const* turn) const
{
    int const index = static_cast<int>(hole);
    int const edges = static_cast<int>(holes_[hole].size());
    log("hole_filling( %d ) ..\n", index);
    if (edges > hole_verts_thr_)
    {
        log("  skip hole[%d] with %d boundary.\n", index, edges);
        work.open = OpenReason::TOO_MANY_EDGES;
        return;
    }
    if (take_apart_ && detail::goes_round_a_fan(mesh_, holes_[hole]))
    {
        work.open = OpenReason::HANGS_ON_A_VERTEX;
        return;
    }
    detail::HoleSubMesh sub;
    work.open = detail::make_sub_mesh(mesh_, regions_[hole], vert_edge_len_prop_, index, sub);
    if (work.open)
    {
        return;
    }
    save_sub_mesh(hole, sub, "%s/extracted-hole-%04d-sub-mesh.stl", "save-step-0-hole-mesh");
    if (!find_loop(hole, sub))
    {
        work.open = OpenReason::BOUNDARY_TANGLED;
        return;
    }
    if (close_sub_mesh(hole, work, sub, turn))
    {
        work.fill = detail::take_fill(sub);
    }
}

bool HoleFilling::find_loop(std::size_t hole, detail::HoleSubMesh& sub) const
{
    if (take_apart_)
    {
        // The copy's own boundary goes on into the next loop where two of them touch.
        return detail::map_loop(mesh_, holes_[hole], sub);
    }
    int const index = static_cast<int>(hole);
    switch (detail::walk_loop(mesh_, holes_[hole], sub))
    {
    case detail::LoopMatch::NO_FIRST_HALFEDGE:
        log("  !!!fail to find first halfedge in hole[%d] mesh.\n", index);
        return false;
    case detail::LoopMatch::OTHER_LENGTH:
        log("  !!!border size is inconsistent with hole[%d].\n", index);
        return false;
    case detail::LoopMatch::SAME:
        break;
    }
    return true;
}

bool HoleFilling::close_sub_mesh(std::size_t hole, detail::HoleWork& work, detail::HoleSubMesh& sub,
                                 detail::HoleTurn const* turn) const
{
    struct Stage
    {
        char const* step;
        std::function<bool()> run;
        char const* failure;
        char const* file;
        char const* save_step;
    };
    Stage const stages[] = {
        {"hole_triangulation", [&] { return !(work.open = triangulate(sub, turn)); },
         "  fail to fill hole [%6d].\n", "%s/extracted-hole-%04d-sub-mesh-step-1-filled.stl",
         "save-step-1-filled-mesh"},
        {"hole_refinement",
         [&]
         {
             return hole_refinement(sub.mesh, sub.face_new, sub.vert_new, sub.vert_boundary,
                                    sub.vert_edge_len);
         },
         "  fail to refine hole [%6d].\n", "%s/extracted-hole-%04d-sub-mesh-step-2-refined.stl",
         "save-step-2-refined-mesh"},
        {"smooth_hole_inner_patch",
         [&] { return smooth_hole_inner_patch(sub.mesh, sub.vert_new), true; }, "",
         "%s/extracted-hole-%04d-sub-mesh-step-3-hole-inner-patch-smoothed.stl",
         "save-step-3-hole-inner-patch-smoothed-mesh"},
        {"hole_fairing",
         [&] { return hole_fairing(sub.mesh, sub.face_new, sub.vert_new, sub.vert_boundary); },
         "  fail to fair hole [%6d].\n", "%s/extracted-hole-%04d-sub-mesh-step-4-faired.stl",
         "save-step-4-faired-mesh"},
    };
    for (auto const& stage : stages)
    {
        detail::poll_cancel();
        if (!HOLE.run(stage.step, stage.run))
        {
            log(stage.failure, static_cast<int>(hole));
            work.open = work.open.value_or(OpenReason::FOLDS_TOO_SHARPLY);
            return false;
        }
        save_sub_mesh(hole, sub, stage.file, stage.save_step);
    }
    return true;
}

void HoleFilling::merge_hole(std::size_t hole, detail::HoleWork& work)
{
    if (!work.open)
    {
        log("  start merge_hole( %6d ) ..\n", static_cast<int>(hole));
        auto const merged = detail::merge_fill(mesh_, work.fill, detail::RefusedFace::ENDS_MERGE);
        if (!merged.complete)
        {
            work.open = OpenReason::FACE_REFUSED;
        }
        if (work.fill.points.size() > static_cast<std::size_t>(std::max(fairing_verts_thr_, 0)))
        {
            unfaired_fills_.push_back(work.fill.points.size());
        }
        work.fill = {};
    }
    if (work.open)
    {
        open_holes_.push_back({detail::from_vertices(mesh_, holes_[hole]), *work.open});
    }
}

void HoleFilling::save_sub_mesh(std::size_t hole, detail::HoleSubMesh const& sub,
                                char const* pattern, char const* step) const
{
    if (gPH.log_enabled && enable_file_saving_)
    {
        detail::save_sub_mesh(sub.mesh, static_cast<int>(hole), pattern, step);
    }
}

void HoleFilling::dump(char const* name, char const* step) const
{
    if (gPH.log_enabled && enable_file_saving_)
    {
        char path[512];
        format_line(path, "%s/%s", gPH.result_dir.c_str(), name);
        detail::dump_mesh(mesh_, path, step);
    }
}

void HoleFilling::save_mesh(std::string const& name)
{
    dump(name.c_str(), "save-mesh");
}

void HoleFilling::save_holes()
{
    if (gPH.log_enabled)
    {
        log("save_holes() ..\n");
        detail::save_regions(mesh_, regions_);
    }
}

} // namespace OrvaneAlgorithm
