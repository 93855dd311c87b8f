// The settings of `StepJson.h`; results are in `StepJson.cpp`.

#include "workflow/steps/StepJson.h"

#include "workflow/Error.h"
#include "workflow/SettingRanges.h"
#include "workflow/files/JsonFields.h"
#include "workflow/steps/SettingsReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <initializer_list>
#include <optional>
#include <utility>

namespace veld
{

namespace
{

Names<Layers> const LAYERS{{"mean", Layers::MEAN}, {"best", Layers::BEST}, {"all", Layers::ALL}};
Names<StickTips> const TIPS{{"up", StickTips::UP}, {"down", StickTips::DOWN}};
Names<UpAxis> const UP_AXES{{"y", UpAxis::Y}, {"z", UpAxis::Z}};
Names<KeyframesMethod> const KEYFRAMES_METHODS{{"select", KeyframesMethod::SELECT},
                                               {"sort", KeyframesMethod::SORT}};

Names<CleanKind> const& clean_kinds()
{
    static Names<CleanKind> const kinds = []
    {
        Names<CleanKind> names;
        for (auto const kind : {CleanKind::MIN_FACES, CleanKind::MIN_VERTICES, CleanKind::STRONG,
                                CleanKind::NON_MANIFOLD, CleanKind::PEEL, CleanKind::MARKERS})
        {
            names[name_of(kind)] = kind;
        }
        return names;
    }();
    return kinds;
}

Json to_json(Markers const& markers)
{
    Json list = Json::array();
    for (std::size_t i = 0; i < markers.points.size(); ++i)
    {
        Json marker = json_point(markers.points[i]);
        if (!markers.normals.empty())
        {
            for (int axis = 0; axis < 3; ++axis)
            {
                marker.push_back(markers.normals[i][axis]);
            }
        }
        list.push_back(std::move(marker));
    }
    return list;
}

Markers read_marker_list(JsonFields const& fields, Json const& list, std::string const& place)
{
    if (!list.is_array())
    {
        throw InputError(place + "'markers' has to be a list of places, and not a file's name");
    }
    Markers markers;
    bool const with_normals = !list.empty() && list[0].is_array() && list[0].size() == 6;
    std::size_t const numbers = with_normals ? 6 : 3;
    auto const rows = fields.rows("markers", list.size(), numbers);
    for (std::size_t i = 0; i < rows.size(); i += numbers)
    {
        Eigen::Map<Eigen::Vector3d const> const point(&rows[i]);
        markers.points.push_back(point.cast<float>());
        if (with_normals)
        {
            Eigen::Map<Eigen::Vector3d const> const normal(&rows[i + 3]);
            markers.normals.push_back(normal.cast<float>().stableNormalized());
        }
    }
    return markers;
}

/// Refuses a key that says something of another one which is not there.
void refuse_without(SettingsReader& reader, std::string const& place, char const* needed,
                    std::initializer_list<char const*> keys)
{
    for (char const* const key : keys)
    {
        if (reader.has(key) && !reader.has(needed))
        {
            throw InputError(place + "'" + key + "' is for '" + needed + "'");
        }
    }
}

void read_near_place(SettingsReader& reader, std::string const& place,
                     std::optional<HoleNearPlace>& near)
{
    refuse_without(reader, place, "near", {"distance"});
    if (reader.has("near"))
    {
        auto const row = reader.fields().numbers("near", 3);
        reader.fields().number("distance"); // that it is there
        near.emplace();
        near->place = Eigen::Map<Eigen::Vector3d const>(row.data()).cast<float>();
        reader.number("distance", near->distance, 0.0);
    }
}

void read_marker_holes(SettingsReader& reader, Json const& json, std::string const& place,
                       std::optional<HolesOfMarkers>& wanted)
{
    refuse_without(reader, place, "markers", {"match", "marker_radius", "normals", "normal_dot"});
    if (reader.has("markers"))
    {
        wanted.emplace();
        wanted->markers = read_marker_list(reader.fields(), json["markers"], place);
        for (char const* const key : {"match", "marker_radius"})
        {
            reader.fields().number(key); // that it is there
        }
        reader.number("match", wanted->match, 0.0);
        reader.number("marker_radius", wanted->radius, 0.0);
        reader.flag("normals", wanted->use_normals);
        reader.number("normal_dot", wanted->normal_dot, -1.0, 1.0);
        if (wanted->use_normals && wanted->markers.normals.empty())
        {
            throw InputError(place + "'normals' needs markers with normals");
        }
    }
}

Json to_json(CleanUp const& clean_up)
{
    Json json{{"kind", name_of(clean_up.kind)}};
    switch (clean_up.kind)
    {
    case CleanKind::STRONG:
        json["rings"] = clean_up.rings;
        json["limit"] = clean_up.limit;
        break;
    case CleanKind::MIN_FACES:
    case CleanKind::MIN_VERTICES:
        json["limit"] = clean_up.limit;
        break;
    case CleanKind::PEEL:
        json["rings"] = clean_up.rings;
        break;
    case CleanKind::MARKERS:
        json["radius"] = clean_up.near_markers.radius;
        json["use_normals"] = clean_up.near_markers.use_normals;
        json["normal_dot"] = clean_up.near_markers.normal_dot;
        json["markers"] = to_json(clean_up.markers);
        break;
    case CleanKind::NON_MANIFOLD:
        break;
    }
    return json;
}

CleanUp read_clean_up(Json const& json, std::string const& place)
{
    SettingsReader reader(json, place);
    CleanUp clean_up;
    if (!json.contains("kind"))
    {
        throw InputError(place + "'kind' is missing");
    }
    reader.name("kind", clean_up.kind, clean_kinds());
    reader.integer("limit", clean_up.limit, 1);
    reader.integer("rings", clean_up.rings, 0);
    reader.number("radius", clean_up.near_markers.radius, 0.0);
    reader.flag("use_normals", clean_up.near_markers.use_normals);
    reader.number("normal_dot", clean_up.near_markers.normal_dot, -1.0, 1.0);
    if (reader.has("markers"))
    {
        clean_up.markers = read_marker_list(reader.fields(), json["markers"], place);
    }
    reader.finish();
    return clean_up;
}

} // namespace

Json to_json(LoadFramesSettings const& settings)
{
    return {{"scale", settings.scale}};
}

void read_settings(Json const& json, std::string const& place, LoadFramesSettings& settings)
{
    SettingsReader reader(json, place);
    reader.number("scale", settings.scale, SMALLEST_SCALE, LARGEST_SCALE);
    reader.finish();
}

Json to_json(MergeSettings const& settings)
{
    return {{"method", name_in(merge_methods(), settings.method)},
            {"layers", name_in(LAYERS, settings.layers)},
            {"spacing", settings.spacing},
            {"stitch_radius", settings.stitch_radius},
            {"long_edge", settings.long_edge},
            {"max_hole_edges", settings.max_hole_edges},
            {"min_component", settings.min_component},
            {"neighbour_factor", settings.neighbour_factor},
            {"normal_angle", settings.normal_angle},
            {"ear_edge_factor", settings.ear_edge_factor},
            {"ear_normal_angle", settings.ear_normal_angle},
            {"cut_long_edges", settings.cut_long_edges},
            {"outlier_factor", settings.outlier_factor},
            {"preparation", name_in(preparations(), settings.preparation)},
            {"noise", settings.noise},
            {"closed_step", settings.closed_step},
            {"join_angle", settings.join_angle}};
}

void read_settings(Json const& json, std::string const& place, MergeSettings& settings)
{
    SettingsReader reader(json, place);
    reader.name("method", settings.method, merge_methods());
    reader.name("layers", settings.layers, LAYERS);
    reader.number("spacing", settings.spacing, 0.0);
    reader.number("stitch_radius", settings.stitch_radius, 0.0);
    reader.number("long_edge", settings.long_edge, 0.0);
    reader.integer("max_hole_edges", settings.max_hole_edges, 0);
    reader.integer("min_component", settings.min_component, 0);
    reader.integer("neighbour_factor", settings.neighbour_factor, 1, 1000);
    reader.number("normal_angle", settings.normal_angle, 0.0, 180.0);
    reader.number("ear_edge_factor", settings.ear_edge_factor, 0.0, 1000.0);
    reader.number("ear_normal_angle", settings.ear_normal_angle, 0.0, 180.0);
    reader.flag("cut_long_edges", settings.cut_long_edges);
    reader.number("outlier_factor", settings.outlier_factor, 0.0, 1e6);
    reader.name("preparation", settings.preparation, preparations());
    reader.number("noise", settings.noise, 0.0);
    reader.number("closed_step", settings.closed_step, 0.0);
    reader.number("join_angle", settings.join_angle, 0.0, 180.0);
    reader.finish();
}

Json to_json(AlignSettings const& settings)
{
    return {{"reach", settings.reach}, {"rounds", settings.rounds}, {"noise", settings.noise}};
}

void read_settings(Json const& json, std::string const& place, AlignSettings& settings)
{
    SettingsReader reader(json, place);
    reader.number("reach", settings.reach, 0.0);
    reader.integer("rounds", settings.rounds, 1, MOST_ALIGNMENT_ROUNDS);
    reader.number("noise", settings.noise, 0.0);
    reader.finish();
}

Json to_json(FindHolesSettings const& settings)
{
    Json json{{"max_perimeter", settings.max_perimeter}};
    if (settings.nearest_to)
    {
        json["near"] = json_point(settings.nearest_to->place);
        json["distance"] = settings.nearest_to->distance;
    }
    if (settings.of_markers)
    {
        json["markers"] = to_json(settings.of_markers->markers);
        json["match"] = settings.of_markers->match;
        json["marker_radius"] = settings.of_markers->radius;
        json["normals"] = settings.of_markers->use_normals;
        json["normal_dot"] = settings.of_markers->normal_dot;
    }
    return json;
}

void read_settings(Json const& json, std::string const& place, FindHolesSettings& settings)
{
    SettingsReader reader(json, place);
    reader.number("max_perimeter", settings.max_perimeter, 0.0);
    read_near_place(reader, place, settings.nearest_to);
    read_marker_holes(reader, json, place, settings.of_markers);
    if (settings.of_markers && (settings.nearest_to || settings.max_perimeter > 0.0))
    {
        throw InputError(place + "'markers' is not together with 'near' or 'max_perimeter'");
    }
    reader.finish();
}

Json to_json(FillSettings const& settings)
{
    Json json{{"method", name_in(fill_methods(), settings.method)},
              {"max_edges", settings.max_edges},
              {"edge_length", settings.edge_length},
              {"normal_angle", settings.normal_angle},
              {"min_edges", settings.min_edges},
              {"rings", settings.rings},
              {"smoothness", settings.smoothness},
              {"exact_edges", settings.exact_edges},
              {"max_patch", settings.max_patch},
              {"region", name_in(region_handlings(), settings.region)},
              {"region_rings", settings.region_rings},
              {"weights", name_in(fill_weights(), settings.weights)},
              {"marker_radius", settings.marker_radius},
              {"small_edges", settings.small_edges}};
    if (!settings.markers.points.empty())
    {
        json["markers"] = to_json(settings.markers);
    }
    if (settings.max_perimeter)
    {
        json["max_perimeter"] = *settings.max_perimeter;
    }
    return json;
}

void read_settings(Json const& json, std::string const& place, FillSettings& settings)
{
    SettingsReader reader(json, place);
    reader.name("method", settings.method, fill_methods());
    reader.integer("max_edges", settings.max_edges, 0);
    reader.number("edge_length", settings.edge_length, 0.0);
    reader.number("normal_angle", settings.normal_angle, 0.0, 180.0);
    reader.integer("min_edges", settings.min_edges, 0);
    reader.integer("rings", settings.rings, 0);
    reader.integer("smoothness", settings.smoothness, 0, 2);
    reader.integer("exact_edges", settings.exact_edges, 0);
    reader.integer("max_patch", settings.max_patch, 0);
    reader.name("region", settings.region, region_handlings());
    reader.integer("region_rings", settings.region_rings, 0);
    reader.name("weights", settings.weights, fill_weights());
    reader.number("marker_radius", settings.marker_radius, 0.0);
    if (reader.has("markers"))
    {
        settings.markers = read_marker_list(reader.fields(), json["markers"], place);
    }
    reader.integer("small_edges", settings.small_edges, 0);
    reader.number("max_perimeter", settings.max_perimeter, 0.0);
    reader.finish();
}

Json to_json(CleanSettings const& settings)
{
    Json list = Json::array();
    for (auto const& clean_up : settings.clean_ups)
    {
        list.push_back(to_json(clean_up));
    }
    return {{"clean_ups", std::move(list)}};
}

void read_settings(Json const& json, std::string const& place, CleanSettings& settings)
{
    SettingsReader reader(json, place);
    if (reader.has("clean_ups"))
    {
        Json const& list = json["clean_ups"];
        if (!list.is_array())
        {
            throw InputError(place + "'clean_ups' has to be a list");
        }
        settings.clean_ups.clear();
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            settings.clean_ups.push_back(
                read_clean_up(list[i], fmt::format("{}clean_ups[{}]: ", place, i)));
        }
    }
    reader.finish();
}

Json to_json(RenderSettings const& settings)
{
    return {{"width", settings.width},
            {"height", settings.height},
            {"azimuth", settings.view.azimuth},
            {"elevation", settings.view.elevation},
            {"up", name_in(UP_AXES, settings.view.up)},
            {"line_width", settings.line_width},
            {"unlit", settings.unlit},
            {"plain", settings.plain}};
}

void read_settings(Json const& json, std::string const& place, RenderSettings& settings)
{
    constexpr int LARGEST_SIDE = 16384;
    SettingsReader reader(json, place);
    reader.integer("width", settings.width, 1, LARGEST_SIDE);
    reader.integer("height", settings.height, 1, LARGEST_SIDE);
    reader.number("azimuth", settings.view.azimuth, -360.0, 360.0);
    reader.number("elevation", settings.view.elevation, -90.0, 90.0);
    reader.name("up", settings.view.up, UP_AXES);
    reader.number("line_width", settings.line_width, 0.0, 100.0);
    reader.flag("unlit", settings.unlit);
    reader.flag("plain", settings.plain);
    reader.finish();
}

Json to_json(TextureSettings const& settings)
{
    Json json{{"pipeline", name_in(texture_pipelines(), settings.pipeline)},
              {"scale", settings.scale},
              {"pose_scale", settings.pose_scale},
              {"balance", settings.balance},
              {"lowest_cosine", settings.lowest_cosine},
              {"views_per_vertex", settings.views_per_vertex},
              {"small_region", settings.small_region},
              {"hole_ratio", settings.hole_ratio},
              {"hole_vertices", settings.hole_vertices},
              {"image_border", settings.image_border},
              {"patch_margin", settings.patch_margin},
              {"solver", name_in(texture_solvers(), settings.solver)}};
    if (settings.packing_gap)
    {
        json["packing_gap"] = *settings.packing_gap;
    }
    if (settings.depth_tolerance)
    {
        json["depth_tolerance"] = *settings.depth_tolerance;
    }
    return json;
}

void read_settings(Json const& json, std::string const& place, TextureSettings& settings)
{
    SettingsReader reader(json, place);
    reader.name("pipeline", settings.pipeline, texture_pipelines());
    reader.number("scale", settings.scale, SMALLEST_SCALE, LARGEST_SCALE);
    reader.number("pose_scale", settings.pose_scale, SMALLEST_SCALE, LARGEST_SCALE);
    reader.flag("balance", settings.balance);
    reader.number("depth_tolerance", settings.depth_tolerance, 0.0);
    reader.number("lowest_cosine", settings.lowest_cosine, -1.0, 1.0);
    reader.integer("views_per_vertex", settings.views_per_vertex, 1);
    reader.integer("small_region", settings.small_region, 0);
    reader.number("hole_ratio", settings.hole_ratio, 0.0);
    reader.integer("hole_vertices", settings.hole_vertices, 0);
    reader.integer("image_border", settings.image_border, 0);
    reader.integer("packing_gap", settings.packing_gap, 0, 1000);
    reader.integer("patch_margin", settings.patch_margin, 0, 1000);
    reader.name("solver", settings.solver, texture_solvers());
    reader.finish();
}

Json to_json(CutSticksSettings const& settings)
{
    return {{"tips", name_in(TIPS, settings.tips)}};
}

void read_settings(Json const& json, std::string const& place, CutSticksSettings& settings)
{
    SettingsReader reader(json, place);
    reader.name("tips", settings.tips, TIPS);
    reader.finish();
}

Json to_json(RepairSettings const& settings)
{
    Json json{{"method", name_in(repair_methods(), settings.method)},
              {"spacing", settings.spacing},
              {"radii", settings.radii},
              {"normal_angle", settings.normal_angle},
              {"manifold", settings.manifold},
              {"empty_ball", settings.empty_ball},
              {"renew_normals", settings.renew_normals},
              {"delete_fans", settings.delete_fans},
              {"refused_faces", settings.refused_faces.u8string()},
              {"normal_z", settings.normal_z}};
    if (settings.ear_perimeter)
    {
        json["ear_perimeter"] = *settings.ear_perimeter;
    }
    return json;
}

void read_settings(Json const& json, std::string const& place, RepairSettings& settings)
{
    SettingsReader reader(json, place);
    reader.name("method", settings.method, repair_methods());
    reader.number("spacing", settings.spacing, 0.0);
    reader.number("normal_angle", settings.normal_angle, 0.0, 180.0);
    reader.flag("manifold", settings.manifold);
    if (reader.has("radii"))
    {
        Json const& list = json["radii"];
        settings.radii = list.is_array() ? reader.fields().numbers("radii", list.size())
                                         : std::vector<double>{-1.0};
        if (std::any_of(settings.radii.begin(), settings.radii.end(),
                        [](double radius) { return !(radius > 0.0); }))
        {
            throw InputError(place + "'radii' has to be a list of numbers above 0");
        }
    }
    reader.number("ear_perimeter", settings.ear_perimeter, 0.0);
    reader.flag("empty_ball", settings.empty_ball);
    reader.flag("renew_normals", settings.renew_normals);
    reader.flag("delete_fans", settings.delete_fans);
    if (reader.has("refused_faces"))
    {
        settings.refused_faces = std::filesystem::u8path(reader.fields().text("refused_faces"));
    }
    reader.number("normal_z", settings.normal_z, -1.0, 1.0);
    reader.finish();
}

Json to_json(NormalsSettings const& settings)
{
    Json json{{"neighbours", settings.neighbours}};
    if (settings.sensor)
    {
        json["sensor"] = json_point(*settings.sensor);
    }
    return json;
}

void read_settings(Json const& json, std::string const& place, NormalsSettings& settings)
{
    SettingsReader reader(json, place);
    reader.integer("neighbours", settings.neighbours, FEWEST_NEIGHBOURS, MOST_NEIGHBOURS);
    if (reader.has("sensor"))
    {
        auto const row = reader.fields().numbers("sensor", 3);
        settings.sensor = Eigen::Map<Eigen::Vector3d const>(row.data()).cast<float>();
    }
    reader.finish();
}

Json to_json(KeyframesSettings const& settings)
{
    return {{"method", name_in(KEYFRAMES_METHODS, settings.method)}, {"cells", settings.cells}};
}

void read_settings(Json const& json, std::string const& place, KeyframesSettings& settings)
{
    SettingsReader reader(json, place);
    reader.name("method", settings.method, KEYFRAMES_METHODS);
    reader.integer("cells", settings.cells, 1, MOST_KEYFRAME_CELLS);
    reader.finish();
}

} // namespace veld
