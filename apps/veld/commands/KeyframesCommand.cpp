#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/photos/Photos.h"
#include "workflow/steps/Keyframes.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

#include <string>

namespace veld::cli
{

namespace
{

class KeyframesCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("POSES", poses_,
                       "Where the photographs were taken: a folder with cameras.json or with a "
                       "COLMAP model as text, or one of these files")
            ->required()
            ->option_text(" ");
        app.add_flag("--sort", sorts_,
                     "List all views, so that the first ones cover the whole space, in place of "
                     "one view of each cell");
        add_integer(app, "--cells", settings_.cells, 1, MOST_KEYFRAME_CELLS,
                    "So many cells lie along the longest side of the space in which the cameras "
                    "stand (default: 5)");
        set_example(app, "keyframes photos --cells 3");
    }

    void take_arguments() override
    {
        settings_.method = sorts_ ? KeyframesMethod::SORT : KeyframesMethod::SELECT;
    }

    std::vector<std::filesystem::path> inputs() const override
    {
        return photo_source_files(poses_);
    }

    Json run(Desk const& desk) override
    {
        std::vector<PhotoView> const views = read_camera_list(poses_);
        KeyframesResult const result =
            about(poses_, [&] { return choose_keyframes(views, settings_, desk.context); });
        desk.console.print(to_text(result));
        return to_json(result);
    }

private:
    std::string poses_;
    bool sorts_ = false;
    KeyframesSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_keyframes_command()
{
    return std::make_unique<KeyframesCommand>();
}

} // namespace veld::cli
