#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

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
        add_mesh_output(app, output_);
        app.add_option("--method", method_,
                       "stitch: near borders are closed by fans of triangles (default: stitch)")
            ->type_name("NAME")
            ->check(CLI::IsMember(std::vector<std::string>{"stitch"}));
        auto* const keep_layers =
            app.add_flag("--keep-layers", keep_layers_,
                         "Keep every layer where frames overlap; without it the frame that saw a "
                         "place best stays there, moved to the mean of all that saw it");
        app.add_flag("--keep-points", keep_points_,
                     "Leave the points that stay where their frames have them, not at the mean")
            ->excludes(keep_layers);
        add_thresholds(app);
        app.add_option("--frame-map", frame_map_,
                       "Write to FILE, as text, the number of the frame of each vertex, one a line")
            ->type_name("FILE");
        set_example(app, "merge scans/bun.conf -o merged.ply --scale 1000");
    }

    std::vector<std::filesystem::path> outputs() const override
    {
        check_mesh_extension(output_);
        std::vector<std::filesystem::path> files{output_};
        if (!frame_map_.empty())
        {
            files.push_back(frame_map_);
        }
        return files;
    }

    Json run(Desk const& desk) override
    {
        FrameSet const set = load_frames(source_.source, source_.settings, desk.context);
        desk.outputs.check(this->outputs(), set.files);
        settings_.layers = keep_layers_ ? Layers::ALL : keep_points_ ? Layers::BEST : Layers::MEAN;
        MergeResult const result = merge(set, settings_, desk.context);
        write_mesh(desk.outputs.add(output_), result.mesh, desk.context);
        if (!frame_map_.empty())
        {
            std::string text;
            for (int const frame : result.vertex_frames)
            {
                text += std::to_string(frame) + '\n';
            }
            write_text_file(desk.outputs.add(frame_map_), text);
        }
        desk.console.print(to_text(output_, result));
        return to_json(result);
    }

private:
    void add_thresholds(CLI::App& app)
    {
        add_length(app, "--spacing", settings_.spacing,
                   "Distance between neighbouring points in mm, 0: measured (default: 0)");
        add_length(app, "--stitch-radius", settings_.stitch_radius,
                   "Half of the distance in mm in which a border looks for another one, 0: the "
                   "spacing (default: 0)");
        add_length(app, "--long-edge", settings_.long_edge,
                   "Border edges longer than this in mm are cut away, 0: five spacings "
                   "(default: 0)");
        add_integer(app, "--max-hole-edges", settings_.max_hole_edges, 0, 1'000'000'000,
                    "Holes of at most so many edges are closed at the end (default: 30)");
        add_integer(app, "--min-component", settings_.min_component, 0, 1'000'000'000,
                    "Pieces of so many faces or fewer are removed (default: 100)");
    }

    FrameSourceOptions source_;
    std::string output_;
    std::string method_ = "stitch";
    std::string frame_map_;
    bool keep_layers_ = false;
    bool keep_points_ = false;
    MergeSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_merge_command()
{
    return std::make_unique<MergeCommand>();
}

} // namespace veld::cli
