#include "Command.h"
#include "CommonOptions.h"
#include "MeshFiles.h"
#include "MeshHealth.h"
#include "Session.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace veld
{

namespace
{

Json to_json(MeshHealth const& health, std::size_t faces_left_out)
{
    Json json;
    json["vertices"] = health.vertices;
    json["faces"] = health.faces;
    json["edges"] = health.edges;
    json["boundary_edges"] = health.boundary_edges;
    json["holes"] = health.holes;
    json["components"] = health.components;
    json["non_manifold_vertices"] = health.non_manifold_vertices;
    json["isolated_vertices"] = health.isolated_vertices;
    json["faces_left_out"] = faces_left_out;
    json["closed"] = health.closed;
    json["average_edge_length"] = health.average_edge_length;
    json["bounding_box"] = {{"min", json_point(health.box_min)},
                            {"max", json_point(health.box_max)}};
    return json;
}

std::string to_text(std::string const& path, MeshHealth const& health, std::size_t faces_left_out)
{
    std::string text = path + (health.closed ? ": closed\n" : ": open\n");
    auto const add = [&text](char const* name, std::size_t count)
    { text += fmt::format("  {:<24}{:>12}\n", name, count); };
    add("vertices", health.vertices);
    add("faces", health.faces);
    add("edges", health.edges);
    add("boundary edges", health.boundary_edges);
    add("holes", health.holes);
    add("components", health.components);
    add("non-manifold vertices", health.non_manifold_vertices);
    add("isolated vertices", health.isolated_vertices);
    add("faces left out", faces_left_out);
    text +=
        fmt::format("  {:<24}{:>12.6g} mm\n", "average edge length", health.average_edge_length);
    auto const size = (health.box_max.cast<double>() - health.box_min.cast<double>()).eval();
    text += fmt::format("  {:<24}{:>12.6g} x {:.6g} x {:.6g} mm\n", "bounding box", size.x(),
                        size.y(), size.z());
    return text;
}

class InfoCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        app.add_option("MESH", mesh_, "Mesh file: PLY, STL, OBJ, OFF or OM")
            ->required()
            ->option_text(" ");
        set_example(app, "info scan.ply");
    }

    std::vector<std::string> inputs() const override { return {mesh_}; }

    Json run(Console& console, Outputs& /*outputs*/) override
    {
        TriMesh mesh;
        std::size_t const left_out = load_mesh(mesh_, mesh, console);
        Step const step("measure-health");
        MeshHealth const health = measure_health(mesh);
        console.print(to_text(mesh_, health, left_out));
        return to_json(health, left_out);
    }

private:
    std::string mesh_;
};

} // namespace

std::unique_ptr<Command> make_info_command()
{
    return std::make_unique<InfoCommand>();
}

} // namespace veld
