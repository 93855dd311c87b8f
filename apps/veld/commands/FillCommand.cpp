#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "options/FillOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

namespace veld::cli
{

namespace
{

class FillCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_mesh(app, mesh_);
        add_mesh_output(app, output_);
        options_.add(app);
        set_example(app, "fill scan.ply -o filled.ply --method trim --max-perimeter 100");
    }

    std::vector<std::filesystem::path> inputs() const override { return {mesh_}; }

    std::vector<std::filesystem::path> outputs() const override
    {
        check_mesh_extension(output_);
        return {output_};
    }

    Json run(Desk const& desk) override
    {
        FillResult const result =
            fill(read_mesh(mesh_, desk.context).mesh, options_.settings(), desk.context);
        write_mesh(desk.outputs.add(output_), result.mesh, desk.context);
        desk.console.print(to_text(output_, result));
        return to_json(result);
    }

private:
    std::string mesh_;
    std::string output_;
    FillOptions options_;
};

} // namespace

std::unique_ptr<Command> make_fill_command()
{
    return std::make_unique<FillCommand>();
}

} // namespace veld::cli
