#include "Command.h"
#include "CommonOptions.h"
#include "Filling.h"
#include "HoleSummary.h"
#include "MeshFiles.h"

#include <CLI/CLI.hpp>

#include <map>

namespace veld
{

namespace
{

std::map<std::string, FillMethod> const methods{{"clip", FillMethod::clip},
                                                {"trim", FillMethod::trim}};

class FillCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("MESH", mesh_, "Mesh file: PLY, STL, OBJ, OFF or OM")
            ->required()
            ->option_text(" ");
        app.add_option("-o,--output", output_, "Mesh file to write; the extension tells the format")
            ->required()
            ->type_name("OUT");
        app.add_option("--method", method_,
                       "clip: convex corners only, for flat holes; trim: all corners, holes in "
                       "parallel (default: trim)")
            ->type_name("NAME")
            ->check(CLI::IsMember(std::vector<std::string>{"clip", "trim"}));
        add_limits(app);
        set_example(app, "fill scan.ply -o filled.ply --method trim --max-perimeter 100");
    }

    std::vector<std::string> inputs() const override { return {mesh_}; }

    std::vector<std::string> outputs() const override
    {
        check_mesh_extension(output_);
        return {output_};
    }

    Json run(Console& console) override
    {
        TriMesh mesh;
        load_mesh(mesh_, mesh, console);
        FillSettings settings = settings_;
        settings.method = methods.at(method_);
        if (perimeter_->count() == 0)
        {
            // The outer border of an open scan is longer than this, a hole hardly ever.
            settings.max_perimeter = box_diagonal(mesh);
        }
        FillResult const result = fill_mesh(mesh, settings);
        save_mesh(output_, mesh);
        console.print(to_text(output_, result));
        return to_json(result);
    }

private:
    void add_limits(CLI::App& app)
    {
        perimeter_ = add_length(app, "--max-perimeter", settings_.max_perimeter,
                                "Only holes shorter than this in mm, 0: any (default: diagonal of "
                                "the bounding box, so that the border of an open scan stays open)");
        add_integer(app, "--max-edges", settings_.max_edges, 0, 1'000'000'000,
                    "Only holes of at most so many edges, 0: any (default: 0)");
        add_length(app, "--edge-length", settings_.edge_length,
                   "Stop a hole at a new edge longer than this in mm, 0: any (default: 0)");
        add_number(app, "--normal-angle", settings_.normal_angle, 0.0, 180.0,
                   "Stop a hole at a new face turned more than this away from the faces around it, "
                   "in degrees, 180: any (default: 150)");
    }

    std::string mesh_;
    std::string output_;
    std::string method_ = "trim";
    CLI::Option* perimeter_ = nullptr;
    FillSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_fill_command()
{
    return std::make_unique<FillCommand>();
}

} // namespace veld
