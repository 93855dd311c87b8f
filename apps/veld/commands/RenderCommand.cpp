#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "options/PictureOptions.h"
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

class RenderCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        add_mesh(app, mesh_);
        add_output(app, output_, "Picture to write, .png or .jpg")->required()->type_name("PNG");
        options_.add(app);
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
        RenderSettings const settings = options_.settings();
        Picture const picture =
            about(mesh_, [&] { return render(file.mesh, marks, settings, desk.context); });
        write_picture(desk.outputs.add(output_), picture, desk.context);
        return report(file.mesh, marks, picture, desk);
    }

private:
    FaceMarks new_faces(TriMesh const& mesh, Context& context) const
    {
        return original_.empty() ? FaceMarks()
                                 : mark_new_faces(mesh, read_mesh(original_, context).mesh);
    }

    Json report(TriMesh& mesh, FaceMarks const& marks, Picture const& picture,
                Desk const& desk) const
    {
        std::size_t const holes = find_holes(mesh, {}, desk.context).holes.size();
        Json json;
        json["width"] = picture.width();
        json["height"] = picture.height();
        json["faces"] = mesh.n_faces();
        json["holes"] = holes;
        std::string text =
            fmt::format("{}: {} x {} pixels, {}, {}", output_, picture.width(), picture.height(),
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
    PictureOptions options_;
};

} // namespace

std::unique_ptr<Command> make_render_command()
{
    return std::make_unique<RenderCommand>();
}

} // namespace veld::cli
