#include "commands/Command.h"
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

class CleanCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("MESH", mesh_,
                       "Mesh file: PLY, STL, OBJ, OFF or OM; for --markers it may be a cloud of "
                       "points without faces")
            ->required()
            ->option_text(" ");
        add_mesh_output(app, output_);
        options_.add(app);
        set_example(app, "clean scan.ply -o cleaned.ply --min-faces 6 --non-manifold");
    }

    std::vector<std::filesystem::path> inputs() const override
    {
        std::vector<std::filesystem::path> files{mesh_};
        auto const& markers = options_.marker_files();
        files.insert(files.end(), markers.begin(), markers.end());
        return files;
    }

    std::vector<std::filesystem::path> outputs() const override
    {
        check_mesh_extension(output_);
        return {output_};
    }

    Json run(Desk const& desk) override
    {
        // First, so that a wrong marker file is told before a large mesh is read.
        CleanSettings const settings = options_.settings();
        MeshFile const file = read_mesh(mesh_, desk.context);
        check_output_holds(file.mesh);
        CleanResult const result =
            about(mesh_, [&] { return clean(file.mesh, settings, desk.context); });
        write_mesh(desk.outputs.add(output_), result.mesh, desk.context);
        desk.console.print(to_text(output_, result));
        return to_json(result);
    }

private:
    void check_output_holds(TriMesh const& mesh) const
    {
        if (mesh.n_vertices() > 0 && mesh.n_faces() == 0 && lower_extension(output_) == ".stl")
        {
            throw InputError(output_ + ": an STL file cannot hold points without faces");
        }
    }

    std::string mesh_;
    std::string output_;
    CleanOptions options_;
};

} // namespace

std::unique_ptr<Command> make_clean_command()
{
    return std::make_unique<CleanCommand>();
}

} // namespace veld::cli
