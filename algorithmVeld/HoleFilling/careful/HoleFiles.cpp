#include "algorithmVeld/HoleFilling/careful/HoleFiles.h"

#include "algorithmVeld/MeshAssistant/MeshAssistant.h"
#include "algorithmVeld/common/arrays/IndexTable.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/mesh/MeetingOrder.h"
#include "algorithmVeld/common/mesh_files/MeshDump.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "algorithmVeld/common/running/Log.h"

namespace OrvaneAlgorithm::detail
{
namespace
{

/// Writes faces and their vertices as text OBJ. \return false if the file cannot be written
bool write_faces(TriMesh const& mesh, std::vector<OpenMesh::FaceHandle> const& faces,
                 char const* path)
{
    IndexTable places;
    auto const vertices = vertices_of(mesh, faces, places);
    ObjText file(path);
    file.vertex_count(static_cast<int>(vertices.size()));
    for (auto const vertex : vertices)
    {
        file.vertex(mesh.point(vertex));
    }
    file.triangle_count(static_cast<int>(faces.size()));
    for (auto const face : faces)
    {
        std::vector<int> corners;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners.push_back(places.find(vertex.idx()) + 1);
        }
        file.triangle(at(corners, 0), at(corners, 1), at(corners, 2));
    }
    file.end_of_file();
    return file.close();
}

} // namespace

void save_sub_mesh(TriMesh const& sub, int hole, char const* pattern, char const* step)
{
    char path[512];
    format_line(path, pattern, gPH.result_dir.c_str(), hole);
    dump_mesh(sub, path, step);
}

void dump_triangle(TriMesh const& mesh, OpenMesh::VertexHandle a, OpenMesh::VertexHandle b,
                   OpenMesh::VertexHandle c, char const* name)
{
    if (!gPH.log_enabled || !mesh.is_valid_handle(a) || !mesh.is_valid_handle(b) ||
        !mesh.is_valid_handle(c))
    {
        return;
    }
    for (bool const failed : {true, false})
    {
        MeshAssistant::output_neighbour_region(mesh, a, b, c, mesh.point(a), mesh.point(b), 0.0F,
                                               failed, name);
    }
}

void save_regions(TriMesh const& mesh,
                  std::vector<std::vector<OpenMesh::FaceHandle>> const& regions)
{
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        log("  hole-%04d ..\n", static_cast<int>(i));
        char path[512];
        format_line(path, "%s/hole-%04d-sub-mesh.obj", gPH.result_dir.c_str(), static_cast<int>(i));
        if (!write_faces(mesh, regions[i], path))
        {
            log("  fail to write '%s'.\n", path);
        }
    }
}

} // namespace OrvaneAlgorithm::detail
