#include "Command.h"
#include "CommonOptions.h"
#include "Errors.h"
#include "HoleSummary.h"
#include "MeshFiles.h"
#include "NewFaces.h"
#include "Picture.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <algorithm>
#include <map>

namespace veld
{

namespace
{

/// Azimuth and elevation of the named views.
std::map<std::string, std::pair<double, double>> const named_views{
    {"front", {0.0, 0.0}},
    {"back", {180.0, 0.0}},
    {"left", {-90.0, 0.0}},
    {"right", {90.0, 0.0}},
    {"top", {0.0, 90.0}},
    {"bottom", {0.0, -90.0}},
    {"iso", {45.0, 35.264389682754654}}};

std::map<std::string, UpAxis> const up_axes{{"y", UpAxis::y}, {"z", UpAxis::z}};

template <typename Value>
std::vector<std::string> names(std::map<std::string, Value> const& map)
{
    std::vector<std::string> result;
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
        app.add_option("MESH", mesh_, "Mesh file: PLY, STL, OBJ, OFF or OM")
            ->required()
            ->option_text(" ");
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

    std::vector<std::string> inputs() const override
    {
        return original_.empty() ? std::vector<std::string>{mesh_}
                                 : std::vector<std::string>{mesh_, original_};
    }

    std::vector<std::string> outputs() const override
    {
        check_extension(output_, {".png", ".jpg", ".jpeg"});
        return {output_};
    }

    Json run(Console& console, Outputs& outputs) override
    {
        TriMesh mesh;
        load_mesh(mesh_, mesh, console);
        if (mesh.n_faces() == 0)
        {
            throw InputError(mesh_ + ": has no face to draw");
        }
        auto const marks = new_faces(mesh, console);
        choose_view();
        save_picture(outputs.add(output_), draw_picture(mesh, settings_, marks));
        return report(mesh, marks, console);
    }

private:
    void add_view_options(CLI::App& app)
    {
        auto* const view = app.add_option("--view", view_,
                                          "Look from the front, back, left, right, top, bottom or "
                                          "iso (default: azimuth 30, elevation 20)")
                               ->type_name("NAME")
                               ->check(CLI::IsMember(names(named_views)));
        auto* const azimuth = add_number(app, "--azimuth", settings_.view.azimuth, -360.0, 360.0,
                                         "Degrees round the object, from its front to its right");
        auto* const elevation = add_number(app, "--elevation", settings_.view.elevation, -90.0,
                                           90.0, "Degrees above the object");
        view->excludes(azimuth)->excludes(elevation);
        app.add_option("--up", up_,
                       "Axis that points up: y (front is +z) or z (front is -y); "
                       "default: y")
            ->type_name("AXIS")
            ->check(CLI::IsMember(names(up_axes)));
    }

    void choose_view()
    {
        if (!view_.empty())
        {
            std::tie(settings_.view.azimuth, settings_.view.elevation) = named_views.at(view_);
        }
        settings_.view.up = up_axes.at(up_);
    }

    std::vector<char> new_faces(TriMesh const& mesh, Console& console) const
    {
        if (original_.empty())
        {
            return {};
        }
        TriMesh original;
        load_mesh(original_, original, console);
        return mark_new_faces(mesh, original);
    }

    Json report(TriMesh& mesh, std::vector<char> const& marks, Console& console) const
    {
        std::size_t const holes = all_holes(mesh).size();
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
        console.print(text + "\n");
        return json;
    }

    std::string mesh_;
    std::string output_;
    std::string original_;
    std::string view_;
    std::string up_ = "y";
    PictureSettings settings_;
};

} // namespace

std::unique_ptr<Command> make_render_command()
{
    return std::make_unique<RenderCommand>();
}

} // namespace veld
