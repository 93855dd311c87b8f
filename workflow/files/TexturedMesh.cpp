#include "workflow/files/TexturedMesh.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/files/GlbWriter.h"
#include "workflow/files/InputFile.h"
#include "workflow/files/MeshFiles.h"
#include "workflow/words.h"

#include "algorithmVeld/common/image_io.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

constexpr char const* MATERIAL = "atlas";

fs::path with_extension(fs::path path, char const* extension)
{
    return path.replace_extension(extension);
}

/// \param file a JPEG \param output what messages name, where the image is a part of that
void write_image(OutputFile const& file, fs::path const& output, TextureImage const& image)
{
    constexpr int LONGEST_JPEG_SIDE = 65'500;
    if (std::max(image.width(), image.height()) > LONGEST_JPEG_SIDE)
    {
        throw OperationError(fmt::format(
            "{}: cannot be written: its texture has {} x {} pixels, and a JPEG takes {} a side; "
            "fewer or smaller photographs make it smaller",
            shown(output), image.width(), image.height(), LONGEST_JPEG_SIDE));
    }
    if (OrvaneAlgorithm::write_rgb_image(file.temporary().string(), image) != 0)
    {
        throw OperationError(fmt::format("{}: cannot be written: an image of {} x {} pixels",
                                         shown(output), image.width(), image.height()));
    }
}

/// Colours as they are, whatever the light.
std::string material_text(fs::path const& image)
{
    return fmt::format("newmtl {}\nKa 0 0 0\nKd 1 1 1\nKs 0 0 0\nillum 0\nmap_Kd {}\n", MATERIAL,
                       image.filename().u8string());
}

/// The mesh as any OBJ file has it, with its material in front.
void write_obj(OutputFile const& file, fs::path const& material, TexturedMesh const& textured,
               Context& context)
{
    OrvaneAlgorithm::TriMesh mesh = textured.mesh;
    if (mesh.has_vertex_colors())
    {
        mesh.release_vertex_colors();
    }
    write_mesh(file, mesh, context);
    write_text_file(
        file, fmt::format("mtllib {}\nusemtl {}\n", material.filename().u8string(), MATERIAL) +
                  file_bytes(file.temporary()));
}

/// What stands behind a keyword at the start of a line; empty if another one stands there.
std::string behind_keyword(std::string const& line, std::string const& keyword)
{
    auto const begin = line.find_first_not_of(" \t");
    if (begin == std::string::npos || line.compare(begin, keyword.size(), keyword) != 0)
    {
        return {};
    }
    auto const end = begin + keyword.size();
    auto const value = line.find_first_not_of(" \t\r", end);
    if (value == std::string::npos || value == end)
    {
        return {};
    }
    return line.substr(value, line.find_last_not_of(" \t\r") + 1 - value);
}

/// The files that an OBJ file names for its materials, up to its first face.
std::vector<fs::path> material_files(fs::path const& obj)
{
    std::vector<fs::path> files;
    auto stream = open_input(obj);
    for (std::string line; std::getline(stream, line);)
    {
        if (!behind_keyword(line, "f").empty())
        {
            break;
        }
        std::string const name = behind_keyword(line, "mtllib");
        if (!name.empty())
        {
            files.push_back(path_beside(obj, name));
        }
    }
    return files;
}

/// The name behind options such as "-s 1 1 1".
std::string without_options(std::string const& value)
{
    return value.front() == '-' ? value.substr(value.find_last_of(" \t") + 1) : value;
}

std::vector<fs::path> texture_files(fs::path const& materials)
{
    std::vector<fs::path> files;
    auto stream = open_input(materials);
    for (std::string line; std::getline(stream, line);)
    {
        std::string const value = behind_keyword(line, "map_Kd");
        if (value.empty())
        {
            continue;
        }
        fs::path const file = path_beside(materials, without_options(value));
        if (std::find(files.begin(), files.end(), file) == files.end())
        {
            files.push_back(file);
        }
    }
    return files;
}

/// Throws `InputError` with the reason why there is no image that can be taken.
TextureImage find_texture(fs::path const& obj)
{
    TextureImage image;
    auto const materials = material_files(obj);
    if (materials.empty())
    {
        return image;
    }
    auto const files = texture_files(materials.front());
    if (files.size() > 1)
    {
        throw InputError(fmt::format("{}: names {} textures, of which one can be taken",
                                     shown(materials.front()), files.size()));
    }
    if (!files.empty())
    {
        open_input(files.front()); // to tell a missing file from one of another kind
        if (OrvaneAlgorithm::read_rgb_image(files.front().string(), image) != 0)
        {
            throw InputError(shown(files.front()) + ": is no JPEG or PNG that can be read");
        }
    }
    return image;
}

} // namespace

std::vector<fs::path> textured_mesh_files(fs::path const& path)
{
    check_extension(path, {".obj", ".glb"});
    if (lower_extension(path) == ".glb")
    {
        return {path};
    }
    // The mesh comes last: once it is there, what it names is there too.
    return {with_extension(path, ".jpg"), with_extension(path, ".mtl"), path};
}

void write_textured_mesh(fs::path const& path, TexturedMesh const& textured, Context& context)
{
    Outputs outputs;
    write_textured_mesh(path, textured, outputs, context);
    outputs.commit();
}

void write_textured_mesh(fs::path const& path, TexturedMesh const& textured, Outputs& outputs,
                         Context& context)
{
    auto const files = textured_mesh_files(path);
    if (files.size() == 1)
    {
        write_glb(outputs.add(path), textured, context);
        return;
    }
    StepScope scope(context, "write-textured-mesh", "write the textured mesh");
    write_image(outputs.add(files[0]), files[0], textured.image);
    write_text_file(outputs.add(files[1]), material_text(files[0]));
    Context inner = context;
    inner.progress = nullptr;
    write_obj(outputs.add(files[2]), files[1], textured, inner);
}

void write_glb(OutputFile const& file, TexturedMesh const& textured, Context& context)
{
    StepScope const scope(context, "write-textured-mesh", "write the textured mesh");
    // Beside the file, in a directory that goes with it.
    OutputFile const image(with_extension(file.temporary(), ".jpg"));
    write_image(image, file.path(), textured.image);
    write_glb_file(file, textured.mesh, file_bytes(image.temporary()));
    OrvaneAlgorithm::detail::poll_cancel(); // the last moment before the file gets its place
}

std::vector<fs::path> files_named_by(fs::path const& mesh)
{
    std::error_code error;
    auto const is_file = [&](fs::path const& path) { return fs::is_regular_file(path, error); };
    std::vector<fs::path> files;
    if (lower_extension(mesh) != ".obj" || !is_file(mesh))
    {
        return files;
    }
    for (auto const& material : material_files(mesh))
    {
        if (is_file(material))
        {
            files.push_back(material);
            auto const images = texture_files(material);
            std::copy_if(images.begin(), images.end(), std::back_inserter(files), is_file);
        }
    }
    return files;
}

TextureImage read_texture_of(fs::path const& obj, Context& context)
{
    StepScope scope(context, "read-texture", "read the texture");
    try
    {
        return find_texture(obj);
    }
    catch (InputError const& error)
    {
        scope.warn(WarningCode::VALUES_DROPPED, shown(obj),
                   std::string("without its texture: ") + error.what());
        return {};
    }
}

} // namespace veld
