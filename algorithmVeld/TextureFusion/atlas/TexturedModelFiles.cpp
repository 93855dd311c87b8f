#include "algorithmVeld/TextureFusion/atlas/TexturedModelFiles.h"

#include "algorithmVeld/common/files/PrintedFile.h"
#include "algorithmVeld/common/image_io.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/Progress.h"

#include <array>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

std::string model_path(std::string const& name, char const* extension)
{
    char path[512];
    format_line(path, "%s/%s.%s", gPH.result_dir.c_str(), name.c_str(), extension);
    return path;
}

void end_model_file(PrintedFile& file, std::string const& path)
{
    if (!file.close())
    {
        log("fail to write '%s'.\n", path.c_str());
    }
}

void print_vertices(TriMesh const& mesh, PrintedFile& file)
{
    file.print("# Number of vertices: %d\n", static_cast<int>(mesh.n_vertices()));
    CancelPoll poll;
    for (auto const vertex : mesh.all_vertices())
    {
        poll.next();
        auto const point = mesh.point(vertex).cast<double>().eval();
        file.print("v %f %f %f\n", point.x(), point.y(), point.z());
    }
}

void print_faces(TriMesh const& mesh, TexProperties const& properties, PrintedFile& file)
{
    file.print("# Number of triangles: %d\n", static_cast<int>(mesh.n_faces()));
    CancelPoll poll;
    for (auto const face : mesh.all_faces())
    {
        poll.next();
        std::array<int, 3> corners{};
        std::size_t k = 0;
        for (auto const vertex : mesh.fv_range(face))
        {
            corners[k++] = vertex.idx() + 1;
        }
        Vector3i const& coords = mesh.property(properties.face_uv_index, face);
        file.print("f %d/%d %d/%d %d/%d\n", corners[0], coords[0] + 1, corners[1], coords[1] + 1,
                   corners[2], coords[2] + 1);
    }
}

void save_model(TriMesh const& mesh, TexProperties const& properties,
                std::vector<BaseTriMesh::UVCoord> const& coordinates, std::string const& name)
{
    std::string const path = model_path(name, "obj");
    PrintedFile file(path);
    if (file.is_open())
    {
        file.print("mtllib %s.mtl\n", name.c_str());
        print_vertices(mesh, file);
        file.print("# Number of textures: %d\n", static_cast<int>(coordinates.size()));
        for (auto const& coordinate : coordinates)
        {
            file.print("vt %f %f\n", static_cast<double>(coordinate.u),
                       static_cast<double>(coordinate.v));
        }
        file.print("usemtl _texture\n");
        print_faces(mesh, properties, file);
        file.print("# end of file\n");
    }
    end_model_file(file, path);
}

void save_material(std::string const& name)
{
    std::string const path = model_path(name, "mtl");
    PrintedFile file(path);
    file.print("newmtl _texture\n"
               "Kd 1.00 1.00 1.00\n"
               "Ka 0.00 0.00 0.00\n"
               "Tf 1.00 1.00 1.00\n"
               "Ni 1.00\n");
    file.print("map_Kd %s.jpg\n", name.c_str());
    end_model_file(file, path);
}

} // namespace

void save_patch_info(std::vector<PatchTex> const& patches)
{
    log("save_patch_info() ..\n");
    std::string const path = model_path("sub-tex-patch-info", "txt");
    PrintedFile file(path);
    file.print("%d\n", static_cast<int>(patches.size()));
    for (PatchTex const& patch : patches)
    {
        file.print("%d %d\n", patch.height(), patch.width());
    }
    if (!file.close())
    {
        log("fail to write '%s' [%s (%d)]\n", path.c_str(), __FILE__, __LINE__);
    }
}

void save_atlas_image(Image<3, unsigned char> const& atlas, std::string const& name)
{
    std::string const path = model_path(name, "jpg");
    if (write_rgb_image(path, atlas) != 0)
    {
        log("fail to write '%s'.\n", path.c_str());
    }
}

void save_fused_texture_model(TriMesh const& mesh, TexProperties const& properties,
                              std::vector<BaseTriMesh::UVCoord> const& coordinates,
                              std::string const& name)
{
    log("save_fused_texture_model() ..\n");
    log("====================< final obj texture model info >====================\n");
    log("  vertex:          %8d\n", static_cast<int>(mesh.n_vertices()));
    log("  vertex texture:  %8d\n", static_cast<int>(coordinates.size()));
    log("  face:            %8d\n", static_cast<int>(mesh.n_faces()));
    log("====================</final obj texture model info >====================\n\n");
    save_model(mesh, properties, coordinates, name);
    save_material(name);
}

} // namespace OrvaneAlgorithm::detail
