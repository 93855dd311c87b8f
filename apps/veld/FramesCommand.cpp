#include "Command.h"
#include "CommonOptions.h"
#include "Errors.h"
#include "FrameFiles.h"
#include "FrameSource.h"
#include "HoleSummary.h"
#include "Session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

class FramesCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_frame_source(app, source_);
        app.add_option("-o,--output", directory_, "Directory for the .rge files")
            ->required()
            ->type_name("DIR");
        set_example(app, "frames scans/bun.conf -o frames --scale 1000");
    }

    std::string directory() const override { return directory_; }

    Json run(Console& console, Outputs& outputs) override
    {
        FrameSet const set = load_frames(source_, console);
        std::vector<std::string> const files = name_files(set.frames.size());
        refuse_other_frames(files);
        check_outputs(files, set.files);

        Step const step("write-frames");
        std::string text = fmt::format("{}: {}\n", source_.source, counted(files.size(), "frame"));
        Json list = Json::array();
        for (std::size_t i = 0; i < files.size(); ++i)
        {
            auto const& frame = set.frames[i];
            save_frame(outputs.add(files[i]), frame.data);
            text += fmt::format("  {}: {} on {} x {} ({})\n", files[i],
                                counted(frame.data.get_vn(), "point"), frame.data.grid_rows,
                                frame.data.grid_cols, frame.name);
            list.push_back({{"file", files[i]},
                            {"vertices", frame.data.get_vn()},
                            {"rows", frame.data.grid_rows},
                            {"columns", frame.data.grid_cols}});
        }
        console.print(text);
        return Json{{"frames", list}};
    }

private:
    /// Names whose order is that of the frames.
    std::vector<std::string> name_files(std::size_t n) const
    {
        std::size_t const digits = std::max<std::size_t>(4, std::to_string(n).size());
        std::vector<std::string> files;
        for (std::size_t i = 0; i < n; ++i)
        {
            files.push_back(
                (fs::path(directory_) / fmt::format("frame-{:0{}}.rge", i, digits)).string());
        }
        return files;
    }

    /// A folder is read as a whole: frames of another scan beside ours would be taken for ours.
    void refuse_other_frames(std::vector<std::string> const& ours) const
    {
        for (auto const& file : frame_files_in(directory_))
        {
            auto const is_same = [name = fs::path(file).filename()](std::string const& path)
            { return fs::path(path).filename() == name; };
            if (std::none_of(ours.begin(), ours.end(), is_same))
            {
                throw InputError(file + ": is a frame of something else; an empty directory is "
                                        "needed for the output");
            }
        }
    }

    FrameSourceOptions source_;
    std::string directory_;
};

} // namespace

std::unique_ptr<Command> make_frames_command()
{
    return std::make_unique<FramesCommand>();
}

} // namespace veld
