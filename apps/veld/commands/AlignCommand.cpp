#include "commands/Command.h"
#include "options/AlignOptions.h"
#include "options/CommonOptions.h"
#include "shell/FrameTexts.h"
#include "workflow/steps/Align.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/StepJson.h"
#include "workflow/words.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <string>
#include <utility>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

class AlignCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_frame_source(app, source_);
        add_output_directory(app, directory_,
                             "Directory for the same kind of source, with the new poses")
            ->required();
        options_.add_all(app);
        set_example(app, "align scans/bun.conf -o aligned --scale 1000");
    }

    fs::path directory() const override { return directory_; }

    Json run(Desk const& desk) override
    {
        FrameSet set = load_frames(source_.source, source_.settings, desk.context);
        AlignedSource const aligned(source_.source, directory_, source_.settings.scale);
        aligned.check(desk.outputs, set.files);
        AlignResult const result = align(std::move(set), options_.settings(), desk.context);
        std::string const entry = shown(aligned.write(result, desk.outputs, desk.context));
        desk.console.print(to_text(entry, result));
        Json json = to_json(result);
        json["source"] = entry;
        return json;
    }

private:
    FrameSourceOptions source_;
    AlignOptions options_;
    std::string directory_;
};

} // namespace

std::unique_ptr<Command> make_align_command()
{
    return std::make_unique<AlignCommand>();
}

} // namespace veld::cli
