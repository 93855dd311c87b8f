#include "algorithmVeld/TextureFusion/TextureMesh.h"

#include "algorithmVeld/TextureFusion/atlas/TexturedArrays.h"
#include "algorithmVeld/TextureFusion/atlas/TexturedModelFiles.h"
#include "algorithmVeld/TextureFusion/debug_files/TexDebugFiles.h"
#include "algorithmVeld/TextureFusion/modules/ModuleAtlas.h"
#include "algorithmVeld/TextureFusion/modules/ModuleStages.h"
#include "algorithmVeld/TextureFusion/modules/ModuleWork.h"
#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/ImageLine.h"
#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "algorithmVeld/common/random_selection.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/running/TimedStages.h"
#include "algorithmVeld/common/running/pause.h"

#include <omp.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

using detail::ModuleWork;
using detail::TexImage;
using Photo = Image<3, unsigned char>;

constexpr detail::TimedStages TEXTURE_MESH("");
constexpr detail::TimedStages MODULES("process-fusion");
constexpr detail::TimedStages HOLE_REPAIR("tex-hole-repair");

constexpr char const* MODEL_NAME = "9-texture-model";

/// Tells the log which module runs.
void log_module(char const* name)
{
    detail::log("\n====================\n%s() ..\n", name);
}

void save_fused_model(ModuleWork const& work)
{
    detail::save_fused_vertex_model(work.mesh, work.properties);
    detail::log("  tex hole repaired verticse: %8d\n\n", detail::count_repaired_vertices(work));
}

std::vector<int> numbers_up_to(std::size_t n)
{
    std::vector<int> numbers(n);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

} // namespace

// ------------------------------------------------------------------------------ state and settings

TextureMesh::TextureMesh() : work_(std::make_unique<ModuleWork>()) {}

TextureMesh::TextureMesh(TextureMesh const& other) : TextureMesh()
{
    *this = other;
}

TextureMesh& TextureMesh::operator=(TextureMesh const& other)
{
    if (this != &other)
    {
        auto work = std::make_unique<ModuleWork>(*other.work_);
        dis_thr = other.dis_thr;
        norm_thr = other.norm_thr;
        small_region_face_thr = other.small_region_face_thr;
        vertex_tex_num_thr = other.vertex_tex_num_thr;
        behind_camera = other.behind_camera;
        enable_file_saving = other.enable_file_saving;
        sub_tex_gap = other.sub_tex_gap;
        texture_name_ = other.texture_name_;
        counts_ = other.counts_;
        work_ = std::move(work);
    }
    return *this;
}

TextureMesh::~TextureMesh() = default;

void TextureMesh::set_sub_tex_gap(int pixels)
{
    constexpr int WIDEST = 65535;
    sub_tex_gap = std::clamp(pixels, 0, WIDEST);
}

void TextureMesh::initialize()
{
    work_->has_intrinsics = false;
    work_->has_data = false;
    texture_name_ = MODEL_NAME;
}

void TextureMesh::set_cam_intrinsic(std::vector<CameraInParam> const& list)
{
    work_->intrinsics = list;
    static_cast<void>(list.at(0));
    work_->has_intrinsics = true;
}

void TextureMesh::set_data(std::vector<int> const& ids, std::vector<Photo> const& images,
                           std::vector<RigidMatrix> const& poses, TriMesh const& mesh)
{
    if (ids.empty() || mesh.n_vertices() < 3 || mesh.n_faces() == 0)
    {
        return;
    }
    auto work = std::make_unique<ModuleWork>();
    work->has_intrinsics = work_->has_intrinsics;
    work->intrinsics = work_->intrinsics;
    work->ids = ids;
    work->set_images(images);
    work->poses = poses;
    work->mesh = mesh;
    work->mesh.squeeze();
    work->order = numbers_up_to(ids.size());
    work->has_data = true;
    work_ = std::move(work);
}

void TextureMesh::shuffle_image_texture_order()
{
    int const n = static_cast<int>(work_->order.size());
    randomly_select_more(n, n, work_->order);
}

RetVal TextureMesh::check_data()
{
    detail::log("check_data() ..\n");
    if (!work_->has_intrinsics || !work_->has_data)
    {
        detail::log("lack of data.\n");
        return RET_INVALID_INPUT;
    }
    std::size_t const n = work_->ids.size();
    if (n == 0 || work_->images.size() != n || work_->poses.size() != n ||
        work_->intrinsics.size() != n)
    {
        detail::log("unmatched data size.\n");
        return RET_INVALID_INPUT;
    }
    Photo const& first = work_->images.front().image;
    bool const is_one_size = std::all_of(work_->images.begin(), work_->images.end(),
                                         [&](TexImage const& view) {
                                             return view.image.width() == first.width() &&
                                                    view.image.height() == first.height();
                                         });
    return first.empty() || !is_one_size ? RET_INVALID_INPUT : RET_SUCCESS;
}

void TextureMesh::display_param() const
{
    Photo const& first = work_->images.front().image;
    detail::log("====================< TextureMesh Param >====================\n");
    detail::log("mesh model info:\n");
    detail::log("  vertices:               %d\n", static_cast<int>(work_->mesh.n_vertices()));
    detail::log("  faces:                  %d\n", static_cast<int>(work_->mesh.n_faces()));
    detail::log("texture info:\n");
    detail::log("  number of images:       %d\n", static_cast<int>(work_->images.size()));
    detail::log("  image width:            %d\n", first.width());
    detail::log("  image height:           %d\n", first.height());
    detail::log("threshold:\n");
    detail::log("  distance thr:           %f\n", static_cast<double>(dis_thr));
    detail::log("  normal thr:             %f\n", static_cast<double>(norm_thr));
    detail::log("  small region face thr:  %d\n", small_region_face_thr);
    detail::log("  vertex tex num thr:     %d\n", vertex_tex_num_thr);
    detail::log("====================</TextureMesh Param >====================\n");
}

bool TextureMesh::save_files() const
{
    return gPH.log_enabled && enable_file_saving;
}

/// Saves files, if they are asked for, with their time apart from that of the step.
template <typename Save>
void TextureMesh::save(char const* step, Save const& save_file) const
{
    if (save_files())
    {
        detail::StepTimer const saving("saving-time");
        detail::StepTimer const timer(step, "saving-time");
        save_file();
    }
}

// ---------------------------------------------------------------------------------- the whole runs

RetVal TextureMesh::process_fusion()
{
    detail::StepTimer const timer("process-fusion");
    detail::log("process_fusion() ..\n");
    counts_ = {};
    RetVal const checked = check_data();
    if (checked != RET_SUCCESS)
    {
        return checked;
    }
    display_param();
    detail::Stages stages({1, 20, 5, 50, 10, 10});
    stages.next();
    mesh_request_properties();
    stages.next();
    module_projection();
    stages.next();
    module_boundary_optimization();
    // Colours that could not be corrected are no reason to have no atlas, nor are holes.
    stages.next();
    module_boundary_fusion();
    stages.next();
    module_tex_hole_repair();
    work_->vertices.reset();
    stages.next();
    return module_compute_texture();
}

void TextureMesh::mesh_request_properties()
{
    ModuleWork& work = *work_;
    if (work.done != ModuleWork::Done::NOTHING)
    {
        work.properties.remove_from(work.mesh);
    }
    work.done = ModuleWork::Done::NOTHING;
    for (std::size_t i = 0; i < work.images.size(); ++i)
    {
        work.images[i].intrinsics = work.intrinsics[i];
        work.images[i].pose = work.poses[i];
    }
    detail::renew_normals(work.mesh);
    work.properties.add_to(work.mesh);
    work.done = ModuleWork::Done::PREPARED;
}

RetVal TextureMesh::texture_fusion(BaseTriMesh& mesh, std::vector<Photo> const& images,
                                   std::vector<RigidMatrix> const& poses,
                                   std::vector<CameraInParam> const& intrinsics, bool verbose)
{
    gPH.log_enabled = verbose;
    // Whatever happens, nothing of this call stays.
    struct EmptiedAfterwards
    {
        std::unique_ptr<ModuleWork>& work;
        std::unique_ptr<ModuleWork> empty = std::make_unique<ModuleWork>();
        ~EmptiedAfterwards() { work = std::move(empty); }
    };
    EmptiedAfterwards const emptied{work_};
    work_ = std::make_unique<ModuleWork>();
    if (poses.size() != images.size() || intrinsics.size() != images.size())
    {
        detail::log("unmatched data size: number of image = %d, number of matrix = %d, number of "
                    "image intrinsic param = %d\n",
                    static_cast<int>(images.size()), static_cast<int>(poses.size()),
                    static_cast<int>(intrinsics.size()));
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({2, 94, 4});
    stages.next();
    TEXTURE_MESH.run("Data-Convert-BaseTriMesh-to-TriMesh",
                     [&] { BaseTriMesh_convert_to_TriMesh(mesh, work_->mesh); });
    work_->set_images(images);
    work_->poses = poses;
    work_->intrinsics = intrinsics;
    work_->ids = numbers_up_to(images.size());
    work_->order = work_->ids;
    work_->has_data = true;
    work_->has_intrinsics = true;
    stages.next();
    RetVal const fused = TEXTURE_MESH.run("tex-fusion", [&] { return process_fusion(); });
    if (fused != RET_SUCCESS)
    {
        return fused;
    }
    stages.next();
    return get_textured_mesh(mesh);
}

RetVal TextureMesh::get_textured_mesh(BaseTriMesh& mesh) const
{
    if (work_->done != ModuleWork::Done::ALL)
    {
        return RET_INVALID_INPUT;
    }
    BaseTriMesh result;
    TEXTURE_MESH.run("Data-Convert-TriMesh-to-BaseTriMesh",
                     [&] { TriMesh_convert_to_BaseTriMesh(work_->mesh, result); });
    detail::StepTimer const timer("Data-Convert-TexBaseTriMesh");
    if (detail::add_texture(work_->mesh, work_->properties, work_->texture_image, work_->uv_coords,
                            result) != 0)
    {
        detail::log("face idx error [%s (%d)]\n", __FILE__, __LINE__);
        detail::pause_for_inspection();
    }
    mesh = std::move(result);
    return RET_SUCCESS;
}

// ------------------------------------------------------------------------------------- the modules

RetVal TextureMesh::module_projection()
{
    log_module("module_projection");
    ModuleWork& work = *work_;
    if (work.done < ModuleWork::Done::PREPARED)
    {
        return RET_INVALID_INPUT;
    }
    detail::VisibilityLimits limits;
    limits.dis_thr = dis_thr;
    limits.norm_thr = norm_thr;
    limits.vertex_tex_num_thr = vertex_tex_num_thr;
    limits.image_border = 0;
    limits.pixels = detail::PixelRule::ROUNDED;
    limits.dilation = detail::Dilation::IN_PLACE;
    limits.behind_camera = behind_camera;
    MODULES.run("project-vertex-tex",
                [&]
                {
                    detail::log("omp max threads: %d\n", omp_get_max_threads());
                    detail::log("project_vertex_tex() .. [%s (%d)]\n", __FILE__, __LINE__);
                    work.vertices =
                        detail::project_vertices(work.mesh, work.images, limits, work.order);
                });
    save("save-vertex-projected-model",
         [&] { detail::save_vertex_projected_model(work.mesh, work.images, *work.vertices); });
    MODULES.run("project-face-tex",
                [&]
                {
                    counts_.seen_faces =
                        detail::project_faces(work.mesh, work.properties, *work.vertices);
                    detail::log("  faces with texture: %d\n", static_cast<int>(counts_.seen_faces));
                });
    save("save-face-projected-model",
         [&] { detail::save_face_projected_model(work.mesh, work.properties, work.images); });
    work.done = ModuleWork::Done::PROJECTED;
    return RET_SUCCESS;
}

RetVal TextureMesh::module_boundary_optimization()
{
    log_module("module_boundary_optimization");
    ModuleWork& work = *work_;
    if (work.done < ModuleWork::Done::PROJECTED || !work.vertices)
    {
        return RET_INVALID_INPUT;
    }
    MODULES.run("filter-face-tex",
                [&]
                {
                    counts_.largest_region =
                        detail::filter_face_tex(work.mesh, work.properties, small_region_face_thr);
                });
    MODULES.run("optimize-face-tex",
                [&]
                {
                    detail::optimize_faces(work, small_region_face_thr);
                    MODULES.run("greedy-change-face-tex-by-edge-shared",
                                [&] {
                                    detail::greedy_change_face_tex_by_edge_shared(work.mesh,
                                                                                  work.properties);
                                });
                    detail::optimize_faces(work, small_region_face_thr);
                });
    MODULES.run("refind-block",
                [&]
                {
                    work.face_small_block = detail::find_block_by_face(work.mesh, work.properties,
                                                                       small_region_face_thr);
                });
    MODULES.run("update-vertex-tex", [&] { detail::update_vertex_tex_by_face(work); });
    save("save-partition-optimized-model",
         [&] { detail::save_boundary_optimized_model(work.mesh, work.properties, work.images); });
    MODULES.run("partition-face",
                [&]
                {
                    work.patches =
                        detail::partition_mesh_by_face(work.mesh, work.properties, work.images,
                                                       detail::PIECE_MARGIN, detail::MODULE_TEXTS);
                });
    work.patch_textures.clear();
    work.holes.clear(); // of a run before
    work.repaired = {};
    work.done = ModuleWork::Done::PARTITIONED;
    return RET_SUCCESS;
}

RetVal TextureMesh::module_boundary_fusion()
{
    log_module("module_boundary_fusion");
    ModuleWork& work = *work_;
    if (work.done < ModuleWork::Done::PARTITIONED)
    {
        return RET_INVALID_INPUT;
    }
    if (!MODULES.run("poisson-solve", [&] { return detail::solve_patch_colours(work); }))
    {
        detail::log("fail to solve poisson equations.\n");
        return RET_FAILED;
    }
    save("save-fused-model", [&] { save_fused_model(work); });
    return RET_SUCCESS;
}

RetVal TextureMesh::module_tex_hole_repair()
{
    log_module("module_tex_hole_repair");
    ModuleWork& work = *work_;
    if (work.done < ModuleWork::Done::PARTITIONED)
    {
        return RET_INVALID_INPUT;
    }
    work.done = ModuleWork::Done::PARTITIONED; // holds if this is ended half way
    bool const is_filled =
        MODULES.run("tex-hole-repair",
                    [&]
                    {
                        HOLE_REPAIR.run("find-tex-hole",
                                        [&] {
                                            work.holes = detail::find_texture_holes(
                                                work.mesh, work.properties, detail::MODULE_TEXTS);
                                        });
                        return HOLE_REPAIR.run("fill-tex-hole", [&] { return fill_tex_hole(); });
                    });
    work.done = ModuleWork::Done::HOLES_FOUND;
    return is_filled ? RET_SUCCESS : RET_FAILED;
}

bool TextureMesh::fill_tex_hole()
{
    ModuleWork& work = *work_;
    if (!detail::fill_holes(work))
    {
        return false;
    }
    save("save-fused-model", [&] { save_fused_model(work); });
    save("save-tex-hole-model", [&] { detail::save_tex_hole_model(work.mesh, work.holes); });
    return true;
}

// -------------------------------------------------------------------------------------- the atlas

RetVal TextureMesh::module_compute_texture()
{
    log_module("module_compute_texture");
    ModuleWork& work = *work_;
    if (work.done < ModuleWork::Done::HOLES_FOUND)
    {
        return RET_INVALID_INPUT;
    }
    work.done = ModuleWork::Done::HOLES_FOUND;
    counts_ = count();
    struct Step
    {
        char const* timer;
        bool (TextureMesh::*run)();
        char const* failure;
    };
    constexpr std::array<Step, 4> STEPS{
        Step{"arrange-sub-textures", &TextureMesh::arrange_sub_textures,
             "arrange_sub_textures() failed.\n"},
        Step{"arrange-hole-sub-textures", &TextureMesh::arrange_hole_sub_textures,
             "arrange_hole_sub_textures() failed.\n"},
        Step{"recompute-texture-coord", &TextureMesh::recompute_texture_coord,
             "recompute_texture_coord() failed.\n"},
        Step{"recompute-hole-texture-coord", &TextureMesh::recompute_hole_texture_coord,
             "recompute_hole_texture_coord() failed.\n"}};
    for (Step const& step : STEPS)
    {
        if (!MODULES.run(step.timer, [&] { return (this->*step.run)(); }))
        {
            detail::log(step.failure);
            return RET_FAILED;
        }
    }
    save("save-fused-texture-model",
         [&] {
             detail::save_fused_texture_model(work.mesh, work.properties, work.uv_coords,
                                              texture_name_);
         });
    work.done = ModuleWork::Done::ALL;
    return RET_SUCCESS;
}

TextureCounts TextureMesh::count() const
{
    auto const faces = work_->mesh.all_faces();
    auto const n =
        std::count_if(faces.begin(), faces.end(),
                      [&](OpenMesh::FaceHandle face)
                      { return work_->mesh.property(work_->properties.face_has_tex, face); });
    TextureCounts counts = counts_;
    counts.patches = work_->patches.size();
    counts.texture_holes = work_->holes.size();
    counts.textured_faces = static_cast<std::size_t>(n);
    counts.large_holes = work_->repaired.too_large;
    return counts;
}

bool TextureMesh::arrange_sub_textures()
{
    ModuleWork& work = *work_;
    detail::log("arrange_sub_textures() ..\n");
    detail::log("  total tex patches:  %8d\n", static_cast<int>(work.patches.size()));
    save("save-patch-info", [&] { detail::save_patch_info(work.patches); });
    return detail::arrange_patches(work, sub_tex_gap);
}

bool TextureMesh::arrange_hole_sub_textures()
{
    bool const is_arranged = detail::arrange_holes(*work_);
    if (is_arranged && save_files())
    {
        detail::save_atlas_image(work_->texture_image, texture_name_);
    }
    return is_arranged;
}

bool TextureMesh::recompute_texture_coord()
{
    return detail::compute_patch_coordinates(*work_);
}

bool TextureMesh::recompute_hole_texture_coord()
{
    return detail::compute_hole_coordinates(*work_);
}

void TextureMesh::draw_image_line(int const line[4], int* out, int& count)
{
    count = 0;
    detail::walk_image_line({line[0], line[1]}, {line[2], line[3]},
                            [&](Vector2i const& pixel)
                            {
                                *out++ = pixel.x();
                                *out++ = pixel.y();
                                ++count;
                            });
}

} // namespace OrvaneAlgorithm
