#include "Command.h"
#include "CommonOptions.h"
#include "MeshFiles.h"
#include "Session.h"
#include "Sticks.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <filesystem>

namespace veld
{

namespace
{

class SticksCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("MESH", mesh_, "Mesh file: PLY, STL, OBJ, OFF or OM")
            ->required()
            ->option_text(" ");
        app.add_option("--seeds", seeds_,
                       "A stick a line, 'x y z diameter height' in mm; the point is on the stick")
            ->required()
            ->type_name("FILE");
        app.add_option("-o,--output", directory_,
                       "Directory for the sticks, stick-0.ply and so on, numbered as their seeds")
            ->required()
            ->type_name("DIR");
        app.add_flag("--down", down_, "The tips lie towards -z (default: towards +z)");
        set_example(app, "sticks scan.ply --seeds seeds.txt -o sticks");
    }

    std::string directory() const override { return directory_; }

    std::vector<std::string> inputs() const override { return {mesh_, seeds_}; }

    std::vector<std::string> outputs() const override
    {
        // A wrong seed file is told before a large mesh is read.
        std::vector<std::string> files;
        for (std::size_t i = 0; i < read_seeds(seeds_).points.size(); ++i)
        {
            files.push_back(file(i));
        }
        return files;
    }

    Json run(Console& console, Outputs& outputs) override
    {
        StickSeeds const seeds = read_seeds(seeds_);
        TriMesh mesh;
        load_mesh(mesh_, mesh, console);
        auto const sticks = cut_sticks(mesh, mesh_, seeds, down_ ? StickTips::down : StickTips::up);
        Json list = Json::array();
        for (std::size_t i = 0; i < sticks.size(); ++i)
        {
            save_mesh(outputs.add(file(i)), sticks[i]);
            if (sticks[i].n_faces() == 0)
            {
                console.warn(file(i) + ": empty: no face at the seed is within the stick's reach");
            }
            console.print(to_text(file(i), sticks[i]));
            list.push_back(to_json(file(i), sticks[i]));
        }
        return Json{{"sticks", list}};
    }

private:
    std::string file(std::size_t i) const
    {
        return (std::filesystem::path(directory_) / fmt::format("stick-{}.ply", i)).string();
    }

    std::string mesh_;
    std::string seeds_;
    std::string directory_;
    bool down_ = false;
};

} // namespace

std::unique_ptr<Command> make_sticks_command()
{
    return std::make_unique<SticksCommand>();
}

} // namespace veld
