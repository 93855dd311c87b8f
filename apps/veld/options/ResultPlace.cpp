#include "options/ResultPlace.h"

#include "options/CommonOptions.h"
#include "options/MeshInput.h"
#include "shell/StandardStreams.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Render.h"

#include <CLI/CLI.hpp>

namespace fs = std::filesystem;

namespace veld::cli
{

void ResultPlace::add(CLI::App& app)
{
    bool const is_mesh = kind_ == Kind::MESH;
    option_ = add_output(app, path_,
                         is_mesh ? "Mesh file to write, its extension tells the format; - is "
                                   "standard output"
                                 : "Picture to write, .png or .jpg; - is a PNG on standard output");
    option_->required()->type_name(is_mesh ? "OUT" : "PNG");
}

void ResultPlace::add_for_each_mesh(CLI::App& app)
{
    add(app);
    option_->description(option_->get_description() + ", DIR/ a file of each mesh's name");
}

void ResultPlace::allow_directory(bool several_meshes)
{
    std::error_code error;
    is_directory_ =
        given().filename().empty() || (several_meshes && fs::is_directory(given(), error));
}

bool ResultPlace::is_standard_output() const
{
    return path_ == STANDARD_STREAM;
}

fs::path ResultPlace::file_for(std::string const& mesh) const
{
    if (!is_directory_)
    {
        return path_;
    }
    fs::path file = given() / fs::path(mesh).filename();
    return kind_ == Kind::MESH ? file : file.replace_extension(".png");
}

std::string ResultPlace::name_for(std::string const& mesh) const
{
    return is_standard_output() ? "standard output" : file_for(mesh).string();
}

std::string ResultPlace::extension_for(std::string const& mesh, std::string const& format) const
{
    if (is_standard_output())
    {
        return kind_ == Kind::MESH ? "." + format : ".png";
    }
    return lower_extension(file_for(mesh));
}

void ResultPlace::check_extension() const
{
    if (is_standard_output() || is_directory_)
    {
        return;
    }
    if (kind_ == Kind::MESH)
    {
        check_mesh_extension(path_);
    }
    else
    {
        check_picture_extension(path_);
    }
}

OutputFile const& ResultPlace::open(std::string const& mesh, std::string const& format,
                                    Outputs& outputs) const
{
    return is_standard_output()
               ? outputs.add(binary_standard_output(), name_for(mesh), extension_for(mesh, format))
               : outputs.add(file_for(mesh));
}

} // namespace veld::cli
