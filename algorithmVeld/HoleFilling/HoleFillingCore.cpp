#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include "algorithmVeld/HoleFilling/careful/HoleRegion.h"
#include "algorithmVeld/HoleFilling/careful/HoleSubMesh.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/mesh_files/MeshDump.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <map>

namespace OrvaneAlgorithm
{

using detail::log;

namespace
{

/// Adds a property to the mesh with the same value on every element.
template <typename Handle, typename Value>
void add_filled_property(TriMesh& mesh, Handle& handle, char const* name, Value value)
{
    mesh.add_property(handle, name);
    auto& values = mesh.property(handle).data_vector();
    std::fill(values.begin(), values.end(), value);
}

/// Mean length of the edges around a vertex, 0 without edges.
float mean_edge_length(TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    float sum = 0.0F;
    int edges = 0;
    for (auto const edge : mesh.ve_range(vertex))
    {
        sum += mesh.calc_edge_length(edge);
        ++edges;
    }
    return edges > 0 ? sum / static_cast<float>(edges) : 0.0F;
}

/// Face and vertex normals as OpenMesh's `update_normals` computes them, on all cores.
void update_normals(TriMesh& mesh)
{
    detail::parallel_for_even(static_cast<std::ptrdiff_t>(mesh.n_faces()),
                              [&](std::ptrdiff_t i)
                              {
                                  OpenMesh::FaceHandle const face(static_cast<int>(i));
                                  if (!detail::is_deleted(mesh, face))
                                  {
                                      mesh.set_normal(face, mesh.calc_face_normal(face));
                                  }
                              });
    detail::parallel_for_even(static_cast<std::ptrdiff_t>(mesh.n_vertices()),
                              [&](std::ptrdiff_t i)
                              {
                                  OpenMesh::VertexHandle const vertex(static_cast<int>(i));
                                  if (!detail::is_deleted(mesh, vertex))
                                  {
                                      mesh.set_normal(vertex, mesh.calc_vertex_normal(vertex));
                                  }
                              });
}

/// Writes faces and their vertices as text OBJ. \return false if the file cannot be written
bool write_faces(TriMesh const& mesh, std::vector<OpenMesh::FaceHandle> const& faces,
                 char const* path)
{
    auto const vertices = detail::vertices_of(mesh, faces);
    detail::ObjText file(path);
    file.vertex_count(static_cast<int>(vertices.size()));
    std::map<int, int> numbers;
    for (auto const vertex : vertices)
    {
        numbers.emplace(vertex.idx(), static_cast<int>(numbers.size()) + 1);
        file.vertex(mesh.point(vertex));
    }
    file.triangle_count(static_cast<int>(faces.size()));
    for (auto const face : faces)
    {
        std::vector<int> corners;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners.push_back(numbers[vertex.idx()]);
        }
        file.triangle(detail::at(corners, 0), detail::at(corners, 1), detail::at(corners, 2));
    }
    file.end_of_file();
    return file.close();
}

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
    begin_run(mesh, holes.size(), rings);
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
    begin_run(mesh, 1, rings);
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

void HoleFillingCore::begin_run(TriMesh& mesh, std::size_t n_holes, int rings)
{
    mesh_ = &mesh;
    topology_dis_thr_ = rings;
    hole_result_.assign(n_holes, false);
    holes_.clear();
    open_holes_.clear();
}

RetVal HoleFillingCore::create_hole_cell_from_verts(std::vector<VertexHandle> const& verts,
                                                    std::vector<HalfedgeHandle>& halfedges)
{
    log("create_hole_cell_from_verts() ..\n");
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
    calc_avg_edge_len();
    dijkstra_dis_thr_ = static_cast<float>(topology_dis_thr_ * avg_edge_len_);
    long_edge_thr_ = 1.5 * avg_edge_len_;
    log("\n  long edge thr:       %f\n\n", long_edge_thr_);
    show_hole_filling_param();
    mesh_->request_vertex_normals();
    mesh_->request_face_normals();
    update_normals(*mesh_);
    add_run_properties();
    {
        detail::StepTimer const step("find-holes-region", "main-process");
        find_holes_region();
    }
    show_mesh_info();
    {
        detail::StepTimer const step("process-holes-expanded", "main-process");
        process_holes_expanded();
    }
    {
        detail::StepTimer const step("create-smooth-patch", "main-process");
        create_smooth_patch();
    }
    fair_patches();
    return RET_SUCCESS;
}

void HoleFillingCore::add_run_properties()
{
    add_filled_property(*mesh_, vert_edge_len_prop_, "<vprop>", 0.0F);
    add_filled_property(*mesh_, face_new_prop_, "<fprop>", false);
    add_filled_property(*mesh_, face_hole_prop_, "<fprop>", -1);
    add_filled_property(*mesh_, face_region_prop_, "<fprop>", false);
    add_filled_property(*mesh_, vert_new_prop_, "<vprop>", false);
    add_filled_property(*mesh_, vert_hole_prop_, "<vprop>", -1);
    add_filled_property(*mesh_, vert_region_prop_, "<vprop>", false);
    add_filled_property(*mesh_, vert_patch_prop_, "<vprop>", -1);
    add_filled_property(*mesh_, vert_patch_index_prop_, "<vprop>", -1);
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
    double sum = 0.0;
    for (auto it = mesh_->edges_sbegin(); it != mesh_->edges_end(); ++it)
    {
        sum += mesh_->calc_edge_length(*it);
    }
    avg_edge_len_ = mesh_->n_edges() > 0 ? sum / static_cast<double>(mesh_->n_edges()) : 0.0;
    log("  mesh avg edge length:      %15.6f mm\n\n", avg_edge_len_);
}

void HoleFillingCore::find_holes_region()
{
    log("find_holes_region() ..\n");
    auto& in_region = mesh_->property(face_region_prop_).data_vector();
    std::fill(in_region.begin(), in_region.end(), false);
    detail::HoleRegionGrowth growth(*mesh_);
    detail::parallel_for_even(static_cast<std::ptrdiff_t>(mesh_->n_vertices()),
                              [&](std::ptrdiff_t i)
                              {
                                  VertexHandle const vertex(static_cast<int>(i));
                                  if (!detail::is_deleted(*mesh_, vertex))
                                  {
                                      mesh_->property(vert_edge_len_prop_, vertex) =
                                          mean_edge_length(*mesh_, vertex);
                                  }
                              });
    regions_.clear();
    for (auto const& hole : holes_)
    {
        regions_.push_back(
            growth.grow(hole, topology_dis_thr_, dijkstra_dis_thr_, face_region_prop_));
    }
    for (auto const& region : regions_)
    {
        for (auto const face : region)
        {
            for (auto const vertex : mesh_->fv_range(face))
            {
                mesh_->property(vert_region_prop_, vertex) = true;
            }
        }
    }
}

void HoleFillingCore::get_extra_filling_info(std::vector<std::vector<FaceHandle>>& new_faces,
                                             std::vector<std::vector<VertexHandle>>& new_verts,
                                             std::vector<std::vector<VertexHandle>>& patch_verts)
{
    log("get_extra_filling_info() ..\n");
    new_faces.clear();
    new_verts.clear();
    patch_verts = patches_;
    std::vector<std::vector<FaceHandle>> faces(holes_.size());
    std::vector<std::vector<VertexHandle>> verts(holes_.size());
    for (auto const face : mesh_->all_faces())
    {
        int const hole = mesh_->property(face_hole_prop_, face);
        if (hole >= 0)
        {
            detail::at(faces, static_cast<std::size_t>(hole)).push_back(face);
        }
    }
    for (auto const vertex : mesh_->all_vertices())
    {
        // From 1 on: hosts have never been told the vertices of the first hole, and count on it.
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

void HoleFillingCore::show_hole_filling_param()
{
    log("show_hole_filling_param() ..\n");
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
    if (!gPH.log_enabled)
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
    char path[512];
    format_line(path, "%s/%s", gPH.result_dir.c_str(), name.c_str());
    detail::dump_mesh(*mesh_, path, "save-mesh");
}

void HoleFillingCore::save_holes()
{
    log("save_holes() ..\n");
    for (std::size_t i = 0; i < regions_.size(); ++i)
    {
        log("  hole-%04d ..\n", static_cast<int>(i));
        char path[512];
        format_line(path, "%s/hole-%04d-sub-mesh.obj", gPH.result_dir.c_str(), static_cast<int>(i));
        if (!write_faces(*mesh_, regions_[i], path))
        {
            log("  fail to write '%s'.\n", path);
        }
    }
}

} // namespace OrvaneAlgorithm
