#include "algorithmVeld/common/mesh_files/ObjWriter.h"

#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/running/Progress.h"

#include <charconv>
#include <cstring>
#include <string>
#include <unordered_map>

namespace OrvaneAlgorithm::detail
{

namespace
{

template <typename Number>
void append_number(std::string& text, Number number)
{
    char digits[32];
    auto const end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    text.append(digits, end);
}

template <typename Vector>
void append_vector(std::string& text, Vector const& vector)
{
    for (float const value : vector)
    {
        text += ' ';
        append_number(text, value);
    }
}

void append_vertex(std::string& text, TriMesh const& mesh, OpenMesh::VertexHandle vertex)
{
    text += 'v';
    append_vector(text, mesh.point(vertex));
    if (mesh.has_vertex_colors())
    {
        append_vector(text, mesh.color(vertex));
    }
    text += '\n';
    if (mesh.has_vertex_normals())
    {
        text += "vn";
        append_vector(text, mesh.normal(vertex));
        text += '\n';
    }
}

/// Texture coordinates by their numbers in the file, from 1 in the order of first use.
class TexcoordNumbers
{
public:
    /// Numbers coordinates. \return whether they are new
    bool add(Vector2f const& texcoord)
    {
        return numbers_.emplace(key(texcoord), numbers_.size() + 1).second;
    }

    std::size_t operator[](Vector2f const& texcoord) const { return numbers_.at(key(texcoord)); }

private:
    static std::uint64_t key(Vector2f const& texcoord)
    {
        std::uint64_t bits = 0;
        std::memcpy(&bits, texcoord.data(), sizeof(bits));
        return bits;
    }

    std::unordered_map<std::uint64_t, std::size_t> numbers_;
};

void append_new_texcoords(std::string& text, TriMesh const& mesh, OpenMesh::FaceHandle face,
                          TexcoordNumbers& numbers)
{
    if (!has_texcoords(mesh, face))
    {
        return;
    }
    for (auto const h : mesh.fh_range(face))
    {
        if (numbers.add(mesh.texcoord2D(h)))
        {
            text += "vt";
            append_vector(text, mesh.texcoord2D(h));
            text += '\n';
        }
    }
}

void append_face(std::string& text, TriMesh const& mesh, OpenMesh::FaceHandle face,
                 TexcoordNumbers const& texcoords)
{
    bool const has_texture = carries_texcoords(mesh) && has_texcoords(mesh, face);
    text += 'f';
    for (auto const h : mesh.fh_range(face))
    {
        int const vertex = mesh.to_vertex_handle(h).idx() + 1;
        text += ' ';
        append_number(text, vertex);
        if (has_texture)
        {
            text += '/';
            append_number(text, texcoords[mesh.texcoord2D(h)]);
        }
        if (mesh.has_vertex_normals())
        {
            text += has_texture ? "/" : "//";
            append_number(text, vertex);
        }
    }
    text += '\n';
}

/// Hands the text on when it has become long.
void flush(std::string& text, std::ostream& stream, std::size_t limit)
{
    if (text.size() > limit)
    {
        stream.write(text.data(), static_cast<std::streamsize>(text.size()));
        text.clear();
    }
}

} // namespace

void write_obj(TriMesh const& mesh, std::ostream& stream)
{
    constexpr std::size_t BLOCK = 1U << 16U;
    std::string text;
    TexcoordNumbers texcoords;
    LoopProgress progress(mesh.n_vertices() + mesh.n_faces());
    for (auto const vertex : mesh.vertices())
    {
        progress.next();
        append_vertex(text, mesh, vertex);
        flush(text, stream, BLOCK);
    }
    for (auto const face : mesh.faces())
    {
        progress.next();
        if (carries_texcoords(mesh))
        {
            append_new_texcoords(text, mesh, face, texcoords);
        }
        append_face(text, mesh, face, texcoords);
        flush(text, stream, BLOCK);
    }
    flush(text, stream, 0);
}

} // namespace OrvaneAlgorithm::detail
