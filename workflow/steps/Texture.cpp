#include "workflow/steps/Texture.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/photos/GainBalance.h"
#include "workflow/photos/ViewCheck.h"
#include "workflow/words.h"

#include "algorithmVeld/TextureFusion/TextureFusion.h"
#include "algorithmVeld/TextureFusion/TextureMesh.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh_conversion.h"

#include <fmt/format.h>

#include <chrono>
#include <cmath>
#include <limits>

namespace veld
{

using OrvaneAlgorithm::BaseTriMesh;
using OrvaneAlgorithm::TextureFusion;
using OrvaneAlgorithm::TextureMesh;
using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector2f;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

namespace
{

/// A mesh that is fewer depth tolerances across has another unit.
constexpr double LEAST_TOLERANCES_ACROSS = 20.0;
/// A part of the faces that is worth a warning where no photograph shows them.
constexpr double MUCH_UNSEEN = 0.25;

void check_range(double value, double min, double max, char const* setting)
{
    if (!(value >= min && value <= max))
    {
        throw InputError(fmt::format("{} has to be from {} to {}", setting, min, max), setting);
    }
}

void check_settings(TextureSettings const& settings)
{
    constexpr double LARGEST_SCALE = 1e6;
    constexpr double LARGEST_LENGTH = 1e30; // fits a float
    constexpr double LARGEST_COUNT = std::numeric_limits<int>::max();
    constexpr double LARGEST_MARGIN = 1000.0;
    check_range(settings.scale, 1.0 / LARGEST_SCALE, LARGEST_SCALE, "scale");
    check_range(settings.pose_scale, 1.0 / LARGEST_SCALE, LARGEST_SCALE, "pose_scale");
    check_range(settings.depth_tolerance, 0.0, LARGEST_LENGTH, "depth_tolerance");
    check_range(settings.lowest_cosine, -1.0, 1.0, "lowest_cosine");
    check_range(settings.views_per_vertex, 1.0, LARGEST_COUNT, "views_per_vertex");
    check_range(settings.small_region, 0.0, LARGEST_COUNT, "small_region");
    check_range(settings.hole_ratio, 0.0, LARGEST_LENGTH, "hole_ratio");
    check_range(settings.hole_vertices, 0.0, LARGEST_COUNT, "hole_vertices");
    check_range(settings.image_border, 0.0, LARGEST_COUNT, "image_border");
    check_range(settings.packing_gap.value_or(0), 0.0, LARGEST_MARGIN, "packing_gap");
    check_range(settings.patch_margin, 0.0, LARGEST_MARGIN, "patch_margin");
}

TriMesh in_millimetres(TriMesh const& mesh, double scale)
{
    TriMesh scaled = mesh;
    scaled.garbage_collection();
    if (scale != 1.0)
    {
        for (auto const vertex : scaled.vertices())
        {
            scaled.point(vertex) = (scaled.point(vertex).cast<double>() * scale).cast<float>();
        }
    }
    return scaled;
}

/// The views with their poses in millimetres.
std::vector<PhotoView> in_millimetres(std::vector<PhotoView> views, TextureSettings const& settings)
{
    for (auto& view : views)
    {
        view.pose.set_translation(view.pose.get_translation() * settings.pose_scale *
                                  settings.scale);
    }
    return views;
}

std::vector<Vector3d> points_of(TriMesh const& mesh)
{
    std::vector<Vector3d> points;
    points.reserve(mesh.n_vertices());
    for (auto const vertex : mesh.vertices())
    {
        points.push_back(mesh.point(vertex).cast<double>());
    }
    return points;
}

void warn_of_tolerance(std::vector<Vector3d> const& points, double tolerance,
                       std::string const& source, StepScope& scope)
{
    Vector3d min = points.front();
    Vector3d max = points.front();
    for (auto const& point : points)
    {
        min = min.cwiseMin(point);
        max = max.cwiseMax(point);
    }
    double const across = (max - min).norm();
    if (across < LEAST_TOLERANCES_ACROSS * tolerance)
    {
        scope.warn(WarningCode::UNITS_UNLIKELY, source,
                   fmt::format("the mesh is {:.3g} mm across, and what lies {:.3g} mm behind "
                               "another place counts as seen: its lengths look like those of "
                               "another unit",
                               across, tolerance));
    }
}

/// Refuses poses that cannot be those of the mesh, and warns of those that hardly can.
void check_views(TriMesh const& mesh, std::vector<PhotoView> const& views,
                 TextureSettings const& settings, std::string const& source, StepScope& scope)
{
    auto const points = points_of(mesh);
    std::string const doubt = check_sight(points, views, source);
    if (!doubt.empty())
    {
        scope.warn(WarningCode::UNITS_UNLIKELY, source, doubt);
    }
    warn_of_tolerance(points, settings.depth_tolerance, source, scope);
}

void set_up(TextureMesh& texture, TextureSettings const& settings)
{
    texture.set_enable_file_saving(false);
    texture.set_dis_thr(static_cast<float>(settings.depth_tolerance));
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
    fusion.set_use_mkl_solver(settings.solver == TextureSolver::PARDISO);
    fusion.set_dis_thr(static_cast<float>(settings.depth_tolerance));
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

/// Runs a class of the library with the settings that it has.
template <typename Pipeline>
OrvaneAlgorithm::RetVal run(BaseTriMesh& base, std::vector<Photo> const& photos,
                            std::vector<OrvaneAlgorithm::RigidMatrix> const& poses,
                            std::vector<OrvaneAlgorithm::CameraInParam> const& intrinsics,
                            TextureResult& result)
{
    Pipeline pipeline;
    set_up(pipeline, result.settings);
    auto const returned =
        pipeline.texture_fusion(base, photos, poses, intrinsics, OrvaneAlgorithm::gPH.log_enabled);
    result.patches = pipeline.counts().patches;
    result.texture_holes = pipeline.counts().texture_holes;
    result.textured_faces = pipeline.counts().textured_faces;
    return returned;
}

void check_sizes(std::vector<Photo> const& photos)
{
    for (auto const& photo : photos)
    {
        if (photo.width() != photos.front().width() || photo.height() != photos.front().height())
        {
            throw InputError("the photographs have different sizes, which the pipeline \"mesh\" "
                             "does not take; \"fusion\" does",
                             "pipeline");
        }
    }
}

/// The photographs with one gain each that makes them agree on the places that they share.
std::vector<Photo> balanced(std::vector<Photo> photos, std::vector<PhotoView> const& views,
                            TextureResult const& result)
{
    auto const gains =
        balance_gains(result.textured.mesh, views, photos, result.settings.depth_tolerance);
    for (std::size_t i = 0; i < photos.size(); ++i)
    {
        apply_gain(photos[i], gains[i]);
    }
    return photos;
}

/// Tells why the library gave no texture.
[[noreturn]] void throw_failure(TextureResult const& result)
{
    if (result.patches > 0)
    {
        throw OperationError(
            "the pieces of the atlas leave no pixel between them for faces without "
            "a colour, which the pipeline \"mesh\" needs; another gap between them "
            "may leave one, and \"fusion\" always has one",
            "packing_gap");
    }
    throw OperationError(
        fmt::format("no photograph shows a region of more than {}; the depth tolerance ({} mm) may "
                    "be too small for the mesh, or its lengths are of another unit",
                    counted(static_cast<std::size_t>(result.settings.small_region), "face"),
                    result.settings.depth_tolerance),
        "depth_tolerance");
}

/// Runs the library on a copy, which has the faces and the vertices of the mesh in their order.
BaseTriMesh fuse(TriMesh const& mesh, std::vector<PhotoView> const& views,
                 std::vector<Photo> const& photos, TextureResult& result)
{
    std::vector<OrvaneAlgorithm::RigidMatrix> poses;
    std::vector<OrvaneAlgorithm::CameraInParam> intrinsics;
    for (auto const& view : views)
    {
        poses.push_back(view.pose);
        intrinsics.push_back(view.intrinsics);
    }
    if (result.settings.pipeline == TexturePipeline::MESH)
    {
        check_sizes(photos);
    }
    BaseTriMesh base;
    OrvaneAlgorithm::TriMesh_convert_to_BaseTriMesh(mesh, base);
    auto const failure = result.settings.pipeline == TexturePipeline::MESH
                             ? run<TextureMesh>(base, photos, poses, intrinsics, result)
                             : run<TextureFusion>(base, photos, poses, intrinsics, result);
    if (failure != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw_failure(result);
    }
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

void warn_of_unseen(TextureResult const& result, std::string const& source, StepScope& scope)
{
    std::size_t const faces = result.textured.mesh.n_faces();
    std::size_t const unseen = faces - result.textured_faces;
    if (static_cast<double>(unseen) > MUCH_UNSEEN * static_cast<double>(faces))
    {
        scope.warn(
            WarningCode::FACES_UNSEEN, source,
            fmt::format("{} of {} are shown by no photograph, of which {} have no colour and the "
                        "others that of what lies around them; more photographs or a larger depth "
                        "tolerance than {} mm may help",
                        unseen, counted(faces, "face"), result.colourless_faces,
                        result.settings.depth_tolerance));
    }
}

} // namespace

std::map<std::string, TexturePipeline> const& texture_pipelines()
{
    static std::map<std::string, TexturePipeline> const pipelines{
        {"fusion", TexturePipeline::FUSION}, {"mesh", TexturePipeline::MESH}};
    return pipelines;
}

std::map<std::string, TextureSolver> const& texture_solvers()
{
    static std::map<std::string, TextureSolver> const solvers{
        {"simplicial", TextureSolver::SIMPLICIAL}, {"pardiso", TextureSolver::PARDISO}};
    return solvers;
}

TextureResult texture(TriMesh const& mesh, PhotoSet const& photos, TextureSettings const& settings,
                      Context& context)
{
    StepScope scope(context, "texture-mesh", "texture the mesh");
    check_settings(settings);
    if (mesh.n_faces() == 0)
    {
        throw InputError("the mesh has no face to texture");
    }
    if (photos.views.empty() || photos.images.size() != photos.views.size())
    {
        throw InputError(photos.source + ": has no photographs");
    }
    auto const start = std::chrono::steady_clock::now();
    TextureResult result;
    result.settings = settings;
    result.photographs = photos.views.size();
    std::vector<PhotoView> views;
    scope.stage("look where the photographs were taken", 0.02,
                [&]
                {
                    result.textured.mesh = in_millimetres(mesh, settings.scale);
                    views = in_millimetres(photos.views, settings);
                    check_views(result.textured.mesh, views, settings, photos.source, scope);
                });
    std::vector<Photo> balanced_photos;
    if (settings.balance)
    {
        balanced_photos = scope.stage("balance the photographs", 0.1,
                                      [&] { return balanced(photos.images, views, result); });
    }
    scope.stage("texture the mesh", 1.0,
                [&]
                {
                    auto base = fuse(result.textured.mesh, views,
                                     settings.balance ? balanced_photos : photos.images, result);
                    take_texture(base, result);
                });
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    warn_of_unseen(result, photos.source, scope);
    return result;
}

} // namespace veld
