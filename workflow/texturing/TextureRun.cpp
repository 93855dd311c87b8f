#include "workflow/texturing/TextureRun.h"

#include "workflow/Error.h"
#include "workflow/texturing/TextureInput.h"
#include "workflow/texturing/TextureVerdict.h"

#include "algorithmVeld/TextureFusion/TextureFusion.h"
#include "algorithmVeld/TextureFusion/TextureMesh.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh_conversion.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::BehindCamera;
using OrvaneAlgorithm::TextureFusion;
using OrvaneAlgorithm::TextureMesh;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector2f;

namespace
{

/// A hole of few vertices is still bounded, to so many of the largest photograph: a vertex far
/// away would take all memory.
constexpr double LARGEST_HOLE = 4.0;

void set_up(TextureMesh& texture, TextureSettings const& settings)
{
    texture.set_enable_file_saving(false);
    texture.set_behind_camera(BehindCamera::UNSEEN);
    texture.set_dis_thr(static_cast<float>(*settings.depth_tolerance));
    texture.set_norm_thr(static_cast<float>(settings.lowest_cosine));
    texture.set_small_region_face_thr(settings.small_region);
    texture.set_vertex_tex_num_thr(settings.views_per_vertex);
    if (settings.packing_gap)
    {
        texture.set_sub_tex_gap(*settings.packing_gap);
    }
}

void set_up(TextureFusion& fusion, TextureSettings const& settings)
{
    fusion.set_behind_camera(BehindCamera::UNSEEN);
    fusion.set_use_mkl_solver(settings.solver == TextureSolver::PARDISO);
    fusion.set_dis_thr(static_cast<float>(*settings.depth_tolerance));
    fusion.set_norm_thr(static_cast<float>(settings.lowest_cosine));
    fusion.set_small_region_face_thr(settings.small_region);
    fusion.set_vertex_tex_num_thr(settings.views_per_vertex);
    fusion.set_hole_area_ratio(static_cast<float>(settings.hole_ratio));
    fusion.set_hole_vertex_limit(settings.hole_vertices);
    fusion.set_image_border(settings.image_border);
    if (settings.packing_gap)
    {
        fusion.set_packing_gap(*settings.packing_gap);
    }
    fusion.set_patch_margin(settings.patch_margin);
}

void bound_holes(TextureMesh& /*texture*/, std::vector<Photo> const& /*photos*/,
                 TextureSettings const& /*settings*/)
{
    // They are no larger than a photograph anyway.
}

void bound_holes(TextureFusion& fusion, std::vector<Photo> const& photos,
                 TextureSettings const& settings)
{
    double largest = 0.0;
    for (auto const& photo : photos)
    {
        largest = std::max(largest, static_cast<double>(photo.width()) * photo.height());
    }
    constexpr double MOST_PIXELS = std::numeric_limits<int>::max();
    double const bound = LARGEST_HOLE * largest * std::max(settings.hole_ratio, 1.0);
    fusion.set_hole_pixel_limit(static_cast<std::int64_t>(std::min(bound, MOST_PIXELS)));
}

/// Runs a class of the library with the settings that it has.
template <typename Pipeline>
OrvaneAlgorithm::RetVal run(BaseTriMesh& base, std::vector<Photo> const& photos,
                            std::vector<OrvaneAlgorithm::RigidMatrix> const& poses,
                            std::vector<OrvaneAlgorithm::CameraInParam> const& intrinsics,
                            TextureResult& result)
{
    Pipeline pipeline;
    set_up(pipeline, result.settings);
    bound_holes(pipeline, photos, result.settings);
    auto const returned =
        pipeline.texture_fusion(base, photos, poses, intrinsics, OrvaneAlgorithm::gPH.log_enabled);
    result.patches = pipeline.counts().patches;
    result.texture_holes = pipeline.counts().texture_holes;
    result.textured_faces = pipeline.counts().textured_faces;
    result.seen_faces = pipeline.counts().seen_faces;
    result.large_holes = pipeline.counts().large_holes;
    result.largest_region = pipeline.counts().largest_region;
    return returned;
}

/// Runs the library on a copy, which has the faces and the vertices of the mesh in their order.
BaseTriMesh fuse(TextureOutlook const& outlook, std::vector<Photo> const& photos,
                 TextureResult& result)
{
    std::vector<OrvaneAlgorithm::RigidMatrix> poses;
    std::vector<OrvaneAlgorithm::CameraInParam> intrinsics;
    for (auto const& view : outlook.views())
    {
        poses.push_back(view.pose);
        intrinsics.push_back(view.intrinsics);
    }
    check_sizes(photos, result.settings.pipeline);
    BaseTriMesh base;
    OrvaneAlgorithm::TriMesh_convert_to_BaseTriMesh(result.textured.mesh, base);
    auto const failure = result.settings.pipeline == TexturePipeline::MESH
                             ? run<TextureMesh>(base, photos, poses, intrinsics, result)
                             : run<TextureFusion>(base, photos, poses, intrinsics, result);
    if (failure != OrvaneAlgorithm::RET_SUCCESS)
    {
        refuse_untextured(outlook, result);
    }
    check_share(outlook, result);
    return base;
}

/// A coordinate as files have it: the library's name the middles of pixels by whole numbers of
/// pixels from the corner, those of files by whole numbers and a half.
Vector2f file_coordinate(BaseTriMesh const& base, int index)
{
    auto const& coordinate = base.texture_coords[static_cast<std::size_t>(index)];
    return {coordinate.u + 0.5F / static_cast<float>(base.texture_image.width()),
            coordinate.v - 0.5F / static_cast<float>(base.texture_image.height())};
}

/// The place of a vertex among the corners of a face.
int corner_of(OrvaneAlgorithm::BaseTriFace const& face, int vertex)
{
    return face[0] == vertex ? 0 : face[1] == vertex ? 1 : 2;
}

void take_texture(BaseTriMesh& base, TextureResult& result)
{
    TriMesh& mesh = result.textured.mesh;
    if (base.get_fn() != mesh.n_faces())
    {
        throw OperationError("the textured mesh has other faces than the mesh");
    }
    mesh.request_halfedge_texcoords2D();
    for (auto const face : mesh.faces())
    {
        auto const i = static_cast<std::size_t>(face.idx());
        auto const& ids = base.face_texture_ids[i];
        result.colourless_faces += ids == OrvaneAlgorithm::Vector3i::Zero() ? 1 : 0;
        for (auto const h : mesh.fh_range(face))
        {
            int const corner = corner_of(base.faces[i], mesh.to_vertex_handle(h).idx());
            mesh.set_texcoord2D(h, file_coordinate(base, ids[corner]));
        }
    }
    result.textured.image = std::move(base.texture_image);
}

} // namespace

void run_texture(TextureOutlook const& outlook, std::vector<Photo> const& photos,
                 TextureResult& result)
{
    auto base = fuse(outlook, photos, result);
    take_texture(base, result);
}

} // namespace veld
