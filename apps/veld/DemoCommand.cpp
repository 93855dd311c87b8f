#include "Cleaning.h"
#include "Command.h"
#include "CommonOptions.h"
#include "DemoObject.h"
#include "Filling.h"
#include "ForEachIndex.h"
#include "FrameSource.h"
#include "GourdSurface.h"
#include "HoleSummary.h"
#include "Merging.h"
#include "MeshFiles.h"
#include "MeshHealth.h"
#include "Picture.h"
#include "Session.h"
#include "Sticks.h"
#include "TextFrameFiles.h"
#include "VirtualScanner.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

constexpr int largest_small_hole = 12; // in edges
constexpr int largest_speck = 600;     // in faces
constexpr double foot_width = 2.0;     // of a stick, in mm

/// Two rings of views: one a little from below, one from above.
std::vector<ScannerView> scanner_views()
{
    std::vector<ScannerView> views;
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

/// How far the vertices of a mesh are from the true surface, in millimetres.
struct Deviation
{
    double mean = 0.0;
    double percentile_99 = 0.0;
};

Deviation measure_deviation(TriMesh const& mesh)
{
    constexpr std::size_t share = 1024; // vertices at a time
    Step const step("measure-deviation");
    std::size_t const n = mesh.n_vertices();
    std::vector<double> distances(n);
    for_each_index((n + share - 1) / share,
                   [&](std::size_t part)
                   {
                       for (std::size_t i = part * share; i < std::min(n, (part + 1) * share); ++i)
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

class DemoCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("-o,--output", directory_,
                       "Directory for the frames, meshes and pictures (default: ./veld-demo)")
            ->type_name("DIR");
        add_integer(app, "--width", width_, 16, 16384,
                    "Pixels across the pictures, three quarters as high (default: 1200)");
        set_example(app, "demo -o veld-demo");
    }

    std::string directory() const override { return file("frames"); }

    std::vector<std::string> outputs() const override
    {
        std::vector<std::string> files = frame_files().all();
        for (char const* name :
             {"scan.ply", "markers.txt", "seeds.txt", "before.png", "stick-0.ply", "stick-1.ply",
              "stick-2.ply", "cleaned.ply", "cleaned.png", "filled.ply", "after.png"})
        {
            files.push_back(file(name));
        }
        return files;
    }

    Json run(Console& console, Outputs& outputs) override
    {
        Json result;
        DemoObject const object = make_object();
        FrameSet const frames = scan(object, outputs, console, result);
        TriMesh mesh = merge(frames, outputs, console, result);
        save_knowledge(object, outputs);
        result["scan"] = report_scan(mesh, object, console);
        result["before"] = draw(mesh, {}, outputs.add(file("before.png")), console);
        auto const sticks = cut_sticks(mesh, file("scan.ply"), object.sticks(), StickTips::up);
        result["sticks"] = save_sticks(sticks, outputs, console);
        CleanResult const cleaned = clean(mesh, demo_clean_ups(object, sticks), &CleanUp::on_mesh);
        save_mesh(outputs.add(file("cleaned.ply")), mesh);
        console.print(to_text(file("cleaned.ply"), cleaned));
        result["clean"] = {{"file", file("cleaned.ply")}};
        result["clean"].update(to_json(cleaned));
        result["cleaned"] = draw(mesh, {}, outputs.add(file("cleaned.png")), console);
        FillResult const filled = fill(mesh);
        save_mesh(outputs.add(file("filled.ply")), mesh);
        result["fill"] = report_filling(file("filled.ply"), filled, console);
        result["deviation"] = report_deviation(measure_deviation(mesh), console);
        result["after"] =
            draw(mesh, mark_passes(mesh, filled), outputs.add(file("after.png")), console);
        return result;
    }

private:
    std::string file(std::string const& name) const
    {
        return (fs::path(directory_) / name).string();
    }

    TextFrameFiles frame_files() const { return {file("frames"), scanner_views().size()}; }

    static DemoObject make_object()
    {
        Step const step("make-object");
        return {};
    }

    /// Scans the object, writes the frames, and reads them as any other host would.
    FrameSet scan(DemoObject const& object, Outputs& outputs, Console& console, Json& result) const
    {
        VirtualScanner const scanner({}, Vector3d(0.0, 17.0, 0.0));
        std::vector<ScannedFrame> frames;
        {
            Step const step("scan-object");
            frames = scanner.scan(object, scanner_views());
        }
        FrameSourceOptions source;
        {
            Step const step("write-frames");
            source.source = frame_files().save(frames, outputs);
        }
        FrameSet set = load_frames(source, console);
        result["frames"] = report_frames(set, console);
        return set;
    }

    Json report_frames(FrameSet const& set, Console& console) const
    {
        TextFrameFiles const files = frame_files();
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
        console.print(fmt::format("{}: {} of {} on {} x {}\n", files.description(),
                                  counted(list.size(), "frame"), counted(points, "point"),
                                  first.grid_rows, first.grid_cols));
        return list;
    }

    TriMesh merge(FrameSet const& frames, Outputs& outputs, Console& console, Json& result) const
    {
        MergeSettings settings;
        settings.max_hole_edges = 0; // they are the filling's
        MergeResult merged = merge_frames(frames.frames, frame_files().description(), settings);
        save_mesh(outputs.add(file("scan.ply")), merged.mesh);
        console.print(to_text(file("scan.ply"), merged));
        result["merge"] = to_json(merged);
        return std::move(merged.mesh);
    }

    /// What a host knows of its scan.
    void save_knowledge(DemoObject const& object, Outputs& outputs) const
    {
        write_text_file(outputs.add(file("markers.txt")), marker_lines(object.markers()));
        write_text_file(outputs.add(file("seeds.txt")), seed_lines(object.sticks()));
    }

    Json report_scan(TriMesh& mesh, DemoObject const& object, Console& console) const
    {
        MeshHealth const health = measure_health(mesh);
        std::size_t const markers = object.markers().points.size();
        std::size_t const sticks = object.sticks().points.size();
        console.print(fmt::format("  {}, {}, {} and {} on it\n",
                                  counted(health.components, "piece"),
                                  counted(health.non_manifold_vertices, "non-manifold spot"),
                                  counted(markers, "marker"), counted(sticks, "stick")));
        return {{"file", file("scan.ply")},
                {"vertices", health.vertices},
                {"faces", health.faces},
                {"holes", health.holes},
                {"components", health.components},
                {"non_manifold_vertices", health.non_manifold_vertices},
                {"markers", markers},
                {"sticks", sticks}};
    }

    static std::string marker_lines(Markers const& markers)
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

    static std::string seed_lines(StickSeeds const& seeds)
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

    Json save_sticks(std::vector<TriMesh> const& sticks, Outputs& outputs, Console& console) const
    {
        Json list = Json::array();
        for (std::size_t i = 0; i < sticks.size(); ++i)
        {
            std::string const path = file(fmt::format("stick-{}.ply", i));
            save_mesh(outputs.add(path), sticks[i]);
            console.print(to_text(path, sticks[i]));
            list.push_back(to_json(path, sticks[i]));
        }
        return list;
    }

    /// First what is known, then, for the filling, the vertices that no walk round a hole can pass,
    /// then what is loose, also what these held alone; at last the vertices that all this left.
    static std::vector<CleanUp> demo_clean_ups(DemoObject const& object,
                                               std::vector<TriMesh> const& sticks)
    {
        MarkerSettings markers;
        markers.radius = 1.1 * DemoObject::marker_radius;
        markers.use_normals = true;
        return {surface_near_markers(object.markers(), markers), surface_of(sticks),
                non_manifold_vertices(), small_pieces_by_faces(largest_speck),
                small_pieces_by_vertices(1)};
    }

    /// Removes what was cut out, with the foot that it stands on: every vertex is a marker.
    static CleanUp surface_of(std::vector<TriMesh> const& sticks)
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
        settings.radius = foot_width;
        CleanUp clean_up = surface_near_markers(vertices, settings);
        clean_up.name = "sticks";
        return clean_up;
    }

    /// Care for the larger holes, then ears for the small ones, where they are as good and faster.
    static FillResult fill(TriMesh& mesh)
    {
        FillSettings large;
        large.method = FillMethod::core;
        large.min_edges = largest_small_hole + 1;
        large.max_perimeter = box_diagonal(mesh);
        FillSettings others;
        others.method = FillMethod::trim;
        others.max_perimeter = large.max_perimeter;
        return fill_mesh(mesh, {large, others});
    }

    static Json report_filling(std::string const& path, FillResult const& result, Console& console)
    {
        FillPass const& large = result.passes.at(0);
        FillPass const& others = result.passes.at(1);
        console.print(to_text(path, result));
        console.print(fmt::format("  core closed {} of more than {} edges: {} added\n",
                                  counted(large.holes_before - large.holes_after, "hole"),
                                  largest_small_hole, added(large.new_faces, large.new_vertices)));
        console.print(fmt::format("  trim closed {} of the others: {} added\n",
                                  others.holes_before - others.holes_after,
                                  added(others.new_faces, others.new_vertices)));
        Json json{{"file", path}};
        json.update(to_json(result));
        json["large_holes"] = to_json(large);
        json["large_holes"]["min_edges"] = largest_small_hole + 1;
        json["other_holes"] = to_json(others);
        return json;
    }

    static Json report_deviation(Deviation const& deviation, Console& console)
    {
        console.print(fmt::format("  {:.3f} mm from the true surface, 99 % within {:.3f} mm\n",
                                  deviation.mean, deviation.percentile_99));
        return {{"mean", deviation.mean}, {"percentile_99", deviation.percentile_99}};
    }

    /// The faces of each method in its own colour. They stand behind the old ones, pass by pass.
    static std::vector<char> mark_passes(TriMesh const& mesh, FillResult const& result)
    {
        std::vector<char> marks(mesh.n_faces() - result.new_faces, 0);
        for (auto const& pass : result.passes)
        {
            marks.resize(marks.size() + pass.new_faces, pass.method == FillMethod::core ? 2 : 1);
        }
        return marks;
    }

    Json draw(TriMesh const& mesh, std::vector<char> const& marks, OutputFile const& file,
              Console& console)
    {
        PictureSettings settings;
        settings.width = width_;
        settings.height = width_ * 3 / 4;
        settings.line_width *= width_ / 1200.0;
        settings.view = {8.0, 14.0, UpAxis::y};
        save_picture(file, draw_picture(mesh, settings, marks));
        console.print(file.path() + ": drawn\n");
        return {{"file", file.path()}, {"width", settings.width}, {"height", settings.height}};
    }

    std::string directory_ = "veld-demo";
    int width_ = 1200; ///< Of the pictures, in pixels.
};

} // namespace

std::unique_ptr<Command> make_demo_command()
{
    return std::make_unique<DemoCommand>();
}

} // namespace veld
