#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "options/MergeOptions.h"
#include "options/MeshInput.h"
#include "options/ResultPlace.h"
#include "options/TileOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"
#include "workflow/tiling/TileJson.h"

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
        tiles_.add(app);
        app.add_option("--frame-map", frame_map_,
                       "Write to FILE, as text, the number of the frame of each vertex, one a line")
            ->type_name("FILE")
            ->excludes(tiles_.tile_points());
        set_example(app, "merge scans/bun.conf -o merged.ply --scale 1000");
    }

    void take_arguments() override
    {
        if (format_option_->count() > 0 && !writes_standard_output())
        {
            throw CLI::ValidationError("--format", "is for a mesh on standard output");
        }
        if (tiles_.are_given() && result_.extension_for("", format_) != ".ply")
        {
            throw CLI::ValidationError("--tile-points", "is for a mesh that becomes a .ply file");
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
        return tiles_.are_given() ? run_in_tiles(desk) : run_whole(desk);
    }

private:
    MergeSettings settings() const
    {
        MergeSettings settings = options_.settings();
        settings.layers = keep_layers_ ? Layers::ALL : keep_points_ ? Layers::BEST : Layers::MEAN;
        return settings;
    }

    Json run_in_tiles(Desk const& desk)
    {
        desk.outputs.check(this->outputs(), frame_source_files(source_.source));
        OutputFile const& output = result_.open("", format_, desk.outputs);
        // Tiles that do not stay go with what is temporary of the mesh.
        std::filesystem::path const folder = tiles_.folder().empty()
                                                 ? output.temporary().parent_path() / "tiles"
                                                 : std::filesystem::path(tiles_.folder());
        auto const tell = [&](std::size_t tile, TileResult const& result)
        { desk.console.print(to_text(tile, result)); };
        auto const merged = merge_in_tiles(source_.source, source_.settings, settings(),
                                           tiles_.settings(), folder, output, tell, desk.context);
        desk.console.print(to_text(result_.name_for(""), merged));
        return to_json(merged);
    }

    Json run_whole(Desk const& desk)
    {
        FrameSet set = load_bare_frames(source_.source, source_.settings, desk.context);
        desk.outputs.check(this->outputs(), set.files);
        MergeResult const merged = merge(std::move(set), settings(), desk.context);
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

    FrameSourceOptions source_;
    ResultPlace result_{ResultPlace::Kind::MESH};
    std::string format_ = "ply";
    CLI::Option* format_option_ = nullptr;
    MergeOptions options_;
    TileOptions tiles_;
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
