#include "commands/Command.h"
#include "options/AlignOptions.h"
#include "options/CommonOptions.h"
#include "shell/FrameTexts.h"
#include "shell/Texts.h"
#include "workflow/frames/FrameFiles.h"
#include "workflow/steps/Align.h"
#include "workflow/steps/FrameNoise.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/StepJson.h"
#include "workflow/words.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

class FramesCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_frame_source(app, source_);
        add_output_directory(app, directory_, "Directory for the .rge files");
        auto* const check = app.add_flag("--check", checks_,
                                         "Tell how far frames are off each other where they "
                                         "overlap, pair by pair, and which one is off");
        for (auto* const option : options_.add(app))
        {
            option->needs(check);
        }
        set_example(app, "frames scans/bun.conf -o frames --scale 1000");
    }

    void take_arguments() override
    {
        if (!checks_ && directory_.empty())
        {
            throw CLI::RequiredError("--output");
        }
    }

    fs::path directory() const override { return directory_; }

    Json run(Desk const& desk) override
    {
        FrameSet const set = load_frames(source_.source, source_.settings, desk.context);
        Json json = directory_.empty() ? Json::object() : write_frames(set, desk);
        if (checks_)
        {
            FrameCheck const check = check_frames(set, options_.settings(), desk.context);
            desk.console.print(to_text(set.source, check, desk.verbose));
            json["check"] = to_json(check);
        }
        return json;
    }

private:
    Json write_frames(FrameSet const& set, Desk const& desk) const
    {
        auto const files = new_frame_files_in(directory_, set.frames.size());
        desk.outputs.check(files, set.files);

        FrameNoise const noise = measure_noise(set, desk.context);
        std::string text =
            fmt::format("{}: {}", set.source, counted(files.size(), "frame")) +
            (noise.in_the_middle() > 0.0 ? ", noise " + to_text(noise) + "\n" : "\n");
        for (std::size_t i = 0; i < files.size(); ++i)
        {
            auto const& frame = set.frames[i];
            write_frame(desk.outputs.add(files[i]), frame.data, desk.context);
            text += fmt::format("  {}: {} on {} x {} ({})\n", shown(files[i]),
                                counted(frame.data.get_vn(), "point"), frame.data.grid_rows,
                                frame.data.grid_cols, frame.name);
        }
        desk.console.print(text);
        return to_json(set, files, noise);
    }

    FrameSourceOptions source_;
    AlignOptions options_;
    std::string directory_;
    bool checks_ = false;
};

} // namespace

std::unique_ptr<Command> make_frames_command()
{
    return std::make_unique<FramesCommand>();
}

} // namespace veld::cli
