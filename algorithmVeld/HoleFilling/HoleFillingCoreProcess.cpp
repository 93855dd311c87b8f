// The stages that run on the private copies of the holes, and the merge.

#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/HoleFilling/careful/HoleWork.h"
#include "algorithmVeld/common/mesh/AddFace.h"
#include "algorithmVeld/common/mesh_files/MeshDump.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>

namespace OrvaneAlgorithm
{

using detail::log;

namespace
{

/// Runs a stage for each hole. The large holes come one after the other, each with all threads for
/// itself; the others side by side.
template <typename Stage>
void for_each_hole(std::vector<std::vector<OpenMesh::HalfedgeHandle>> const& holes,
                   Stage const& stage)
{
    constexpr std::size_t LARGE = 256;
    std::vector<std::size_t> small;
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        if (holes[i].size() < LARGE)
        {
            small.push_back(i);
        }
        else
        {
            stage(i);
        }
    }
    detail::parallel_for_uneven(static_cast<std::ptrdiff_t>(small.size()), [&](std::ptrdiff_t k)
                                { stage(small[static_cast<std::size_t>(k)]); });
}

/// Whether each halfedge has a face on its other side.
bool has_all_neighbours(TriMesh const& mesh, std::vector<OpenMesh::HalfedgeHandle> const& loop)
{
    for (auto const h : loop)
    {
        if (!mesh.face_handle(mesh.opposite_halfedge_handle(h)).is_valid())
        {
            return false;
        }
    }
    return true;
}

} // namespace

void HoleFillingCore::process_holes_expanded()
{
    log("process_holes_expanded() ..\n");
    hole_done_.assign(holes_.size(), false);
    if (holes_.empty())
    {
        return;
    }
    std::vector<detail::HoleWork> works(holes_.size());
    {
        detail::StepTimer const step("create-sub-mesh", "process-holes-expanded");
        log("create hole mesh array ..\n");
        for_each_hole(holes_, [&](std::size_t i) { create_sub_mesh(i, works[i]); });
    }
    {
        detail::StepTimer const step("hole-triangulation", "process-holes-expanded");
        log("start fill hole mesh array ..\n");
        for_each_hole(holes_, [&](std::size_t i) { triangulate_hole(i, works[i]); });
    }
    {
        detail::StepTimer const step("hole-refinement", "process-holes-expanded");
        for_each_hole(holes_, [&](std::size_t i) { refine_hole(i, works[i]); });
    }
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
    auto const vertices = detail::vertices_of(*mesh_, regions_[hole]);
    if (vertices.size() < 3)
    {
        log("  !!!abnormal: hole[%d] with %d vertices.\n", index,
            static_cast<int>(vertices.size()));
        work.open = OpenReason::NOT_A_BOUNDARY;
        return;
    }
    work.sub = std::make_unique<detail::HoleSubMesh>();
    auto const refused =
        detail::make_sub_mesh(*mesh_, vertices, regions_[hole], vert_edge_len_prop_, *work.sub);
    for (int i = 0; i < refused.vertices; ++i)
    {
        log("  !!!fail to add vert [%s (%d)]\n", __FILE__, __LINE__);
        work.open = OpenReason::BOUNDARY_TANGLED;
    }
    for (int i = 0; i < refused.faces; ++i)
    {
        log("  !!!fail to add face [%s (%d)]\n", __FILE__, __LINE__);
        work.open = OpenReason::BOUNDARY_TANGLED;
    }
    dump_sub_mesh(hole, work, "%s/extracted-hole-%04d-sub-mesh.stl", "save-step-0-hole-mesh");
    if (!detail::map_loop(*mesh_, holes_[hole], *work.sub))
    {
        log("  !!!fail to find exact boundary halfedges of hole[%d].\n", index);
        work.open = OpenReason::BOUNDARY_TANGLED;
    }
}

void HoleFillingCore::triangulate_hole(std::size_t hole, detail::HoleWork& work) const
{
    if (work.open)
    {
        return;
    }
    int const index = static_cast<int>(hole);
    int const vertices = static_cast<int>(work.sub->loop.size());
    bool const has_neighbours = has_all_neighbours(work.sub->mesh, work.sub->loop);
    log("  start hole_triangulation( %d )  with ( %d ) vertices ..\n", index, vertices);
    bool const filled = hole_triangulation(work.sub->mesh, work.sub->loop, work.sub->face_new);
    log("  hole_triangulation( %d ) done.\n", index);
    if (!filled)
    {
        log("  !!!fail to fill hole [%6d] with ( %d ) vertices.\n", index, vertices);
        work.open = has_neighbours ? OpenReason::FOLDS_TOO_SHARPLY : OpenReason::NOT_A_BOUNDARY;
        return;
    }
    dump_sub_mesh(hole, work, "%s/extracted-hole-%04d-sub-mesh-step-1-filled.stl",
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
    dump_sub_mesh(hole, work, "%s/extracted-hole-%04d-sub-mesh-step-2-refined.stl",
                  "save-step-2-refined-mesh");
}

void HoleFillingCore::merge_holes(std::vector<detail::HoleWork>& works)
{
    reserve_for(works);
    for (std::size_t i = 0; i < works.size(); ++i)
    {
        if (!works[i].open)
        {
            log("  start merge_hole( %6d ) ..\n", static_cast<int>(i));
            merge_vertices(static_cast<int>(i), *works[i].sub);
            if (!merge_faces(static_cast<int>(i), *works[i].sub))
            {
                works[i].open = OpenReason::FACE_REFUSED;
            }
            hole_done_[i] = true;
        }
        if (works[i].open)
        {
            open_holes_.push_back({loop_vertices(i), *works[i].open});
        }
        works[i].sub.reset();
    }
}

void HoleFillingCore::reserve_for(std::vector<detail::HoleWork> const& works)
{
    std::size_t vertices = 0;
    std::size_t edges = 0;
    std::size_t faces = 0;
    for (auto const& work : works)
    {
        if (!work.open)
        {
            auto const& sub = *work.sub;
            auto const& vert_new = sub.mesh.property(sub.vert_new).data_vector();
            auto const& face_new = sub.mesh.property(sub.face_new).data_vector();
            vertices +=
                static_cast<std::size_t>(std::count(vert_new.begin(), vert_new.end(), true));
            faces += static_cast<std::size_t>(std::count(face_new.begin(), face_new.end(), true));
            edges += sub.mesh.n_edges() - std::min(sub.mesh.n_edges(), sub.old_edges);
        }
    }
    mesh_->reserve_more(vertices, edges, faces);
}

void HoleFillingCore::merge_vertices(int hole, detail::HoleSubMesh& sub)
{
    for (auto const vertex : sub.mesh.all_vertices())
    {
        if (!sub.mesh.property(sub.vert_new, vertex))
        {
            continue;
        }
        auto const added = mesh_->add_vertex(sub.mesh.point(vertex));
        if (!added.is_valid())
        {
            log("  !!!fail to merge vert [%s (%d)]\n", __FILE__, __LINE__);
            continue;
        }
        mesh_->property(vert_new_prop_, added) = true;
        mesh_->property(vert_hole_prop_, added) = hole;
        sub.mesh.property(sub.vert_origin, vertex) = added;
    }
}

bool HoleFillingCore::merge_faces(int hole, detail::HoleSubMesh const& sub)
{
    bool complete = true;
    for (auto const face : sub.mesh.all_faces())
    {
        if (!sub.mesh.property(sub.face_new, face))
        {
            continue;
        }
        std::vector<VertexHandle> corners;
        for (auto const vertex : sub.mesh.fv_range(face))
        {
            corners.push_back(sub.mesh.property(sub.vert_origin, vertex));
        }
        if (corners.size() != 3)
        {
            log("  !!!unexpected non triangle [%s (%d)]\n", __FILE__, __LINE__);
            complete = false;
            continue;
        }
        auto const added = detail::add_face_checked(*mesh_, corners[0], corners[1], corners[2]);
        if (!added.is_valid())
        {
            log("  !!!fail to add face [%s (%d)]\n", __FILE__, __LINE__);
            complete = false;
            continue;
        }
        mesh_->property(face_new_prop_, added) = true;
        mesh_->property(face_hole_prop_, added) = hole;
    }
    return complete;
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

void HoleFillingCore::dump_sub_mesh(std::size_t hole, detail::HoleWork const& work,
                                    char const* pattern, char const* step) const
{
    if (gPH.log_enabled && enable_file_saving_)
    {
        char path[512];
        format_line(path, pattern, gPH.result_dir.c_str(), static_cast<int>(hole));
        detail::dump_mesh(work.sub->mesh, path, step);
    }
}

} // namespace OrvaneAlgorithm
