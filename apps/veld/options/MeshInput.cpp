#include "options/MeshInput.h"

#include "options/CommonOptions.h"
#include "shell/StandardStreams.h"
#include "workflow/Error.h"
#include "workflow/files/StagingDirectory.h"
#include "workflow/words.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>

namespace fs = std::filesystem;

namespace veld::cli
{

namespace
{

constexpr char const* BOTH_STREAMS = "the mesh on standard input and of the one on standard output";

char const* const NAME_OF_STANDARD_INPUT = "standard input";

/// A text that begins with a path, with another beginning.
std::string renamed(std::string const& text, fs::path const& path)
{
    std::string const begin = shown(path);
    return text.compare(0, begin.size(), begin) == 0
               ? NAME_OF_STANDARD_INPUT + text.substr(begin.size())
               : text;
}

/// Reads a copy of standard input. Messages do not name the copy.
template <typename Read>
MeshFile read_copy(Read const& read, fs::path const& copy, Context const& context)
{
    Context renaming = with_warnings(context,
                                     [&copy](Warning warning)
                                     {
                                         warning.about = renamed(warning.about, copy);
                                         return warning;
                                     });
    try
    {
        return read(copy, renaming);
    }
    catch (InputError const& error)
    {
        throw InputError(renamed(error.what(), copy), error.setting());
    }
}

} // namespace

CLI::Option* add_format(CLI::App& app, std::string& format, std::string const& of)
{
    return add_choice(app, "--format", format, {"ply", "stl", "obj", "off", "om"},
                      "Format of " + of + " (default: ply)");
}

void MeshInput::add(CLI::App& app, std::string const& note)
{
    app.add_option("MESH", meshes_,
                   "Mesh files: PLY, STL, OBJ, OFF or OM, one after the other; - is standard "
                   "input" +
                       note)
        ->required()
        ->option_text("...");
    format_option_ = add_format(app, format_, BOTH_STREAMS);
}

void MeshInput::add_with_clouds(CLI::App& app, std::string const& note)
{
    read_ = read_cloud;
    add(app, note);
}

void MeshInput::add_clouds(CLI::App& app)
{
    read_ = read_cloud;
    app.add_option("INPUT", meshes_,
                   "Clouds of points, one after the other: PLY, OBJ, OFF or OM, or text (.xyz, "
                   ".txt, .asc) of 'x y z', 'x y z intensity' or 'x y z nx ny nz' a line; - is "
                   "standard input, in a mesh format. Or frames, as for veld merge, whose points "
                   "become one cloud")
        ->required()
        ->option_text("...");
    format_option_ = add_format(app, format_, BOTH_STREAMS);
}

void MeshInput::add_one(CLI::App& app)
{
    repeatable(
        app.add_option("MESH", meshes_, "Mesh file: PLY, STL, OBJ, OFF or OM; - is standard input"))
        ->multi_option_policy(CLI::MultiOptionPolicy::Throw)
        ->required()
        ->option_text(" ");
    format_option_ = add_format(app, format_, BOTH_STREAMS);
}

std::vector<fs::path> MeshInput::files() const
{
    std::vector<fs::path> files;
    std::copy_if(meshes_.begin(), meshes_.end(), std::back_inserter(files),
                 [](std::string const& mesh) { return mesh != STANDARD_STREAM; });
    return files;
}

bool MeshInput::format_is_given() const
{
    return format_option_->count() > 0;
}

bool MeshInput::has_standard_input() const
{
    return std::find(meshes_.begin(), meshes_.end(), STANDARD_STREAM) != meshes_.end();
}

MeshFile MeshInput::read(std::string const& mesh, Context& context) const
{
    if (mesh != STANDARD_STREAM)
    {
        return read_(mesh, context);
    }
    auto const staging = StagingDirectory::for_stream(NAME_OF_STANDARD_INPUT);
    fs::path const copy = staging->path() / ("input." + format_);
    copy_standard_input(copy, context);
    return read_copy(read_, copy, context);
}

std::string mesh_name(std::string const& mesh)
{
    return mesh == STANDARD_STREAM ? NAME_OF_STANDARD_INPUT : mesh;
}

} // namespace veld::cli
