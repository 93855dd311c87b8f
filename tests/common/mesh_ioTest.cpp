#include "algorithmVeld/common/mesh_io.h"

#include "tests/support/mesh_files.h"
#include "tests/support/meshes.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

using namespace OrvaneAlgorithm;
using veld_test::big_endian_bytes;
using veld_test::bytes;
using veld_test::corners_of;
using veld_test::read_content;
using veld_test::read_path;
using veld_test::TempDir;
using veld_test::vh;
using veld_test::write_file;

namespace
{

std::vector<Vector3f> positions_of(TriMesh const& mesh)
{
    return {mesh.points(), mesh.points() + mesh.n_vertices()};
}

/// Values that only come back if every bit of them is kept.
float awkward(int i)
{
    static float const values[] = {0.1F,        -1234.5678F,   1e-30F,         16777215.0F,
                                   1.0F / 3.0F, 3.4028235e38F, 1.1754944e-38F, 1e-45F};
    return values[i % 8] * (i % 3 == 0 ? 1.0F : 0.7F);
}

/// A grid with a hole, awkward coordinates, normals and colours, and a vertex without a face.
TriMesh rich_mesh()
{
    auto mesh = veld_test::grid_with_hole(2);
    mesh.add_vertex(Vector3f(7, 8, 9));
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    for (auto const v : mesh.vertices())
    {
        int const i = v.idx();
        mesh.point(v)[2] = awkward(i);
        mesh.set_normal(v, Vector3f(std::sin(float(i)), std::cos(float(i)), awkward(i + 1)));
        mesh.set_color(v, Vector3f(float(i % 256), float(3 * i % 256), 255.0F) / 255.0F);
    }
    return mesh;
}

class RoundTrip : public testing::TestWithParam<std::string>
{
protected:
    std::string file() const { return directory_.file("mesh" + GetParam()); }

    TriMesh written_and_read(TriMesh const& mesh) const
    {
        std::string error;
        EXPECT_TRUE(write_mesh(file(), mesh, error)) << error;
        auto result = read_path(file());
        EXPECT_TRUE(result.ok) << result.report.error;
        EXPECT_EQ(result.report.faces_left_out, 0U);
        return result.mesh;
    }

    TempDir directory_;
};

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip, testing::Values(".ply", ".obj", ".off", ".om"));

TEST_P(RoundTrip, KeepsEveryBitOfPositionsAndNormals)
{
    auto const mesh = rich_mesh();
    auto const back = written_and_read(mesh);
    EXPECT_EQ(positions_of(back), positions_of(mesh));
    ASSERT_TRUE(back.has_vertex_normals());
    for (auto const v : mesh.vertices())
    {
        EXPECT_EQ(back.normal(v), mesh.normal(v));
    }
}

TEST_P(RoundTrip, KeepsFacesWithTheirOrderAndFirstCorner)
{
    auto const mesh = rich_mesh();
    EXPECT_EQ(corners_of(written_and_read(mesh)), corners_of(mesh));
}

TEST_P(RoundTrip, KeepsColoursThatBytesCanHold)
{
    auto const mesh = rich_mesh();
    auto const back = written_and_read(mesh);
    ASSERT_TRUE(back.has_vertex_colors());
    for (auto const v : mesh.vertices())
    {
        EXPECT_TRUE(back.color(v).isApprox(mesh.color(v), 1e-6F)) << v.idx();
    }
}

TEST_P(RoundTrip, AddsNoAttributeThatTheMeshLacks)
{
    auto const back = written_and_read(veld_test::tetrahedron());
    EXPECT_FALSE(back.has_vertex_normals());
    EXPECT_FALSE(back.has_vertex_colors());
    EXPECT_FALSE(back.has_vertex_status());
}

TEST_P(RoundTrip, KeepsAPointCloud)
{
    TriMesh mesh;
    mesh.add_vertex(Vector3f(1, 2, 3));
    mesh.add_vertex(Vector3f(4, 5, 6));
    auto const back = written_and_read(mesh);
    EXPECT_EQ(positions_of(back), positions_of(mesh));
    EXPECT_EQ(back.n_faces(), 0U);
}

// So that holes are filled without moving the mesh.
TEST_P(RoundTrip, LeavesRoomForMore)
{
    std::string error;
    ASSERT_TRUE(write_mesh(file(), rich_mesh(), error)) << error;
    TriMesh mesh;
    MeshReadReport report;
    ASSERT_TRUE(read_mesh(file(), mesh, report)) << report.error;
    auto const* const points = mesh.points();
    auto const* const normals = mesh.vertex_normals();
    auto const* const edges = &mesh.edge(OpenMesh::EdgeHandle(0));
    auto const* const faces = &mesh.face(OpenMesh::FaceHandle(0));
    mesh.resize(mesh.n_vertices() * 9 / 8, mesh.n_edges() * 9 / 8, mesh.n_faces() * 9 / 8);
    EXPECT_EQ(mesh.points(), points);
    EXPECT_EQ(mesh.vertex_normals(), normals);
    EXPECT_EQ(&mesh.edge(OpenMesh::EdgeHandle(0)), edges);
    EXPECT_EQ(&mesh.face(OpenMesh::FaceHandle(0)), faces);
}

TEST_P(RoundTrip, MakesBytesOfColoursBeyondTheRange)
{
    auto mesh = veld_test::lone_triangle();
    mesh.request_vertex_colors();
    mesh.set_color(vh(0), Vector3f(-1, 0.5F, 1));
    mesh.set_color(vh(1), Vector3f(0.2F, std::numeric_limits<float>::quiet_NaN(), 0));
    mesh.set_color(vh(2), Vector3f(2, 0, 0.1F));
    if (GetParam() == ".obj")
    {
        return; // text holds the floats themselves
    }
    auto const back = written_and_read(mesh);
    EXPECT_TRUE(back.color(vh(0)).isApprox(Vector3f(0, 128.0F / 255.0F, 1)));
    EXPECT_TRUE(back.color(vh(1)).isApprox(Vector3f(51.0F / 255.0F, 0, 0)));
    EXPECT_TRUE(back.color(vh(2)).isApprox(Vector3f(1, 0, 26.0F / 255.0F)));
}

class AnyFormat : public RoundTrip
{
};

INSTANTIATE_TEST_SUITE_P(Formats, AnyFormat,
                         testing::Values(".ply", ".stl", ".obj", ".off", ".om"));

TEST_P(AnyFormat, LeavesDeletedElementsOutAndTheMeshAsItIs)
{
    auto mesh = veld_test::grid(2, 2);
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_face_status();
    mesh.delete_vertex(vh(0), true);
    auto const back = written_and_read(mesh);
    EXPECT_EQ(back.n_vertices(), 8U);
    EXPECT_EQ(back.n_faces(), 6U);
    EXPECT_EQ(mesh.n_vertices(), 9U);
    EXPECT_TRUE(mesh.status(vh(0)).deleted());
}

TEST_P(AnyFormat, TakesTheExtensionInAnyCase)
{
    auto upper = GetParam();
    std::transform(upper.begin(), upper.end(), upper.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    auto const path = directory_.file("mesh" + upper);
    std::string error;
    ASSERT_TRUE(write_mesh(path, veld_test::tetrahedron(), error)) << error;
    auto const result = read_path(path);
    EXPECT_TRUE(result.ok) << result.report.error;
    EXPECT_EQ(result.mesh.n_faces(), 4U);
}

TEST_P(AnyFormat, ReplacesWhatTheMeshHeld)
{
    std::string error;
    ASSERT_TRUE(write_mesh(file(), veld_test::lone_triangle(), error)) << error;
    auto mesh = rich_mesh();
    MeshReadReport report;
    report.faces_left_out = 9;
    report.error = "old";
    ASSERT_TRUE(read_mesh(file(), mesh, report));
    EXPECT_EQ(mesh.n_vertices(), 3U);
    EXPECT_EQ(mesh.n_faces(), 1U);
    EXPECT_FALSE(mesh.has_vertex_colors());
    EXPECT_EQ(report.faces_left_out, 0U);
    EXPECT_EQ(report.error, "");
}

TEST_P(AnyFormat, WritesTheSameBytesEachTimeAndNothingBeside)
{
    auto const mesh = rich_mesh();
    std::string error;
    ASSERT_TRUE(write_mesh(file(), mesh, error)) << error;
    auto const first = veld_test::file_content(file());
    ASSERT_TRUE(write_mesh(file(), mesh, error)) << error;
    EXPECT_EQ(veld_test::file_content(file()), first);
    std::filesystem::directory_iterator const files(directory_.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_P(AnyFormat, IsSilent)
{
    omlog().enable();
    omerr().enable();
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    std::string error;
    EXPECT_TRUE(write_mesh(file(), rich_mesh(), error)) << error;
    EXPECT_TRUE(read_path(file()).ok);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_TRUE(omlog().is_enabled());
    EXPECT_TRUE(omerr().is_enabled());
}

TEST_P(AnyFormat, RefusesATargetThatCannotBeWritten)
{
    auto const mesh = veld_test::lone_triangle();
    std::string error;
    auto const nowhere = directory_.file("nowhere/mesh" + GetParam());
    EXPECT_FALSE(write_mesh(nowhere, mesh, error));
    EXPECT_EQ(error, nowhere + ": cannot be written: No such file or directory");
    std::filesystem::create_directory(file());
    EXPECT_FALSE(write_mesh(file(), mesh, error));
    EXPECT_EQ(error, file() + ": is a directory");
    std::filesystem::directory_iterator const files(directory_.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

TEST_P(AnyFormat, RefusesWhatIsNoFileWithContent)
{
    EXPECT_EQ(read_path(file()).report.error, file() + ": no such file");
    write_file(file(), "");
    EXPECT_EQ(read_path(file()).report.error, file() + ": is empty");
    std::filesystem::remove(file());
    std::filesystem::create_directory(file());
    EXPECT_EQ(read_path(file()).report.error, file() + ": is a directory");
}

TEST(MeshIo, RefusesAnUnknownExtensionByNamingTheKnown)
{
    TempDir const directory;
    std::string const known = ": unknown mesh format (known: .ply .stl .obj .off .om)";
    for (auto const* name : {"scan.xyz", "scan", "scan.ply.gz"})
    {
        auto const path = directory.file(name);
        write_file(path, "ply\n");
        EXPECT_EQ(read_path(path).report.error, path + known);
        std::string error;
        EXPECT_FALSE(write_mesh(path, veld_test::lone_triangle(), error));
        EXPECT_EQ(error, path + known);
        EXPECT_EQ(veld_test::file_content(path), "ply\n");
    }
}

TEST(MeshIo, WritesNoEmptyFileOfAMeshThatIsSwappedOut)
{
    TempDir const directory;
    auto mesh = veld_test::lone_triangle();
    ASSERT_EQ(mesh.swap_out_data(), 0);
    auto const path = directory.file("mesh.ply");
    std::string error;
    EXPECT_FALSE(write_mesh(path, mesh, error));
    EXPECT_EQ(error, path + ": cannot be written while the mesh is swapped out");
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(MeshIo, KeepsAnErrorOnOneLine)
{
    EXPECT_EQ(read_path("no\nsuch\x1b[1m.ply").report.error, "no?such?[1m.ply: no such file");
}

TEST(MeshIo, WritesNoOmFileWhoseIndicesWouldBeCutOff)
{
    TriMesh mesh;
    for (int i = 0; i < 303; ++i)
    {
        mesh.add_vertex(Vector3f(float(i), float(i % 7), 0));
    }
    mesh.add_face(vh(300), vh(301), vh(302));
    TempDir const directory;
    auto const path = directory.file("mesh.om");
    write_file(path, "what was there");
    std::string error;
    EXPECT_FALSE(write_mesh(path, mesh, error));
    EXPECT_EQ(error, path + ": cannot be written in this format: too many vertices have no face");
    EXPECT_EQ(veld_test::file_content(path), "what was there");
    std::filesystem::directory_iterator const files(directory.path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1);
}

// PLY.

TEST(ReadPly, TakesAnyTypePropertyAndElement)
{
    auto const result = read_content("a.ply", "ply\r\n"
                                              "format ascii 1.0\r\n"
                                              "comment made by hand\r\n"
                                              "obj_info nothing\r\n"
                                              "element camera 1\r\n"
                                              "property list int8 float64 matrix\r\n"
                                              "property float fov\r\n"
                                              "element vertex 3\r\n"
                                              "property uchar quality\r\n"
                                              "property double x\r\n"
                                              "property float32 y\r\n"
                                              "property int16 z\r\n"
                                              "property list uchar int neighbours\r\n"
                                              "element nothing 1000000000000\r\n"
                                              "element face 1\r\n"
                                              "property uchar flags\r\n"
                                              "property list uint8 int32 vertex_index\r\n"
                                              "property list uchar float texcoord\r\n"
                                              "element edge 1\r\n"
                                              "property int vertex1\r\n"
                                              "end_header\r\n"
                                              "3 0.5 1e3 -2 60\r\n"
                                              "200 +0.5 1e-3 -7 2 1 2\r\n"
                                              "\r\n"
                                              " 201\t1 0 0 0 \r\n"
                                              "202 0 1e-60 0 1 0\r\n"
                                              "7 3 2 0 1 6 0 0 1 0 1 1\r\n"
                                              "12\r\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_THAT(
        positions_of(result.mesh),
        testing::ElementsAre(Vector3f(0.5F, 1e-3F, -7), Vector3f(1, 0, 0), Vector3f(0, 0, 0)));
    EXPECT_THAT(corners_of(result.mesh), testing::ElementsAre(std::array<int, 3>{2, 0, 1}));
}

TEST(ReadPly, TakesBigEndianWithEveryType)
{
    std::string content = "ply\nformat binary_big_endian 1.0\nelement vertex 3\nproperty double x\n"
                          "property float y\nproperty short z\nproperty ushort a\nproperty char b\n"
                          "property uint c\nelement face 1\n"
                          "property list ushort uint vertex_indices\nend_header\n";
    for (int i = 0; i < 3; ++i)
    {
        content += big_endian_bytes(0.1 * i) + big_endian_bytes(i == 1 ? 2.5F : 0.0F);
        content += big_endian_bytes(std::int16_t(-300 * i)) + big_endian_bytes(std::uint16_t(1));
        content += big_endian_bytes(std::int8_t(-1)) + big_endian_bytes(std::uint32_t(5));
    }
    content += big_endian_bytes(std::uint16_t(3));
    for (std::uint32_t const corner : {0U, 1U, 2U})
    {
        content += big_endian_bytes(corner);
    }
    auto const result = read_content("a.ply", content);
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_THAT(positions_of(result.mesh),
                testing::ElementsAre(Vector3f(0, 0, 0), Vector3f(0.1F, 2.5F, -300),
                                     Vector3f(0.2F, 0, -600)));
    EXPECT_EQ(result.mesh.n_faces(), 1U);
}

TEST(ReadPly, ScalesByteColoursAndLeavesFloatColours)
{
    std::string const head = "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                             "property float y\nproperty float z\n";
    auto const with_type = [&](std::string const& type, std::string const& values)
    {
        return read_content("a.ply", head + "property " + type + " red\nproperty " + type +
                                         " green\nproperty " + type + " blue\nend_header\n0 0 0 " +
                                         values + "\n");
    };
    auto const as_bytes = with_type("uchar", "255 51 0");
    ASSERT_TRUE(as_bytes.ok) << as_bytes.error;
    EXPECT_TRUE(as_bytes.mesh.color(vh(0)).isApprox(Vector3f(1, 0.2F, 0)));
    auto const as_floats = with_type("float", "1 0.25 0.5");
    ASSERT_TRUE(as_floats.ok) << as_floats.error;
    EXPECT_EQ(as_floats.mesh.color(vh(0)), Vector3f(1, 0.25F, 0.5F));
    auto const as_words = with_type("ushort", "65535 13107 0");
    ASSERT_TRUE(as_words.ok) << as_words.error;
    EXPECT_TRUE(as_words.mesh.color(vh(0)).isApprox(Vector3f(1, 0.2F, 0)));
}

TEST(ReadPly, TakesVerticesBehindTheFaces)
{
    auto const result =
        read_content("a.ply", "ply\nformat ascii 1.0\nelement face 1\n"
                              "property list uchar int vertex_indices\nelement vertex 3\n"
                              "property float x\nproperty float y\nproperty float z\nend_header\n"
                              "3 0 1 2\n0 0 0\n1 0 0\n0 1 0");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.mesh.n_faces(), 1U);
}

// STL.

std::string ascii_facet(std::string const& a, std::string const& b, std::string const& c)
{
    return "facet normal 0 0 1\n outer loop\n  vertex " + a + "\n  vertex " + b + "\n  vertex " +
           c + "\n endloop\nendfacet\n";
}

TEST(ReadStl, MakesAVertexOfEachPositionInTheOrderOfFirstUse)
{
    auto const result =
        read_content("a.stl", "solid thing\n" + ascii_facet("5 0 0", "1 0 0", "3 1 0") +
                                  ascii_facet("3 1 -0", "1 -0.0 0", "0 0 2") + "endsolid thing\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_THAT(positions_of(result.mesh),
                testing::ElementsAre(Vector3f(5, 0, 0), Vector3f(1, 0, 0), Vector3f(3, 1, 0),
                                     Vector3f(0, 0, 2)));
    EXPECT_THAT(corners_of(result.mesh),
                testing::ElementsAre(std::array<int, 3>{0, 1, 2}, std::array<int, 3>{2, 1, 3}));
}

TEST(ReadStl, KeepsPositionsApartThatDifferInOneBit)
{
    auto const result =
        read_content("a.stl", "solid\n" + ascii_facet("0 0 0", "1 0 0", "0 1 0") +
                                  ascii_facet("1 0 0", "1.0000001 0 0", "0 0 0") + "endsolid\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.mesh.n_vertices(), 4U);
}

TEST(ReadStl, LeavesARepeatedFaceAndAFaceWithoutAreaOut)
{
    auto const face = ascii_facet("0 0 0", "1 0 0", "0 1 0");
    auto const result = read_content(
        "a.stl", "solid\n" + face + face + ascii_facet("2 2 2", "2 2 2", "0 1 0") + "endsolid\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.mesh.n_faces(), 1U);
    EXPECT_EQ(result.report.faces_left_out, 2U);
}

TEST(ReadStl, TakesCapitalsAndSeveralSolids)
{
    auto const result =
        read_content("a.stl", "SOLID a\nendsolid a\nSolid b\n" +
                                  ascii_facet("0 0 0", "1 0 0", "0 1 0") + "ENDSOLID b\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.mesh.n_faces(), 1U);
}

TEST(ReadStl, TakesABinaryFileThatBeginsAsATextDoes)
{
    std::string content = "solid, but binary";
    content.resize(80, ' ');
    content += bytes(std::uint32_t(1));
    for (int i = 0; i < 12; ++i)
    {
        content += bytes(i == 6 || i == 10 ? 1.0F : 0.0F);
    }
    content += std::string(2, '\0');
    auto const result = read_content("a.stl", content);
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_THAT(positions_of(result.mesh),
                testing::ElementsAre(Vector3f(0, 0, 0), Vector3f(1, 0, 0), Vector3f(0, 1, 0)));
}

TEST(ReadStl, BringsAWrittenMeshBackWithoutLooseVertices)
{
    auto const mesh = rich_mesh();
    TempDir const directory;
    std::string error;
    ASSERT_TRUE(write_mesh(directory.file("a.stl"), mesh, error)) << error;
    EXPECT_EQ(veld_test::file_content(directory.file("a.stl")).size(), 84 + 50 * mesh.n_faces());
    auto const result = read_path(directory.file("a.stl"));
    ASSERT_TRUE(result.ok) << result.report.error;
    // The one in the middle of the hole and the last one have no face.
    EXPECT_EQ(result.mesh.n_vertices(), mesh.n_vertices() - 2);
    auto const before = corners_of(mesh);
    auto const after = corners_of(result.mesh);
    ASSERT_EQ(after.size(), before.size());
    for (std::size_t f = 0; f < before.size(); ++f)
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            EXPECT_EQ(result.mesh.point(vh(after[f][i])), mesh.point(vh(before[f][i])));
        }
    }
}

// OBJ.

TEST(ReadObj, TakesAllFormsOfCorners)
{
    auto const result = read_content("a.obj", "# by hand\nmtllib a.mtl\no thing\n"
                                              "v 0 0 0\nv 1 0 0 1.0\nv 0 1 0\nv 1 1 0 # far\n"
                                              "vt 0 0\nvn 0 0 1\nvn 0 1 0\n"
                                              "g part\nusemtl red\ns off\n"
                                              "f 1/1/1 2//2 3/1/2\n"
                                              "f -2/1 -3 -1 # back\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_THAT(corners_of(result.mesh),
                testing::ElementsAre(std::array<int, 3>{0, 1, 2}, std::array<int, 3>{2, 1, 3}));
    ASSERT_TRUE(result.mesh.has_vertex_normals());
    EXPECT_EQ(result.mesh.normal(vh(0)), Vector3f(0, 0, 1));
    EXPECT_EQ(result.mesh.normal(vh(1)), Vector3f(0, 1, 0));
    EXPECT_EQ(result.mesh.normal(vh(3)), Vector3f(0, 0, 0));
    EXPECT_FALSE(result.mesh.has_vertex_colors());
}

TEST(ReadObj, TakesColoursAsFloatsAndAsBytes)
{
    auto const floats = read_content("a.obj", "v 0 0 0 1 0.5 0\nv 1 0 0 0 0 0.25\n");
    ASSERT_TRUE(floats.ok) << floats.error;
    EXPECT_EQ(floats.mesh.color(vh(0)), Vector3f(1, 0.5F, 0));
    EXPECT_EQ(floats.mesh.color(vh(1)), Vector3f(0, 0, 0.25F));
    auto const as_bytes = read_content("a.obj", "v 0 0 0 255 51 0\nv 1 0 0 1 0 0\n");
    ASSERT_TRUE(as_bytes.ok) << as_bytes.error;
    EXPECT_TRUE(as_bytes.mesh.color(vh(0)).isApprox(Vector3f(1, 0.2F, 0)));
    auto const some = read_content("a.obj", "v 0 0 0 1 0.5 0\nv 1 0 0\n");
    ASSERT_TRUE(some.ok) << some.error;
    EXPECT_FALSE(some.mesh.has_vertex_colors());
}

TEST(ReadMesh, SetsNormalsAndColoursThatAreNotFiniteToZero)
{
    auto const obj = read_content("a.obj", "v 0 0 0 nan 0 1\nv 1 0 0 1 0.5 0\nv 0 1 0 0 0 0\n"
                                           "vn 0 inf 0\nvn 0 0 1\nvn 0 nan 1\n"
                                           "f 1//1 2//2 3//3\n");
    ASSERT_TRUE(obj.ok) << obj.error;
    EXPECT_EQ(obj.mesh.normal(vh(0)), Vector3f(0, 0, 0));
    EXPECT_EQ(obj.mesh.normal(vh(1)), Vector3f(0, 0, 1));
    EXPECT_EQ(obj.mesh.normal(vh(2)), Vector3f(0, 0, 0));
    EXPECT_EQ(obj.mesh.color(vh(0)), Vector3f(0, 0, 0));
    EXPECT_EQ(obj.mesh.color(vh(1)), Vector3f(1, 0.5F, 0));

    std::string const header = "ply\nformat binary_little_endian 1.0\nelement vertex 2\n"
                               "property float x\nproperty float y\nproperty float z\n"
                               "property float nx\nproperty float ny\nproperty float nz\n"
                               "property float red\nproperty float green\nproperty float blue\n"
                               "end_header\n";
    std::string content = header;
    float const infinite = std::numeric_limits<float>::infinity();
    for (float const value : {0.F, 0.F, 0.F, 0.F, std::nanf(""), 1.F, 1.F, -infinite, 0.F, //
                              1.F, 0.F, 0.F, 0.F, 1.F, 0.F, 0.25F, 0.5F, 0.75F})
    {
        content += bytes(value);
    }
    auto const ply = read_content("a.ply", content);
    ASSERT_TRUE(ply.ok) << ply.error;
    EXPECT_EQ(ply.mesh.normal(vh(0)), Vector3f(0, 0, 0));
    EXPECT_EQ(ply.mesh.normal(vh(1)), Vector3f(0, 1, 0));
    EXPECT_EQ(ply.mesh.color(vh(0)), Vector3f(0, 0, 0));
    EXPECT_EQ(ply.mesh.color(vh(1)), Vector3f(0.25F, 0.5F, 0.75F));
}

// OFF.

TEST(ReadOff, TakesCommentsAndCountsInTheFirstLine)
{
    auto const result = read_content("a.off", "# by hand\nOFF 3 1 0 # counts\n\n0 0 0\n# middle\n"
                                              "1 0 0\n0 1 0\n3 0 1 2 255 0 0 # red\n# end\n");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(result.mesh.n_vertices(), 3U);
    EXPECT_EQ(result.mesh.n_faces(), 1U);
}

TEST(ReadOff, TellsByteColoursFromFloatsByThePoint)
{
    auto const as_bytes =
        read_content("a.off", "COFF\n2 0 0\n0 0 0 255 51 0 255\n1 0 0 1 0 0 255\n");
    ASSERT_TRUE(as_bytes.ok) << as_bytes.error;
    EXPECT_TRUE(as_bytes.mesh.color(vh(0)).isApprox(Vector3f(1, 0.2F, 0)));
    auto const floats = read_content("a.off", "COFF\n2 0 0\n0 0 0 1 1 1 1\n1 0 0 0.5 0 0 1\n");
    ASSERT_TRUE(floats.ok) << floats.error;
    EXPECT_EQ(floats.mesh.color(vh(0)), Vector3f(1, 1, 1));
    EXPECT_EQ(floats.mesh.color(vh(1)), Vector3f(0.5F, 0, 0));
}

TEST(ReadOff, TakesBothBinaryLayouts)
{
    std::string little = "NOFF BINARY\n";
    std::string big = "NOFF BINARY\n";
    for (std::uint32_t const count : {3U, 1U, 0U})
    {
        little += bytes(count);
        big += big_endian_bytes(count);
    }
    for (int i = 0; i < 18; ++i)
    {
        little += bytes(0.5F * float(i));
        big += big_endian_bytes(0.5F * float(i));
    }
    for (std::uint32_t const word : {3U, 0U, 1U, 2U})
    {
        little += bytes(word);
        big += big_endian_bytes(word);
    }
    big += big_endian_bytes(std::uint32_t(1)) + big_endian_bytes(0.5F);
    for (auto const& content : {little, big})
    {
        auto const result = read_content("a.off", content);
        ASSERT_TRUE(result.ok) << result.error;
        EXPECT_EQ(result.mesh.n_faces(), 1U);
        EXPECT_EQ(result.mesh.point(vh(1)), Vector3f(3, 3.5F, 4));
        EXPECT_EQ(result.mesh.normal(vh(2)), Vector3f(7.5F, 8, 8.5F));
    }
}

// OM.

TEST(ReadOm, PassesOverOtherProperties)
{
    auto mesh = veld_test::tetrahedron();
    OpenMesh::VPropHandleT<int> number;
    mesh.add_property(number, "number");
    mesh.property(number).set_persistent(true);
    mesh.request_vertex_status();
    mesh.request_face_status();
    mesh.request_face_normals();
    mesh.update_face_normals();
    TempDir const directory;
    std::string error;
    ASSERT_TRUE(write_mesh(directory.file("a.om"), mesh, error)) << error;
    auto const result = read_path(directory.file("a.om"));
    ASSERT_TRUE(result.ok) << result.report.error;
    EXPECT_EQ(corners_of(result.mesh), corners_of(mesh));
}

// Real scans: counts as the collection's own table has them.

struct RealMesh
{
    char const* file;
    std::size_t vertices;
    std::size_t faces;
    bool has_complex_edges;
};

constexpr RealMesh REAL_MESHES[] = {
    {"meshes_holes/b9_mesh.ply", 5951, 10174, false},
    {"meshes_holes/bun_zipper.ply", 35947, 69451, false},
    {"meshes_holes/bun_zipper_res2.ply", 8171, 16301, true},
    {"meshes_holes/bun_zipper_res3.ply", 1889, 3851, true},
    {"meshes_holes/diana.ply", 10040, 19999, false},
    {"meshes_holes/diana_hole_top.ply", 9762, 19379, false},
    {"meshes_holes/dragon_vrip_res3.ply", 22998, 47794, true},
    {"meshes_holes/dragon_vrip_res4.ply", 5205, 11102, true},
    {"meshes_holes/elephant_with_holes.ply", 2798, 4463, false},
    {"meshes_holes/face_holes.ply", 4291, 8288, false},
    {"meshes_holes/igea.ply", 134345, 268686, false},
    {"meshes_holes/lion.ply", 7529, 14859, false},
    {"meshes_holes/lion_head.ply", 8356, 16674, false},
    {"meshes_holes/mech_holes_shark.ply", 5246, 10192, false},
    {"meshes_holes/scan_relief.ply", 16344, 32245, false},
    {"meshes_holes/squirrel_hole_back_round.ply", 10666, 21254, true},
    {"meshes_holes/squirrel_hole_bottom_plane.ply", 10070, 19999, true},
    {"meshes_holes/squirrel_missing_tip.ply", 10776, 20990, true},
    {"meshes_holes/squirrel_noholes.ply", 10757, 21486, false},
    {"meshes_holes/squirrel_sideholes.ply", 10757, 21465, false},
    {"mesh_large/dragon_stand_raw_layers.ply", 468768, 886126, false}};

using MeshIoRealData = veld_test::RealData;

TEST_F(MeshIoRealData, IsReadWhole)
{
    for (auto const& expected : REAL_MESHES)
    {
        testing::internal::CaptureStderr();
        auto const result = read_path(veld_test::real_data(expected.file));
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
        ASSERT_TRUE(result.ok) << result.report.error;
        EXPECT_EQ(result.mesh.n_vertices(), expected.vertices) << expected.file;
        EXPECT_EQ(result.mesh.n_faces() + result.report.faces_left_out, expected.faces)
            << expected.file;
        EXPECT_EQ(result.report.faces_left_out > 0, expected.has_complex_edges) << expected.file;
        EXPECT_TRUE(result.mesh.is_legal()) << expected.file;
    }
}

TEST_F(MeshIoRealData, ComesBackFromEveryFormat)
{
    auto const scan = read_path(veld_test::real_data("meshes_holes/squirrel_missing_tip.ply"));
    ASSERT_TRUE(scan.ok) << scan.report.error;
    TempDir const directory;
    for (auto const* name : {"a.ply", "a.obj", "a.off", "a.om"})
    {
        std::string error;
        ASSERT_TRUE(write_mesh(directory.file(name), scan.mesh, error)) << error;
        auto const back = read_path(directory.file(name));
        ASSERT_TRUE(back.ok) << back.report.error;
        EXPECT_EQ(positions_of(back.mesh), positions_of(scan.mesh)) << name;
        EXPECT_EQ(corners_of(back.mesh), corners_of(scan.mesh)) << name;
    }
}

} // namespace
