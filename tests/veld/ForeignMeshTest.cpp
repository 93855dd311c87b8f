#include "run_veld.h"

#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/mesh_io.h"

#include <gmock/gmock.h>

#include <cmath>
#include <map>

/// \file
/// Mesh files as other programs write them: what is made of them, what is said, and what comes out.

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

class ForeignMesh : public testing::Test
{
protected:
    std::string file(std::string const& name) const { return dir_.file(name); }

    void write(std::string const& name, std::string const& text) { write_file(file(name), text); }

    Outcome run(std::vector<std::string> const& arguments)
    {
        Outcome const outcome = run_veld(arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome;
    }

    TriMesh read(std::string const& name) const
    {
        TriMesh mesh;
        OrvaneAlgorithm::MeshFileContents contents;
        EXPECT_TRUE(OrvaneAlgorithm::read_and_mend_mesh(file(name), mesh, contents))
            << contents.error;
        return mesh;
    }

    TempDir dir_;
};

/// A cube as modelling programs export it.
std::string const CUBE_OBJ = "# exported\nmtllib cube.mtl\no Cube\n"
                             "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n"
                             "v 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n"
                             "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvn 0 0 1\nusemtl red\ns off\n"
                             "f 1/1/1 4/2/1 3/3/1 2/4/1\nf 5/1/1 6/2/1 7/3/1 8/4/1\n"
                             "f 1/1/1 2/2/1 6/3/1 5/4/1\nf 2/1/1 3/2/1 7/3/1 6/4/1\n"
                             "f 3/1/1 4/2/1 8/3/1 7/4/1\nf 4/1/1 1/2/1 5/3/1 8/4/1\n";

TEST_F(ForeignMesh, CubeOfQuadsIsAClosedMeshAndTwoLinesSayWhatWasDone)
{
    write("cube.obj", CUBE_OBJ);
    Outcome const info = run({"info", file("cube.obj"), "--json"});
    EXPECT_EQ(info.err, "warning: " + file("cube.obj") +
                            ": 6 quads cut into 12 triangles\nwarning: " + file("cube.obj") +
                            ": not kept: materials, groups, smoothing groups\n");
    auto const json = info.json();
    EXPECT_EQ(json["closed"], true);
    EXPECT_EQ(json["faces"], 12);
    EXPECT_EQ(json["faces_left_out"], 0);
    EXPECT_EQ(json["contents"]["faces_by_corners"], nlohmann::json({{"4", 6}}));
    EXPECT_EQ(json["contents"]["kept"], nlohmann::json({"normals", "texture coordinates"}));
}

TEST_F(ForeignMesh, InfoShowsWhatTheFileHolds)
{
    // A strip of three faces with four corners, one of which names a corner twice, and a triangle
    // behind them that is turned; a triangle at a point without a place; one with a repeated
    // corner.
    write("odd.off", "OFF\n10 6 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\nnan 0 0\n2 0 0\n2 1 0\n3 0 0\n"
                     "3 1 0\n4 0 0\n4 0 1 2 3\n3 0 1 4\n4 1 5 6 2\n5 5 7 8 8 6\n3 7 8 7\n"
                     "3 7 8 9\n");
    std::string const text = run({"info", file("odd.off")}).out;
    EXPECT_THAT(text, HasSubstr("in the file\n"));
    auto const line = [](std::string const& name, std::string const& value) {
        return "    " + name + std::string(22 - name.size() + 12 - value.size(), ' ') + value +
               "\n";
    };
    EXPECT_THAT(text, HasSubstr(line("vertices", "10")));
    EXPECT_THAT(text, HasSubstr(line("triangles", "3")));
    EXPECT_THAT(text, HasSubstr(line("quads", "2")));
    EXPECT_THAT(text, HasSubstr(line("faces of 5 corners", "1")));
    EXPECT_THAT(text, HasSubstr(line("vertices not finite", "1")));
    EXPECT_THAT(text, HasSubstr(line("their faces", "1")));
    EXPECT_THAT(text, HasSubstr(line("degenerate faces", "1")));
    EXPECT_THAT(text, HasSubstr(line("faces turned over", "1")));
}

TEST_F(ForeignMesh, FacesThatAreLeftOutAreCountedWithTheirReasonsInOneLine)
{
    // Three faces at one edge, one with a repeated corner, one twice.
    write("fan.ply", "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\nproperty float y\n"
                     "property float z\nelement face 5\nproperty list uchar int vertex_indices\n"
                     "end_header\n0 0 0\n1 0 0\n0 1 0\n0 -1 0\n0 0 1\n3 0 1 2\n3 1 0 3\n3 0 1 4\n"
                     "3 2 2 4\n3 1 2 0\n");
    Outcome const run = this->run({"info", file("fan.ply"), "--json"});
    EXPECT_EQ(run.err,
              "warning: " + file("fan.ply") +
                  ": 2 faces left out: 1 of fewer than three different corners (first: 3), "
                  "1 repeated (first: 4); surfaces that meet taken apart at 1 edge "
                  "(2 vertices added)\n");
    EXPECT_EQ(run.json()["faces_left_out"], 2);
    EXPECT_EQ(run.json()["faces"], 3);
    EXPECT_EQ(run.json()["vertices"], 7);
    EXPECT_EQ(run.json()["contents"]["left_out"]["repeated"],
              nlohmann::json({{"count", 1}, {"first", 4}}));
}

TEST_F(ForeignMesh, VerticesThatAreNotFiniteAreCountedAndGo)
{
    write("scan.off", "OFF\n5 3 0\n0 0 0\n1 0 0\n0 1 0\ninf 0 0\nnan nan nan\n"
                      "3 0 1 2\n3 0 1 3\n3 2 1 3\n");
    Outcome const run = this->run({"info", file("scan.off"), "--json"});
    EXPECT_EQ(run.err, "warning: " + file("scan.off") +
                           ": 2 faces left out: 2 at vertices that are not finite (first: 1); "
                           "2 vertices left out that are not finite\n");
    EXPECT_EQ(run.json()["vertices"], 3);
    EXPECT_EQ(run.json()["faces"], 1);
}

TEST_F(ForeignMesh, ATurnedFaceIsTurnedBackAndTheMeshStaysClosed)
{
    write("turned.off", "OFF\n4 4 0\n0 0 0\n1 0 0\n0 1 0\n0 0 1\n"
                        "3 0 2 1\n3 0 1 3\n3 2 1 3\n3 2 0 3\n");
    Outcome const run = this->run({"info", file("turned.off"), "--json"});
    EXPECT_THAT(run.err, HasSubstr(": 1 face turned over like most around\n"));
    EXPECT_EQ(run.error_lines(), 1);
    EXPECT_EQ(run.json()["closed"], true);
}

// What is carried through commands.

/// The side of the square grid below, of whose cells the middle nine are missing.
constexpr int N = 7;

bool is_hole(int row, int column)
{
    return row >= 2 && row <= 4 && column >= 2 && column <= 4;
}

float quality_at(int vertex)
{
    return static_cast<float>(10 * (vertex / (N + 1)) + vertex % (N + 1));
}

/// A PLY of quads as a scanning program writes it: quality of vertices, texture coordinates of
/// corners, which are the positions.
std::string textured_ply()
{
    std::string vertices;
    std::string faces;
    for (int row = 0; row <= N; ++row)
    {
        for (int column = 0; column <= N; ++column)
        {
            vertices += std::to_string(column) + " " + std::to_string(row) + " 0 " +
                        std::to_string(10 * row + column) + " 0.25\n";
        }
    }
    for (int row = 0; row < N; ++row)
    {
        for (int column = 0; column < N; ++column)
        {
            int const corner = row * (N + 1) + column;
            std::vector<int> const corners{corner, corner + 1, corner + N + 2, corner + N + 1};
            std::string line = "4";
            std::string coordinates;
            for (int const i : corners)
            {
                line += " " + std::to_string(i);
                coordinates +=
                    " " + std::to_string(i % (N + 1)) + " " + std::to_string(i / (N + 1));
            }
            faces += is_hole(row, column) ? "" : line + " 8" + coordinates + "\n";
        }
    }
    return "ply\nformat ascii 1.0\nelement vertex " + std::to_string((N + 1) * (N + 1)) +
           "\nproperty float x\nproperty float y\nproperty float z\nproperty float quality\n"
           "property float intensity\nelement face " +
           std::to_string(N * N - 9) +
           "\nproperty list uchar int vertex_indices\nproperty list uchar float texcoord\n"
           "end_header\n" +
           vertices + faces;
}

float value(TriMesh const& mesh, std::string const& name, OpenMesh::VertexHandle vertex)
{
    for (auto const carried : OrvaneAlgorithm::detail::carried_values(mesh))
    {
        if (OrvaneAlgorithm::detail::name_in_file(mesh, carried) == name)
        {
            return mesh.property(carried, vertex);
        }
    }
    ADD_FAILURE() << "no " << name;
    return 0.0F;
}

/// Faces that were there have as texture coordinates of their corners what `place(vertex)` says.
template <typename Place>
void expect_texcoords(TriMesh const& mesh, std::size_t new_faces, Place const& place)
{
    ASSERT_TRUE(mesh.has_halfedge_texcoords2D());
    std::size_t without = 0;
    for (auto const face : mesh.faces())
    {
        if (!OrvaneAlgorithm::detail::has_texcoords(mesh, face))
        {
            ++without;
            continue;
        }
        for (auto const h : face.halfedges())
        {
            EXPECT_EQ(mesh.texcoord2D(h), place(h.to()));
        }
    }
    EXPECT_EQ(without, new_faces);
}

class CarriedThrough : public ForeignMesh, public testing::WithParamInterface<std::string>
{
};

TEST_P(CarriedThrough, FillKeepsValuesAndTextureCoordinatesAndNewVerticesGetTheMean)
{
    write("scan.ply", textured_ply());
    auto const json = run({"fill", file("scan.ply"), "-o", file("out.ply"), "--method", GetParam(),
                           "--max-perimeter", "20", "--json"})
                          .json();
    EXPECT_GT(json["new_faces"], 0);
    EXPECT_EQ(json["new_vertices"] > 0, GetParam() == "core");
    TriMesh const mesh = read("out.ply");
    // By their numbers, for careful filling moves vertices.
    expect_texcoords(mesh, json["new_faces"].get<std::size_t>(),
                     [](OpenMesh::VertexHandle v)
                     {
                         return OrvaneAlgorithm::Vector2f(static_cast<float>(v.idx() % (N + 1)),
                                                          static_cast<float>(v.idx() / (N + 1)));
                     });
    for (auto const v : mesh.vertices())
    {
        EXPECT_EQ(value(mesh, "intensity", v), 0.25F);
        if (v.idx() < (N + 1) * (N + 1))
        {
            EXPECT_EQ(value(mesh, "quality", v), quality_at(v.idx()));
            continue;
        }
        // Between the least and the greatest of the rim.
        EXPECT_GT(value(mesh, "quality", v), 22.0F);
        EXPECT_LT(value(mesh, "quality", v), 55.0F);
    }
}

INSTANTIATE_TEST_SUITE_P(Methods, CarriedThrough, testing::Values("trim", "clip", "core"),
                         [](auto const& method) { return method.param; });

TEST_F(ForeignMesh, CleanKeepsValuesAndTextureCoordinates)
{
    write("scan.ply", textured_ply());
    write("markers.txt", "1 1 0\n");
    auto const json = run({"clean", file("scan.ply"), "-o", file("out.ply"), "--markers",
                           file("markers.txt"), "--marker-radius", "1.2", "--json"})
                          .json();
    EXPECT_LT(json["after"]["faces"], json["before"]["faces"]);
    EXPECT_GT(json["after"]["faces"], 10);
    TriMesh const mesh = read("out.ply");
    expect_texcoords(mesh, 0,
                     [&](OpenMesh::VertexHandle v)
                     { return OrvaneAlgorithm::Vector2f(mesh.point(v).head<2>()); });
    for (auto const v : mesh.vertices())
    {
        auto const p = mesh.point(v);
        EXPECT_EQ(value(mesh, "quality", v), 10 * p.y() + p.x());
    }
}

TEST_F(ForeignMesh, CleanKeepsValuesOfPoints)
{
    write("cloud.ply", "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n"
                       "property float y\nproperty float z\nproperty float intensity\nend_header\n"
                       "0 0 0 1\n5 0 0 2\n5 0 0 3\n9 0 0 4\n");
    write("markers.txt", "0 0 0\n");
    run({"clean", file("cloud.ply"), "-o", file("out.ply"), "--markers", file("markers.txt"),
         "--marker-radius", "1"});
    TriMesh const cloud = read("out.ply");
    ASSERT_EQ(cloud.n_vertices(), 3U);
    EXPECT_EQ(value(cloud, "intensity", vh(0)), 2.0F);
    EXPECT_EQ(value(cloud, "intensity", vh(1)), 3.0F);
    EXPECT_EQ(value(cloud, "intensity", vh(2)), 4.0F);
}

TEST_F(ForeignMesh, AFormatThatCannotHoldWhatTheMeshCarriesIsToldOnce)
{
    write("scan.ply", textured_ply());
    Outcome const off = run({"fill", file("scan.ply"), "-o", file("out.off")});
    EXPECT_THAT(off.err, HasSubstr("warning: " + file("out.off") +
                                   ": not kept: texture coordinates, quality, intensity\n"));
    Outcome const obj = run({"fill", file("scan.ply"), "-o", file("out.obj")});
    EXPECT_THAT(obj.err,
                HasSubstr("warning: " + file("out.obj") + ": not kept: quality, intensity\n"));
    EXPECT_TRUE(read("out.obj").has_halfedge_texcoords2D());
    Outcome const ply = run({"fill", file("scan.ply"), "-o", file("out.ply")});
    EXPECT_THAT(ply.err, testing::Not(HasSubstr("not kept")));
}

TEST_F(ForeignMesh, EveryCommandTakesAMeshThatNeedsMending)
{
    write("cube.obj", CUBE_OBJ);
    run({"holes", file("cube.obj")});
    run({"fill", file("cube.obj"), "-o", file("filled.ply")});
    run({"clean", file("cube.obj"), "-o", file("clean.ply"), "--min-faces", "2"});
    run({"render", file("cube.obj"), "-o", file("cube.png"), "--width", "64", "--height", "48"});
    EXPECT_EQ(read("filled.ply").n_faces(), 12U);
    EXPECT_EQ(read("clean.ply").n_faces(), 12U);
}

TEST_F(ForeignMesh, ManyDamagedAndLargeDeclarationsEndWithOneLine)
{
    std::string const head = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\n"
                             "property float y\nproperty float z\nelement face 1\n"
                             "property list uint int vertex_indices\n"
                             "property list uint float texcoord\nend_header\n"
                             "0 0 0\n1 0 0\n0 1 0\n";
    std::map<std::string, std::string> const files{
        {"list.ply", head + "4294967295 0 1 2\n"},
        {"texcoord.ply", head + "3 0 1 2 4294967295 0 0\n"},
        {"polygon.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n9000000000000000000 0 1 2\n"},
        {"binary.off", std::string("OFF BINARY\n\0\0\0\1\0\0\0\1\0\0\0\0", 23) +
                           std::string(12, '\0') + "\xff\xff\xff\xff"}};
    for (auto const& [name, text] : files)
    {
        write(name, text);
        Outcome const run = run_veld({"info", file(name)});
        EXPECT_EQ(run.status, 1) << name;
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_EQ(run.err.rfind("error: ", 0), 0U) << run.err;
    }
}

} // namespace
