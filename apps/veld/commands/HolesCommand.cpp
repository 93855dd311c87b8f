#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "options/HoleOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class HolesCommand : public MeshCommand
{
public:
    void add_options(CLI::App& app) override
    {
        input().add(app);
        options_.add(app);
        set_example(app, "holes scan.ply --max-perimeter 50");
    }

    std::vector<std::filesystem::path> further_inputs() const override
    {
        return options_.marker_file().empty()
                   ? std::vector<std::filesystem::path>()
                   : std::vector<std::filesystem::path>{options_.marker_file()};
    }

    Json run_on(std::string const& mesh, Desk const& desk) override
    {
        // First, so that a wrong marker file is told before a large mesh is read.
        FindHolesSettings const settings = options_.settings();
        MeshFile file = input().read(mesh, desk.context);
        FindHolesResult const result = find_holes(file.mesh, settings, desk.context);
        desk.console.print(to_text(mesh_name(mesh), result));
        return to_json(result);
    }

private:
    HoleOptions options_;
};

} // namespace

std::unique_ptr<Command> make_holes_command()
{
    return std::make_unique<HolesCommand>();
}

} // namespace veld::cli
