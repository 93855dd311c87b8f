#include "demo/DemoReport.h"

#include "demo/GourdPattern.h"
#include "demo/GourdSurface.h"
#include "shell/Texts.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/photos/TextureJudge.h"
#include "workflow/steps/StepJson.h"
#include "workflow/words.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace veld::cli
{

using OrvaneAlgorithm::TriMesh;

namespace
{

/// How far the vertices of a mesh are from the true surface, in millimetres.
struct Deviation
{
    double mean = 0.0;
    double percentile_99 = 0.0;
};

Deviation measure_deviation(TriMesh const& mesh, Context& context)
{
    constexpr std::size_t SHARE = 1024; // vertices at a time
    StepScope const scope(context, "measure-deviation", "measure the deviation");
    std::size_t const n = mesh.n_vertices();
    std::vector<double> distances(n);
    for_each_index((n + SHARE - 1) / SHARE,
                   [&](std::size_t part)
                   {
                       for (std::size_t i = part * SHARE; i < std::min(n, (part + 1) * SHARE); ++i)
                       {
                           auto const vertex = mesh.vertex_handle(static_cast<unsigned int>(i));
                           distances[i] = distance_to_gourd(mesh.point(vertex).cast<double>());
                       }
                   });
    Deviation deviation;
    std::sort(distances.begin(), distances.end());
    for (double const distance : distances)
    {
        deviation.mean += distance / static_cast<double>(n);
    }
    deviation.percentile_99 = n > 0 ? distances[(n - 1) * 99 / 100] : 0.0;
    return deviation;
}

} // namespace

Json report_frames(FrameSet const& set, TextFrameFiles const& files, Desk const& desk)
{
    Json list = Json::array();
    std::size_t points = 0;
    for (std::size_t i = 0; i < set.frames.size(); ++i)
    {
        RangeData const& frame = set.frames[i].data;
        points += frame.get_vn();
        list.push_back({{"file", files.points(i)},
                        {"vertices", frame.get_vn()},
                        {"rows", frame.grid_rows},
                        {"columns", frame.grid_cols}});
    }
    RangeData const& first = set.frames.at(0).data;
    desk.console.print(fmt::format("{}: {} of {} on {} x {}\n", files.description(),
                                   counted(list.size(), "frame"), counted(points, "point"),
                                   first.grid_rows, first.grid_cols));
    return list;
}

Json report_photos(std::vector<TakenPhoto> const& photos, PhotoFiles const& files, Desk const& desk)
{
    PhotoView const& first = photos.at(0).view;
    desk.console.print(fmt::format("{}: {} of {} x {}\n", files.cameras(),
                                   counted(photos.size(), "photograph"), first.width,
                                   first.height));
    return {{"file", files.cameras()},
            {"photos", photos.size()},
            {"width", first.width},
            {"height", first.height}};
}

Json report_scan(TriMesh& mesh, std::string const& path, DemoObject const& object, Desk const& desk)
{
    MeshHealth const health = inspect(mesh, desk.context);
    std::size_t const markers = object.markers().points.size();
    std::size_t const sticks = object.sticks().points.size();
    desk.console.print(fmt::format("  {}, {}, {} and {} on it\n",
                                   counted(health.components, "piece"),
                                   counted(health.non_manifold_vertices, "non-manifold spot"),
                                   counted(markers, "marker"), counted(sticks, "stick")));
    return {{"file", path},
            {"vertices", health.vertices},
            {"faces", health.faces},
            {"holes", health.holes},
            {"components", health.components},
            {"non_manifold_vertices", health.non_manifold_vertices},
            {"markers", markers},
            {"sticks", sticks}};
}

Json report_filling(std::string const& path, FillResult const& result, Desk const& desk)
{
    FillPass const& at_markers = result.passes.at(0);
    FillPass const& others = result.passes.at(1);
    desk.console.print(to_text(path, result, desk.verbose));
    for (FillPass const& pass : result.passes)
    {
        desk.console.print(fmt::format("  {}: {} added\n", to_string(pass.method),
                                       added(pass.new_faces, pass.new_vertices)));
    }
    Json json{{"file", path}};
    json.update(to_json(result));
    json["marker_holes"] = to_json(at_markers);
    json["other_holes"] = to_json(others);
    return json;
}

Json report_torn(std::string const& path, TriMesh& mesh, Desk const& desk)
{
    MeshHealth const health = inspect(mesh, desk.context);
    desk.console.print(fmt::format(
        "{}: a torn copy of {}, {} and {}\n", path, counted(health.components, "piece"),
        counted(health.holes, "hole"), counted(health.isolated_vertices, "loose point")));
    return {{"file", path},
            {"components", health.components},
            {"holes", health.holes},
            {"isolated_vertices", health.isolated_vertices}};
}

Json report_texture(std::string const& path, TextureResult const& result, Desk const& desk)
{
    StepScope const scope(desk.context, "judge-texture", "judge the texture");
    JudgedTexture const judged{result.textured.mesh, result.textured.image};
    ColourError const error = measure_colour_error(judged, [](Vector3d const& place)
                                                   { return gourd_colour(place.normalized()); });
    SeamStep const step = measure_seam_step(judged);
    desk.console.print(to_text(path, result));
    desk.console.print(
        fmt::format("  {:.2f} of 255 from the true colours, 95 % within {:.1f}; {:.2f} across {}\n",
                    error.mean, error.percentile_95, step.mean, counted(step.edges, "seam edge")));
    Json json{{"file", path}};
    json.update(to_json(result));
    json["colour_error"] = {
        {"mean", error.mean}, {"percentile_95", error.percentile_95}, {"blank", error.blank}};
    json["seam_step"] = {
        {"edges", step.edges}, {"mean", step.mean}, {"percentile_95", step.percentile_95}};
    return json;
}

Json report_repair(std::string const& path, RepairResult const& result, Desk const& desk)
{
    desk.console.print(fmt::format(
        "{}: {} and {} before, {} and {} after, in {:.3g} s\n", path,
        counted(result.before.holes, "hole"), counted(result.before.boundary_edges, "border edge"),
        result.after.holes, result.after.boundary_edges, result.seconds));
    Json json{{"file", path}};
    json.update(to_json(result));
    return json;
}

Json report_deviation(TriMesh const& mesh, Desk const& desk)
{
    Deviation const deviation = measure_deviation(mesh, desk.context);
    desk.console.print(fmt::format("  {:.3f} mm from the true surface, 99 % within {:.3f} mm\n",
                                   deviation.mean, deviation.percentile_99));
    return {{"mean", deviation.mean}, {"percentile_99", deviation.percentile_99}};
}

std::string marker_lines(Markers const& markers)
{
    std::string text = "# x y z nx ny nz\n";
    for (std::size_t i = 0; i < markers.points.size(); ++i)
    {
        auto const& p = markers.points[i];
        auto const& n = markers.normals[i];
        text += fmt::format("{} {} {} {} {} {}\n", p.x(), p.y(), p.z(), n.x(), n.y(), n.z());
    }
    return text;
}

std::string seed_lines(StickSeeds const& seeds)
{
    std::string text = "# x y z diameter height\n";
    for (std::size_t i = 0; i < seeds.points.size(); ++i)
    {
        auto const& p = seeds.points[i];
        text += fmt::format("{} {} {} {} {}\n", p.x(), p.y(), p.z(), seeds.sizes[i].x(),
                            seeds.sizes[i].y());
    }
    return text;
}

} // namespace veld::cli
