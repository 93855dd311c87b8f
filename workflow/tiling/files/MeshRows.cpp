#include "workflow/tiling/files/MeshRows.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "algorithmVeld/common/files/BinaryFile.h"

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

/// The nearest byte to a channel from 0 to 1.
unsigned char byte_of(float channel)
{
    float const inside = channel > 0.0F ? std::min(channel, 1.0F) : 0.0F;
    return static_cast<unsigned char>(std::lround(inside * 255.0F));
}

template <typename Scalar, std::size_t n>
void put(std::array<Scalar, n> values, std::ofstream& stream)
{
    OrvaneAlgorithm::detail::swap_bytes_if_needed<Scalar>(values.data(), n);
    stream.write(reinterpret_cast<char const*>(values.data()), sizeof(values));
}

void put(Vector3f const& vector, std::ofstream& stream)
{
    put(std::array<float, 3>{vector.x(), vector.y(), vector.z()}, stream);
}

/// Hands a file on to a stream, and nothing of an empty one.
void append(fs::path const& file, std::ofstream& stream)
{
    std::error_code error;
    if (fs::file_size(file, error) > 0 && !error)
    {
        std::ifstream rows(file, std::ios::binary);
        stream << rows.rdbuf();
    }
}

fs::path beside(OutputFile const& output, char const* what)
{
    fs::path path = output.temporary();
    path += what;
    return path;
}

} // namespace

MeshRows::MeshRows(OutputFile const& output, bool has_colours)
    : output_(output),
      has_colours_(has_colours),
      vertex_file_(beside(output, ".vertices")),
      face_file_(beside(output, ".faces")),
      vertex_rows_(vertex_file_, std::ios::binary),
      face_rows_(face_file_, std::ios::binary)
{
}

MeshRows::~MeshRows()
{
    std::error_code ignored;
    fs::remove(vertex_file_, ignored);
    fs::remove(face_file_, ignored);
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
    face_rows_.put(3);
    put(rows, face_rows_);
    ++n_faces_;
}

void MeshRows::finish()
{
    errno = 0;
    vertex_rows_.close();
    face_rows_.close();
    std::ofstream stream(output_.temporary(), std::ios::binary);
    stream << header();
    append(vertex_file_, stream);
    append(face_file_, stream);
    stream.close();
    if (!vertex_rows_ || !face_rows_ || !stream)
    {
        throw OperationError(shown(output_.path()) + ": cannot be written: " +
                             why_not_written({errno, std::generic_category()}));
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
