#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class InfoCommand : public MeshCommand
{
public:
    void add_options(CLI::App& app) override
    {
        input().add(app);
        set_example(app, "info scan.ply");
    }

    Json run_on(std::string const& mesh, Desk const& desk) override
    {
        MeshFile file = input().read(mesh, desk.context);
        MeshHealth const health = inspect(file.mesh, desk.context);
        desk.console.print(to_text(mesh_name(mesh), health, file.contents));
        Json json = to_json(health);
        json["faces_left_out"] = file.faces_left_out;
        json["contents"] = to_json(file.contents);
        return json;
    }
};

} // namespace

std::unique_ptr<Command> make_info_command()
{
    return std::make_unique<InfoCommand>();
}

} // namespace veld::cli
