#include "algorithmVeld/TextureFusion/TextureMesh.h"

#include "algorithmVeld/TextureFusion/atlas/AtlasArrangement.h"
#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"
#include "algorithmVeld/TextureFusion/atlas/TexturedArrays.h"
#include "algorithmVeld/TextureFusion/atlas/TexturedModelFiles.h"
#include "algorithmVeld/TextureFusion/debug_files/TexDebugFiles.h"
#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"
#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/ImageLine.h"
#include "algorithmVeld/TextureFusion/seams/PatchColour.h"
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
#include <cstdint>
#include <numeric>
#include <optional>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

using detail::FaceGroupType;
using detail::FaceTex;
using detail::PatchTex;
using detail::RectangleSolver;
using detail::TexImage;
using detail::VertTex;
using Photo = Image<3, unsigned char>;

constexpr detail::TimedStages TEXTURE_MESH("");
constexpr detail::TimedStages MODULES("process-fusion");
constexpr detail::TimedStages HOLE_REPAIR("tex-hole-repair");

constexpr char const* MODEL_NAME = "9-texture-model";
/// Pixels around a patch, and around a hole, that its piece of the atlas holds too.
constexpr int PIECE_MARGIN = 3;

/// Tells the log which module runs.
void log_module(char const* name)
{
    detail::log("\n====================\n%s() ..\n", name);
}

std::vector<int> numbers_up_to(std::size_t n)
{
    std::vector<int> numbers(n);
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

void log_packing(char const* title, std::array<char const*, 4> const& lines, std::size_t n,
                 std::size_t n_placed, Vector2i const& size)
{
    detail::log(title);
    detail::log(lines[0], static_cast<int>(n));
    detail::log(lines[1], static_cast<int>(n_placed));
    detail::log(lines[2], size.x());
    detail::log(lines[3], size.y());
    if (n_placed != n)
    {
        detail::log("  not all patches are reallocated.\n");
    }
}

bool has_size_of(Photo const& image, PatchTex const& record)
{
    return image.width() == record.width() && image.height() == record.height();
}

bool is_inside(VertTex const& corner, PatchTex const& patch)
{
    return corner.px >= patch.min_x && corner.px <= patch.max_x && corner.py >= patch.min_y &&
           corner.py <= patch.max_y;
}

void log_face_groups(TriMesh const& mesh, detail::TexProperties const& properties)
{
    std::array<int, 5> counts{};
    for (auto const face : mesh.all_faces())
    {
        ++counts[static_cast<std::size_t>(mesh.property(properties.face_group, face))];
    }
    detail::log("====================< face type info >====================\n");
    detail::log("  total faces:  %8d\n", static_cast<int>(mesh.n_faces()));
    detail::log("  unknown:      %8d\n", counts[0]);
    detail::log("  texless:      %8d\n", counts[1]);
    detail::log("  isloated:     %8d\n", counts[2]);
    detail::log("  boundary:     %8d\n", counts[3]);
    detail::log("  nonboundary:  %8d\n", counts[4]);
    detail::log("====================</face type info >====================\n\n");
}

} // namespace

/// The data, and what the modules hand along.
struct TextureMesh::Work
{
    /// How far the modules have come.
    enum class Done
    {
        NOTHING,
        PREPARED,
        PROJECTED,
        PARTITIONED,
        HOLES_FOUND,
        ALL
    };

    bool has_intrinsics = false;
    bool has_data = false;
    std::vector<int> ids;
    std::vector<TexImage> images;
    std::vector<RigidMatrix> poses;
    std::vector<CameraInParam> intrinsics;
    std::vector<int> order;
    TriMesh mesh;

    Done done = Done::NOTHING;
    detail::TexProperties properties;
    std::optional<detail::VertTexLists> vertices; ///< kept until the holes are painted
    std::vector<int> vert_chosen_tex;             ///< places in these lists, -1 for none
    std::vector<std::uint8_t> face_small_block;
    std::vector<PatchTex> patches;
    std::vector<Photo> patch_textures;
    detail::TextureHoleFaces holes;
    detail::RepairedHoles repaired;
    std::optional<detail::AtlasArrangement> arrangement;
    Photo texture_image;
    std::vector<BaseTriMesh::UVCoord> uv_coords;

    void set_images(std::vector<Photo> const& photos)
    {
        images.clear();
        images.resize(photos.size());
        for (std::size_t i = 0; i < photos.size(); ++i)
        {
            images[i].id = static_cast<int>(i);
            images[i].image = photos[i];
        }
    }

    /// Counts the holes that no textured face touches.
    bool is_isolated(std::vector<OpenMesh::FaceHandle> const& hole) const
    {
        return detail::hole_surroundings(mesh, properties, hole).ring_faces.empty();
    }

    int count_repaired_vertices() const;
    void log_holes() const;
    void check_places();
};

// ------------------------------------------------------------------------------ state and settings

TextureMesh::TextureMesh() : work_(std::make_unique<Work>()) {}

TextureMesh::TextureMesh(TextureMesh const& other) : TextureMesh()
{
    *this = other;
}

TextureMesh& TextureMesh::operator=(TextureMesh const& other)
{
    if (this != &other)
    {
        auto work = std::make_unique<Work>(*other.work_);
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
    static_cast<void>(list.at(0));
    work_->intrinsics = list;
    work_->has_intrinsics = true;
}

void TextureMesh::set_data(std::vector<int> const& ids, std::vector<Photo> const& images,
                           std::vector<RigidMatrix> const& poses, TriMesh const& mesh)
{
    if (ids.empty() || mesh.n_vertices() < 3 || mesh.n_faces() == 0)
    {
        return;
    }
    auto work = std::make_unique<Work>();
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
    Work& work = *work_;
    if (work.done != Work::Done::NOTHING)
    {
        work.properties.remove_from(work.mesh);
    }
    work.done = Work::Done::NOTHING;
    for (std::size_t i = 0; i < work.images.size(); ++i)
    {
        work.images[i].intrinsics = work.intrinsics[i];
        work.images[i].pose = work.poses[i];
    }
    detail::renew_normals(work.mesh);
    work.properties.add_to(work.mesh);
    work.done = Work::Done::PREPARED;
}

RetVal TextureMesh::texture_fusion(BaseTriMesh& mesh, std::vector<Photo> const& images,
                                   std::vector<RigidMatrix> const& poses,
                                   std::vector<CameraInParam> const& intrinsics, bool verbose)
{
    gPH.log_enabled = verbose;
    // Whatever happens, nothing of this call stays.
    struct EmptiedAfterwards
    {
        std::unique_ptr<Work>& work;
        std::unique_ptr<Work> empty = std::make_unique<Work>();
        ~EmptiedAfterwards() { work = std::move(empty); }
    };
    EmptiedAfterwards const emptied{work_};
    work_ = std::make_unique<Work>();
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
    if (work_->done != Work::Done::ALL)
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
    Work& work = *work_;
    if (work.done < Work::Done::PREPARED)
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
    work.done = Work::Done::PROJECTED;
    return RET_SUCCESS;
}

RetVal TextureMesh::module_boundary_optimization()
{
    log_module("module_boundary_optimization");
    Work& work = *work_;
    if (work.done < Work::Done::PROJECTED || !work.vertices)
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
                    optimize_faces();
                    MODULES.run("greedy-change-face-tex-by-edge-shared",
                                [&] {
                                    detail::greedy_change_face_tex_by_edge_shared(work.mesh,
                                                                                  work.properties);
                                });
                    optimize_faces();
                });
    MODULES.run("refind-block",
                [&]
                {
                    work.face_small_block = detail::find_block_by_face(work.mesh, work.properties,
                                                                       small_region_face_thr);
                });
    MODULES.run("update-vertex-tex", [&] { update_vertex_tex_by_face(); });
    save("save-partition-optimized-model",
         [&] { detail::save_boundary_optimized_model(work.mesh, work.properties, work.images); });
    MODULES.run("partition-face",
                [&]
                {
                    work.patches =
                        detail::partition_mesh_by_face(work.mesh, work.properties, work.images,
                                                       PIECE_MARGIN, detail::MODULE_TEXTS);
                });
    work.patch_textures.clear();
    work.done = Work::Done::PARTITIONED;
    return RET_SUCCESS;
}

void TextureMesh::optimize_faces()
{
    auto const relabelled =
        detail::optimize_face_tex(work_->mesh, work_->properties, small_region_face_thr);
    detail::log("  affected faces:    %6d\n", relabelled.faces);
    detail::log("  affected blocks:   %6d\n", relabelled.blocks);
}

/// Finds the place of each vertex's chosen view in its list: that of the last face around it.
void TextureMesh::update_vertex_tex_by_face()
{
    detail::log("update_vertex_tex_by_face() ..\n");
    Work& work = *work_;
    work.vert_chosen_tex.assign(work.mesh.n_vertices(), -1);
    bool is_complete = true;
    for (auto const face : work.mesh.all_faces())
    {
        if (!work.mesh.property(work.properties.face_has_tex, face))
        {
            continue;
        }
        int const label = work.mesh.property(work.properties.face_tex_label, face);
        for (auto const vertex : work.mesh.fv_range(face))
        {
            auto const v = static_cast<std::size_t>(vertex.idx());
            auto const* const begin = work.vertices->begin(v);
            auto const* const end = work.vertices->end(v);
            auto const* const found = std::find_if(
                begin, end, [label](VertTex const& entry) { return entry.image_id == label; });
            if (found == end)
            {
                detail::log("error: fail to find corresponding vertex texture [%s (%d)]\n",
                            __FILE__, __LINE__);
                is_complete = false;
                continue;
            }
            work.vert_chosen_tex[v] = static_cast<int>(found - begin);
        }
    }
    if (!is_complete)
    {
        detail::log("\n\n!!! update vertex tex failed [%s (%d)]\n\n", __FILE__, __LINE__);
    }
}

RetVal TextureMesh::module_boundary_fusion()
{
    log_module("module_boundary_fusion");
    if (work_->done < Work::Done::PARTITIONED)
    {
        return RET_INVALID_INPUT;
    }
    if (!MODULES.run("poisson-solve", [&] { return poisson_solve(); }))
    {
        detail::log("fail to solve poisson equations.\n");
        return RET_FAILED;
    }
    save("save-fused-model",
         [&] { detail::save_fused_vertex_model(work_->mesh, work_->properties); });
    return RET_SUCCESS;
}

bool TextureMesh::poisson_solve()
{
    Work& work = *work_;
    detail::PatchFaces faces;
    if (!detail::list_patch_faces(work.mesh, work.properties, work.patches.size(), faces,
                                  detail::MODULE_TEXTS))
    {
        return false;
    }
    if (faces.patch_faces.size() != work.patches.size())
    {
        detail::log("unmatched patch num [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    work.patch_textures =
        detail::fuse_patch_colours(work.mesh, work.properties, work.images, work.patches, faces,
                                   RectangleSolver::SPARSE_LU, detail::SeamShape::EDGES);
    return true;
}

RetVal TextureMesh::module_tex_hole_repair()
{
    log_module("module_tex_hole_repair");
    Work& work = *work_;
    if (work.done < Work::Done::PARTITIONED)
    {
        return RET_INVALID_INPUT;
    }
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
    work.done = Work::Done::HOLES_FOUND;
    return is_filled ? RET_SUCCESS : RET_FAILED;
}

bool TextureMesh::fill_tex_hole()
{
    detail::log("fill_tex_hole() ..\n");
    Work& work = *work_;
    detail::TextureHoleSettings settings;
    settings.patch_margin = PIECE_MARGIN;
    settings.solver = RectangleSolver::SPARSE_LU;
    settings.view.axis = detail::HoleAxis::SURFACE;
    settings.view.pixels = detail::PixelRule::ROUNDED;
    settings.view.bounds = detail::HoleBounds::OF_PHOTO;
    work.repaired =
        detail::repair_texture_holes(work.mesh, work.properties, work.images, work.holes, settings);
    if (work.repaired.hole_patches.size() != work.holes.size())
    {
        detail::log("unmatched hole info [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    work.log_holes();
    save("save-fused-model",
         [&]
         {
             detail::save_fused_vertex_model(work.mesh, work.properties);
             detail::log("  tex hole repaired verticse: %8d\n\n", work.count_repaired_vertices());
         });
    save("save-tex-hole-model", [&] { detail::save_tex_hole_model(work.mesh, work.holes); });
    return true;
}

int TextureMesh::Work::count_repaired_vertices() const
{
    std::vector<std::uint8_t> is_repaired(mesh.n_vertices());
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        if (!repaired.hole_patches[h].repaired)
        {
            continue;
        }
        for (auto const face : holes[h])
        {
            for (auto const vertex : mesh.fv_range(face))
            {
                is_repaired[static_cast<std::size_t>(vertex.idx())] = 1;
            }
        }
    }
    return static_cast<int>(std::count(is_repaired.begin(), is_repaired.end(), 1));
}

/// A hole of one face is counted by itself, and not among the others.
void TextureMesh::Work::log_holes() const
{
    int n_repaired = 0;
    int n_isolated = 0;
    int n_single = 0;
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        if (holes[h].size() == 1)
        {
            ++n_single;
        }
        else if (repaired.hole_patches[h].repaired)
        {
            ++n_repaired;
        }
        else if (is_isolated(holes[h]))
        {
            ++n_isolated;
        }
    }
    detail::log("\ntex hole analysis:\n");
    detail::log("  total holes:       %8d\n", static_cast<int>(holes.size()));
    detail::log("  repaired holes:    %8d\n", n_repaired);
    detail::log("  isolated hole:     %8d\n", n_isolated);
    detail::log("  single face hole:  %8d\n", n_single);
}

// -------------------------------------------------------------------------------------- the atlas

RetVal TextureMesh::module_compute_texture()
{
    log_module("module_compute_texture");
    Work& work = *work_;
    if (work.done < Work::Done::HOLES_FOUND)
    {
        return RET_INVALID_INPUT;
    }
    work.done = Work::Done::HOLES_FOUND;
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
    work.done = Work::Done::ALL;
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
    Work& work = *work_;
    detail::log("arrange_sub_textures() ..\n");
    detail::log("  total tex patches:  %8d\n", static_cast<int>(work.patches.size()));
    save("save-patch-info", [&] { detail::save_patch_info(work.patches); });
    if (work.patch_textures.size() != work.patches.size())
    {
        detail::log("error: unmatched patch info [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    auto& arrangement =
        work.arrangement.emplace(sub_tex_gap, detail::arrangement_cell(work.patches));
    std::size_t n_placed = 0;
    detail::Progress progress(work.patches.size());
    for (auto const i : detail::arrangement_order(work.patches))
    {
        if (n_placed == 0)
        {
            arrangement.place_first(work.patches[i]);
            ++n_placed;
        }
        else if (arrangement.place(work.patches[i]))
        {
            ++n_placed;
        }
        progress.advance();
    }
    if (work.patches.size() == 1)
    {
        arrangement.widen(3 * sub_tex_gap);
    }
    log_packing("texture packing info:\n",
                {"  total patches:                 %6d\n", "  succeed reallocated patches:   %6d\n",
                 "  final texture height:          %6d\n",
                 "  final texture width:           %6d\n"},
                work.patches.size(), n_placed, arrangement.size());
    return n_placed == work.patches.size();
}

bool TextureMesh::arrange_hole_sub_textures()
{
    Work& work = *work_;
    auto& holes = work.repaired.hole_patches;
    detail::log("arrange_hole_sub_textures() ..\n");
    detail::log("  total hole patches: %8d\n", static_cast<int>(holes.size()));
    std::size_t n_placed = 0;
    std::size_t n_repaired = 0;
    for (auto const h : detail::arrangement_order(holes))
    {
        if (!holes[h].repaired)
        {
            continue;
        }
        ++n_repaired;
        if (work.arrangement->place(holes[h]))
        {
            ++n_placed;
        }
        else
        {
            // A hole without a place has no colours to show.
            holes[h].repaired = false;
            work.repaired.hole_textures[h] = {};
        }
    }
    log_packing("hole texture packing info:\n",
                {"  total hole patches:                 %6d\n",
                 "  succeed reallocated hole patches:   %6d\n",
                 "  final texture height:               %6d\n",
                 "  final texture width:                %6d\n"},
                n_repaired, n_placed, work.arrangement->size());
    return make_atlas();
}

bool TextureMesh::make_atlas()
{
    Work& work = *work_;
    auto& holes = work.repaired;
    if (holes.hole_textures.size() != holes.hole_patches.size())
    {
        detail::log("error: unmatched patch info [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    for (std::size_t p = 0; p < work.patches.size(); ++p)
    {
        if (!has_size_of(work.patch_textures[p], work.patches[p]))
        {
            detail::log("error: unmatched image size [%s (%d)]\n", __FILE__, __LINE__);
            work.patch_textures[p] = {};
        }
    }
    Vector2i const& size = work.arrangement->size();
    work.texture_image = Photo(size.y(), size.x());
    detail::paste_into_atlas(work.patches, work.patch_textures, work.texture_image);
    detail::paste_into_atlas(holes.hole_patches, holes.hole_textures, work.texture_image);
    if (save_files())
    {
        detail::save_atlas_image(work.texture_image, texture_name_);
    }
    return true;
}

/// Looks for places that would lead out of the arrays or out of a patch; none are known.
void TextureMesh::Work::check_places()
{
    for (auto const face : mesh.all_faces())
    {
        if (!mesh.property(properties.face_has_tex, face))
        {
            continue;
        }
        int const id = mesh.property(properties.face_patch_id, face);
        if (id < 0 || static_cast<std::size_t>(id) >= patches.size())
        {
            detail::log("error: patch_id = %d  [%s (%d)]\n", id, __FILE__, __LINE__);
            detail::pause_for_inspection();
            mesh.property(properties.face_has_tex, face) = false;
            continue;
        }
        auto const& corners = properties.chosen(mesh, face).corner;
        if (!std::all_of(corners.begin(), corners.end(),
                         [&](VertTex const& corner)
                         { return is_inside(corner, patches[static_cast<std::size_t>(id)]); }))
        {
            detail::log("node expand bounding box [%s (%d)]\n", __FILE__, __LINE__);
            detail::pause_for_inspection();
        }
    }
}

bool TextureMesh::recompute_texture_coord()
{
    Work& work = *work_;
    detail::log("recompute_texture_coord() ..\n");
    detail::log("find_invalid_face_patch_tex() ..\n");
    detail::BlackCell black_cell;
    if (!work.arrangement->find_free_pixel(work.patches.size(), black_cell))
    {
        detail::log("fail to find invalid texture coord [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    work.check_places();
    work.uv_coords =
        detail::patch_coordinates(work.mesh, work.properties, work.patches, black_cell,
                                  work.texture_image.width(), work.texture_image.height());
    log_face_groups(work.mesh, work.properties);
    return true;
}

bool TextureMesh::recompute_hole_texture_coord()
{
    Work& work = *work_;
    detail::log("recompute_hole_texture_coord() ..\n");
    auto const& patches = work.repaired.hole_patches;
    if (patches.size() != work.holes.size())
    {
        detail::log("  unmatched hole id [%s (%d)]\n", __FILE__, __LINE__);
        return false;
    }
    detail::log("current vertex tex size:  %8d [%s (%d)]\n",
                static_cast<int>(work.uv_coords.size()), __FILE__, __LINE__);
    detail::append_hole_coordinates(work.mesh, work.properties, work.holes, patches,
                                    work.texture_image.width(), work.texture_image.height(),
                                    work.uv_coords);
    std::size_t n_changed = 0;
    for (std::size_t h = 0; h < patches.size(); ++h)
    {
        n_changed += patches[h].repaired ? work.holes[h].size() : 0;
    }
    detail::log("tex changed face:         %8d\n", static_cast<int>(n_changed));
    return true;
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
