#include "workflow/steps/Texture.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/photos/DepthTolerance.h"
#include "workflow/photos/FacingCheck.h"
#include "workflow/photos/GainBalance.h"
#include "workflow/photos/SampledPlaces.h"
#include "workflow/photos/UnseenReason.h"
#include "workflow/photos/ViewCheck.h"
#include "workflow/words.h"

#include "algorithmVeld/TextureFusion/TextureFusion.h"
#include "algorithmVeld/TextureFusion/TextureMesh.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "algorithmVeld/common/mesh_conversion.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
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
using OrvaneAlgorithm::Vector3f;

namespace
{

/// A mesh that is fewer depth tolerances across has another unit.
constexpr double LEAST_TOLERANCES_ACROSS = 20.0;
/// A given depth tolerance that is so many times the measured one is a slip.
constexpr double UNLIKELY_TOLERANCE = 10.0;
/// Where nothing can be measured, as on a mesh that is one place.
constexpr double USUAL_TOLERANCE = 1.0;
/// Enough to measure widths of pixels on.
constexpr std::size_t SPACING_PLACES = 2000;
/// A part of the faces that is worth a warning where no photograph shows them.
constexpr double MUCH_UNSEEN = 0.25;
/// A texture on a smaller part of the faces that cameras have in view is none.
constexpr double LEAST_TEXTURED = 0.05;
/// The same of all faces, where the poses are doubtful.
constexpr double LEAST_IN_DOUBT = 0.25;
/// A mesh looks away from its cameras in none of what they see. A part of this is turned round, and
/// more than the larger one is all of it.
constexpr double PART_AWAY = 0.6;
constexpr double MOST_AWAY = 0.8;
/// A hole of few vertices is still bounded, to so many of the largest photograph: a vertex far
/// away would take all memory.
constexpr double LARGEST_HOLE = 4.0;
/// The longest side of an image that graphics hardware is sure to take.
constexpr int LONGEST_TEXTURE_SIDE = 16'384;

/// What is known before a mesh is textured.
struct Outlook
{
    MeshTriangles faces;
    SightReport sight;
    std::vector<PhotoView> views; ///< In millimetres.

    explicit Outlook(TriMesh const& mesh) : faces(mesh) {}
};

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
    check_range(settings.depth_tolerance.value_or(0.0), 0.0, LARGEST_LENGTH, "depth_tolerance");
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

double diagonal(MeshTriangles const& faces)
{
    Vector3f min = faces.points.front();
    Vector3f max = faces.points.front();
    for (auto const& point : faces.points)
    {
        min = min.cwiseMin(point);
        max = max.cwiseMax(point);
    }
    return (max.cast<double>() - min.cast<double>()).norm();
}

void warn_of_tolerance(double across, double spacing, double tolerance, std::string const& source,
                       StepScope& scope)
{
    auto const warn = [&](std::string text)
    { scope.warn(WarningCode::UNITS_UNLIKELY, source, std::move(text), "depth_tolerance"); };
    if (across < LEAST_TOLERANCES_ACROSS * tolerance)
    {
        warn(fmt::format("the mesh is {:.3g} mm across, and what lies {:.3g} mm behind another "
                         "place counts as seen: its lengths look like those of another unit",
                         across, tolerance));
    }
    else if (tolerance < spacing)
    {
        warn(fmt::format("the depth tolerance of {:.3g} mm is less than the {:.3g} mm between "
                         "vertices or pixels: slanted faces hide each other",
                         tolerance, spacing));
    }
    else if (tolerance > UNLIKELY_TOLERANCE * SPACINGS_OF_TOLERANCE * spacing)
    {
        warn(fmt::format("the depth tolerance of {:.3g} mm is far more than the {:.3g} mm between "
                         "vertices or pixels: what lies hidden counts as seen",
                         tolerance, spacing));
    }
}

/// Refuses poses that are known to fit less than others, where nothing comes of them.
void refuse_doubtful(Outlook const& outlook, std::string const& source)
{
    if (!outlook.sight.doubt.empty())
    {
        throw InputError(source + ": " + outlook.sight.doubt, outlook.sight.setting);
    }
}

void check_facing(Outlook const& outlook, double spacing, std::string const& source,
                  StepScope& scope)
{
    double const away = count_facing(outlook.faces, outlook.views, spacing).part_away();
    if (away > PART_AWAY)
    {
        refuse_doubtful(outlook, source); // wrong poses show back faces too
    }
    std::string const text =
        fmt::format("{} of what the cameras see of the mesh looks away from them: turn its faces "
                    "round",
                    percent(away));
    if (away > MOST_AWAY)
    {
        throw InputError(source + ": " + text);
    }
    if (away > PART_AWAY)
    {
        scope.warn(WarningCode::FACES_TURNED, source, text);
    }
}

/// Refuses poses that cannot be those of the mesh, warns of those that hardly can, and measures
/// the depth tolerance that was not given.
Outlook look_ahead(PhotoSet const& photos, TextureResult& result, StepScope& scope)
{
    std::string const& source = photos.source;
    TextureSettings& settings = result.settings;
    TriMesh const& mesh = result.textured.mesh;
    Outlook outlook(mesh);
    outlook.views = in_millimetres(photos.views, settings);
    outlook.sight =
        check_sight(outlook.faces, outlook.views, photos.images, settings.pose_scale, source);
    double const spacing =
        measure_photo_spacing(mesh, choose_places(outlook.faces, SPACING_PLACES), outlook.views);
    if (settings.depth_tolerance)
    {
        warn_of_tolerance(diagonal(outlook.faces), spacing, *settings.depth_tolerance, source,
                          scope);
    }
    else
    {
        settings.depth_tolerance =
            spacing > 0.0 ? SPACINGS_OF_TOLERANCE * spacing : USUAL_TOLERANCE;
    }
    if (settings.lowest_cosine >= 0.0)
    {
        check_facing(outlook, spacing, source, scope);
    }
    return outlook;
}

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
        balance_gains(result.textured.mesh, views, photos, *result.settings.depth_tolerance);
    for (std::size_t i = 0; i < photos.size(); ++i)
    {
        apply_gain(photos[i], gains[i]);
    }
    return photos;
}

/// Why there is no texture.
UnseenReason why_untextured(Outlook const& outlook, TextureResult const& result)
{
    TextureSettings const& settings = result.settings;
    auto const small = static_cast<std::size_t>(settings.small_region);
    if (result.seen_faces == 0)
    {
        bool const has_border = settings.pipeline == TexturePipeline::FUSION;
        return find_unseen_reason(outlook.faces, outlook.views,
                                  {settings.lowest_cosine, has_border ? settings.image_border : 0.0,
                                   *settings.depth_tolerance});
    }
    if (result.largest_region <= small)
    {
        return {fmt::format("the largest region that they show has {} of the mesh's {}",
                            counted(result.largest_region, "face"), result.textured.mesh.n_faces()),
                "small_region"};
    }
    return {"their patches cannot be laid out in one image", ""};
}

[[noreturn]] void refuse_untextured(Outlook const& outlook, TextureResult const& result,
                                    std::string const& source)
{
    refuse_doubtful(outlook, source);
    if (result.settings.pipeline == TexturePipeline::MESH && result.patches > 0)
    {
        throw OperationError(
            "the pieces of the atlas leave no pixel between them for faces without "
            "a colour, which the pipeline \"mesh\" needs; another gap between "
            "them may leave one, and \"fusion\" always has one",
            "packing_gap");
    }
    UnseenReason const reason = why_untextured(outlook, result);
    throw OperationError(
        fmt::format("no photograph shows a region of more than {}: {}",
                    counted(static_cast<std::size_t>(result.settings.small_region), "face"),
                    reason.text),
        reason.setting);
}

/// Refuses a texture that is hardly one.
void check_share(Outlook const& outlook, TextureResult const& result, std::string const& source)
{
    auto const textured = static_cast<double>(result.textured_faces);
    auto const faces = static_cast<double>(result.textured.mesh.n_faces());
    if (textured < LEAST_IN_DOUBT * faces)
    {
        refuse_doubtful(outlook, source);
    }
    if (textured >= LEAST_TEXTURED * outlook.sight.facing * faces)
    {
        return;
    }
    bool const is_torn = result.seen_faces > 2 * result.textured_faces;
    throw OperationError(
        fmt::format("photographs show {} of {}, though {} of the mesh looks towards a camera that "
                    "has it in view: {}",
                    result.textured_faces, counted(result.textured.mesh.n_faces(), "face"),
                    percent(outlook.sight.facing),
                    is_torn ? "most of what they show lies in regions that are too small"
                            : fmt::format("the rest is hidden, by a depth tolerance of {:.3g} mm",
                                          *result.settings.depth_tolerance)),
        is_torn ? "small_region" : "depth_tolerance");
}

/// Runs the library on a copy, which has the faces and the vertices of the mesh in their order.
BaseTriMesh fuse(Outlook const& outlook, std::vector<Photo> const& photos,
                 std::string const& source, TextureResult& result)
{
    std::vector<OrvaneAlgorithm::RigidMatrix> poses;
    std::vector<OrvaneAlgorithm::CameraInParam> intrinsics;
    for (auto const& view : outlook.views)
    {
        poses.push_back(view.pose);
        intrinsics.push_back(view.intrinsics);
    }
    if (result.settings.pipeline == TexturePipeline::MESH)
    {
        check_sizes(photos);
    }
    BaseTriMesh base;
    OrvaneAlgorithm::TriMesh_convert_to_BaseTriMesh(result.textured.mesh, base);
    auto const failure = result.settings.pipeline == TexturePipeline::MESH
                             ? run<TextureMesh>(base, photos, poses, intrinsics, result)
                             : run<TextureFusion>(base, photos, poses, intrinsics, result);
    if (failure != OrvaneAlgorithm::RET_SUCCESS)
    {
        refuse_untextured(outlook, result, source);
    }
    check_share(outlook, result, source);
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
    std::size_t const unseen = faces - result.seen_faces;
    std::size_t const lost = result.seen_faces - result.textured_faces;
    if (static_cast<double>(unseen + lost) <= MUCH_UNSEEN * static_cast<double>(faces))
    {
        return;
    }
    std::string const small =
        lost == 0 ? "" : fmt::format(", and {} lie in regions too small to count", lost);
    scope.warn(WarningCode::FACES_UNSEEN, source,
               fmt::format(
                   "{} of {} are shown by no photograph{}; of these {} have no colour and "
                   "the others that of what lies around them; {} may help",
                   unseen, counted(faces, "face"), small, result.colourless_faces,
                   unseen < lost
                       ? fmt::format("a small_region of less than {}", result.settings.small_region)
                       : fmt::format("more photographs or a depth_tolerance of more than "
                                     "{:.3g} mm",
                                     *result.settings.depth_tolerance)),
               unseen < lost ? "small_region" : "depth_tolerance");
}

void warn_of_atlas(TextureResult const& result, std::string const& source, StepScope& scope)
{
    if (result.large_holes > 0)
    {
        scope.warn(WarningCode::HOLES_COLOURLESS, source,
                   fmt::format("{} that no photograph shows {} too large to get colours",
                               counted(result.large_holes, "place"),
                               result.large_holes == 1 ? "is" : "are"),
                   "hole_ratio");
    }
    auto const& image = result.textured.image;
    if (std::max(image.width(), image.height()) > LONGEST_TEXTURE_SIDE)
    {
        scope.warn(WarningCode::IMAGE_LARGE, source,
                   fmt::format("the texture has {} x {} pixels, and much graphics hardware takes "
                               "up to {} a side: fewer or smaller photographs make it smaller",
                               image.width(), image.height(), LONGEST_TEXTURE_SIDE));
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
    Outlook const outlook = scope.stage("look where the photographs were taken", 0.02,
                                        [&]
                                        {
                                            result.textured.mesh =
                                                in_millimetres(mesh, settings.scale);
                                            return look_ahead(photos, result, scope);
                                        });
    std::vector<Photo> balanced_photos;
    if (settings.balance)
    {
        balanced_photos =
            scope.stage("balance the photographs", 0.1,
                        [&] { return balanced(photos.images, outlook.views, result); });
    }
    scope.stage("texture the mesh", 1.0,
                [&]
                {
                    auto base = fuse(outlook, settings.balance ? balanced_photos : photos.images,
                                     photos.source, result);
                    take_texture(base, result);
                });
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    if (!outlook.sight.doubt.empty())
    {
        scope.warn(WarningCode::UNITS_UNLIKELY, photos.source, outlook.sight.doubt,
                   outlook.sight.setting);
    }
    warn_of_unseen(result, photos.source, scope);
    warn_of_atlas(result, photos.source, scope);
    return result;
}

} // namespace veld
