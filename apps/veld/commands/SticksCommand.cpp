#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "shell/Texts.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/files/SeedFile.h"
#include "workflow/steps/CutSticks.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace veld::cli
{

namespace
{

class SticksCommand : public MeshCommand
{
public:
    void add_options(CLI::App& app) override
    {
        input().add_one(app);
        app.add_option("--seeds", seeds_,
                       "A stick a line, 'x y z diameter height' in mm; the point is on the stick")
            ->required()
            ->type_name("FILE");
        add_output_directory(
            app, directory_,
            "Directory for the sticks, stick-0.ply and so on, numbered as their seeds")
            ->required();
        app.add_flag("--down", down_, "The tips lie towards -z (default: towards +z)");
        set_example(app, "sticks scan.ply --seeds seeds.txt -o sticks");
    }

    std::filesystem::path directory() const override { return directory_; }

    std::vector<std::filesystem::path> further_inputs() const override { return {seeds_}; }

    std::vector<std::filesystem::path> outputs() const override
    {
        // A wrong seed file is told before a large mesh is read.
        std::vector<std::filesystem::path> files;
        for (std::size_t i = 0; i < read_seeds(seeds_).points.size(); ++i)
        {
            files.emplace_back(file(i));
        }
        return files;
    }

    Json run_on(std::string const& name, Desk const& desk) override
    {
        StickSeeds const seeds = read_seeds(seeds_);
        MeshFile mesh = input().read(name, desk.context);
        CutSticksSettings settings;
        settings.tips = down_ ? StickTips::DOWN : StickTips::UP;
        auto const sticks = about(mesh_name(name), [&]
                                  { return cut_sticks(mesh.mesh, seeds, settings, desk.context); });
        Json list = Json::array();
        for (std::size_t i = 0; i < sticks.size(); ++i)
        {
            write_mesh(desk.outputs.add(file(i)), sticks[i], desk.context);
            desk.console.print(to_text(file(i), sticks[i]));
            list.push_back({{"file", file(i)},
                            {"vertices", sticks[i].n_vertices()},
                            {"faces", sticks[i].n_faces()}});
        }
        return Json{{"sticks", list}};
    }

private:
    std::string file(std::size_t i) const
    {
        return (std::filesystem::path(directory_) / fmt::format("stick-{}.ply", i)).string();
    }

    std::string seeds_;
    std::string directory_;
    bool down_ = false;
};

} // namespace

std::unique_ptr<Command> make_sticks_command()
{
    return std::make_unique<SticksCommand>();
}

} // namespace veld::cli
