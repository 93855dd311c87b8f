#include "Command.h"
#include "CommonOptions.h"
#include "DemoScan.h"
#include "Errors.h"
#include "Filling.h"
#include "HoleSummary.h"
#include "MeshFiles.h"
#include "MeshHealth.h"
#include "NewFaces.h"
#include "OutputFile.h"
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

/// The directory, made if it is not there. Takes it back unless the demo was finished.
class DemoDirectory
{
public:
    explicit DemoDirectory(std::string const& path) : path_(path)
    {
        std::error_code error;
        made_ = fs::create_directories(path_, error);
        if (!fs::is_directory(path_, error))
        {
            throw InputError(path + ": is no directory and cannot be made one");
        }
    }
    ~DemoDirectory()
    {
        std::error_code ignored;
        if (made_ && !finished_)
        {
            fs::remove_all(path_, ignored);
        }
    }
    DemoDirectory(DemoDirectory const&) = delete;
    DemoDirectory& operator=(DemoDirectory const&) = delete;

    std::string file(char const* name) const { return (path_ / name).string(); }
    void finish() { finished_ = true; }

private:
    fs::path path_;
    bool made_ = false;
    bool finished_ = false;
};

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

    Json run(Console& console) override
    {
        DemoDirectory directory(directory_);
        std::vector<std::string> const files{
            directory.file("scan.ply"), directory.file("before.png"), directory.file("filled.ply"),
            directory.file("after.png")};
        check_outputs(files, {});
        Json result;
        TriMesh mesh;
        result["scan"] = make_scan(mesh, files[0], console);
        TriMesh const scan = mesh;
        result["before"] = draw(scan, {}, files[1], console);
        result["fill"] = fill(mesh, files[2], console);
        result["after"] = draw(mesh, mark_new_faces(mesh, scan), files[3], console);
        directory.finish();
        return result;
    }

private:
    static Json make_scan(TriMesh& mesh, std::string const& path, Console& console)
    {
        {
            Step const step("make-scan");
            mesh = make_demo_scan();
        }
        save_mesh(path, mesh);
        MeshHealth const health = measure_health(mesh);
        console.print(fmt::format("{}: a damaged scan, {}, {}, {}, {}\n", path,
                                  counted(health.faces, "face"), counted(health.holes, "hole"),
                                  counted(health.components, "piece"),
                                  counted(health.non_manifold_vertices, "non-manifold spot")));
        return {{"file", path},
                {"vertices", health.vertices},
                {"faces", health.faces},
                {"holes", health.holes},
                {"components", health.components},
                {"non_manifold_vertices", health.non_manifold_vertices}};
    }

    static Json fill(TriMesh& mesh, std::string const& path, Console& console)
    {
        FillSettings settings;
        settings.max_perimeter = box_diagonal(mesh);
        FillResult const result = fill_mesh(mesh, settings);
        save_mesh(path, mesh);
        console.print(to_text(path, result));
        Json json{{"file", path}};
        json.update(to_json(result));
        return json;
    }

    static Json draw(TriMesh const& mesh, std::vector<char> const& marks, std::string const& path,
                     Console& console)
    {
        PictureSettings settings;
        settings.view = {8.0, 14.0, UpAxis::y};
        save_picture(path, draw_picture(mesh, settings, marks));
        console.print(path + ": drawn\n");
        return {{"file", path}, {"width", settings.width}, {"height", settings.height}};
    }

    std::string directory_ = "veld-demo";
};

} // namespace

std::unique_ptr<Command> make_demo_command()
{
    return std::make_unique<DemoCommand>();
}

} // namespace veld
