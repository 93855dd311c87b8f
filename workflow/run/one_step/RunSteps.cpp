#include "workflow/run/one_step/RunSteps.h"

#include "workflow/files/MarkerFile.h"
#include "workflow/photos/checks/ViewCheck.h"
#include "workflow/run/one_step/Measures.h"
#include "workflow/run/one_step/RunLines.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/LoadPhotos.h"
#include "workflow/steps/StepJson.h"
#include "workflow/words.h"

#include "algorithmVeld/cleanup/PatchEditor.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <utility>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::TriMesh;
using OrvaneAlgorithm::Vector3d;

namespace
{

constexpr double MILLIMETRES_OF_METRE = 1000.0;
/// No mesh of an object has edges this short in millimetres; in metres nearly all have.
constexpr double SHORTEST_BELIEVABLE_EDGES = 0.01;
constexpr double LOADING_SHARE = 0.2; ///< Of the progress of a step that loads what it works on.

template <typename Settings>
Settings settings_of(Json const& json, Settings settings = {})
{
    read_settings(json, "", settings);
    return settings;
}

template <typename Result>
StepOutcome outcome_of(std::string title, Json settings, Result const& result)
{
    StepOutcome outcome;
    outcome.title = std::move(title);
    outcome.text = line_of(result);
    outcome.settings = std::move(settings);
    outcome.result = to_json(result);
    return outcome;
}

/// Loads frames as millimetres, where their scale is not given: they are taken as metres if that is
/// what they look like.
FrameSet load_in_millimetres(std::filesystem::path const& source, double& scale,
                             Context const& context)
{
    std::vector<Warning> warnings;
    bool look_like_metres = false;
    Context first = share_of(context, 0.0, 0.5);
    first.warn = [&](Warning const& warning)
    {
        look_like_metres = look_like_metres || warning.code == WarningCode::UNITS_UNLIKELY;
        warnings.push_back(warning);
    };
    FrameSet frames = load_bare_frames(source, {}, first);
    if (look_like_metres)
    {
        scale = MILLIMETRES_OF_METRE;
        Context again = share_of(context, 0.5, 1.0);
        frames = load_bare_frames(source, {scale}, again);
        warnings = {{WarningCode::UNITS_UNLIKELY, frames.source,
                     "the units look like metres: all lengths are taken times 1000"}};
    }
    for (auto const& warning : warnings)
    {
        if (context.warn)
        {
            context.warn(warning);
        }
    }
    return frames;
}

/// A step that changes nothing.
StepOutcome left_out(std::string title, std::string const& reason, RecipeStep const& step)
{
    StepOutcome outcome;
    outcome.title = std::move(title);
    outcome.text = "left out, " + reason;
    outcome.settings = step.settings;
    outcome.result = Json::object();
    outcome.is_left_out = true;
    return outcome;
}

StepOutcome merge_step(Json given, RunState const& state, Context& context)
{
    bool const has_scale = given.contains("scale");
    double scale = has_scale ? given["scale"].get<double>() : 1.0;
    given.erase("scale");
    Context loading = share_of(context, 0.0, LOADING_SHARE);
    FrameSet frames = has_scale ? load_bare_frames(state.look.source, {scale}, loading)
                                : load_in_millimetres(state.look.source, scale, loading);
    Context merging = share_of(context, LOADING_SHARE, 1.0);
    MergeResult result = merge(std::move(frames), settings_of<MergeSettings>(given), merging);
    Json settings{{"scale", scale}};
    settings.update(to_json(result.settings));
    if (result.settings.method == MergeMethod::OUTLIER)
    {
        settings.erase("stitch_radius"); // the method has its own and takes none
    }
    StepOutcome outcome =
        outcome_of("Merge " + counted(result.frames, "frame"), std::move(settings), result);
    outcome.mesh = std::move(result.mesh);
    return outcome;
}

StepOutcome normals_step(Json const& given, RunState const& state, Context& context)
{
    NormalsResult result =
        estimate_normals(state.mesh, settings_of<NormalsSettings>(given), context);
    StepOutcome outcome = outcome_of("Estimate the normals", to_json(result.settings), result);
    outcome.mesh = std::move(result.cloud);
    return outcome;
}

/// The markers of the settings, or those of the scan.
Markers markers_of(Markers given, ScanLook const& look)
{
    return given.points.empty() && !look.markers.empty() ? read_markers(look.markers, false)
                                                         : std::move(given);
}

StepOutcome clean_step(Json const& given, RunState const& state, Context& context)
{
    auto settings =
        settings_of<CleanSettings>(without_nulls(with_defaults(StepKind::CLEAN, given)));
    for (auto& clean_up : settings.clean_ups)
    {
        bool const is_measured = clean_up.kind == CleanKind::MIN_FACES ||
                                 clean_up.kind == CleanKind::MIN_VERTICES ||
                                 clean_up.kind == CleanKind::STRONG;
        if (is_measured && clean_up.limit == 0)
        {
            clean_up.limit = measure_speck_limit(state.mesh);
        }
        if (clean_up.kind == CleanKind::MARKERS)
        {
            clean_up.markers = markers_of(std::move(clean_up.markers), state.look);
        }
    }
    CleanResult result = clean(state.mesh, settings, context);
    Json taken = to_json(settings);
    for (auto& clean_up : taken["clean_ups"])
    {
        if (clean_up.contains("limit") && clean_up["limit"] == 0)
        {
            clean_up.erase("limit"); // nothing was small enough to go
        }
    }
    StepOutcome outcome = outcome_of("Clean the mesh", std::move(taken), result);
    outcome.mesh = std::move(result.mesh);
    return outcome;
}

/// The settings of the step as those of the clean-up that it is.
CleanUp marker_clean_up(Json given)
{
    given["kind"] = "markers";
    return settings_of<CleanSettings>({{"clean_ups", Json::array({std::move(given)})}})
        .clean_ups.front();
}

StepOutcome markers_step(Json const& given, RunState& state, Context& context)
{
    CleanUp clean_up = marker_clean_up(given);
    clean_up.markers = markers_of(std::move(clean_up.markers), state.look);
    MarkerSettings& settings = clean_up.near_markers;
    if (!given.contains("radius"))
    {
        auto const measured = measure_marker_radius(state.mesh, clean_up.markers);
        settings.radius = measured.radius;
        if (!measured.is_measured && context.warn)
        {
            context.warn({WarningCode::MARKER_WITHOUT_HOLE, shown(state.look.markers),
                          fmt::format("the scan has no holes at most of the markers to tell their "
                                      "radius: {:g} mm is taken",
                                      settings.radius)});
        }
    }
    if (!given.contains("use_normals"))
    {
        settings.use_normals = !clean_up.markers.normals.empty() && state.mesh.has_vertex_normals();
    }
    state.marker_radius = settings.radius;
    CleanSettings clean_ups{{clean_up}};
    if (state.mesh.n_faces() > 0)
    {
        clean_ups.clean_ups.push_back(non_manifold_vertices());
        clean_ups.clean_ups.push_back(small_pieces_by_vertices(1));
    }
    CleanResult result = clean(state.mesh, clean_ups, context);
    Json taken{{"radius", settings.radius},
               {"use_normals", settings.use_normals},
               {"normal_dot", settings.normal_dot}};
    if (given.contains("markers"))
    {
        taken["markers"] = given["markers"];
    }
    StepOutcome outcome = outcome_of("Cut out " + counted(clean_up.markers.points.size(), "marker"),
                                     std::move(taken), result);
    outcome.text += fmt::format(", within {:.4g} mm of {}", settings.radius,
                                counted(clean_up.markers.points.size(), "marker"));
    outcome.mesh = std::move(result.mesh);
    return outcome;
}

StepOutcome repair_step(RecipeStep const& step, RunState const& state, Context& context)
{
    RepairResult result = repair(state.mesh, settings_of<RepairSettings>(step.settings), context);
    long const begin = result.before.faces > 0 && result.lost_faces == 0
                           ? static_cast<long>(result.before.faces)
                           : -1;
    StepOutcome outcome = outcome_of(result.before.faces > 0 ? "Repair" : "Connect the points",
                                     to_json(result.settings), result);
    outcome.mesh = std::move(result.mesh);
    outcome.new_faces_begin = begin;
    return outcome;
}

StepOutcome fill_step(RecipeStep const& step, RunState const& state, Context& context)
{
    Json const& given = step.settings;
    auto settings = settings_of<FillSettings>(given);
    settings.markers = markers_of(std::move(settings.markers), state.look);
    if (!given.contains("marker_radius") && state.marker_radius > 0.0)
    {
        settings.marker_radius = state.marker_radius;
    }
    settings.max_perimeter = settings.max_perimeter.value_or(box_diagonal(state.mesh));
    FillResult result = fill(state.mesh, settings, context);
    if (step.when == StepWhen::OPEN && result.holes_after >= result.holes_before)
    {
        return left_out("Close the holes", "for it closes none of what is open", step);
    }
    Json taken = to_json(settings);
    if (!given.contains("markers"))
    {
        taken.erase("markers"); // of this scan
    }
    StepOutcome outcome = outcome_of("Close the holes", std::move(taken), result);
    outcome.mesh = std::move(result.mesh);
    outcome.new_faces_begin = result.cut_faces == 0 ? static_cast<long>(state.mesh.n_faces()) : -1;
    return outcome;
}

void tell_of_units(std::string const& about, std::string const& text, Context const& context)
{
    if (context.warn)
    {
        context.warn({WarningCode::UNITS_UNLIKELY, about, text});
    }
}

/// The settings with the units that are not given, as mesh and photographs tell them.
TextureSettings texture_settings(Json const& given, TriMesh const& mesh, PhotoSet const& photos,
                                 Context const& context)
{
    auto settings = settings_of<TextureSettings>(given);
    double const edge = average_edge_length(mesh);
    if (!given.contains("scale") && edge > 0.0 && edge < SHORTEST_BELIEVABLE_EDGES)
    {
        settings.scale = MILLIMETRES_OF_METRE;
        tell_of_units(photos.source,
                      "the units of the mesh look like metres: all lengths are "
                      "taken times 1000",
                      context);
    }
    if (!given.contains("pose_scale"))
    {
        settings.pose_scale = likely_pose_scale(MeshTriangles(mesh), photos.views, photos.images);
        if (settings.pose_scale != 1.0)
        {
            tell_of_units(photos.source,
                          fmt::format("mesh and poses look like those of different units: the "
                                      "lengths of the poses are taken times {:g}",
                                      settings.pose_scale),
                          context);
        }
    }
    return settings;
}

StepOutcome texture_step(Json const& given, RunState const& state, Context& context)
{
    Context loading = share_of(context, 0.0, LOADING_SHARE);
    PhotoSet const photos = load_photos(state.look.photos, loading);
    auto const settings = texture_settings(given, state.mesh, photos, context);
    Context texturing = share_of(context, LOADING_SHARE, 1.0);
    TextureResult result = texture(state.mesh, photos, settings, texturing);
    StepOutcome outcome = outcome_of("Texture from " + counted(result.photographs, "photograph"),
                                     to_json(result.settings), result);
    outcome.textured = std::move(result.textured);
    return outcome;
}

/// What a step is called that tells no more.
std::string title_of(StepKind kind)
{
    std::string title = to_string(kind);
    title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
    return title;
}

bool is_closed(TriMesh const& mesh)
{
    auto const edges = mesh.edges();
    return mesh.n_faces() > 0 && std::none_of(edges.begin(), edges.end(),
                                              [](auto const& edge) { return edge.is_boundary(); });
}

} // namespace

StepOutcome take_step(RecipeStep const& step, RunState& state, Context& context)
{
    if (step.when == StepWhen::TORN &&
        OrvaneAlgorithm::PatchEditor::count_components_by_face(state.mesh) == 1)
    {
        return left_out(title_of(step.kind), "for the mesh is not torn", step);
    }
    if (step.when == StepWhen::OPEN && is_closed(state.mesh))
    {
        return left_out(title_of(step.kind), "for the mesh is closed", step);
    }
    switch (step.kind)
    {
    case StepKind::MERGE:
        return merge_step(step.settings, state, context);
    case StepKind::NORMALS:
        return normals_step(step.settings, state, context);
    case StepKind::CLEAN:
        return clean_step(step.settings, state, context);
    case StepKind::MARKERS:
        return markers_step(step.settings, state, context);
    case StepKind::REPAIR:
        return repair_step(step, state, context);
    case StepKind::FILL:
        return fill_step(step, state, context);
    case StepKind::TEXTURE:
        break;
    }
    return texture_step(step.settings, state, context);
}

} // namespace veld
