#include "algorithmVeld/common/mesh_io.h"

#include "algorithmVeld/common/files/AtomicFile.h"
#include "algorithmVeld/common/files/TextCursor.h"
#include "algorithmVeld/common/files/WholeFile.h"
#include "algorithmVeld/common/mesh_files/ArraySoup.h"
#include "algorithmVeld/common/mesh_files/MeshReaders.h"
#include "algorithmVeld/common/mesh_files/ObjWriter.h"
#include "algorithmVeld/common/mesh_files/PlyWriter.h"
#include "algorithmVeld/common/mesh_files/QuietOpenMesh.h"
#include "algorithmVeld/common/mesh_files/SoupMending.h"
#include "algorithmVeld/common/mesh_files/SoupOrientation.h"
#include "algorithmVeld/common/mesh_files/SoupSeparation.h"
#include "algorithmVeld/common/mesh_files/StoppableStream.h"
#include "algorithmVeld/common/mesh_files/openmesh_io.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <limits>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

namespace fs = std::filesystem;
using detail::FileError;
using OpenMesh::IO::Options;

using Read = detail::MeshSoup (*)(std::string_view content);

struct Format
{
    char const* extension;
    Read read;
    void (*write)(TriMesh const& mesh, std::ostream& stream);
};

void write_stl(TriMesh const& mesh, std::ostream& stream);
void write_off(TriMesh const& mesh, std::ostream& stream);
void write_om(TriMesh const& mesh, std::ostream& stream);

constexpr Format FORMATS[] = {{".ply", detail::read_ply, detail::write_ply},
                              {".stl", detail::read_stl, write_stl},
                              {".obj", detail::read_obj, detail::write_obj},
                              {".off", detail::read_off, write_off},
                              {".om", detail::read_om, write_om}};

/// Text that holds points and no faces.
constexpr char const* CLOUD_EXTENSIONS[] = {".xyz", ".txt", ".asc"};

Format const& format_of(fs::path const& path)
{
    std::string known;
    for (auto const& format : FORMATS)
    {
        if (detail::equal_ignoring_case(path.extension().string(), format.extension))
        {
            return format;
        }
        known += std::string(" ") + format.extension;
    }
    throw FileError("unknown mesh format (known:" + known + ")");
}

// Reading.

/// \param read the reader of the file's format
detail::MeshSoup read_soup(fs::path const& path, Read read)
{
    detail::Stages stages({1, 8, 1});
    stages.next();
    auto const content = detail::file_content(path);
    stages.next();
    auto soup = read(content);
    stages.next();
    detail::check_soup(soup);
    detail::clean_attributes(soup);
    return soup;
}

/// Runs `read`, which fills the mesh, and leaves an empty one where it fails.
template <typename Read>
std::string read_or_empty(std::string const& path, TriMesh& mesh, Read const& read)
{
    std::string error;
    try
    {
        error = detail::error_of(path, read);
    }
    catch (Cancelled const&)
    {
        mesh = TriMesh();
        throw;
    }
    if (!error.empty())
    {
        mesh = TriMesh();
    }
    return error;
}

// Mending.

MissingFaces missing(detail::LeftOut const& faces, detail::MeshSoup const& soup)
{
    return {faces.count, faces.count == 0 ? 0 : faces.first + std::size_t(soup.first_number)};
}

void count_contents(detail::MeshSoup const& soup, MeshFileContents& contents)
{
    contents.vertices = soup.points.size();
    soup.for_each_face([&](std::size_t, int const*, std::size_t n) { ++contents.faces[n]; });
    auto const keep = [&](bool is_there, std::string const& name)
    {
        if (is_there)
        {
            contents.kept.push_back(detail::printable(name));
        }
    };
    keep(!soup.normals.empty(), "normals");
    keep(!soup.colors.empty(), "colours");
    keep(!soup.texcoords.empty(), "texture coordinates");
    for (auto const& values : soup.values)
    {
        keep(true, values.name);
    }
    for (auto const& what : soup.dropped)
    {
        contents.dropped.push_back(detail::printable(what));
    }
}

/// Leaves triangles of different, finite points.
void make_triangles(detail::MeshSoup& soup, MeshFileContents& contents)
{
    detail::LeftOut not_finite;
    detail::LeftOut degenerate;
    detail::LeftOut too_large;
    contents.vertices_not_finite = detail::remove_unplaced_points(soup, not_finite);
    auto const n_polygons = soup.polygons.size();
    auto const n_triangles = soup.faces.size() - n_polygons;
    detail::triangulate_polygons(soup, degenerate, too_large);
    contents.triangles_of_polygons = soup.faces.size() - n_triangles;
    detail::remove_degenerate(soup, degenerate);
    contents.not_finite = missing(not_finite, soup);
    contents.degenerate = missing(degenerate, soup);
    contents.too_large = missing(too_large, soup);
}

/// Makes a soup of triangles one that a mesh can hold.
void mend(detail::MeshSoup& soup, MeshFileContents& contents)
{
    detail::LeftOut repeated;
    detail::remove_repeated(soup, repeated);
    contents.repeated = missing(repeated, soup);
    contents.turned_faces = detail::orient(soup);
    auto const separation = detail::separate(soup);
    contents.crowded_edges = separation.edges;
    contents.added_vertices = separation.points;
}

/// \param soup comes back with the faces that the mesh has
void build_or_mend(detail::MeshSoup& soup, TriMesh& mesh, MeshFileContents& contents)
{
    detail::Stages stages({1, 2, 1});
    stages.next();
    if (detail::build_mesh(soup, mesh).empty())
    {
        return;
    }
    stages.next();
    mend(soup, contents);
    stages.next();
    detail::LeftOut unheld;
    detail::remove_faces(soup, detail::build_mesh(soup, mesh), unheld);
    contents.unheld = missing(unheld, soup);
}

/// \param name of the source, for errors \param reading makes its soup, or throws
template <typename Reading>
bool mend_source(std::string const& name, TriMesh& mesh, MeshFileContents& contents,
                 Reading const& reading)
{
    contents = {};
    auto const read = [&]
    {
        detail::Stages stages({2, 1, 3});
        stages.next();
        auto soup = reading();
        stages.next();
        count_contents(soup, contents);
        make_triangles(soup, contents);
        stages.next();
        build_or_mend(soup, mesh, contents);
        detail::add_carried(soup, mesh);
    };
    auto const error = read_or_empty(name, mesh, read);
    if (!error.empty())
    {
        contents = {};
    }
    contents.error = error;
    return error.empty();
}

/// \param reader tells the reader of the file's format, or throws
template <typename Reader>
bool read_and_mend(std::string const& path, TriMesh& mesh, MeshFileContents& contents,
                   Reader const& reader)
{
    return mend_source(path, mesh, contents, [&] { return read_soup(path, reader()); });
}

/// The reader of a file of points.
Read cloud_reader(fs::path const& path)
{
    std::string const extension = path.extension().string();
    bool const is_text = std::any_of(std::begin(CLOUD_EXTENSIONS), std::end(CLOUD_EXTENSIONS),
                                     [&](char const* known)
                                     { return detail::equal_ignoring_case(extension, known); });
    return is_text ? detail::read_cloud_text : format_of(path).read;
}

// Writing.

Options vertex_attributes(TriMesh const& mesh)
{
    Options options;
    if (mesh.has_vertex_normals())
    {
        options += Options::VertexNormal;
    }
    if (mesh.has_vertex_colors())
    {
        options += Options::VertexColor;
    }
    return options;
}

/// \param size about how large the file will be
void export_by_openmesh(TriMesh const& mesh, char const* extension, Options const& options,
                        std::size_t size, std::ostream& stream)
{
    constexpr std::streamsize DIGITS_THAT_TELL_FLOATS_APART = 9;
    detail::QuietOpenMesh const quiet;
    OpenMesh::IO::ExporterT<TriMesh> exporter(mesh);
    auto const write = [&](std::ostream& stoppable)
    {
        return OpenMesh::IO::IOManager().write(stoppable, extension, exporter, options,
                                               DIGITS_THAT_TELL_FLOATS_APART);
    };
    if (!detail::write_stoppably(stream, size, write))
    {
        throw FileError("cannot be written in this format");
    }
}

constexpr Options::Flag BINARY = static_cast<Options::Flag>(Options::Binary | Options::LSB);

void write_stl(TriMesh const& mesh, std::ostream& stream)
{
    export_by_openmesh(mesh, ".stl", BINARY, 50 * mesh.n_faces(), stream);
}

void write_off(TriMesh const& mesh, std::ostream& stream)
{
    export_by_openmesh(mesh, ".off", vertex_attributes(mesh),
                       40 * mesh.n_vertices() + 22 * mesh.n_faces(), stream);
}

/// OpenMesh writes vertex indices in as many bytes as the number of edges asks for. Where vertices
/// without a face stand before those of a small mesh, their indices would be cut off.
void require_indices_fit(TriMesh const& mesh)
{
    std::size_t const four_an_edge = 4 * mesh.n_edges();
    int const limit = four_an_edge <= 0x100     ? std::numeric_limits<std::int8_t>::max()
                      : four_an_edge <= 0x10000 ? std::numeric_limits<std::int16_t>::max()
                                                : std::numeric_limits<std::int32_t>::max();
    for (auto const vertex : mesh.vertices())
    {
        if (vertex.idx() > limit && !mesh.is_isolated(vertex))
        {
            throw FileError("cannot be written in this format: too many vertices have no face");
        }
    }
}

void write_om(TriMesh const& mesh, std::ostream& stream)
{
    require_indices_fit(mesh);
    auto options = vertex_attributes(mesh);
    options += BINARY;
    export_by_openmesh(mesh, ".om", options,
                       16 * mesh.n_vertices() + 12 * mesh.n_halfedges() + 4 * mesh.n_faces(),
                       stream);
}

void require_good(detail::AtomicFile& file)
{
    if (!file.stream() || file.error())
    {
        auto const reason = file.error() ? file.error().message() : std::string("unknown reason");
        throw FileError("cannot be written: " + reason);
    }
}

bool has_deleted_elements(TriMesh const& mesh)
{
    auto const any = [](auto const& elements, auto const& is_deleted)
    { return std::any_of(elements.begin(), elements.end(), is_deleted); };
    auto const deleted = [&](auto element) { return mesh.status(element).deleted(); };
    return (mesh.has_vertex_status() && any(mesh.all_vertices(), deleted)) ||
           (mesh.has_face_status() && any(mesh.all_faces(), deleted));
}

void write_live_mesh(fs::path const& path, TriMesh const& mesh)
{
    auto const& format = format_of(path);
    if (mesh.is_swapped_out())
    {
        throw FileError("cannot be written while the mesh is swapped out");
    }
    std::error_code ignored;
    if (fs::is_directory(path, ignored))
    {
        throw FileError("is a directory");
    }
    detail::AtomicFile file(path);
    require_good(file);
    if (has_deleted_elements(mesh))
    {
        TriMesh live = mesh;
        live.squeeze();
        format.write(live, file.stream());
    }
    else
    {
        format.write(mesh, file.stream());
    }
    file.commit();
    require_good(file);
}

} // namespace

bool read_mesh(std::string const& path, TriMesh& mesh, MeshReadReport& report)
{
    report = {};
    auto const read = [&]
    {
        detail::Stages stages({2, 3});
        stages.next();
        auto const soup = read_soup(path, format_of(path).read);
        detail::require_triangles(soup);
        detail::require_finite_points(soup);
        stages.next();
        report.faces_left_out = detail::build_mesh(soup, mesh).size();
    };
    report.error = read_or_empty(path, mesh, read);
    return report.error.empty();
}

bool read_and_mend_mesh(std::string const& path, TriMesh& mesh, MeshFileContents& contents)
{
    return read_and_mend(path, mesh, contents, [&] { return format_of(path).read; });
}

bool mend_mesh(std::string const& name, BaseTriMesh&& arrays, TriMesh& mesh,
               MeshFileContents& contents)
{
    return mend_source(name, mesh, contents, [&] { return detail::soup_of(std::move(arrays)); });
}

bool read_cloud(std::string const& path, TriMesh& cloud, MeshFileContents& contents)
{
    return read_and_mend(path, cloud, contents, [&] { return cloud_reader(path); });
}

bool write_mesh(std::string const& path, TriMesh const& mesh, std::string& error)
{
    detail::ProgressPart const whole(0.0, 1.0);
    error = detail::error_of(path, [&] { write_live_mesh(path, mesh); });
    return error.empty();
}

} // namespace OrvaneAlgorithm
