#include "demo/DemoRun.h"

#include "demo/DemoRecord.h"
#include "demo/DemoReport.h"
#include "demo/TornCopy.h"
#include "demo/VirtualScanner.h"
#include "shell/Texts.h"
#include "workflow/StepScope.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/report/ReportPage.h"
#include "workflow/steps/StepJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

constexpr int LARGEST_SPECK = 600;     // in faces
constexpr int LARGEST_PHOTO = 1600;    // pixels across
constexpr double FOOT_WIDTH = 2.0;     // of a stick, in mm
Vector3d const MIDDLE(0.0, 17.0, 0.0); // of what is looked at

/// Two rings of views: one a little from below, one from above.
std::vector<ScannerView> scanner_views()
{
    std::vector<ScannerView> views;
    views.reserve(14);
    for (int i = 0; i < 8; ++i)
    {
        views.push_back({45.0 * i, -5.0});
    }
    for (int i = 0; i < 6; ++i)
    {
        views.push_back({30.0 + 60.0 * i, 42.0});
    }
    return views;
}

/// Two rings, between the scanner's views.
std::vector<ScannerView> camera_views()
{
    std::vector<ScannerView> views;
    views.reserve(12);
    for (int i = 0; i < 8; ++i)
    {
        views.push_back({20.0 + 45.0 * i, i % 2 == 0 ? -8.0 : 14.0});
    }
    for (int i = 0; i < 4; ++i)
    {
        views.push_back({90.0 * i, 52.0});
    }
    return views;
}

/// Removes what was cut out, with the foot that it stands on: every vertex is a marker.
CleanUp surface_of(std::vector<TriMesh> const& sticks)
{
    Markers vertices;
    for (auto const& stick : sticks)
    {
        for (auto const vertex : stick.vertices())
        {
            vertices.points.push_back(stick.point(vertex));
        }
    }
    MarkerSettings settings;
    settings.radius = FOOT_WIDTH;
    CleanUp clean_up = surface_near_markers(std::move(vertices), settings);
    clean_up.name = "sticks";
    return clean_up;
}

/// First what is known, then, for the filling, the vertices that no walk round a hole can pass,
/// then what is loose, also what these held alone; at last the vertices that all this left.
CleanSettings clean_settings(DemoObject const& object, std::vector<TriMesh> const& sticks)
{
    MarkerSettings markers;
    markers.radius = 1.1 * DemoObject::MARKER_RADIUS;
    markers.use_normals = true;
    return {{surface_near_markers(object.markers(), markers), surface_of(sticks),
             non_manifold_vertices(), small_pieces_by_faces(LARGEST_SPECK),
             small_pieces_by_vertices(1)}};
}

/// The holes where markers stuck, then all others.
std::vector<FillSettings> fill_passes(DemoObject const& object)
{
    FillSettings at_markers;
    at_markers.method = FillMethod::MARKERS;
    at_markers.markers = object.markers();
    at_markers.marker_radius = DemoObject::MARKER_RADIUS;
    FillSettings others;
    others.method = FillMethod::WHOLE;
    return {at_markers, others};
}

/// The faces of each pass in a colour of their own.
FaceMarks mark_passes(FillResult const& result)
{
    return {result.made_by.begin(), result.made_by.end()};
}

} // namespace

TextFrameFiles DemoRun::frame_files() const
{
    return {file("frames"), scanner_views().size()};
}

PhotoFiles DemoRun::photo_files() const
{
    return {file("photos"), camera_views().size()};
}

std::vector<fs::path> DemoRun::files() const
{
    std::vector<fs::path> files;
    for (auto const& names : {frame_files().all(), photo_files().all()})
    {
        files.insert(files.end(), names.begin(), names.end());
    }
    for (char const* name :
         {"scan.ply",          "markers.txt",          "seeds.txt",    "before.png",
          "stick-0.ply",       "stick-1.ply",          "stick-2.ply",  "cleaned.ply",
          "cleaned.png",       "filled.ply",           "after.png",    "torn.ply",
          "repaired-ball.ply", "repaired-project.ply", "textured.obj", "textured.mtl",
          "textured.jpg",      "textured.glb",         "textured.png", "run.json",
          "report.html"})
    {
        files.emplace_back(file(name));
    }
    return files;
}

Json DemoRun::run(Desk const& desk) const
{
    Json result;
    DemoObject const object;
    FrameSet const frames = scan(object, desk, result);
    TriMesh scanned = merge_frames(frames, desk, result);
    write_knowledge(object, desk);
    result["scan"] = report_scan(scanned, file("scan.ply"), object, desk);
    result["before"] = draw(scanned, {}, "before.png", desk);
    auto const sticks = cut(scanned, object, desk, result);
    TriMesh const cleaned = clean_up(scanned, object, sticks, desk, result);
    result["cleaned"] = draw(cleaned, {}, "cleaned.png", desk);
    FillResult const filled = close_holes(cleaned, object, desk, result);
    result["deviation"] = report_deviation(filled.mesh, desk);
    result["after"] = draw(filled.mesh, mark_passes(filled), "after.png", desk);
    texture_mesh(filled.mesh, photograph(desk, result), desk, result);
    result["repair"] = compare_repairs(filled.mesh, desk);
    result["page"] = write_page(result, desk);
    return result;
}

/// The record of what was done, and the page that shows it, as for any other run.
std::string DemoRun::write_page(Json const& result, Desk const& desk) const
{
    RunRecord const record = demo_record(result);
    write_text_file(desk.outputs.add(file("run.json")), record.to_text());
    ReportPage const page = report_page(
        record, [&](std::string const& name) { return desk.outputs.place_now(file(name)); },
        desk.context);
    std::string path = file("report.html");
    write_text_file(desk.outputs.add(path), page.html);
    desk.console.print(path + ": all of this as one page\n");
    return path;
}

/// Scans the object, writes the frames, and reads them as any other host would.
FrameSet DemoRun::scan(DemoObject const& object, Desk const& desk, Json& result) const
{
    TextFrameFiles const files = frame_files();
    std::string description;
    {
        StepScope scope(desk.context, "scan-object", "scan the object");
        VirtualScanner const scanner({}, MIDDLE);
        auto const frames = scope.stage("scan the object", 0.8,
                                        [&] { return scanner.scan(object, scanner_views()); });
        description =
            scope.stage("write the frames", 1.0, [&] { return files.save(frames, desk.outputs); });
    }
    FrameSet set = load_frames(description, {}, desk.context);
    set.source = files.description();
    result["frames"] = report_frames(set, files, desk);
    return set;
}

TriMesh DemoRun::merge_frames(FrameSet const& frames, Desk const& desk, Json& result) const
{
    MergeSettings settings;
    settings.max_hole_edges = 0; // they are the filling's
    MergeResult merged = merge(frames, settings, desk.context);
    write_mesh(desk.outputs.add(file("scan.ply")), merged.mesh, desk.context);
    desk.console.print(to_text(file("scan.ply"), merged));
    result["merge"] = to_json(merged);
    return std::move(merged.mesh);
}

/// What a host knows of its scan.
void DemoRun::write_knowledge(DemoObject const& object, Desk const& desk) const
{
    write_text_file(desk.outputs.add(file("markers.txt")), marker_lines(object.markers()));
    write_text_file(desk.outputs.add(file("seeds.txt")), seed_lines(object.sticks()));
}

std::vector<TriMesh> DemoRun::cut(TriMesh& mesh, DemoObject const& object, Desk const& desk,
                                  Json& result) const
{
    auto sticks = cut_sticks(mesh, object.sticks(), {}, desk.context);
    Json list = Json::array();
    for (std::size_t i = 0; i < sticks.size(); ++i)
    {
        std::string const path = file(fmt::format("stick-{}.ply", i));
        write_mesh(desk.outputs.add(path), sticks[i], desk.context);
        desk.console.print(to_text(path, sticks[i]));
        list.push_back(
            {{"file", path}, {"vertices", sticks[i].n_vertices()}, {"faces", sticks[i].n_faces()}});
    }
    result["sticks"] = std::move(list);
    return sticks;
}

TriMesh DemoRun::clean_up(TriMesh const& mesh, DemoObject const& object,
                          std::vector<TriMesh> const& sticks, Desk const& desk, Json& result) const
{
    CleanResult cleaned = clean(mesh, clean_settings(object, sticks), desk.context);
    std::string const path = file("cleaned.ply");
    write_mesh(desk.outputs.add(path), cleaned.mesh, desk.context);
    desk.console.print(to_text(path, cleaned));
    result["clean"] = {{"file", path}};
    result["clean"].update(to_json(cleaned));
    return std::move(cleaned.mesh);
}

FillResult DemoRun::close_holes(TriMesh const& mesh, DemoObject const& object, Desk const& desk,
                                Json& result) const
{
    FillResult filled = fill(mesh, fill_passes(object), desk.context);
    write_mesh(desk.outputs.add(file("filled.ply")), filled.mesh, desk.context);
    result["fill"] = report_filling(file("filled.ply"), filled, desk);
    return filled;
}

/// Photographs the object before anything is stuck on it.
/// \return the list of cameras, as PhotoFiles::save() gives it
std::string DemoRun::photograph(Desk const& desk, Json& result) const
{
    StepScope scope(desk.context, "photograph-object", "photograph the object");
    CameraSettings settings;
    settings.width = std::min(width_, LARGEST_PHOTO);
    settings.height = settings.width * 3 / 4;
    VirtualCamera const camera(settings, MIDDLE);
    auto const photos =
        scope.stage("photograph the object", 0.9,
                    [&] { return camera.photograph(GourdModel(), camera_views()); });
    PhotoFiles const files = photo_files();
    std::string const list =
        scope.stage("write the photographs", 1.0, [&] { return files.save(photos, desk.outputs); });
    result["photos"] = report_photos(photos, files, desk);
    return list;
}

/// Reads the photographs as any other host would, and makes a texture of them.
void DemoRun::texture_mesh(TriMesh const& mesh, std::string const& cameras, Desk const& desk,
                           Json& result) const
{
    PhotoSet photos = load_photos(cameras, desk.context);
    photos.source = photo_files().cameras();
    TextureResult const made = texture(mesh, photos, {}, desk.context);
    std::string const path = file("textured.obj");
    write_textured_mesh(path, made.textured, desk.outputs, desk.context);
    result["texture"] = report_texture(path, made, desk);
    write_textured_mesh(file("textured.glb"), made.textured, desk.outputs, desk.context);
    RenderSettings settings = picture_settings();
    settings.unlit = true; // the photographs have the light in them
    result["textured"] =
        save_picture(render(made.textured.mesh, made.textured.image, {}, settings, desk.context),
                     "textured.png", desk);
}

/// Both repairs on the same torn copy of the mesh.
Json DemoRun::compare_repairs(TriMesh const& mesh, Desk const& desk) const
{
    TriMesh torn = torn_copy(mesh);
    write_mesh(desk.outputs.add(file("torn.ply")), torn, desk.context);
    Json json = report_torn(file("torn.ply"), torn, desk);
    for (auto const& [name, method] : repair_methods())
    {
        RepairSettings settings;
        settings.method = method;
        RepairResult const repaired = repair(torn, settings, desk.context);
        std::string const path = file("repaired-" + name + ".ply");
        write_mesh(desk.outputs.add(path), repaired.mesh, desk.context);
        json[name] = report_repair(path, repaired, desk);
    }
    return json;
}

RenderSettings DemoRun::picture_settings() const
{
    RenderSettings settings;
    settings.width = width_;
    settings.height = width_ * 3 / 4;
    settings.line_width *= width_ / 1200.0;
    settings.view = {8.0, 14.0, UpAxis::Y};
    return settings;
}

Json DemoRun::draw(TriMesh const& mesh, FaceMarks const& marks, std::string const& name,
                   Desk const& desk) const
{
    return save_picture(render(mesh, marks, picture_settings(), desk.context), name, desk);
}

Json DemoRun::save_picture(Picture const& picture, std::string const& name, Desk const& desk) const
{
    std::string const path = file(name);
    write_picture(desk.outputs.add(path), picture, desk.context);
    desk.console.print(path + ": drawn\n");
    return {{"file", path}, {"width", picture.width()}, {"height", picture.height()}};
}

} // namespace veld::cli
