#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "workflow/run/Run.h"

#include <CLI/CLI.hpp>

#include <optional>
#include <string>
#include <utility>

namespace veld::cli
{

namespace
{

class RunCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("SCAN", scan_,
                       "Frames of any kind that 'veld merge' takes, a mesh or a cloud, or a folder "
                       "with one of these");
        add_output_directory(app, directory_,
                             "Folder for all results, which goes on where it was left off");
        app.add_option("--photos", photos_,
                       "Photographs with their cameras, as 'veld texture' takes them (default: "
                       "looked for beside the scan)")
            ->type_name("SOURCE");
        app.add_option("--markers", markers_,
                       "Markers, one a line: x y z [nx ny nz] (default: markers.txt beside the "
                       "scan)")
            ->type_name("FILE");
        app.add_option("--recipe", recipe_,
                       "Steps and settings to take, as JSON (default: those that fit the scan)")
            ->type_name("FILE");
        app.add_flag("--keep", keep_, "Keep the mesh of every step, 01-merge.ply and so on");
        app.add_flag("--no-pictures", no_pictures_, "Draw no picture of each step for the page");
        app.add_flag("--print-recipe", print_recipe_,
                     "Print the recipe that would be taken, and do nothing else; without a SCAN "
                     "one of all steps");
        set_example(app, "run scans/bun.conf -o bunny");
    }

    void take_arguments() override
    {
        if (scan_.empty() && !print_recipe_)
        {
            throw CLI::RequiredError("SCAN");
        }
        if (directory_.empty() && !print_recipe_)
        {
            throw CLI::RequiredError("--output");
        }
        if (print_recipe_ && !directory_.empty())
        {
            throw CLI::ExcludesError("--print-recipe", "--output");
        }
    }

    Json run(Desk const& desk) override
    {
        std::optional<Recipe> recipe;
        if (!recipe_.empty())
        {
            recipe = read_recipe(recipe_);
        }
        return print_recipe_ ? show(recipe, desk) : take(std::move(recipe), desk);
    }

private:
    Json show(std::optional<Recipe> const& recipe, Desk const& desk) const
    {
        Recipe const shown =
            recipe          ? *recipe
            : scan_.empty() ? usual_recipe()
                            : usual_recipe(look_at_scan(scan_, markers_, photos_, desk.context));
        Json const json = to_json(shown);
        desk.console.print(json.dump(2) + "\n");
        return json;
    }

    Json take(std::optional<Recipe> recipe, Desk const& desk) const
    {
        RunRequest request;
        request.scan = scan_;
        request.directory = directory_;
        request.markers = markers_;
        request.photos = photos_;
        request.recipe = std::move(recipe);
        request.keep = keep_;
        request.pictures = !no_pictures_;
        request.existing = desk.outputs.existing();
        auto const tell = [&desk](std::string const& line) { desk.console.print(line + "\n"); };
        RunResult const result = veld::run(request, desk.context, tell);
        Json json = result.record.to_json();
        json["from_before"] = result.from_before;
        return json;
    }

    std::string scan_;
    std::string directory_;
    std::string photos_;
    std::string markers_;
    std::string recipe_;
    bool keep_ = false;
    bool no_pictures_ = false;
    bool print_recipe_ = false;
};

} // namespace

std::unique_ptr<Command> make_run_command()
{
    return std::make_unique<RunCommand>();
}

} // namespace veld::cli
