#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "options/FillOptions.h"
#include "options/MeshInput.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class FillCommand : public MeshCommand
{
public:
    FillCommand() : MeshCommand(ResultPlace::Kind::MESH) {}

    void add_options(CLI::App& app) override
    {
        input().add(app);
        result().add_for_each_mesh(app);
        options_.add(app);
        set_example(app, "fill scan.ply -o filled.ply --max-perimeter 100");
    }

    Json run_on(std::string const& mesh, Desk const& desk) override
    {
        MeshFile const file = input().read(mesh, desk.context);
        if (file.mesh.n_faces() == 0)
        {
            desk.context.warn(
                {WarningCode::NOTHING_CLOSED, mesh_name(mesh), "has no faces, so no holes"});
        }
        FillResult const filled = fill(file.mesh, options_.settings(), desk.context);
        write_mesh(open_result(mesh, desk), filled.mesh, desk.context);
        desk.console.print(to_text(result().name_for(mesh), filled, desk.verbose));
        return to_json(filled);
    }

protected:
    std::vector<std::filesystem::path> further_inputs() const override { return options_.inputs(); }

private:
    FillOptions options_;
};

} // namespace

std::unique_ptr<Command> make_fill_command()
{
    return std::make_unique<FillCommand>();
}

} // namespace veld::cli
