#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "options/MergeOptions.h"
#include "options/MeshInput.h"
#include "options/ResultPlace.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

#include <utility>

namespace veld::cli
{

namespace
{

class MergeCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_frame_source(app, source_);
        result_.add(app);
        format_option_ = add_format(app, format_, "the mesh on standard output");
        options_.add(app);
        auto* const keep_layers =
            app.add_flag("--keep-layers", keep_layers_,
                         "Keep every layer where frames overlap; without it the frame that saw a "
                         "place best stays there, moved to the mean of all that saw it");
        app.add_flag("--keep-points", keep_points_,
                     "Leave the points that stay where their frames have them, not at the mean")
            ->excludes(keep_layers);
        app.add_option("--frame-map", frame_map_,
                       "Write to FILE, as text, the number of the frame of each vertex, one a line")
            ->type_name("FILE");
        set_example(app, "merge scans/bun.conf -o merged.ply --scale 1000");
    }

    void take_arguments() override
    {
        if (format_option_->count() > 0 && !writes_standard_output())
        {
            throw CLI::ValidationError("--format", "is for a mesh on standard output");
        }
    }

    bool writes_standard_output() const override { return result_.is_standard_output(); }

    std::vector<std::filesystem::path> outputs() const override
    {
        result_.check_extension();
        std::vector<std::filesystem::path> files;
        if (!writes_standard_output())
        {
            files.push_back(result_.given());
        }
        if (!frame_map_.empty())
        {
            files.push_back(frame_map_);
        }
        return files;
    }

    Json run(Desk const& desk) override
    {
        FrameSet set = load_frames(source_.source, source_.settings, desk.context);
        desk.outputs.check(this->outputs(), set.files);
        MergeSettings settings = options_.settings();
        settings.layers = keep_layers_ ? Layers::ALL : keep_points_ ? Layers::BEST : Layers::MEAN;
        MergeResult const merged = merge(std::move(set), settings, desk.context);
        write_mesh(result_.open("", format_, desk.outputs), merged.mesh, desk.context);
        if (!frame_map_.empty())
        {
            std::string text;
            for (int const frame : merged.vertex_frames)
            {
                text += std::to_string(frame) + '\n';
            }
            write_text_file(desk.outputs.add(frame_map_), text);
        }
        desk.console.print(to_text(result_.name_for(""), merged));
        return to_json(merged);
    }

private:
    FrameSourceOptions source_;
    ResultPlace result_{ResultPlace::Kind::MESH};
    std::string format_ = "ply";
    CLI::Option* format_option_ = nullptr;
    MergeOptions options_;
    std::string frame_map_;
    bool keep_layers_ = false;
    bool keep_points_ = false;
};

} // namespace

std::unique_ptr<Command> make_merge_command()
{
    return std::make_unique<MergeCommand>();
}

} // namespace veld::cli
