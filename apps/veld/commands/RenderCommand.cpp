#include "commands/Command.h"
#include "shell/CommonOptions.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/FindHoles.h"
#include "workflow/steps/Render.h"
#include "workflow/words.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace veld::cli
{

namespace
{

/// Azimuth and elevation of the named views.
std::map<std::string, std::pair<double, double>> const NAMED_VIEWS{
    {"front", {0.0, 0.0}},
    {"back", {180.0, 0.0}},
    {"left", {-90.0, 0.0}},
    {"right", {90.0, 0.0}},
    {"top", {0.0, 90.0}},
    {"bottom", {0.0, -90.0}},
    {"iso", {45.0, 35.264389682754654}}};

std::map<std::string, UpAxis> const UP_AXES{{"y", UpAxis::Y}, {"z", UpAxis::Z}};

template <typename Value>
std::vector<std::string> names(std::map<std::string, Value> const& map)
{
    std::vector<std::string> result;
    result.reserve(map.size());
    for (auto const& entry : map)
    {
        result.push_back(entry.first);
    }
    return result;
}

class RenderCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_mesh(app, mesh_);
        app.add_option("-o,--output", output_, "Picture to write, .png or .jpg")
            ->required()
            ->type_name("PNG");
        add_view_options(app);
        add_integer(app, "--width", settings_.width, 1, 16384, "Pixels (default: 1200)");
        add_integer(app, "--height", settings_.height, 1, 16384, "Pixels (default: 900)");
        add_number(app, "--line-width", settings_.line_width, 0.0, 100.0,
                   "Width of the hole rims in pixels, 0 draws none (default: 4)");
        app.add_option("--compare", original_,
                       "Mesh before a change: faces that it lacks get another colour")
            ->type_name("ORIGINAL");
        set_example(app, "render scan.ply -o scan.png --view front");
    }

    std::vector<std::filesystem::path> inputs() const override
    {
        return original_.empty() ? std::vector<std::filesystem::path>{mesh_}
                                 : std::vector<std::filesystem::path>{mesh_, original_};
    }

    std::vector<std::filesystem::path> outputs() const override
    {
        check_picture_extension(output_);
        return {output_};
    }

    Json run(Desk const& desk) override
    {
        MeshFile file = read_mesh(mesh_, desk.context);
        auto const marks = new_faces(file.mesh, desk.context);
        choose_view();
        Picture const picture =
            about(mesh_, [&] { return render(file.mesh, marks, settings_, desk.context); });
        write_picture(desk.outputs.add(output_), picture, desk.context);
        return report(file.mesh, marks, desk);
    }

private:
    void add_view_options(CLI::App& app)
    {
        auto* const view = app.add_option("--view", view_,
                                          "Look from the front, back, left, right, top, bottom or "
                                          "iso (default: azimuth 30, elevation 20)")
                               ->type_name("NAME")
                               ->check(CLI::IsMember(names(NAMED_VIEWS)));
        auto* const azimuth = add_number(app, "--azimuth", settings_.view.azimuth, -360.0, 360.0,
                                         "Degrees round the object, from its front to its right");
        auto* const elevation = add_number(app, "--elevation", settings_.view.elevation, -90.0,
                                           90.0, "Degrees above the object");
        view->excludes(azimuth)->excludes(elevation);
        app.add_option("--up", up_,
                       "Axis that points up: y (front is +z) or z (front is -y); "
                       "default: y")
            ->type_name("AXIS")
            ->check(CLI::IsMember(names(UP_AXES)));
    }

    void choose_view()
    {
        if (!view_.empty())
        {
            std::tie(settings_.view.azimuth, settings_.view.elevation) = NAMED_VIEWS.at(view_);
        }
        settings_.view.up = UP_AXES.at(up_);
    }

    FaceMarks new_faces(TriMesh const& mesh, Context& context) const
    {
        return original_.empty() ? FaceMarks()
                                 : mark_new_faces(mesh, read_mesh(original_, context).mesh);
    }

    Json report(TriMesh& mesh, FaceMarks const& marks, Desk const& desk) const
    {
        std::size_t const holes = find_holes(mesh, {}, desk.context).holes.size();
        Json json;
        json["width"] = settings_.width;
        json["height"] = settings_.height;
        json["faces"] = mesh.n_faces();
        json["holes"] = holes;
        std::string text =
            fmt::format("{}: {} x {} pixels, {}, {}", output_, settings_.width, settings_.height,
                        counted(mesh.n_faces(), "face"), counted(holes, "hole"));
        if (!original_.empty())
        {
            auto const count = static_cast<std::size_t>(std::count(marks.begin(), marks.end(), 1));
            json["new_faces"] = count;
            text += fmt::format(", {} that {} lacks", count, original_);
        }
        desk.console.print(text + "\n");
        return json;
    }

    std::string mesh_;
    std::string output_;
    std::string original_;
    std::string view_;
    std::string up_ = "y";
    RenderSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_render_command()
{
    return std::make_unique<RenderCommand>();
}

} // namespace veld::cli
