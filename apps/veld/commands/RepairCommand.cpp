#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "options/RepairOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/StepJson.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <vector>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

class RepairCommand : public MeshCommand
{
public:
    RepairCommand() : MeshCommand(ResultPlace::Kind::MESH) {}

    void add_options(CLI::App& app) override
    {
        input().add_with_clouds(app, ". They may be clouds of points with normals, for --method "
                                     "ball, also as text (.xyz, .txt, .asc) of 'x y z nx ny nz' a "
                                     "line");
        result().add_for_each_mesh(app);
        options_.add(app);
        set_example(app, "repair scan.ply -o repaired.ply");
    }

    void take_arguments() override
    {
        MeshCommand::take_arguments();
        if (!options_.refused_faces().empty() && input().meshes().size() > 1)
        {
            throw CLI::ValidationError("--refused-faces", "is for one mesh");
        }
    }

    /// A directory for refused faces that is not there is tried like a file.
    std::vector<fs::path> outputs() const override
    {
        auto files = MeshCommand::outputs();
        if (!refused_faces().empty() && !fs::exists(refused_faces()))
        {
            files.push_back(refused_faces());
        }
        return files;
    }

    Json run_on(std::string const& mesh, Desk const& desk) override
    {
        RepairSettings settings = options_.settings();
        StagingDirectory const* const refused = stage_refused_faces(desk, settings);
        MeshFile const file = input().read(mesh, desk.context);
        RepairResult const repaired =
            about(mesh_name(mesh), [&] { return repair(file.mesh, settings, desk.context); });
        add_refused_faces(refused, desk);
        write_mesh(open_result(mesh, desk), repaired.mesh, desk.context);
        desk.console.print(to_text(result().name_for(mesh), repaired));
        return to_json(repaired);
    }

private:
    /// The directory, without a slash behind it.
    fs::path refused_faces() const
    {
        fs::path const given = options_.refused_faces();
        return given.has_filename() ? given : given.parent_path();
    }

    /// The files of refused faces get their places with the others of the command.
    StagingDirectory const* stage_refused_faces(Desk const& desk, RepairSettings& settings) const
    {
        fs::path const directory = refused_faces();
        if (directory.empty())
        {
            return nullptr;
        }
        if (fs::exists(directory))
        {
            desk.outputs.make_directory(directory); // refuses a file
        }
        StagingDirectory const& staging =
            desk.outputs.make_staging(fs::exists(directory) ? directory : directory.parent_path());
        settings.refused_faces = staging.path();
        return &staging;
    }

    void add_refused_faces(StagingDirectory const* staging, Desk const& desk) const
    {
        if (staging == nullptr || fs::is_empty(staging->path()))
        {
            return;
        }
        desk.outputs.make_directory(refused_faces());
        std::vector<fs::path> names;
        for (auto const& entry : fs::directory_iterator(staging->path()))
        {
            names.push_back(entry.path().filename());
        }
        std::sort(names.begin(), names.end());
        for (auto const& name : names)
        {
            desk.outputs.add_staged(refused_faces() / name, *staging);
        }
    }

    RepairOptions options_;
};

} // namespace

std::unique_ptr<Command> make_repair_command()
{
    return std::make_unique<RepairCommand>();
}

} // namespace veld::cli
