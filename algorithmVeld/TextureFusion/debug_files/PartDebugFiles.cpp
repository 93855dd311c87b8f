#include "algorithmVeld/TextureFusion/debug_files/PartDebugFiles.h"

#include "algorithmVeld/TextureFusion/debug_files/DebugPalette.h"
#include "algorithmVeld/common/arrays/IndexTable.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"

#include <array>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

using OpenMesh::FaceHandle;
using OpenMesh::VertexHandle;

/// Faces with their vertices, which are numbered from 1 in the order in which they come.
struct MeshPart
{
    struct Vertex
    {
        VertexHandle handle;
        FaceHandle face; ///< the first one that it is a corner of
        std::size_t corner;
    };

    std::vector<Vertex> vertices;
    std::vector<std::array<int, 3>> triangles;

    MeshPart(TriMesh const& mesh, std::vector<FaceHandle> const& faces)
    {
        IndexTable numbers;
        for (auto const face : faces)
        {
            std::array<int, 3> triangle{};
            std::size_t k = 0;
            for (auto const vertex : mesh.fv_range(face))
            {
                int const number = numbers.add(vertex.idx());
                if (static_cast<std::size_t>(number) == vertices.size())
                {
                    vertices.push_back({vertex, face, k});
                }
                triangle[k++] = number + 1;
            }
            triangles.push_back(triangle);
        }
    }
};

/// \param write_vertex writes one vertex
template <typename WriteVertex>
void write_part(MeshPart const& part, char const* path, WriteVertex const& write_vertex)
{
    ObjText file(path);
    if (file.is_open())
    {
        file.vertex_count(static_cast<int>(part.vertices.size()));
        for (auto const& vertex : part.vertices)
        {
            write_vertex(file, vertex);
        }
        file.triangle_count(static_cast<int>(part.triangles.size()));
        for (auto const& triangle : part.triangles)
        {
            file.triangle(triangle[0], triangle[1], triangle[2]);
        }
        file.end_of_file();
    }
    if (!file.close())
    {
        log("fail to write '%s'.\n", path);
    }
}

} // namespace

void save_face_patch(TriMesh const& mesh, TexProperties const& properties,
                     std::vector<TexImage> const& images, std::vector<FaceHandle> const& block,
                     int i)
{
    log("save_face_patch() ..\n");
    MeshPart const part(mesh, block);
    char path[512];
    format_line(path, "%s/6-face-block-%04d-tex.obj", gPH.debug_dir.c_str(), i);
    write_part(part, path,
               [&](ObjText& file, MeshPart::Vertex const& vertex)
               {
                   VertTex const& at = properties.chosen(mesh, vertex.face).corner[vertex.corner];
                   auto const* const pixel =
                       images[static_cast<std::size_t>(at.image_id)].image.pixel(at.px, at.py);
                   file.vertex(mesh.point(vertex.handle), pixel[2], pixel[1], pixel[0]);
               });
    format_line(path, "%s/6-face-block-%04d-patch.obj", gPH.debug_dir.c_str(), i);
    write_part(part, path,
               [&](ObjText& file, MeshPart::Vertex const& vertex)
               {
                   auto const [red, green, blue] =
                       debug_palette(mesh.property(properties.face_tex_label, vertex.face));
                   file.vertex(mesh.point(vertex.handle), red, green, blue);
               });
}

void save_face_array(TriMesh const& mesh, std::vector<FaceHandle> const& faces,
                     std::string const& name)
{
    log("save_face_array() ..\n");
    char path[512];
    format_line(path, "%s/%s_face_array.obj", gPH.result_dir.c_str(), name.c_str());
    write_part(MeshPart(mesh, faces), path,
               [&](ObjText& file, MeshPart::Vertex const& vertex)
               { file.vertex(mesh.point(vertex.handle)); });
}

} // namespace OrvaneAlgorithm::detail
