#include "workflow/steps/StepJson.h"

#include "workflow/words.h"

#include <utility>

namespace veld
{

namespace
{

Json counts(MeshHealth const& health)
{
    return {{"vertices", health.vertices},
            {"faces", health.faces},
            {"holes", health.holes},
            {"components", health.components},
            {"non_manifold_vertices", health.non_manifold_vertices},
            {"isolated_vertices", health.isolated_vertices}};
}

using Agreement = OrvaneAlgorithm::FrameAlignment::Agreement;

/// A distance that there may be none of.
Json distance_or_null(double distance)
{
    return distance < 0.0 ? Json() : Json(distance);
}

Json pairs_of(Agreement const& agreement)
{
    Json list = Json::array();
    for (auto const& pair : agreement.pairs)
    {
        list.push_back({{"frames", {pair.first, pair.second}},
                        {"distance", pair.distance},
                        {"noises", pair.noises},
                        {"overlap", pair.overlap}});
    }
    return list;
}

} // namespace

Json to_json(OrvaneAlgorithm::MeshFileContents const& contents)
{
    Json faces = Json::object();
    for (auto const& [corners, count] : contents.faces)
    {
        faces[std::to_string(corners)] = count;
    }
    Json left_out = Json::object();
    auto const add = [&](char const* why, OrvaneAlgorithm::MissingFaces const& missing)
    {
        if (missing.count > 0)
        {
            left_out[why] = {{"count", missing.count}, {"first", missing.first}};
        }
    };
    add("not_finite", contents.not_finite);
    add("degenerate", contents.degenerate);
    add("too_large", contents.too_large);
    add("repeated", contents.repeated);
    add("unheld", contents.unheld);
    return {{"vertices", contents.vertices},
            {"faces_by_corners", std::move(faces)},
            {"vertices_not_finite", contents.vertices_not_finite},
            {"left_out", std::move(left_out)},
            {"triangles_of_polygons", contents.triangles_of_polygons},
            {"turned_faces", contents.turned_faces},
            {"crowded_edges", contents.crowded_edges},
            {"added_vertices", contents.added_vertices},
            {"kept", contents.kept},
            {"dropped", contents.dropped}};
}

Json to_json(MeshHealth const& health)
{
    Json json;
    json["vertices"] = health.vertices;
    json["faces"] = health.faces;
    json["edges"] = health.edges;
    json["boundary_edges"] = health.boundary_edges;
    json["holes"] = health.holes;
    json["components"] = health.components;
    json["non_manifold_vertices"] = health.non_manifold_vertices;
    json["isolated_vertices"] = health.isolated_vertices;
    json["closed"] = health.closed;
    json["average_edge_length"] = health.average_edge_length;
    json["bounding_box"] = {{"min", json_point(health.box_min)},
                            {"max", json_point(health.box_max)}};
    return json;
}

Json to_json(FindHolesResult const& result)
{
    Json list = Json::array();
    for (auto const& hole : result.summaries)
    {
        list.push_back({{"vertices", hole.vertices},
                        {"edges", hole.edges},
                        {"perimeter", hole.perimeter},
                        {"centre", json_point(hole.centre)}});
    }
    return {{"holes", std::move(list)}};
}

Json to_json(FillPass const& pass)
{
    return {{"method", to_string(pass.method)},  {"holes_before", pass.holes_before},
            {"holes_after", pass.holes_after},   {"new_faces", pass.new_faces},
            {"new_vertices", pass.new_vertices}, {"cut_faces", pass.cut_faces}};
}

Json to_json(FillResult const& result)
{
    Json open = Json::array();
    for (auto const& hole : result.open)
    {
        open.push_back({{"hole", hole.hole},
                        {"edges", hole.edges},
                        {"perimeter", hole.perimeter},
                        {"reason", hole.reason}});
    }
    Json closed = Json::array();
    for (auto const& hole : result.closed)
    {
        closed.push_back({{"hole", hole.hole},
                          {"edges", hole.edges},
                          {"perimeter", hole.perimeter},
                          {"method", to_string(hole.method)}});
    }
    return {{"holes_before", result.holes_before},
            {"holes_after", result.holes_after},
            {"new_faces", result.new_faces},
            {"new_vertices", result.new_vertices},
            {"cut_faces", result.cut_faces},
            {"markers_without_hole", result.markers_without_hole},
            {"seconds", result.seconds},
            {"open", std::move(open)},
            {"closed", std::move(closed)}};
}

Json to_json(CleanResult const& result)
{
    Json steps = Json::array();
    for (auto const& step : result.steps)
    {
        steps.push_back({{"step", step.name},
                         {"removed_vertices", step.removed_vertices},
                         {"removed_faces", step.removed_faces}});
    }
    return {{"before", counts(result.before)},
            {"after", counts(result.after)},
            {"steps", std::move(steps)},
            {"seconds", result.seconds}};
}

Json to_json(MergeResult const& result)
{
    Json json{{"frames", result.frames},
              {"vertices", result.mesh.n_vertices()},
              {"faces", result.mesh.n_faces()},
              {"holes", result.holes},
              {"method", to_string(result.settings.method)},
              {"overlap_removed", result.removed},
              {"outliers_removed", result.outliers},
              {"noise", result.noise.in_the_middle()},
              {"noise_depth", result.noise.depth},
              {"noise_aslant", result.noise.times_aslant()},
              {"prepared", result.prepared},
              {"spacing", result.settings.spacing},
              {"stitch_radius", result.settings.stitch_radius},
              {"seconds", result.seconds}};
    if (result.settings.cut_long_edges)
    {
        json["long_edge"] = result.settings.long_edge;
    }
    return json;
}

Json to_json(FrameSet const& frames, std::vector<std::filesystem::path> const& files,
             FrameNoise const& noise)
{
    Json list = Json::array();
    for (std::size_t i = 0; i < files.size(); ++i)
    {
        auto const& frame = frames.frames[i].data;
        list.push_back({{"file", shown(files[i])},
                        {"vertices", frame.get_vn()},
                        {"rows", frame.grid_rows},
                        {"columns", frame.grid_cols}});
    }
    return {{"frames", std::move(list)},
            {"noise", noise.in_the_middle()},
            {"noise_depth", noise.depth},
            {"noise_aslant", noise.times_aslant()}};
}

Json to_json(FrameCheck const& result)
{
    Json frames = Json::array();
    for (std::size_t f = 0; f < result.names.size(); ++f)
    {
        auto const& frame = result.agreement.frames[f];
        frames.push_back({{"name", result.names[f]},
                          {"distance", distance_or_null(frame.distance)},
                          {"noises", distance_or_null(frame.noises)},
                          {"pairs", frame.pairs}});
    }
    return {{"frames", std::move(frames)},
            {"pairs", pairs_of(result.agreement)},
            {"distance", result.agreement.distance},
            {"off", result.far_off},
            {"alone", result.alone},
            {"noise", result.noise.in_the_middle()},
            {"noise_depth", result.noise.depth},
            {"reach", result.reach}};
}

Json to_json(AlignResult const& result)
{
    Json frames = Json::array();
    for (std::size_t f = 0; f < result.names.size(); ++f)
    {
        auto const& motion = result.motions[f];
        frames.push_back({{"name", result.names[f]},
                          {"fate", to_string(motion.fate)},
                          {"group", motion.group},
                          {"shift", motion.shift},
                          {"turn", motion.turn},
                          {"before", distance_or_null(result.before.frames[f].distance)},
                          {"after", distance_or_null(result.after.frames[f].distance)}});
    }
    return {{"frames", std::move(frames)},       {"before", result.before.distance},
            {"after", result.after.distance},    {"noise", result.noise.in_the_middle()},
            {"noise_depth", result.noise.depth}, {"reach", result.reach},
            {"rounds", result.rounds},           {"converged", result.converged},
            {"seconds", result.seconds}};
}

Json to_json(RepairResult const& result)
{
    RepairSettings const& settings = result.settings;
    Json passes = Json::array();
    for (auto const& pass : result.passes)
    {
        passes.push_back({{"radius", pass.radius}, {"new_faces", pass.new_faces}});
    }
    auto const shape = [](MeshHealth const& health)
    {
        Json json = counts(health);
        json["boundary_edges"] = health.boundary_edges;
        return json;
    };
    return {{"method", to_string(settings.method)},
            {"before", shape(result.before)},
            {"after", shape(result.after)},
            {"new_faces", result.new_faces},
            {"refused_faces", result.refused_faces},
            {"dropped_faces", result.dropped_faces},
            {"lost_faces", result.lost_faces},
            {"spacing", settings.spacing},
            {"ear_perimeter", settings.ear_perimeter.value_or(0.0)},
            {"passes", std::move(passes)},
            {"seconds", result.seconds}};
}

Json to_json(NormalsResult const& result)
{
    char const* const sense = result.sense == NormalSense::SENSOR   ? "sensor"
                              : result.sense == NormalSense::FRAMES ? "frames"
                                                                    : "neighbours";
    return {{"points", result.cloud.n_vertices()},
            {"normals", result.normals},
            {"without_normal",
             {{"few_points", result.few_points},
              {"on_a_line", result.on_a_line},
              {"not_finite", result.unplaced}}},
            {"repeated", result.repeated},
            {"turned_by", sense},
            {"pieces", result.pieces},
            {"neighbours", result.settings.neighbours},
            {"seconds", result.seconds}};
}

Json to_json(KeyframesResult const& result)
{
    Json frames = Json::array();
    for (std::size_t i = 0; i < result.views.size(); ++i)
    {
        Json frame{{"view", result.views[i]}};
        if (!result.images.empty())
        {
            frame["image"] = result.images[i];
        }
        frames.push_back(std::move(frame));
    }
    return {{"frames", std::move(frames)}, {"views", result.all_views}};
}

Json to_json(TextureResult const& result)
{
    return {{"photographs", result.photographs},
            {"patches", result.patches},
            {"texture_holes", result.texture_holes},
            {"faces", result.textured.mesh.n_faces()},
            {"seen_faces", result.seen_faces},
            {"textured_faces", result.textured_faces},
            {"colourless_faces", result.colourless_faces},
            {"depth_tolerance", result.settings.depth_tolerance.value_or(0.0)},
            {"atlas_width", result.textured.image.width()},
            {"atlas_height", result.textured.image.height()},
            {"seconds", result.seconds}};
}

} // namespace veld
