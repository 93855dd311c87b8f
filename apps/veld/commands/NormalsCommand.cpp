#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/files/OutputFile.h"
#include "workflow/steps/LoadFrames.h"
#include "workflow/steps/Normals.h"
#include "workflow/steps/StepJson.h"
#include "workflow/words.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

/// Whether an input is one that `veld merge` takes too.
bool is_frame_source(std::string const& input)
{
    std::error_code error;
    std::string const extension = lower_extension(input);
    return extension == ".json" || extension == ".conf" || fs::is_directory(input, error);
}

class NormalsCommand : public MeshCommand
{
public:
    NormalsCommand() : MeshCommand(ResultPlace::Kind::CLOUD) {}

    void add_options(CLI::App& app) override
    {
        input().add_clouds(app);
        result().add_for_each_mesh(app);
        add_integer(app, "--neighbours", settings_.neighbours, FEWEST_NEIGHBOURS, MOST_NEIGHBOURS,
                    "So many nearest points beside a point itself make its plane (default: 16)");
        sensor_option_ = add_point(
            app, "--sensor", sensor_,
            "Where the points were seen from (mm): normals look there. Without it those of frames "
            "look at the sensors of these, and those of clouds outwards, as their neighbours do");
        scale_option_ = add_scale(app, frames_.scale);
        set_example(app, "normals scan.ply -o cloud.ply --sensor 0,0,500");
    }

    void take_arguments() override
    {
        MeshCommand::take_arguments();
        auto const& inputs = input().meshes();
        bool const has_frames = std::any_of(inputs.begin(), inputs.end(), is_frame_source);
        if (scale_option_->count() > 0 && !has_frames)
        {
            throw CLI::ValidationError("--scale", "is for frames");
        }
        if (has_frames && result().is_directory())
        {
            throw CLI::ValidationError("--output", "frames need a file for the one cloud of them");
        }
        if (writes_standard_output() && input().format() == "stl")
        {
            throw CLI::ValidationError("--format", "an STL file cannot hold points without faces");
        }
        if (sensor_option_->count() > 0)
        {
            settings_.sensor = sensor_;
        }
    }

    Json run_on(std::string const& name, Desk const& desk) override
    {
        NormalsResult const normals =
            is_frame_source(name) ? of_frames(name, desk) : of_cloud(name, desk);
        write_mesh(open_result(name, desk), normals.cloud, desk.context);
        desk.console.print(to_text(result().name_for(name), normals));
        return to_json(normals);
    }

private:
    NormalsResult of_frames(std::string const& name, Desk const& desk) const
    {
        FrameSet const set = load_frames(name, frames_, desk.context);
        desk.outputs.check(this->outputs(), set.files);
        return about(name, [&] { return estimate_normals(set, settings_, desk.context); });
    }

    NormalsResult of_cloud(std::string const& name, Desk const& desk) const
    {
        MeshFile const file = input().read(name, desk.context);
        Context naming = with_warnings(desk.context,
                                       [&name](Warning warning)
                                       {
                                           warning.about = mesh_name(name);
                                           return warning;
                                       });
        if (file.mesh.n_faces() > 0)
        {
            naming.warn({WarningCode::VALUES_DROPPED, "",
                         "not kept: " + counted(file.mesh.n_faces(), "face")});
        }
        return about(mesh_name(name),
                     [&] { return estimate_normals(file.mesh, settings_, naming); });
    }

    OrvaneAlgorithm::Vector3f sensor_ = OrvaneAlgorithm::Vector3f::Zero();
    CLI::Option* sensor_option_ = nullptr;
    LoadFramesSettings frames_;
    CLI::Option* scale_option_ = nullptr;
    NormalsSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_normals_command()
{
    return std::make_unique<NormalsCommand>();
}

} // namespace veld::cli
