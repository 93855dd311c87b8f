#include "Cleaning.h"
#include "Command.h"
#include "CommonOptions.h"
#include "DemoScan.h"
#include "Filling.h"
#include "HoleSummary.h"
#include "MeshFiles.h"
#include "MeshHealth.h"
#include "Picture.h"
#include "Session.h"
#include "Sticks.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

constexpr int largest_small_hole = 12; // in edges
constexpr int largest_speck = 20;      // in faces
constexpr double foot_width = 1.2;     // of a stick, in mm

class DemoCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("-o,--output", directory_,
                       "Directory for the meshes and pictures (default: ./veld-demo)")
            ->type_name("DIR");
        set_example(app, "demo -o veld-demo");
    }

    std::string directory() const override { return directory_; }

    std::vector<std::string> outputs() const override
    {
        std::vector<std::string> files;
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
        DemoScan scan;
        result["scan"] = make_scan(scan, outputs, console);
        TriMesh& mesh = scan.mesh;
        result["before"] = draw(mesh, {}, outputs.add(file("before.png")), console);
        auto const sticks = cut_sticks(mesh, file("scan.ply"), scan.sticks, StickTips::up);
        result["sticks"] = save_sticks(sticks, outputs, console);
        CleanResult const cleaned = clean(mesh, demo_clean_ups(scan, sticks), &CleanUp::on_mesh);
        save_mesh(outputs.add(file("cleaned.ply")), mesh);
        console.print(to_text(file("cleaned.ply"), cleaned));
        result["clean"] = {{"file", file("cleaned.ply")}};
        result["clean"].update(to_json(cleaned));
        result["cleaned"] = draw(mesh, {}, outputs.add(file("cleaned.png")), console);
        FillResult const filled = fill(mesh);
        save_mesh(outputs.add(file("filled.ply")), mesh);
        result["fill"] = report_filling(file("filled.ply"), filled, console);
        result["after"] =
            draw(mesh, mark_passes(mesh, filled), outputs.add(file("after.png")), console);
        return result;
    }

private:
    std::string file(std::string const& name) const
    {
        return (fs::path(directory_) / name).string();
    }

    Json make_scan(DemoScan& scan, Outputs& outputs, Console& console) const
    {
        {
            Step const step("make-scan");
            scan = make_demo_scan();
        }
        save_mesh(outputs.add(file("scan.ply")), scan.mesh);
        write_text_file(outputs.add(file("markers.txt")), marker_lines(scan.markers));
        write_text_file(outputs.add(file("seeds.txt")), seed_lines(scan.sticks));
        MeshHealth const health = measure_health(scan.mesh);
        console.print(fmt::format("{}: a damaged scan, {}, {}, {}, {}, {}, {}\n", file("scan.ply"),
                                  counted(health.faces, "face"), counted(health.holes, "hole"),
                                  counted(health.components, "piece"),
                                  counted(health.non_manifold_vertices, "non-manifold spot"),
                                  counted(scan.markers.points.size(), "marker"),
                                  counted(scan.sticks.points.size(), "stick")));
        return {{"file", file("scan.ply")},
                {"vertices", health.vertices},
                {"faces", health.faces},
                {"holes", health.holes},
                {"components", health.components},
                {"non_manifold_vertices", health.non_manifold_vertices},
                {"markers", scan.markers.points.size()},
                {"sticks", scan.sticks.points.size()}};
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
    static std::vector<CleanUp> demo_clean_ups(DemoScan const& scan,
                                               std::vector<TriMesh> const& sticks)
    {
        MarkerSettings markers;
        markers.radius = 1.1 * scan.marker_radius;
        markers.use_normals = true;
        return {surface_near_markers(scan.markers, markers), surface_of(sticks),
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

    static Json draw(TriMesh const& mesh, std::vector<char> const& marks, OutputFile const& file,
                     Console& console)
    {
        PictureSettings settings;
        settings.view = {8.0, 14.0, UpAxis::y};
        save_picture(file, draw_picture(mesh, settings, marks));
        console.print(file.path() + ": drawn\n");
        return {{"file", file.path()}, {"width", settings.width}, {"height", settings.height}};
    }

    std::string directory_ = "veld-demo";
};

} // namespace

std::unique_ptr<Command> make_demo_command()
{
    return std::make_unique<DemoCommand>();
}

} // namespace veld
