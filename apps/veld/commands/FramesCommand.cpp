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

#include <algorithm>
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
        std::vector<fs::path> const files = name_files(set.frames.size());
        refuse_other_frames(files);
        desk.outputs.check(files, set.files);

        FrameNoise const noise = measure_noise(set, desk.context);
        std::string text =
            fmt::format("{}: {}", set.source, counted(files.size(), "frame")) +
            (noise.in_the_middle() > 0.0 ? ", noise " + to_text(noise) + "\n" : "\n");
        Json list = Json::array();
        for (std::size_t i = 0; i < files.size(); ++i)
        {
            auto const& frame = set.frames[i];
            write_frame(desk.outputs.add(files[i]), frame.data, desk.context);
            text += fmt::format("  {}: {} on {} x {} ({})\n", shown(files[i]),
                                counted(frame.data.get_vn(), "point"), frame.data.grid_rows,
                                frame.data.grid_cols, frame.name);
            list.push_back({{"file", shown(files[i])},
                            {"vertices", frame.data.get_vn()},
                            {"rows", frame.data.grid_rows},
                            {"columns", frame.data.grid_cols}});
        }
        desk.console.print(text);
        return Json{{"frames", list},
                    {"noise", noise.in_the_middle()},
                    {"noise_depth", noise.depth},
                    {"noise_aslant", noise.times_aslant()}};
    }

    /// Names whose order is that of the frames.
    std::vector<fs::path> name_files(std::size_t n) const
    {
        std::size_t const digits = std::max<std::size_t>(4, std::to_string(n).size());
        std::vector<fs::path> files;
        for (std::size_t i = 0; i < n; ++i)
        {
            files.push_back(fs::path(directory_) / fmt::format("frame-{:0{}}.rge", i, digits));
        }
        return files;
    }

    /// A folder is read as a whole: frames of another scan beside ours would be taken for ours.
    void refuse_other_frames(std::vector<fs::path> const& ours) const
    {
        for (auto const& file : frame_files_in(directory_))
        {
            auto const is_same = [name = file.filename()](fs::path const& path)
            { return path.filename() == name; };
            if (std::none_of(ours.begin(), ours.end(), is_same))
            {
                throw InputError(shown(file) +
                                 ": is a frame of something else; an empty directory is "
                                 "needed for the output");
            }
        }
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
