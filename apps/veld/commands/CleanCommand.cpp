#include "commands/MeshCommand.h"
#include "options/CleanOptions.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class CleanCommand : public MeshCommand
{
public:
    CleanCommand() : MeshCommand(ResultPlace::Kind::MESH) {}

    void add_options(CLI::App& app) override
    {
        input().add(app, ". For --markers they may be clouds of points without faces");
        result().add_for_each_mesh(app);
        options_.add(app);
        set_example(app, "clean scan.ply -o cleaned.ply --min-faces 6 --non-manifold");
    }

    std::vector<std::filesystem::path> further_inputs() const override
    {
        auto const& markers = options_.marker_files();
        return {markers.begin(), markers.end()};
    }

    Json run_on(std::string const& mesh, Desk const& desk) override
    {
        // First, so that a wrong marker file is told before a large mesh is read.
        CleanSettings const settings = options_.settings();
        MeshFile const file = input().read(mesh, desk.context);
        check_output_holds(file.mesh, mesh);
        CleanResult const cleaned =
            about(mesh_name(mesh), [&] { return clean(file.mesh, settings, desk.context); });
        write_mesh(open_result(mesh, desk), cleaned.mesh, desk.context);
        desk.console.print(to_text(result().name_for(mesh), cleaned));
        return to_json(cleaned);
    }

private:
    void check_output_holds(TriMesh const& mesh, std::string const& name)
    {
        if (mesh.n_vertices() > 0 && mesh.n_faces() == 0 &&
            result().extension_for(name, input().format()) == ".stl")
        {
            throw InputError(result().name_for(name) +
                             ": an STL file cannot hold points without faces");
        }
    }

    CleanOptions options_;
};

} // namespace

std::unique_ptr<Command> make_clean_command()
{
    return std::make_unique<CleanCommand>();
}

} // namespace veld::cli
