#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class InfoCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_mesh(app, mesh_);
        set_example(app, "info scan.ply");
    }

    std::vector<std::filesystem::path> inputs() const override { return {mesh_}; }

    Json run(Desk const& desk) override
    {
        MeshFile file = read_mesh(mesh_, desk.context);
        MeshHealth const health = inspect(file.mesh, desk.context);
        desk.console.print(to_text(mesh_, health, file.contents));
        Json json = to_json(health);
        json["faces_left_out"] = file.faces_left_out;
        json["file"] = to_json(file.contents);
        return json;
    }

private:
    std::string mesh_;
};

} // namespace

std::unique_ptr<Command> make_info_command()
{
    return std::make_unique<InfoCommand>();
}

} // namespace veld::cli
