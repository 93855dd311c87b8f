#include "workflow/files/TexturedMesh.h"
#include "workflow/report/RunRecord.h"
#include "workflow/run/Recipe.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/image_io.h"
#include "algorithmVeld/common/mesh_io.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

/// \file
/// Writes a few small inputs for each fuzz target, by the library's own writers where it has some.
///
///     make_seeds DIRECTORY

namespace
{

namespace fs = std::filesystem;
using namespace OrvaneAlgorithm;
using Bytes = std::vector<int>;

std::string content_of(fs::path const& path)
{
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class Seeds
{
public:
    explicit Seeds(fs::path directory) : directory_(std::move(directory)) {}

    void add(std::string const& target, std::string const& content)
    {
        fs::create_directories(directory_ / target);
        fs::path const path = directory_ / target / ("seed-" + std::to_string(++number_));
        std::ofstream(path, std::ios::binary) << content;
    }

    void add(std::string const& target, Bytes const& bytes)
    {
        std::string content;
        for (int const byte : bytes)
        {
            content += static_cast<char>(byte);
        }
        add(target, content);
    }

    /// A file that is written to a path of this extension.
    template <typename Write>
    std::string written(std::string const& extension, Write const& write) const
    {
        fs::path const path = directory_ / ("written" + extension);
        write(path);
        std::string const content = content_of(path);
        fs::remove(path);
        return content;
    }

private:
    fs::path directory_;
    int number_ = 0;
};

/// A sheet of 3 x 2 cells without the one in the middle.
TriMesh sheet(bool with_attributes)
{
    TriMesh mesh;
    for (int i = 0; i < 12; ++i)
    {
        mesh.add_vertex({static_cast<float>(i % 4), static_cast<float>(i / 4), 0.5F});
    }
    for (int const a : {0, 2, 4, 5, 6})
    {
        auto const vertex = [](int i) { return OpenMesh::VertexHandle(i); };
        mesh.add_face(vertex(a), vertex(a + 1), vertex(a + 5));
        mesh.add_face(vertex(a), vertex(a + 5), vertex(a + 4));
    }
    if (with_attributes)
    {
        mesh.request_vertex_colors();
        mesh.request_face_normals();
        mesh.request_vertex_normals();
        mesh.update_normals();
        mesh.request_halfedge_texcoords2D();
        for (auto const h : mesh.halfedges())
        {
            mesh.set_texcoord2D(h, {0.25F, 0.5F});
        }
    }
    return mesh;
}

void add_meshes(Seeds& seeds)
{
    std::vector<std::pair<std::string, std::string>> const targets{{".ply", "mesh_ply"},
                                                                   {".obj", "mesh_obj"},
                                                                   {".off", "mesh_text"},
                                                                   {".stl", "mesh_binary"},
                                                                   {".om", "mesh_binary"}};
    for (auto const& [extension, target] : targets)
    {
        for (bool const with_attributes : {false, true})
        {
            seeds.add(target, seeds.written(extension,
                                            [&](fs::path const& path)
                                            {
                                                std::string error;
                                                write_mesh(path.string(), sheet(with_attributes),
                                                           error);
                                            }));
        }
    }
}

void add_mesh_texts(Seeds& seeds)
{
    seeds.add("mesh_ply",
              "ply\nformat ascii 1.0\ncomment TextureFile t.png\nelement vertex 4\n"
              "property float x\nproperty float y\nproperty float z\nproperty uchar red\n"
              "property uchar green\nproperty uchar blue\nproperty double quality\n"
              "element face 3\nproperty list uchar int vertex_indices\n"
              "property list uchar float texcoord\nend_header\n0 0 0 1 2 3 0.5\n1 0 0 1 2 3 1\n"
              "1 1 0 1 2 3 2\n0 1 nan 1 2 3 4\n4 0 1 2 3 8 0 0 1 0 1 1 0 1\n3 0 1 2 0\n"
              "3 0 1 2 6 0 0 1 0 1 1\n");
    seeds.add("mesh_ply", "ply\nformat binary_big_endian 1.0\nelement vertex 1\nproperty short x\n"
                          "property char y\nproperty int z\nelement other 1\n"
                          "property list ushort uint values\nend_header\n"
                          "\1\2\3\4\5\6\7" +
                              std::string("\0\1\0\0\0\7", 6));
    seeds.add("mesh_obj", "mtllib mesh.obj\nnewmtl a\nmap_Kd t.png\nusemtl a\nv 0 0 0 1 0 0\n"
                          "v 1 0 0 0 1 0\nv 1 1 0 0 0 1\nv 0 1 1e3 1 1 1\nvt 0 0\nvt 1 .5\n"
                          "vn 0 0 1\nf 1/1/1 2/2/1 3/1/1 4\nf -1 -2 -3\nf 1//1 3//1 2//1\n"
                          "f 1/2 2/1 \\\n 4/1\ng x\ns off\n");
    seeds.add("mesh_text", "COFF\n# a comment\n4 2 0\n0 0 0 255 0 0 255\n1 0 0 0 255 0 255\n"
                           "1 1 0 0 0 255 255\n0 1 0 1 1 1 1\n3 0 1 2\n4 0 1 2 3 0.5 0.5 0.5\n");
    seeds.add("mesh_text", "# points\n0 0 0 0 0 1\n1 2 3 0 1 0\n-1e-3 .5 7 nan 0 0\n");
    seeds.add("mesh_text", "0 0 0 12\n1 2 3 4\r\n5,6 7 8 9\n");
    seeds.add("mesh_binary", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\n"
                             "vertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid a\n");
}

RangeData frame(bool with_channels)
{
    RangeData frame;
    frame.set_grid_size(3, 4);
    for (int i = 0; i < 12; ++i)
    {
        frame.add_vCoord_and_vUV({static_cast<float>(i % 4), static_cast<float>(-i / 4), 9.0F},
                                 {i / 4, i % 4});
        frame.set_cellFlag(static_cast<std::size_t>(i), i < 8 && i % 4 < 3 ? 1 : 0);
    }
    if (with_channels)
    {
        frame.update_vNrv_from_grid();
        frame.enable_vColor();
        frame.enable_vFlag();
    }
    return frame;
}

std::string const RANGE_PLY =
    "ply\nformat ascii 1.0\nobj_info num_cols 2\nobj_info num_rows 2\nelement vertex 4\n"
    "property float x\nproperty float y\nproperty float z\nelement range_grid 4\n"
    "property list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n0 1 0\n1 1 0\n"
    "1 0\n1 1\n1 2\n1 3\n";

void add_frames(Seeds& seeds)
{
    constexpr std::size_t CHECKSUM = 4;
    for (bool const with_channels : {false, true})
    {
        std::string const rge =
            seeds.written(".rge", [&](fs::path const& path)
                          { CRangeDataIO::write_rge(path.wstring(), frame(with_channels)); });
        seeds.add("range_frame", rge.substr(0, rge.size() - CHECKSUM));
        seeds.add("frame_sources", "@@ frame.rge\n" + rge);
    }
    seeds.add("range_frame", RANGE_PLY);
}

std::string file_of(std::string const& name, std::string const& content)
{
    return "@@ " + name + "\n" + content + "\n";
}

void add_text_frames(Seeds& seeds)
{
    std::string const points = "0 0 1 0 0 0\n1 0 1 0 0 0\n0 1 1 0 0 0\n1 1 1.5 0 0 0\n";
    std::string const grid = "{\"rows\": 2, \"columns\": 2, \"points\": {\"prefix\": \"p\", "
                             "\"suffix\": \".txt\"}, \"poses\": {\"form\": ";
    seeds.add("frame_sources",
              file_of("frames.json", grid + "\"twelve\", \"prefix\": \"r\"}, \"first\": 1, "
                                            "\"last\": 2, \"sensor\": \"+z\"}") +
                  file_of("p1.txt", points) + file_of("r1", "1 0 0 0 1 0 0 0 1 5 6 7") +
                  file_of("p2.txt", points) + file_of("r2", "0 1 0 1 0 0 0 0 -1 5 6 7"));
    seeds.add(
        "frame_sources",
        file_of("frames.json", grid + "\"common\", \"suffix\": \"all\"}, \"sensor\": \"-z\"}") +
            file_of("p7.txt", points) +
            file_of("all", "frame 7 1 0 0 1 0 1 0 2 0 0 1 3 frame 8 1 0 0 1"));
    seeds.add("frame_sources",
              file_of("frames.json", grid + "\"sixteen\", \"header\": true}, \"first\": 3, "
                                            "\"last\": 3}") +
                  file_of("p3.txt", points) +
                  file_of("3", "size 4\nframe 3\n1 0 0 1 0 1 0 2 0 0 1 3 0 0 0 1"));
    seeds.add("frame_sources",
              file_of("a.conf", "camera 1 2 3\n# scans\nbmesh a.ply 0 0 0 0 0 0 1\n"
                                "bmesh \"b c.ply\" 1 2 3 0.1 0.2 0.3 0.9\nbmesh d 1 2\n") +
                  file_of("a.ply", RANGE_PLY));
}

std::string png(Seeds const& seeds, int width, int height)
{
    Image<3, unsigned char> image(width, height);
    for (int i = 0; i < 3 * width * height; ++i)
    {
        image.data()[i] = static_cast<unsigned char>(37 * i);
    }
    return seeds.written(".png",
                         [&](fs::path const& path) { write_rgb_image(path.string(), image); });
}

std::string jpeg(Seeds const& seeds)
{
    Image<3, unsigned char> const image(17, 9);
    return seeds.written(".jpg",
                         [&](fs::path const& path) { write_rgb_image(path.string(), image); });
}

/// 2 x 2 depths as PNG: the library writes none.
std::string depth_png()
{
    static constexpr unsigned char FILE[] = {
        0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49,
        0x48, 0x44, 0x52, 0x00, 0x00, 0x00, 0x02, 0x00, 0x00, 0x00, 0x02, 0x10, 0x00,
        0x00, 0x00, 0x00, 0x07, 0x4d, 0x8e, 0xbb, 0x00, 0x00, 0x00, 0x15, 0x49, 0x44,
        0x41, 0x54, 0x78, 0x01, 0x01, 0x0a, 0x00, 0xf5, 0xff, 0x00, 0x03, 0xe8, 0x03,
        0xe9, 0x00, 0x03, 0xea, 0x03, 0xf2, 0x10, 0xb2, 0x03, 0xba, 0xd7, 0x94, 0x3e,
        0xef, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82};
    return {reinterpret_cast<char const*>(FILE), sizeof(FILE)};
}

void add_images(Seeds& seeds)
{
    seeds.add("images", png(seeds, 5, 3));
    seeds.add("images", jpeg(seeds));
    seeds.add("images", depth_png());
    std::string const view = "\"width\": 2, \"height\": 2, \"fx\": 2, \"fy\": 2, \"cx\": 1, "
                             "\"cy\": 1, \"R\": [[1, 0, 0], [0, -1, 0], [0, 0, -1]], "
                             "\"t\": [0, 0, 5]}";
    seeds.add("frame_sources",
              file_of("cameras.json",
                      "{\"units\": \"metre\", \"views\": [{\"depth\": \"d.png\", " + view + "]}") +
                  file_of("d.png", depth_png()));
    seeds.add("photo_lists",
              file_of("cameras.json", "{\"views\": [{\"image\": \"a.png\", " + view + "]}") +
                  file_of("a.png", png(seeds, 2, 2)));
    seeds.add("photo_lists",
              file_of("cameras.txt", "# cameras\n1 PINHOLE 2 2 3 3 1 1\n2 SIMPLE_PINHOLE 17 9 "
                                     "20 8.5 4.5\n") +
                  file_of("images.txt", "# images\n1 1 0 0 0 1 2 3 1 a.png\n\n"
                                        "2 0.9 0.1 0 0.2 1 2 3 2 b.jpg\n1 2 -1 3 4 5\n") +
                  file_of("a.png", png(seeds, 2, 2)) + file_of("b.jpg", jpeg(seeds)));
}

void add_texts(Seeds& seeds)
{
    seeds.add("texts", "# markers\n1 2 3\n4 5 6 # here\n-1e3 .5 7\n");
    seeds.add("texts", "1 2 3 0 0 1\n4 5 6 0 3 4\n");
    seeds.add("texts", "1 2 3 6 15.5\n4 5 6 6 15\n");
    for (auto const& [name, kind] : veld::step_kinds())
    {
        seeds.add("texts", "{\"veld_recipe\": 1, \"steps\": [{\"step\": \"" + name +
                               "\", \"when\": \"open\", \"settings\": " +
                               veld::with_defaults(kind, veld::Json::object()).dump() + "}]}");
    }
    veld::RunStep step;
    step.name = "fill";
    step.title = "Fill 3 holes";
    step.settings = {{"method", "auto"}};
    step.result = {{"holes_before", 3}, {"open", {{{"hole", 1}, {"reason", "too long"}}}}};
    step.warnings = {"frame 3 is empty"};
    step.mesh = "a.ply";
    step.picture = "a.png";
    step.new_faces_begin = 2;
    veld::RunRecord record;
    record.version = "0.1.0";
    record.source = "scan.conf";
    record.recipe = veld::Json::array({{{"step", "fill"}}});
    record.steps = {step};
    record.comparison = {{"mean", 0.01}};
    record.textured = "a.glb";
    seeds.add("texts", record.to_text());
}

void add_models(Seeds& seeds)
{
    veld::TexturedMesh const textured{sheet(true), veld::TextureImage(2, 2)};
    seeds.add("glb", seeds.written(".glb",
                                   [&](fs::path const& path)
                                   {
                                       veld::Context context;
                                       veld::write_textured_mesh(path, textured, context);
                                   }));
}

Bytes joined(std::vector<Bytes> const& parts)
{
    Bytes result;
    for (auto const& part : parts)
    {
        result.insert(result.end(), part.begin(), part.end());
    }
    return result;
}

/// As decode_mesh() reads them: attributes, shape, what the shape takes, edits.
std::vector<Bytes> meshes()
{
    Bytes const sheet_with_holes{4, 1, 7, 7, 0, 60, 60, 36, 0, 2, 0, 0};
    Bytes const cone{3, 2, 17, 0, 1};
    Bytes const both{15, 3, 3, 4, 0, 2, 0, 4, 0, 9, 3, 0};
    return {joined({sheet_with_holes, {0}}),
            joined({cone, {0}}),
            joined({both, {0}}),
            // Vertices are moved to NaN, far out, and onto each other.
            joined({sheet_with_holes, {3, 3, 10, 240, 130, 130, 3, 12, 243, 0, 0, 4, 20, 21}}),
            // Faces and vertices are deleted, others marked; a lone edge; a face that does not fit.
            joined({both, {6,   5,   1,   0,   9,   5, 0, 1, 4, 6, 3, 1, 7, 100,
                           100, 100, 110, 110, 110, 0, 1, 2, 3, 2, 9, 9, 9}}),
            // Loose triangles of new vertices, two of which share one of them.
            {9,   0, 8,   2,   112, 112, 120, 2, 128, 112, 120, 2, 120, 128, 120, 2, 136, 136,
             120, 2, 100, 136, 120, 0,   0,   1, 2,   0,   2,   3, 4,   0,   1,   0, 2}};
}

void add_operations(Seeds& seeds)
{
    Bytes const careful{0, 0, 12, 4, 5, 16, 0, 245, 0, 200, 250, 0};
    Bytes const whole{0, 0, 1, 1, 12, 14, 120, 16, 0, 250, 250, 0, 247, 250, 20, 0};
    for (auto const& mesh : meshes())
    {
        for (int const choice : {0, 2, 3})
        {
            seeds.add("find_holes",
                      joined({mesh, {0, choice, 2, 120, 120, 120, 130, 130, 120, 1, 48, 200}}));
        }
        for (int const step : {0, 1, 2, 3, 4, 5, 6, 7})
        {
            seeds.add(
                "clean_mesh",
                joined({{0, 1}, mesh, {20, 4, step, 1, 120, 120, 120, 1, 120, 120, 128, 32}}));
        }
        for (int const clips : {0, 1})
        {
            seeds.add("cut_ears", joined({{0, clips}, mesh, {0, 1, 0, 200, 0, 0, 0, 252}}));
            seeds.add("repair_mesh",
                      joined({{0, clips}, mesh, {124, 1, 1, 0, 3, 16, 24, 32, 1, 20, 2}}));
        }
        for (int const type : {0, 4, 8})
        {
            Bytes settings = careful;
            settings[3] = type;
            seeds.add("fill_careful", joined({settings, mesh, {1}}));
            settings = whole;
            settings[2] = type / 4;
            seeds.add("fill_whole", joined({settings, {40, 0}, mesh}));
        }
        Bytes const view{20, 16, 7, 1, 1, 2, 1};
        for (int const what : {0, 2, 4})
        {
            seeds.add("texture_mesh", joined({{what, 0, 2}, view, view, mesh, {0, 0, 0}}));
        }
    }
    Bytes const grid{8, 8, 2, 128, 0, 0, 0, 24, 0, 0, 0, 1, 1, 0};
    for (int const what : {0, 1, 2, 3, 4})
    {
        seeds.add("merge_frames", joined({{what, 2},
                                          grid,
                                          {0, 120, 120, 120, 0},
                                          grid,
                                          {2, 126, 122, 121, 0},
                                          {0, 32, 0, 80, 8, 160}}));
    }
}

} // namespace

int main(int n_arguments, char** arguments)
{
    if (n_arguments != 2)
    {
        std::cerr << "make_seeds DIRECTORY\n";
        return 1;
    }
    fs::create_directories(arguments[1]);
    Seeds seeds(arguments[1]);
    add_meshes(seeds);
    add_mesh_texts(seeds);
    add_frames(seeds);
    add_text_frames(seeds);
    add_images(seeds);
    add_texts(seeds);
    add_models(seeds);
    add_operations(seeds);
    return 0;
}
