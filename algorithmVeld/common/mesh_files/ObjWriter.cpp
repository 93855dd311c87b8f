#include "algorithmVeld/common/mesh_files/ObjWriter.h"

#include "algorithmVeld/common/running/Progress.h"

#include <charconv>
#include <string>

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

void append_vector(std::string& text, Vector3f const& vector)
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

void append_face(std::string& text, TriMesh const& mesh, OpenMesh::FaceHandle face)
{
    text += 'f';
    for (auto const vertex : mesh.fv_range(face))
    {
        text += ' ';
        append_number(text, vertex.idx() + 1);
        if (mesh.has_vertex_normals())
        {
            text += "//";
            append_number(text, vertex.idx() + 1);
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
        append_face(text, mesh, face);
        flush(text, stream, BLOCK);
    }
    flush(text, stream, 0);
}

} // namespace OrvaneAlgorithm::detail
