#include "Command.h"
#include "CommonOptions.h"
#include "DemoScan.h"
#include "Filling.h"
#include "HoleSummary.h"
#include "MeshFiles.h"
#include "MeshHealth.h"
#include "Picture.h"
#include "Session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

constexpr int largest_small_hole = 12; // in edges; a marker of the scan has about nine

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
        return {file("scan.ply"), file("before.png"), file("filled.ply"), file("after.png")};
    }

    Json run(Console& console, Outputs& outputs) override
    {
        Json result;
        TriMesh mesh;
        result["scan"] = make_scan(mesh, outputs.add(file("scan.ply")), console);
        result["before"] = draw(mesh, {}, outputs.add(file("before.png")), console);
        FillResult const filled = fill(mesh);
        save_mesh(outputs.add(file("filled.ply")), mesh);
        result["fill"] = report_filling(file("filled.ply"), filled, console);
        result["after"] =
            draw(mesh, mark_passes(mesh, filled), outputs.add(file("after.png")), console);
        return result;
    }

private:
    std::string file(char const* name) const { return (fs::path(directory_) / name).string(); }

    static Json make_scan(TriMesh& mesh, OutputFile const& file, Console& console)
    {
        {
            Step const step("make-scan");
            mesh = make_demo_scan();
        }
        save_mesh(file, mesh);
        MeshHealth const health = measure_health(mesh);
        console.print(fmt::format("{}: a damaged scan, {}, {}, {}, {}\n", file.path(),
                                  counted(health.faces, "face"), counted(health.holes, "hole"),
                                  counted(health.components, "piece"),
                                  counted(health.non_manifold_vertices, "non-manifold spot")));
        return {{"file", file.path()},
                {"vertices", health.vertices},
                {"faces", health.faces},
                {"holes", health.holes},
                {"components", health.components},
                {"non_manifold_vertices", health.non_manifold_vertices}};
    }

    /// Care for the larger holes, then ears for what is left: the small ones, where they are as
    /// good and faster, and the rims of loose specks, where they see that there is no hole.
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
