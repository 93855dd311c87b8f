#include "commands/Command.h"
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

class HolesCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_mesh(app, mesh_);
        options_.add(app);
        set_example(app, "holes scan.ply --max-perimeter 50");
    }

    std::vector<std::filesystem::path> inputs() const override
    {
        std::vector<std::filesystem::path> files{mesh_};
        if (!options_.marker_file().empty())
        {
            files.emplace_back(options_.marker_file());
        }
        return files;
    }

    Json run(Desk const& desk) override
    {
        // First, so that a wrong marker file is told before a large mesh is read.
        FindHolesSettings const settings = options_.settings();
        MeshFile file = read_mesh(mesh_, desk.context);
        FindHolesResult const result = find_holes(file.mesh, settings, desk.context);
        desk.console.print(to_text(mesh_, result));
        return to_json(result);
    }

private:
    std::string mesh_;
    HoleOptions options_;
};

} // namespace

std::unique_ptr<Command> make_holes_command()
{
    return std::make_unique<HolesCommand>();
}

} // namespace veld::cli
