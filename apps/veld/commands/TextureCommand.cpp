#include "commands/Command.h"
#include "options/CommonOptions.h"
#include "options/MeshInput.h"
#include "options/TextureOptions.h"
#include "shell/StandardStreams.h"
#include "shell/Texts.h"
#include "workflow/files/TexturedMesh.h"
#include "workflow/steps/LoadPhotos.h"
#include "workflow/steps/StepJson.h"
#include "workflow/steps/Texture.h"

#include <CLI/CLI.hpp>

#include <string>

namespace veld::cli
{

namespace
{

class TextureCommand : public Command
{
public:
    void add_options(CLI::App& app) override
    {
        input_.add_one(app);
        app.add_option("--photos", photos_,
                       "Photographs with their cameras: folder with cameras.json or with "
                       "cameras.txt and images.txt of COLMAP, or one of these files")
            ->type_name("SOURCE")
            ->required();
        add_output(app, output_,
                   "Textured mesh to write: .obj with .mtl and .jpg beside it, or .glb; - is a GLB "
                   "on standard output")
            ->type_name("OUT")
            ->required();
        options_.add(app);
        set_example(app, "texture scan.ply --photos photos/ -o textured.glb --scale 1000");
    }

    void take_arguments() override
    {
        if (input_.format_is_given() && !input_.has_standard_input())
        {
            throw CLI::ValidationError("--format", "is for a mesh on standard input");
        }
    }

    bool writes_standard_output() const override { return output_ == STANDARD_STREAM; }

    std::vector<std::filesystem::path> outputs() const override
    {
        return writes_standard_output() ? std::vector<std::filesystem::path>()
                                        : textured_mesh_files(output_);
    }

    std::vector<std::filesystem::path> inputs() const override
    {
        auto files = photo_source_files(photos_);
        for (auto const& mesh : input_.files())
        {
            files.push_back(mesh);
            auto const named = files_named_by(mesh);
            files.insert(files.end(), named.begin(), named.end());
        }
        return files;
    }

    Json run(Desk const& desk) override
    {
        std::string const mesh = input_.meshes().front();
        MeshFile const file = input_.read(mesh, desk.context);
        PhotoSet const photos = load_photos(photos_, desk.context);
        TextureResult const result =
            about(mesh_name(mesh),
                  [&] { return texture(file.mesh, photos, options_.settings(), desk.context); });
        write(result.textured, desk);
        desk.console.print(to_text(name_of_output(), result));
        return to_json(result);
    }

private:
    std::string name_of_output() const
    {
        return writes_standard_output() ? "standard output" : output_;
    }

    void write(TexturedMesh const& textured, Desk const& desk) const
    {
        if (writes_standard_output())
        {
            write_glb(desk.outputs.add(binary_standard_output(), name_of_output(), ".glb"),
                      textured, desk.context);
            return;
        }
        write_textured_mesh(output_, textured, desk.outputs, desk.context);
    }

    MeshInput input_;
    std::string photos_;
    std::string output_;
    TextureOptions options_;
};

} // namespace

std::unique_ptr<Command> make_texture_command()
{
    return std::make_unique<TextureCommand>();
}

} // namespace veld::cli
