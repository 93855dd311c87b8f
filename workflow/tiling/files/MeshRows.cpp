#include "workflow/tiling/files/MeshRows.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/BinaryFile.h"
#include "algorithmVeld/common/running/Progress.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <limits>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::Vector3f;

namespace
{

/// Bytes that are copied at once.
constexpr std::size_t COPY_BLOCK = std::size_t{1} << 20U;

/// The nearest byte to a channel from 0 to 1.
unsigned char byte_of(float channel)
{
    float const inside = channel > 0.0F ? std::min(channel, 1.0F) : 0.0F;
    return static_cast<unsigned char>(std::lround(inside * 255.0F));
}

template <typename Scalar, std::size_t n>
void put(std::array<Scalar, n> values, RowFile& file)
{
    OrvaneAlgorithm::detail::swap_bytes_if_needed<Scalar>(values.data(), n);
    file.write(values.data(), sizeof(values));
}

void put(Vector3f const& vector, RowFile& file)
{
    put(std::array<float, 3>{vector.x(), vector.y(), vector.z()}, file);
}

/// \param error of the system, the number
[[noreturn]] void refuse_output(OutputFile const& output, int error)
{
    throw OperationError(shown(output.path()) + ": cannot be written: " +
                         why_not_written({error, std::generic_category()}));
}

fs::path beside(OutputFile const& output, char const* what)
{
    fs::path path = output.temporary();
    path += what;
    return path;
}

} // namespace

void check_mesh_output(OutputFile const& output, std::vector<fs::path> const& inputs)
{
    // The temporary name is that of the file; only what goes to a stream has another one.
    bool const is_stream = output.temporary().filename() != output.path().filename();
    check_extension(is_stream ? output.temporary() : output.path(), {".ply"});
    if (!is_stream)
    {
        Outputs().check({output.path()}, inputs);
    }
}

RowFile::RowFile(OutputFile const& output, char const* what)
    : output_(output), path_(beside(output, what))
{
    errno = 0;
    stream_.open(path_, std::ios::binary);
    if (!stream_)
    {
        fail();
    }
}

RowFile::~RowFile()
{
    stream_.close();
    std::error_code ignored;
    fs::remove(path_, ignored);
}

void RowFile::fail() const
{
    refuse_output(output_, errno);
}

void RowFile::write(void const* data, std::size_t n)
{
    errno = 0;
    if (!stream_.write(static_cast<char const*>(data), static_cast<std::streamsize>(n)))
    {
        fail();
    }
    size_ += n;
}

void RowFile::flush()
{
    errno = 0;
    if (!stream_.flush())
    {
        fail();
    }
}

void RowFile::read_back(std::function<void(char const*, std::size_t)> const& take)
{
    flush();
    std::ifstream file(path_, std::ios::binary);
    std::vector<char> block(COPY_BLOCK);
    for (std::uint64_t left = size_; left > 0;)
    {
        auto const n = static_cast<std::size_t>(std::min<std::uint64_t>(left, block.size()));
        errno = 0;
        if (!file.read(block.data(), static_cast<std::streamsize>(n)))
        {
            fail(); // also where bytes are missing
        }
        take(block.data(), n);
        left -= n;
    }
}

MeshRows::MeshRows(OutputFile const& output, bool has_colours)
    : output_(output),
      has_colours_(has_colours),
      vertex_rows_(output, ".vertices"),
      face_rows_(output, ".faces")
{
}

std::uint32_t MeshRows::add_vertex(TileMesh const& tile, std::size_t v)
{
    constexpr std::size_t MOST = std::numeric_limits<std::int32_t>::max();
    if (n_vertices_ == MOST)
    {
        throw OperationError(shown(output_.path()) + ": its vertices are too many for a PLY file");
    }
    put(tile.points[v], vertex_rows_);
    put(tile.normals[v], vertex_rows_);
    if (has_colours_)
    {
        Vector3f const& colour = tile.colours[v];
        put(std::array<unsigned char, 3>{byte_of(colour.x()), byte_of(colour.y()),
                                         byte_of(colour.z())},
            vertex_rows_);
    }
    return static_cast<std::uint32_t>(n_vertices_++);
}

void MeshRows::add_face(std::array<std::uint32_t, 3> const& rows)
{
    put(std::array<unsigned char, 1>{3}, face_rows_);
    put(rows, face_rows_);
    ++n_faces_;
}

void MeshRows::flush()
{
    vertex_rows_.flush();
    face_rows_.flush();
}

void MeshRows::finish()
{
    OrvaneAlgorithm::detail::Progress progress(
        static_cast<std::size_t>((vertex_rows_.size() + face_rows_.size()) / COPY_BLOCK));
    errno = 0;
    std::ofstream stream(output_.temporary(), std::ios::binary);
    stream << header();
    auto const copy = [&](char const* block, std::size_t n)
    {
        progress.advance();
        errno = 0;
        if (!stream.write(block, static_cast<std::streamsize>(n)))
        {
            refuse_output(output_, errno);
        }
    };
    vertex_rows_.read_back(copy);
    face_rows_.read_back(copy);
    errno = 0;
    stream.close();
    if (!stream)
    {
        refuse_output(output_, errno);
    }
}

std::string MeshRows::header() const
{
    return fmt::format("ply\nformat binary_little_endian 1.0\nelement vertex {}\n"
                       "property float x\nproperty float y\nproperty float z\n"
                       "property float nx\nproperty float ny\nproperty float nz\n{}"
                       "element face {}\nproperty list uchar int vertex_indices\nend_header\n",
                       n_vertices_,
                       has_colours_ ? "property uchar red\nproperty uchar green\n"
                                      "property uchar blue\n"
                                    : "",
                       n_faces_);
}

} // namespace veld
