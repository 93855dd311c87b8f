#include "algorithmVeld/common/mesh_files/PlyWriter.h"

#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/mesh_files/openmesh_io.h"
#include "algorithmVeld/common/running/Progress.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace OrvaneAlgorithm::detail
{

namespace
{

std::string header_of(TriMesh const& mesh, std::vector<CarriedValue> const& values)
{
    std::string text = "ply\nformat binary_little_endian 1.0\nelement vertex " +
                       std::to_string(mesh.n_vertices()) + "\n";
    auto const add = [&](char const* type, std::initializer_list<char const*> names)
    {
        for (auto const* const name : names)
        {
            text += std::string("property ") + type + " " + name + "\n";
        }
    };
    add("float", {"x", "y", "z"});
    if (mesh.has_vertex_normals())
    {
        add("float", {"nx", "ny", "nz"});
    }
    if (mesh.has_vertex_colors())
    {
        add("uchar", {"red", "green", "blue"});
    }
    for (auto const value : values)
    {
        add("float", {name_in_file(mesh, value).c_str()});
    }
    text += "element face " + std::to_string(mesh.n_faces()) + "\n";
    add("list uchar int", {"vertex_indices"});
    if (carries_texcoords(mesh))
    {
        add("list uchar float", {"texcoord"});
    }
    return text + "end_header\n";
}

/// Bytes on their way to a file.
class ByteBuffer
{
public:
    explicit ByteBuffer(std::ostream& stream) : stream_(stream) {}

    void put(std::uint32_t bits)
    {
        for (unsigned shift = 0; shift < 32; shift += 8)
        {
            put_byte(static_cast<unsigned char>(bits >> shift & 0xFFU));
        }
    }
    void put(float value)
    {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        put(bits);
    }
    template <typename Vector>
    void put_vector(Vector const& vector)
    {
        for (float const value : vector)
        {
            put(value);
        }
    }
    void put_byte(unsigned char byte) { bytes_ += static_cast<char>(byte); }

    /// Hands the bytes on when there are more than a limit.
    void flush(std::size_t limit)
    {
        if (bytes_.size() > limit)
        {
            stream_.write(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
            bytes_.clear();
        }
    }

private:
    std::ostream& stream_;
    std::string bytes_;
};

void put_vertex(ByteBuffer& bytes, TriMesh const& mesh, std::vector<CarriedValue> const& values,
                OpenMesh::VertexHandle vertex)
{
    bytes.put_vector(mesh.point(vertex));
    if (mesh.has_vertex_normals())
    {
        bytes.put_vector(mesh.normal(vertex));
    }
    if (mesh.has_vertex_colors())
    {
        using Caster = OpenMesh::color_caster<OpenMesh::Vec3uc, Vector3f>;
        for (auto const channel : Caster::cast(mesh.color(vertex)))
        {
            bytes.put_byte(channel);
        }
    }
    for (auto const value : values)
    {
        bytes.put(mesh.property(value, vertex));
    }
}

void put_face(ByteBuffer& bytes, TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    bytes.put_byte(3);
    for (auto const vertex : mesh.fv_range(face))
    {
        bytes.put(static_cast<std::uint32_t>(vertex.idx()));
    }
    if (!carries_texcoords(mesh))
    {
        return;
    }
    bool const has_them = has_texcoords(mesh, face);
    bytes.put_byte(has_them ? 6 : 0);
    for (auto const h : mesh.fh_range(face))
    {
        if (has_them)
        {
            bytes.put_vector(mesh.texcoord2D(h));
        }
    }
}

} // namespace

void write_ply(TriMesh const& mesh, std::ostream& stream)
{
    constexpr std::size_t BLOCK = std::size_t{1} << 16U;
    auto const values = carried_values(mesh);
    stream << header_of(mesh, values);
    ByteBuffer bytes(stream);
    LoopProgress progress(mesh.n_vertices() + mesh.n_faces());
    for (auto const vertex : mesh.vertices())
    {
        progress.next();
        put_vertex(bytes, mesh, values, vertex);
        bytes.flush(BLOCK);
    }
    for (auto const face : mesh.faces())
    {
        progress.next();
        put_face(bytes, mesh, face);
        bytes.flush(BLOCK);
    }
    bytes.flush(0);
}

} // namespace OrvaneAlgorithm::detail
