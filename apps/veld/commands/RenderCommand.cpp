#include "commands/MeshCommand.h"
#include "options/CommonOptions.h"
#include "options/PictureOptions.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/files/TexturedMesh.h"
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

class RenderCommand : public MeshCommand
{
public:
    RenderCommand() : MeshCommand(ResultPlace::Kind::PICTURE) {}

    void add_options(CLI::App& app) override
    {
        input().add(app);
        result().add_for_each_mesh(app);
        options_.add(app);
        app.add_option("--compare", original_,
                       "Mesh before a change: faces that it lacks get another colour")
            ->type_name("ORIGINAL");
        set_example(app, "render scan.ply -o scan.png --view front");
    }

    std::vector<std::filesystem::path> further_inputs() const override
    {
        return original_.empty() ? std::vector<std::filesystem::path>()
                                 : std::vector<std::filesystem::path>{original_};
    }

    Json run_on(std::string const& mesh, Desk const& desk) override
    {
        bool const may_have_texture = mesh != STANDARD_STREAM && lower_extension(mesh) == ".obj";
        Picture const texture = may_have_texture ? read_texture_of(mesh, desk.context) : Picture();
        MeshFile file = read(mesh, !texture.empty(), desk.context);
        auto const marks = new_faces(file.mesh, desk.context);
        RenderSettings const settings = options_.settings();
        Picture const picture =
            about(mesh_name(mesh),
                  [&] { return render(file.mesh, texture, marks, settings, desk.context); });
        write_picture(open_result(mesh, desk), picture, desk.context);
        return report(result().name_for(mesh), file.mesh, marks, picture, desk);
    }

private:
    /// Without the warning that materials are not kept where they are shown.
    MeshFile read(std::string const& mesh, bool has_texture, Context const& context) const
    {
        auto const keep_back_shown = [has_texture](Warning const& warning)
        {
            bool const is_shown = has_texture && warning.code == WarningCode::VALUES_DROPPED &&
                                  warning.text == "not kept: materials";
            return is_shown ? std::nullopt : std::optional<Warning>(warning);
        };
        Context reading = with_warnings(context, keep_back_shown);
        return input().read(mesh, reading);
    }

    FaceMarks new_faces(TriMesh const& mesh, Context& context) const
    {
        return original_.empty() ? FaceMarks()
                                 : mark_new_faces(mesh, read_mesh(original_, context).mesh);
    }

    Json report(std::string const& name, TriMesh& mesh, FaceMarks const& marks,
                Picture const& picture, Desk const& desk) const
    {
        std::size_t const holes = find_holes(mesh, {}, desk.context).holes.size();
        Json json;
        json["width"] = picture.width();
        json["height"] = picture.height();
        json["faces"] = mesh.n_faces();
        json["holes"] = holes;
        std::string text =
            fmt::format("{}: {} x {} pixels, {}, {}", name, picture.width(), picture.height(),
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

    std::string original_;
    PictureOptions options_;
};

} // namespace

std::unique_ptr<Command> make_render_command()
{
    return std::make_unique<RenderCommand>();
}

} // namespace veld::cli
