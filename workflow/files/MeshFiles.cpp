#include "workflow/files/MeshFiles.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/files/CarriedNames.h"
#include "workflow/words.h"

#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/mesh_io.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

namespace veld
{

namespace
{

using OrvaneAlgorithm::MeshFileContents;
using OrvaneAlgorithm::MissingFaces;

/// Items of a sentence.
class Items
{
public:
    explicit Items(std::string separator) : separator_(std::move(separator)) {}

    void add(bool is_there, std::string const& item)
    {
        if (is_there)
        {
            text_ += (text_.empty() ? "" : separator_) + item;
        }
    }

    std::string const& text() const { return text_; }

private:
    std::string separator_;
    std::string text_;
};

std::string polygons(MeshFileContents const& contents)
{
    std::size_t quads = 0;
    std::size_t others = 0;
    for (auto const& [corners, count] : contents.faces)
    {
        quads += corners == 4 ? count : 0;
        others += corners > 4 ? count : 0;
    }
    Items items(" and ");
    items.add(quads > 0, counted(quads, "quad"));
    items.add(others > 0, counted(others, "larger face"));
    return items.text();
}

/// What had to be done that lost no face.
std::string mending(MeshFileContents const& contents)
{
    Items items("; ");
    items.add(contents.triangles_of_polygons > 0,
              fmt::format("{} cut into {}", polygons(contents),
                          counted(contents.triangles_of_polygons, "triangle")));
    items.add(contents.turned_faces > 0, fmt::format("{} turned over like most around",
                                                     counted(contents.turned_faces, "face")));
    items.add(contents.crowded_edges > 0,
              fmt::format("surfaces that meet taken apart at {} ({} added)",
                          counted(contents.crowded_edges, "edge"),
                          counted(contents.added_vertices, "vertex")));
    items.add(contents.crowded_edges == 0 && contents.added_vertices > 0,
              fmt::format("surfaces that meet in a point taken apart ({} added)",
                          counted(contents.added_vertices, "vertex")));
    return items.text();
}

/// Which faces are not in the mesh, and why.
std::string losses(MeshFileContents const& contents)
{
    Items items(", ");
    auto const add = [&](MissingFaces const& faces, char const* why) {
        items.add(faces.count > 0, fmt::format("{} {} (first: {})", faces.count, why, faces.first));
    };
    add(contents.not_finite, "at vertices that are not finite");
    add(contents.degenerate, "of fewer than three different corners");
    add(contents.too_large, "of too many corners");
    add(contents.repeated, "repeated");
    add(contents.unheld, "at an edge that a surface passes twice");
    return items.text();
}

void warn_of_mending(StepScope& scope, std::string const& path, MeshFileContents const& contents)
{
    std::size_t const lost = contents.faces_left_out();
    Items items("; ");
    items.add(lost > 0, fmt::format("{} left out: {}", counted(lost, "face"), losses(contents)));
    items.add(contents.vertices_not_finite > 0,
              fmt::format("{} left out that {} not finite",
                          counted(contents.vertices_not_finite, "vertex"),
                          contents.vertices_not_finite == 1 ? "is" : "are"));
    std::string const mended = mending(contents);
    items.add(!mended.empty(), mended);
    if (!items.text().empty())
    {
        scope.warn(lost > 0 ? WarningCode::FACES_LEFT_OUT : WarningCode::MESH_MENDED, path,
                   items.text());
    }
}

void warn_of_dropped(StepScope& scope, std::string const& path,
                     std::vector<std::string> const& dropped)
{
    Items items(", ");
    for (auto const& what : dropped)
    {
        items.add(true, what);
    }
    if (!dropped.empty())
    {
        scope.warn(WarningCode::VALUES_DROPPED, path, "not kept: " + items.text());
    }
}

/// What a mesh carries that a format cannot hold.
std::vector<std::string> beyond_format(TriMesh const& mesh, std::filesystem::path const& path)
{
    namespace detail = OrvaneAlgorithm::detail;
    std::string const extension = lower_extension(path);
    std::vector<std::string> names;
    if (detail::carries_texcoords(mesh) && extension != ".ply" && extension != ".obj")
    {
        names.emplace_back("texture coordinates");
    }
    if (extension != ".ply")
    {
        for (auto& name : carried_names(mesh))
        {
            names.push_back(std::move(name));
        }
    }
    return names;
}

/// \param read fills mesh and contents, and tells whether that worked
template <typename Read>
MeshFile read_by(Read const& read, std::string const& name, StepScope& scope)
{
    MeshFile file;
    if (!read(file.mesh, file.contents))
    {
        throw InputError(file.contents.error);
    }
    file.faces_left_out = file.contents.faces_left_out();
    warn_of_mending(scope, name, file.contents);
    warn_of_dropped(scope, name, file.contents.dropped);
    return file;
}

} // namespace

MeshFile read_mesh(std::filesystem::path const& path, Context& context)
{
    StepScope scope(context, "read-mesh", "read the mesh");
    auto const read = [&path](TriMesh& mesh, MeshFileContents& contents)
    { return OrvaneAlgorithm::read_and_mend_mesh(path.string(), mesh, contents); };
    return read_by(read, shown(path), scope);
}

MeshFile make_mesh(std::string const& name, OrvaneAlgorithm::BaseTriMesh&& arrays, Context& context)
{
    StepScope scope(context, "make-mesh", "make the mesh");
    auto const read = [&](TriMesh& mesh, MeshFileContents& contents)
    { return OrvaneAlgorithm::mend_mesh(name, std::move(arrays), mesh, contents); };
    return read_by(read, name, scope);
}

MeshFile read_cloud(std::filesystem::path const& path, Context& context)
{
    StepScope scope(context, "read-cloud", "read the points");
    auto const read = [&path](TriMesh& mesh, MeshFileContents& contents)
    { return OrvaneAlgorithm::read_cloud(path.string(), mesh, contents); };
    return read_by(read, shown(path), scope);
}

void write_mesh(std::filesystem::path const& path, TriMesh const& mesh, Context& context)
{
    check_mesh_extension(path);
    OutputFile file(path);
    write_mesh(file, mesh, context);
    file.commit();
}

void write_mesh(OutputFile const& file, TriMesh const& mesh, Context& context)
{
    StepScope scope(context, "write-mesh", "write the mesh");
    std::string const temporary = file.temporary().string();
    std::string error;
    if (!OrvaneAlgorithm::write_mesh(temporary, mesh, error))
    {
        bool const named = error.compare(0, temporary.size(), temporary) == 0;
        throw OperationError(named ? shown(file.path()) + error.substr(temporary.size()) : error);
    }
    warn_of_dropped(scope, shown(file.path()), beyond_format(mesh, file.path()));
    OrvaneAlgorithm::detail::poll_cancel(); // the last moment before the file gets its place
}

void check_mesh_extension(std::filesystem::path const& path)
{
    check_extension(path, {".ply", ".stl", ".obj", ".off", ".om"});
}

} // namespace veld
