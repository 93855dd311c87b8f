#include "options/ResultPlace.h"

#include "options/CommonOptions.h"
#include "options/MeshInput.h"
#include "shell/StandardStreams.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/steps/Render.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

/// Of the formats that hold points without faces and can be written.
std::vector<std::string> const CLOUD_EXTENSIONS{".ply", ".obj", ".off", ".om"};

/// Whether a result can have the extension of a path.
bool can_be(ResultPlace::Kind kind, fs::path const& path)
{
    std::string const extension = lower_extension(path);
    bool const holds_points = std::find(CLOUD_EXTENSIONS.begin(), CLOUD_EXTENSIONS.end(),
                                        extension) != CLOUD_EXTENSIONS.end();
    return kind != ResultPlace::Kind::PICTURE &&
           (holds_points || (kind == ResultPlace::Kind::MESH && extension == ".stl"));
}

char const* description_of(ResultPlace::Kind kind)
{
    switch (kind)
    {
    case ResultPlace::Kind::MESH:
        return "Mesh file to write, its extension tells the format; - is standard output";
    case ResultPlace::Kind::CLOUD:
        return "Cloud to write, .ply, .obj, .off or .om; - is standard output";
    case ResultPlace::Kind::PICTURE:
        break;
    }
    return "Picture to write, .png or .jpg; - is a PNG on standard output";
}

} // namespace

void ResultPlace::add(CLI::App& app)
{
    option_ = add_output(app, path_, description_of(kind_));
    option_->required()->type_name(kind_ == Kind::PICTURE ? "PNG" : "OUT");
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
    return can_be(kind_, file) ? file
                               : file.replace_extension(kind_ == Kind::PICTURE ? ".png" : ".ply");
}

std::string ResultPlace::name_for(std::string const& mesh) const
{
    return is_standard_output() ? "standard output" : file_for(mesh).string();
}

std::string ResultPlace::extension_for(std::string const& mesh, std::string const& format) const
{
    if (is_standard_output())
    {
        return kind_ == Kind::PICTURE ? ".png" : "." + format;
    }
    return lower_extension(file_for(mesh));
}

void ResultPlace::check_extension() const
{
    if (is_standard_output() || is_directory_)
    {
        return;
    }
    switch (kind_)
    {
    case Kind::MESH:
        return check_mesh_extension(path_);
    case Kind::CLOUD:
        return veld::check_extension(path_, CLOUD_EXTENSIONS);
    case Kind::PICTURE:
        return check_picture_extension(path_);
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
