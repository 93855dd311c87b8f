#include "algorithmVeld/TextureFusion/TextureFusion.h"

#include "algorithmVeld/TextureFusion/SelectKeyframes.h"
#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"
#include "algorithmVeld/TextureFusion/atlas/TexturedArrays.h"
#include "algorithmVeld/TextureFusion/debug_files/TexDebugFiles.h"
#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"
#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/projection/SmoothNormals.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/PatchColour.h"
#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"
#include "algorithmVeld/common/mesh/MeshNormals.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"
#include "algorithmVeld/common/running/TimedStages.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

using detail::RectangleSolver;
using detail::TexImage;

constexpr detail::TimedStages TEXTURE_FUSION("");
constexpr detail::TimedStages PROCESS_FUSION("process-fusion");
constexpr detail::TimedStages OPTIMIZE_BLOCK("optimize-block");

/// The views in the order of preference.
std::vector<TexImage> copy_views(std::vector<Image<3, unsigned char>> const& images,
                                 std::vector<RigidMatrix> const& poses,
                                 std::vector<CameraInParam> const& intrinsics,
                                 std::vector<int> const& order)
{
    std::vector<TexImage> views(images.size());
    detail::parallel_for_uneven(
        static_cast<std::ptrdiff_t>(views.size()),
        [&](std::ptrdiff_t i)
        {
            auto const to = static_cast<std::size_t>(i);
            auto const from = static_cast<std::size_t>(order[to]);
            views[to] = {static_cast<int>(i), intrinsics[from], poses[from], images[from]};
        });
    return views;
}

void show_mesh_info(TriMesh const& mesh)
{
    detail::log("show_mesh_info() ..\n");
    detail::log("==========< mesh info >==========\n");
    detail::log("  faces:    %8d\n", static_cast<int>(mesh.n_faces()));
    detail::log("  verts:    %8d\n", static_cast<int>(mesh.n_vertices()));
    detail::log("  edges:    %8d\n", static_cast<int>(mesh.n_edges()));
    detail::log("==========</mesh info >==========\n");
}

} // namespace

/// What the steps of one call hand along.
struct TextureFusion::Work
{
    TriMesh mesh;
    detail::TexProperties properties;
    std::vector<TexImage> images;
    std::vector<detail::PatchTex> patches;
    std::vector<Image<3, unsigned char>> patch_textures;
    detail::TextureHoleFaces holes;
    detail::RepairedHoles repaired;
    Image<3, unsigned char> texture_image;
    std::vector<BaseTriMesh::UVCoord> uv_coords;
    std::size_t seen_faces = 0;
    std::size_t largest_region = 0;

    /// The mesh with its texture, as arrays.
    BaseTriMesh take_textured_mesh();

    TextureCounts counts() const;
};

RetVal TextureFusion::texture_fusion(BaseTriMesh& mesh,
                                     std::vector<Image<3, unsigned char>> const& images,
                                     std::vector<RigidMatrix> const& rts,
                                     std::vector<CameraInParam> const& intrinsics, bool verbose)
{
    gPH.log_enabled = verbose;
    counts_ = {};
    detail::log("texture_fusion() ..\n");
    if (rts.size() != images.size() || intrinsics.size() != images.size() || mesh.get_fn() == 0)
    {
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({1, 4, 2, 94, 2});
    stages.next();
    std::vector<int> order;
    RetVal const sorted =
        TEXTURE_FUSION.run("space-based-sort",
                           [&] { return SelectKeyframes().space_based_sort(rts, order, verbose); });
    if (sorted != RET_SUCCESS)
    {
        return sorted;
    }
    if (order.size() != images.size())
    {
        return RET_FAILED;
    }
    show_texture_fusion_param();

    Work work;
    stages.next();
    TEXTURE_FUSION.run("BaseTriMesh-to-TriMesh",
                       [&] { BaseTriMesh_convert_to_TriMesh(mesh, work.mesh); });
    show_mesh_info(work.mesh);
    stages.next();
    TEXTURE_FUSION.run("copy-initial-data",
                       [&] { work.images = copy_views(images, rts, intrinsics, order); });
    stages.next();
    RetVal const fused = TEXTURE_FUSION.run("process-fusion", [&] { return process_fusion(work); });
    if (fused == RET_SUCCESS)
    {
        stages.next();
        mesh = work.take_textured_mesh();
        counts_ = work.counts();
    }
    counts_.seen_faces = work.seen_faces;
    counts_.largest_region = work.largest_region;
    return fused;
}

/// The mesh with its texture, which is not here any more then.
BaseTriMesh TextureFusion::Work::take_textured_mesh()
{
    BaseTriMesh result;
    TEXTURE_FUSION.run("TriMesh-to-BaseTriMesh",
                       [&] { TriMesh_convert_to_BaseTriMesh(mesh, result); });
    TEXTURE_FUSION.run("add-texture-to-BaseTriMesh",
                       [&] {
                           detail::add_texture(mesh, properties, std::move(texture_image),
                                               std::move(uv_coords), result);
                       });
    return result;
}

TextureCounts TextureFusion::Work::counts() const
{
    TextureCounts result;
    result.patches = patches.size();
    result.texture_holes = holes.size();
    result.large_holes = repaired.too_large;
    for (auto const face : mesh.all_faces())
    {
        result.textured_faces += mesh.property(properties.face_has_tex, face) ? 1 : 0;
    }
    return result;
}

RetVal TextureFusion::process_fusion(Work& work) const
{
    detail::log("process_fusion() ..\n");
    detail::Stages stages({1, 1, 20, 5, 2, 50, 10, 10, 1});
    stages.next();
    mesh_request_properties(work);
    stages.next();
    PROCESS_FUSION.run("calc-vert-avg-norm", [&] { detail::smooth_vertex_normals(work.mesh); });
    stages.next();
    if (!PROCESS_FUSION.run("project-tex", [&] { return project_tex(work); }))
    {
        detail::log("project tex failed.\n");
        return RET_FAILED;
    }
    stages.next();
    PROCESS_FUSION.run("optimize-block", [&] { optimize_block(work); });
    stages.next();
    PROCESS_FUSION.run("partition-mesh", [&] { partition_mesh_by_face(work); });
    stages.next();
    if (!PROCESS_FUSION.run("poisson-solve-color-diff",
                            [&] { return poisson_solve_color_diff(work); }))
    {
        detail::log("poisson solve color diff failed.\n");
        return RET_FAILED;
    }
    stages.next();
    PROCESS_FUSION.run("poisson-hole-filling", [&] { poisson_hole_filling(work); });
    stages.next();
    if (!PROCESS_FUSION.run("compute-coord", [&] { return compute_coord(work); }))
    {
        detail::log("compute coord failed.\n");
        return RET_FAILED;
    }
    stages.next();
    PROCESS_FUSION.run("compute-hole-tex-coord", [&] { compute_hole_tex_coord(work); });
    return RET_SUCCESS;
}

// -------------------------------------------------------------------------------------- the steps

void TextureFusion::mesh_request_properties(Work& work) const
{
    detail::renew_normals(work.mesh);
    work.properties.add_to(work.mesh);
}

bool TextureFusion::project_tex(Work& work) const
{
    detail::log("project_tex() ..\n");
    detail::Stages stages({4, 1});
    stages.next();
    detail::VisibilityLimits limits;
    limits.dis_thr = dis_thr;
    limits.norm_thr = norm_thr;
    limits.vertex_tex_num_thr = vertex_tex_num_thr;
    limits.image_border = image_border;
    limits.behind_camera = behind_camera;
    auto const vertices = detail::project_vertices(work.mesh, work.images, limits);
    save("save-vertex-projected-model",
         [&] { detail::save_vertex_projected_model(work.mesh, work.images, vertices); });
    stages.next();
    work.seen_faces = detail::project_faces(work.mesh, work.properties, vertices);
    save("save-face-projected-model",
         [&]
         {
             detail::save_face_selection_vertex_model(work.mesh, work.properties, work.images,
                                                      "2-face-projected-model-tex",
                                                      "2-face-projected-model-patch");
         });
    return true;
}

void TextureFusion::optimize_block(Work& work) const
{
    detail::log("optimize_block() ..\n");
    auto const optimize_faces = [&]
    { detail::optimize_face_tex(work.mesh, work.properties, small_region_face_thr); };
    detail::Stages stages({1, 2, 1, 2});
    stages.next();
    OPTIMIZE_BLOCK.run("filter-face-tex",
                       [&]
                       {
                           work.largest_region = detail::filter_face_tex(work.mesh, work.properties,
                                                                         small_region_face_thr);
                       });
    stages.next();
    OPTIMIZE_BLOCK.run("optimize-face-tex", optimize_faces);
    stages.next();
    OPTIMIZE_BLOCK.run("optimize-boundary-iteration",
                       [&] { detail::optimize_boundary_iteration(work.mesh, work.properties); });
    stages.next();
    OPTIMIZE_BLOCK.run("optimize-face-tex", optimize_faces);
    save("save-block-optimized-model",
         [&]
         {
             detail::save_face_selection_vertex_model(work.mesh, work.properties, work.images,
                                                      "3-boundary-optimized-model-tex",
                                                      "3-boundary-optimized-model-patch");
         });
}

void TextureFusion::partition_mesh_by_face(Work& work) const
{
    work.patches =
        detail::partition_mesh_by_face(work.mesh, work.properties, work.images, patch_margin);
}

bool TextureFusion::poisson_solve_color_diff(Work& work) const
{
    detail::PatchFaces faces;
    if (!detail::list_patch_faces(work.mesh, work.properties, work.patches.size(), faces))
    {
        return false;
    }
    work.patch_textures = detail::fuse_patch_colours(
        work.mesh, work.properties, work.images, work.patches, faces,
        use_mkl_solver ? RectangleSolver::PARDISO : RectangleSolver::SIMPLICIAL);
    save("save-fused-vertex-model",
         [&] { detail::save_fused_vertex_model(work.mesh, work.properties); });
    return true;
}

void TextureFusion::poisson_hole_filling(Work& work) const
{
    detail::Stages stages({1, 10});
    stages.next();
    work.holes = detail::find_texture_holes(work.mesh, work.properties);
    stages.next();
    detail::TextureHoleSettings settings;
    settings.hole_area_ratio = hole_area_ratio;
    settings.hole_vertex_limit = hole_vertex_limit;
    settings.hole_pixel_limit = hole_pixel_limit;
    settings.patch_margin = patch_margin;
    settings.solver = use_mkl_solver ? RectangleSolver::PARDISO : RectangleSolver::SIMPLICIAL;
    work.repaired =
        detail::repair_texture_holes(work.mesh, work.properties, work.images, work.holes, settings);
    save("save-tex-hole-model", [&] { detail::save_tex_hole_model(work.mesh, work.holes); });
}

bool TextureFusion::compute_coord(Work& work) const
{
    detail::log("compute_coord() ..\n");
    detail::Stages stages({10, 1});
    stages.next();
    work.images = {}; // Nobody looks at them any more, and the atlas takes their room.
    detail::BlackCell black_cell;
    if (!detail::pack_atlas({work.patches, work.patch_textures, work.repaired.hole_patches,
                             work.repaired.hole_textures},
                            packing_gap, work.texture_image, black_cell))
    {
        return false;
    }
    work.patch_textures = {};
    work.repaired.hole_textures = {};
    stages.next();
    work.uv_coords =
        detail::patch_coordinates(work.mesh, work.properties, work.patches, black_cell,
                                  work.texture_image.width(), work.texture_image.height());
    return true;
}

void TextureFusion::compute_hole_tex_coord(Work& work) const
{
    detail::log("compute_hole_tex_coord() ..\n");
    detail::append_hole_coordinates(work.mesh, work.properties, work.holes,
                                    work.repaired.hole_patches, work.texture_image.width(),
                                    work.texture_image.height(), work.uv_coords);
}

/// Saves diagnostic files, if they are asked for, with their time apart from that of the step.
template <typename Save>
void TextureFusion::save(char const* step, Save const& save_files) const
{
    if (gPH.log_enabled && enable_file_saving)
    {
        detail::StepTimer const saving("saving-time");
        detail::StepTimer const timer(step, "saving-time");
        save_files();
    }
}

void TextureFusion::show_texture_fusion_param() const
{
    detail::log("show_texture_fusion_param() ..\n");
    detail::log("\n===============< Texture Fusion Param >===============\n");
    detail::log("  use MKL solver:          %8d\n", use_mkl_solver ? 1 : 0);
    detail::log("  dis thr:                 %15.6f mm\n", static_cast<double>(dis_thr));
    detail::log("  norm thr:                %15.6f\n", static_cast<double>(norm_thr));
    detail::log("  enable file saving:      %8d\n", enable_file_saving ? 1 : 0);
    detail::log("===============</Texture Fusion Param >===============\n\n");
}

// ----------------------------------------------------------------------------------- the settings

void TextureFusion::set_vertex_tex_num_thr(int views)
{
    vertex_tex_num_thr = std::max(views, 0);
}

void TextureFusion::set_image_border(int pixels)
{
    image_border = std::max(pixels, 0);
}

void TextureFusion::set_patch_margin(int pixels)
{
    constexpr int WIDEST = 65535;
    patch_margin = std::clamp(pixels, 0, WIDEST);
}

} // namespace OrvaneAlgorithm
