#include "algorithmVeld/common/mesh_io.h"

#include "algorithmVeld/common/detail/MeshReaders.h"
#include "algorithmVeld/common/detail/TextCursor.h"
#include "algorithmVeld/common/detail/openmesh_io.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <new>
#include <random>

namespace OrvaneAlgorithm
{

namespace
{

namespace fs = std::filesystem;
using detail::MeshFileError;
using OpenMesh::IO::Options;

struct Format
{
    char const* extension;
    detail::MeshSoup (*read)(std::string_view content);
    Options::Flag encoding;
    bool holds_attributes; ///< normals and colours of vertices
};

constexpr Format formats[] = {{".ply", detail::read_ply, Options::Binary, true}};

Format const& format_of(fs::path const& path)
{
    std::string known;
    for (auto const& format : formats)
    {
        if (detail::equal_ignoring_case(path.extension().string(), format.extension))
        {
            return format;
        }
        known += std::string(" ") + format.extension;
    }
    throw MeshFileError("unknown mesh format (known:" + known + ")");
}

std::string system_message(int error)
{
    return std::generic_category().message(error);
}

// Reading.

std::string file_content(fs::path const& path)
{
    std::error_code error;
    auto const status = fs::status(path, error);
    if (status.type() == fs::file_type::not_found)
    {
        throw MeshFileError("no such file");
    }
    if (fs::is_directory(status))
    {
        throw MeshFileError("is a directory");
    }
    if (!fs::is_regular_file(status))
    {
        throw MeshFileError(error ? "cannot be read: " + error.message() : "is not a file");
    }
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    auto const size = fs::file_size(path, error);
    if (!file || error)
    {
        throw MeshFileError("cannot be read: " + system_message(errno));
    }
    if (size == 0)
    {
        throw MeshFileError("is empty");
    }
    std::string content(static_cast<std::size_t>(size), '\0');
    if (!file.read(content.data(), static_cast<std::streamsize>(size)))
    {
        throw MeshFileError("cannot be read to its end");
    }
    return content;
}

detail::MeshSoup read_soup(fs::path const& path)
{
    auto const& format = format_of(path);
    auto soup = format.read(file_content(path));
    detail::check_soup(soup);
    return soup;
}

// Writing.

/// Keeps OpenMesh's messages from the terminal.
class QuietOpenMesh
{
public:
    QuietOpenMesh() : log_(omlog().is_enabled()), err_(omerr().is_enabled())
    {
        omlog().disable();
        omerr().disable();
    }
    ~QuietOpenMesh()
    {
        log_ ? omlog().enable() : omlog().disable();
        err_ ? omerr().enable() : omerr().disable();
    }
    QuietOpenMesh(QuietOpenMesh const&) = delete;
    QuietOpenMesh& operator=(QuietOpenMesh const&) = delete;

private:
    bool log_;
    bool err_;
};

/// A file beside the one that is to be written, which takes its place when it is whole, and goes
/// away otherwise.
class PartialFile
{
public:
    explicit PartialFile(fs::path const& target) : target_(target), path_(target)
    {
        if (fs::is_directory(target))
        {
            throw MeshFileError("is a directory");
        }
        path_ += "." + std::to_string(std::random_device()()) + ".part";
        errno = 0;
        stream_.open(path_, std::ios::binary);
        require_good();
    }
    ~PartialFile()
    {
        stream_.close();
        std::error_code ignored;
        fs::remove(path_, ignored);
    }
    PartialFile(PartialFile const&) = delete;
    PartialFile& operator=(PartialFile const&) = delete;

    std::ostream& stream() { return stream_; }

    void commit()
    {
        stream_.close();
        require_good();
        std::error_code error;
        fs::rename(path_, target_, error);
        if (error)
        {
            throw MeshFileError("cannot be written: " + error.message());
        }
    }

private:
    void require_good() const
    {
        if (!stream_)
        {
            throw MeshFileError("cannot be written: " + system_message(errno));
        }
    }

    fs::path target_;
    fs::path path_;
    std::ofstream stream_;
};

bool has_deleted_elements(TriMesh const& mesh)
{
    auto const any = [](auto const& elements, auto const& is_deleted)
    { return std::any_of(elements.begin(), elements.end(), is_deleted); };
    auto const deleted = [&](auto element) { return mesh.status(element).deleted(); };
    return (mesh.has_vertex_status() && any(mesh.all_vertices(), deleted)) ||
           (mesh.has_face_status() && any(mesh.all_faces(), deleted));
}

void export_mesh(TriMesh const& mesh, Format const& format, std::ostream& stream)
{
    Options options = format.encoding;
    if (format.encoding == Options::Binary)
    {
        options += Options::LSB;
    }
    if (format.holds_attributes && mesh.has_vertex_normals())
    {
        options += Options::VertexNormal;
    }
    if (format.holds_attributes && mesh.has_vertex_colors())
    {
        options += Options::VertexColor;
    }
    constexpr std::streamsize digits_that_name_each_float = 9;
    QuietOpenMesh const quiet;
    OpenMesh::IO::ExporterT<TriMesh> exporter(mesh);
    if (!OpenMesh::IO::IOManager().write(stream, format.extension, exporter, options,
                                         digits_that_name_each_float))
    {
        throw MeshFileError("cannot be written in this format");
    }
}

void write_live_mesh(fs::path const& path, TriMesh const& mesh)
{
    auto const& format = format_of(path);
    PartialFile file(path);
    if (has_deleted_elements(mesh))
    {
        TriMesh live = mesh;
        live.squeeze();
        export_mesh(live, format, file.stream());
    }
    else
    {
        export_mesh(mesh, format, file.stream());
    }
    file.commit();
}

/// Runs `action`. \return what went wrong, as a line that names the file; empty if nothing did
template <typename Action>
std::string error_of(std::string const& path, Action const& action)
{
    try
    {
        action();
        return {};
    }
    catch (std::bad_alloc const&)
    {
        return path + ": needs more memory than there is";
    }
    catch (std::exception const& error)
    {
        return path + ": " + error.what();
    }
}

} // namespace

bool read_mesh(std::string const& path, TriMesh& mesh, MeshReadReport& report)
{
    report = {};
    auto const read = [&] { report.faces_left_out = detail::build_mesh(read_soup(path), mesh); };
    report.error = error_of(path, read);
    if (!report.error.empty())
    {
        mesh = TriMesh();
    }
    return report.error.empty();
}

bool write_mesh(std::string const& path, TriMesh const& mesh, std::string& error)
{
    error = error_of(path, [&] { write_live_mesh(path, mesh); });
    return error.empty();
}

} // namespace OrvaneAlgorithm
