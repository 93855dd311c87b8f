#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/mesh_io.h"

#include "tests/support/mesh_files.h"
#include "tests/support/meshes.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using namespace OrvaneAlgorithm;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using veld_test::big_endian_bytes;
using veld_test::corners_of;
using veld_test::file_content;
using veld_test::TempDir;
using veld_test::vh;
using veld_test::write_file;

namespace
{

/// What reading and mending gives.
struct Mended
{
    TriMesh mesh;
    MeshFileContents contents;
};

Mended mend_path(std::string const& path)
{
    Mended result;
    bool const ok = read_and_mend_mesh(path, result.mesh, result.contents);
    EXPECT_EQ(ok, result.contents.error.empty());
    EXPECT_TRUE(result.mesh.is_legal());
    return result;
}

Mended mend(std::string const& name, std::string const& content)
{
    TempDir const directory;
    write_file(directory.file(name), content);
    auto result = mend_path(directory.file(name));
    EXPECT_EQ(result.contents.error, "") << content;
    return result;
}

std::size_t boundary_edges(TriMesh const& mesh)
{
    std::size_t n = 0;
    for (auto const edge : mesh.edges())
    {
        n += edge.is_boundary() ? 1 : 0;
    }
    return n;
}

std::string ply(std::string const& body, int vertices, int faces)
{
    return "ply\nformat ascii 1.0\nelement vertex " + std::to_string(vertices) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
           std::to_string(faces) + "\nproperty list uchar int vertex_indices\nend_header\n" + body;
}

std::string off(std::string const& body, int vertices, int faces)
{
    return "OFF\n" + std::to_string(vertices) + " " + std::to_string(faces) + " 0\n" + body;
}

/// A cube of side 1 with quads, outward, as text rows counted from 0.
std::string const CUBE_POINTS = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n0 0 1\n1 0 1\n1 1 1\n0 1 1\n";
std::vector<std::array<int, 4>> const CUBE_QUADS = {{0, 3, 2, 1}, {4, 5, 6, 7}, {0, 1, 5, 4},
                                                    {1, 2, 6, 5}, {2, 3, 7, 6}, {3, 0, 4, 7}};

std::string cube_rows()
{
    std::string text;
    for (auto const& quad : CUBE_QUADS)
    {
        text += "4";
        for (int const corner : quad)
        {
            text += " " + std::to_string(corner);
        }
        text += "\n";
    }
    return text;
}

/// The volume that the faces enclose, with its sign: by the divergence theorem.
double volume(TriMesh const& mesh)
{
    double sum = 0;
    for (auto const& [a, b, c] : corners_of(mesh))
    {
        sum += mesh.point(vh(a)).cast<double>().dot(
                   mesh.point(vh(b)).cast<double>().cross(mesh.point(vh(c)).cast<double>())) /
               6.0;
    }
    return sum;
}

void expect_cube(Mended const& cube)
{
    EXPECT_EQ(cube.mesh.n_vertices(), 8U);
    EXPECT_EQ(cube.mesh.n_faces(), 12U);
    EXPECT_EQ(boundary_edges(cube.mesh), 0U);
    EXPECT_NEAR(volume(cube.mesh), 1.0, 1e-12);
    EXPECT_THAT(cube.contents.faces, ElementsAre(Pair(4U, 6U)));
    EXPECT_EQ(cube.contents.triangles_of_polygons, 12U);
    EXPECT_EQ(cube.contents.faces_left_out(), 0U);
}

// Polygons.

TEST(MendPolygons, QuadsOfPlyAreCutAndCounted)
{
    expect_cube(mend("a.ply", ply(CUBE_POINTS + cube_rows(), 8, 6)));
}

TEST(MendPolygons, QuadsOfOffAreCutAndCounted)
{
    expect_cube(mend("a.off", off(CUBE_POINTS + cube_rows(), 8, 6)));
}

TEST(MendPolygons, QuadsOfBinaryOffAreCutAndCounted)
{
    std::string text =
        "OFF BINARY\n" + big_endian_bytes(8) + big_endian_bytes(6) + big_endian_bytes(12);
    for (int i = 0; i < 8; ++i)
    {
        // The points of the cube: x is 1 for 1, 2, 5 and 6.
        text += big_endian_bytes(i % 4 == 1 || i % 4 == 2 ? 1.0F : 0.0F) +
                big_endian_bytes(i % 4 >= 2 ? 1.0F : 0.0F) + big_endian_bytes(i >= 4 ? 1.0F : 0.0F);
    }
    for (auto const& quad : CUBE_QUADS)
    {
        text += big_endian_bytes(4);
        for (int const corner : quad)
        {
            text += big_endian_bytes(corner);
        }
        text += big_endian_bytes(0);
    }
    expect_cube(mend("a.off", text));
}

TEST(MendPolygons, QuadsOfBigEndianPlyAreCutAndCounted)
{
    auto text = ply("", 8, 6);
    text.replace(text.find("ascii"), 5, "binary_big_endian");
    for (int i = 0; i < 8; ++i)
    {
        text += big_endian_bytes(i % 4 == 1 || i % 4 == 2 ? 1.0F : 0.0F) +
                big_endian_bytes(i % 4 >= 2 ? 1.0F : 0.0F) + big_endian_bytes(i >= 4 ? 1.0F : 0.0F);
    }
    for (auto const& quad : CUBE_QUADS)
    {
        text += '\4';
        for (int const corner : quad)
        {
            text += big_endian_bytes(corner);
        }
    }
    expect_cube(mend("a.ply", text));
}

std::string obj_points(std::string const& rows)
{
    std::string text;
    std::istringstream lines(rows);
    for (std::string line; std::getline(lines, line);)
    {
        text += "v " + line + "\n";
    }
    return text;
}

TEST(MendPolygons, QuadsOfObjAreCutAndCountedWhateverStandsAtTheirCorners)
{
    std::string text = "mtllib a.mtl\no Cube\n" + obj_points(CUBE_POINTS) +
                       "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvn 0 0 1\nusemtl red\ns off\n";
    for (auto const& quad : CUBE_QUADS)
    {
        text += "f";
        for (std::size_t i = 0; i < 4; ++i)
        {
            text += " " + std::to_string(quad[i] + 1) + "/" + std::to_string(i + 1) + "/1";
        }
        text += "\n";
    }
    expect_cube(mend("a.obj", text));
}

TEST(MendPolygons, AnLStaysAnL)
{
    auto const l = mend("a.obj", "v 0 0 0\nv 2 0 0\nv 2 1 0\nv 1 1 0\nv 1 2 0\nv 0 2 0\n"
                                 "f 1 2 3 4 5 6\n");
    EXPECT_EQ(l.mesh.n_faces(), 4U);
    EXPECT_THAT(l.contents.faces, ElementsAre(Pair(6U, 1U)));
    double area = 0;
    for (auto const face : l.mesh.faces())
    {
        auto const h = l.mesh.halfedge_handle(face);
        Vector3f const side = l.mesh.calc_edge_vector(h);
        Vector3f const next = l.mesh.calc_edge_vector(l.mesh.next_halfedge_handle(h));
        EXPECT_GT(side.cross(next).z(), 0.0F);
        area += static_cast<double>(side.cross(next).z()) / 2;
    }
    EXPECT_NEAR(area, 3.0, 1e-6);
}

TEST(MendPolygons, TrianglesStandInThePlaceOfTheirPolygonAndNothingElseMoves)
{
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 0 0\n2 2 0\n"
                                        "3 1 4 2\n4 0 1 2 3\n3 4 5 2\n",
                                        6, 3));
    auto const corners = corners_of(mesh.mesh);
    ASSERT_EQ(corners.size(), 4U);
    EXPECT_EQ(corners[0], (std::array<int, 3>{1, 4, 2}));
    EXPECT_EQ(corners[3], (std::array<int, 3>{4, 5, 2}));
    EXPECT_THAT(mesh.contents.faces, ElementsAre(Pair(3U, 2U), Pair(4U, 1U)));
}

TEST(MendPolygons, AQuadWithARepeatedCornerIsATriangle)
{
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n0 1 0\n4 0 1 1 2\n", 3, 1));
    EXPECT_EQ(mesh.mesh.n_faces(), 1U);
    EXPECT_EQ(mesh.contents.faces_left_out(), 0U);
}

TEST(MendPolygons, WhatHasFewerThanThreeCornersGoesAndTheFirstIsNamed)
{
    auto const mesh = mend("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\nf 1 2\nf 3\nf\nf 1 2 1\n"
                                    "f 1 1 2 2\n");
    EXPECT_EQ(mesh.mesh.n_faces(), 1U);
    EXPECT_EQ(mesh.contents.degenerate.count, 5U);
    EXPECT_EQ(mesh.contents.degenerate.first, 2U);
}

TEST(MendPolygons, AFaceOfTooManyCornersGoes)
{
    std::string text = "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
    std::string face = "f";
    for (int i = 4; i < 4 + 4097; ++i)
    {
        text += "v " + std::to_string(i) + " " + std::to_string(i * i) + " 1\n";
        face += " " + std::to_string(i);
    }
    auto const mesh = mend("a.obj", text + face + "\n");
    EXPECT_EQ(mesh.mesh.n_faces(), 1U);
    EXPECT_EQ(mesh.contents.too_large.count, 1U);
    EXPECT_EQ(mesh.contents.too_large.first, 2U);
}

TEST(MendPolygons, AnIndexOutOfRangeIsDamageAllTheSame)
{
    TempDir const directory;
    write_file(directory.file("a.off"), off("0 0 0\n1 0 0\n0 1 0\n4 0 1 2 3\n", 3, 1));
    auto const result = mend_path(directory.file("a.off"));
    EXPECT_EQ(result.contents.error,
              directory.file("a.off") + ": face 0 names vertex 3, but there are only 3");
    EXPECT_EQ(result.mesh.n_vertices(), 0U);
}

// Orientation.

/// A tetrahedron as an OFF file with some of its faces turned over.
Mended turned_tetrahedron(std::vector<int> const& turned)
{
    std::array<std::array<int, 3>, 4> faces{{{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}};
    std::string body = "0 0 0\n1 0 0\n0 1 0\n0 0 1\n";
    for (int i = 0; i < 4; ++i)
    {
        auto face = faces[static_cast<std::size_t>(i)];
        if (std::count(turned.begin(), turned.end(), i) > 0)
        {
            std::swap(face[0], face[1]);
        }
        body += "3 " + std::to_string(face[0]) + " " + std::to_string(face[1]) + " " +
                std::to_string(face[2]) + "\n";
    }
    return mend("a.off", off(body, 4, 4));
}

TEST(MendOrientation, TheSmallerPartOfAPieceIsTurned)
{
    for (int i = 0; i < 4; ++i)
    {
        auto const mesh = turned_tetrahedron({i});
        EXPECT_EQ(mesh.mesh.n_faces(), 4U);
        EXPECT_EQ(mesh.mesh.n_vertices(), 4U);
        EXPECT_EQ(mesh.contents.turned_faces, 1U);
        EXPECT_NEAR(volume(mesh.mesh), 1.0 / 6.0, 1e-9) << i;
    }
    for (int i = 0; i < 4; ++i)
    {
        std::vector<int> all{0, 1, 2, 3};
        all.erase(all.begin() + i);
        auto const mesh = turned_tetrahedron(all);
        EXPECT_EQ(mesh.contents.turned_faces, 1U);
        EXPECT_NEAR(volume(mesh.mesh), -1.0 / 6.0, 1e-9) << i;
    }
}

TEST(MendOrientation, OfEqualPartsTheFirstFacesIsKept)
{
    EXPECT_NEAR(volume(turned_tetrahedron({2, 3}).mesh), 1.0 / 6.0, 1e-9);
    EXPECT_NEAR(volume(turned_tetrahedron({0, 1}).mesh), -1.0 / 6.0, 1e-9);
}

TEST(MendOrientation, EachPieceHasAMajorityOfItsOwn)
{
    // Two squares of two triangles and one of three; the second of the first square is turned.
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n1 1 0\n0 1 0\n"
                                        "5 0 0\n6 0 0\n6 1 0\n5 1 0\n5 2 0\n"
                                        "3 0 1 2\n3 0 3 2\n3 4 5 6\n3 4 7 6\n3 4 8 7\n",
                                        9, 5));
    EXPECT_EQ(mesh.contents.turned_faces, 2U);
    EXPECT_THAT(corners_of(mesh.mesh)[1], ElementsAre(0, 2, 3));
    // Here the first one is outvoted.
    EXPECT_THAT(corners_of(mesh.mesh)[2], ElementsAre(4, 6, 5));
}

TEST(MendOrientation, AMoebiusStripIsCutOnceAndLosesNothing)
{
    // Five quads in a ring, the last joined with a twist.
    std::string text;
    for (int i = 0; i < 5; ++i)
    {
        double const angle = 2 * M_PI * i / 5;
        double const tilt = angle / 2;
        for (double const side : {-0.4, 0.4})
        {
            double const r = 2 + side * std::cos(tilt);
            text += "v " + std::to_string(r * std::cos(angle)) + " " +
                    std::to_string(r * std::sin(angle)) + " " +
                    std::to_string(side * std::sin(tilt)) + "\n";
        }
    }
    auto const quad = [](int a, int b, int c, int d)
    {
        return "f " + std::to_string(a + 1) + " " + std::to_string(b + 1) + " " +
               std::to_string(c + 1) + " " + std::to_string(d + 1) + "\n";
    };
    for (int i = 0; i < 4; ++i)
    {
        text += quad(2 * i, 2 * i + 2, 2 * i + 3, 2 * i + 1);
    }
    text += quad(8, 1, 0, 9);
    auto const strip = mend("a.obj", text);
    EXPECT_EQ(strip.mesh.n_faces(), 10U);
    EXPECT_EQ(strip.contents.crowded_edges, 1U);
    EXPECT_EQ(strip.contents.added_vertices, 2U);
    EXPECT_EQ(strip.contents.faces_left_out(), 0U);
    EXPECT_EQ(boundary_edges(strip.mesh), 10U + 2U);
}

// Surfaces that meet.

TEST(MendSeparation, AFinStandsBesideTheFlatSurfaceThatStaysWhole)
{
    // The fin comes first in the file: its place does not decide.
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n0 1 0\n0 -1 0\n0 0 1\n"
                                        "3 0 1 4\n3 0 1 2\n3 1 0 3\n",
                                        5, 3));
    EXPECT_EQ(mesh.mesh.n_faces(), 3U);
    EXPECT_EQ(mesh.mesh.n_vertices(), 7U);
    EXPECT_EQ(mesh.contents.crowded_edges, 1U);
    EXPECT_EQ(mesh.contents.added_vertices, 2U);
    EXPECT_EQ(mesh.contents.faces_left_out(), 0U);
    EXPECT_EQ(boundary_edges(mesh.mesh), 4U + 3U);
    auto const corners = corners_of(mesh.mesh);
    EXPECT_THAT(corners[0], ElementsAre(0, 1, 4)); // the first keeps the points
    EXPECT_THAT(corners[1], ElementsAre(5, 6, 2));
    EXPECT_THAT(corners[2], ElementsAre(6, 5, 3));
}

std::string rows_of(std::vector<std::array<int, 3>> const& faces)
{
    std::string text;
    for (auto const& [a, b, c] : faces)
    {
        text += "3 " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(c) + "\n";
    }
    return text;
}

TEST(MendSeparation, TwoBodiesThatTouchAlongAnEdgeStayClosed)
{
    // Tetrahedra on both sides of the edge 0-1.
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n0 1 0\n0 1 1\n0 -1 0\n0 -1 -1\n" +
                                            rows_of({{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}) +
                                            rows_of({{0, 4, 1}, {0, 1, 5}, {1, 4, 5}, {4, 0, 5}}),
                                        6, 8));
    EXPECT_EQ(mesh.mesh.n_faces(), 8U);
    EXPECT_EQ(boundary_edges(mesh.mesh), 0U);
    EXPECT_EQ(mesh.mesh.n_vertices(), 8U);
    EXPECT_EQ(mesh.contents.crowded_edges, 1U);
}

TEST(MendSeparation, TwoBodiesThatTouchInAPointGetOneEach)
{
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n0 1 0\n0 0 1\n-1 0 0\n0 -1 0\n0 0 -1\n" +
                                            rows_of({{0, 2, 1}, {0, 1, 3}, {1, 2, 3}, {2, 0, 3}}) +
                                            rows_of({{0, 4, 5}, {0, 6, 4}, {4, 6, 5}, {5, 6, 0}}),
                                        7, 8));
    EXPECT_EQ(mesh.mesh.n_faces(), 8U);
    EXPECT_EQ(mesh.mesh.n_vertices(), 8U);
    EXPECT_EQ(boundary_edges(mesh.mesh), 0U);
    EXPECT_EQ(mesh.contents.crowded_edges, 0U);
    EXPECT_EQ(mesh.contents.added_vertices, 1U);
    EXPECT_EQ(mesh.mesh.point(vh(7)), Vector3f(0, 0, 0));
}

TEST(MendSeparation, OpenFansThatAMeshCanHoldKeepTheirVertex)
{
    TempDir const directory;
    for (auto const& mesh : {veld_test::bow_tie(), veld_test::pinched_pair(),
                             veld_test::lopsided_bow_tie(), veld_test::grid_with_hole(3)})
    {
        std::string error;
        ASSERT_TRUE(write_mesh(directory.file("a.ply"), mesh, error));
        auto const back = mend_path(directory.file("a.ply"));
        EXPECT_EQ(corners_of(back.mesh), corners_of(mesh));
        EXPECT_EQ(back.contents.added_vertices, 0U);
    }
}

TEST(MendSeparation, ASheetOfTwoSidesKeepsBoth)
{
    // Each triangle of a square from above and from below.
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n1 1 0\n0 1 0\n" +
                                            rows_of({{0, 1, 2}, {0, 2, 3}, {0, 2, 1}, {0, 3, 2}}),
                                        4, 4));
    EXPECT_EQ(mesh.mesh.n_faces(), 4U);
    EXPECT_EQ(mesh.contents.faces_left_out(), 0U);
    EXPECT_EQ(boundary_edges(mesh.mesh), 0U);
}

TEST(MendSeparation, ARepeatedFaceGoesInWhateverOrderItIsNamed)
{
    auto const mesh = mend("a.off", off("0 0 0\n1 0 0\n1 1 0\n0 1 0\n" +
                                            rows_of({{0, 1, 2}, {0, 2, 3}, {1, 2, 0}, {3, 0, 2}}),
                                        4, 4));
    EXPECT_EQ(mesh.mesh.n_faces(), 2U);
    EXPECT_EQ(mesh.mesh.n_vertices(), 4U);
    EXPECT_EQ(mesh.contents.repeated.count, 2U);
    EXPECT_EQ(mesh.contents.repeated.first, 2U);
}

TEST(MendSeparation, AThousandFacesAtOneEdgeAreBoundedWork)
{
    std::string body = "0 0 0\n1 0 0\n";
    std::vector<std::array<int, 3>> faces;
    for (int i = 0; i < 20000; ++i)
    {
        body += "0 " + std::to_string(std::cos(i)) + " " + std::to_string(std::sin(i)) + "\n";
        faces.push_back(i % 2 == 0 ? std::array<int, 3>{0, 1, i + 2}
                                   : std::array<int, 3>{1, 0, i + 2});
    }
    auto const mesh = mend("a.off", off(body + rows_of(faces), 20002, 20000));
    EXPECT_EQ(mesh.mesh.n_faces(), 20000U);
    EXPECT_EQ(mesh.contents.crowded_edges, 1U);
}

TEST(MendSeparation, TheResultNeedsNoMendingAgain)
{
    TempDir const directory;
    auto const first = mend("a.off", off("0 0 0\n1 0 0\n0 1 0\n0 -1 0\n0 0 1\n0 0 -1\n" +
                                             rows_of({{0, 1, 2}, {1, 0, 3}, {0, 1, 4}, {0, 1, 5}}),
                                         6, 4));
    EXPECT_EQ(first.mesh.n_faces(), 4U);
    std::string error;
    ASSERT_TRUE(write_mesh(directory.file("b.ply"), first.mesh, error));
    auto const again = mend_path(directory.file("b.ply"));
    EXPECT_EQ(corners_of(again.mesh), corners_of(first.mesh));
    EXPECT_EQ(again.contents.crowded_edges, 0U);
}

// Points without a place.

TEST(MendPoints, WhatIsNotFiniteGoesWithItsFaces)
{
    auto const mesh = mend("a.off", off("nan 0 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n2 inf 0\n"
                                        "3 0 1 2\n4 1 2 3 4\n4 1 2 3 5\n3 3 2 5\n",
                                        6, 4));
    EXPECT_EQ(mesh.mesh.n_vertices(), 4U);
    EXPECT_EQ(mesh.mesh.n_faces(), 2U);
    EXPECT_EQ(mesh.contents.vertices, 6U);
    EXPECT_EQ(mesh.contents.vertices_not_finite, 2U);
    EXPECT_EQ(mesh.contents.not_finite.count, 3U);
    EXPECT_EQ(mesh.contents.not_finite.first, 0U);
    EXPECT_EQ(mesh.mesh.point(vh(2)), Vector3f(1, 1, 0));
}

TEST(MendPoints, AttributesStayWithTheirPoints)
{
    auto const mesh = mend("a.ply", "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n"
                                    "property float y\nproperty float z\nproperty uchar red\n"
                                    "property uchar green\nproperty uchar blue\n"
                                    "property float quality\nend_header\n"
                                    "0 0 0 0 0 0 1\nnan 0 0 255 0 0 2\n2 0 0 0 255 0 3\n"
                                    "3 0 0 0 0 255 4\n");
    ASSERT_EQ(mesh.mesh.n_vertices(), 3U);
    EXPECT_EQ(mesh.mesh.color(vh(1)), Vector3f(0, 1, 0));
    auto const values = detail::carried_values(mesh.mesh);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(mesh.mesh.property(values[0], vh(1)), 3.0F);
    EXPECT_EQ(mesh.mesh.property(values[0], vh(2)), 4.0F);
}

// Dialects.

namespace
{

/// Three faces at one edge, and the places of their corners in a texture.
BaseTriMesh fin()
{
    BaseTriMesh arrays;
    arrays.set_vCoords({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}});
    arrays.faces = {{0, 1, 2}, {1, 0, 3}, {0, 1, 4}};
    arrays.enable_texture();
    arrays.texture_coords = {{0.25F, 0.5F}, {0.75F, 1.0F}};
    arrays.face_texture_ids = {{0, 1, 0}, {-1, -1, -1}, {1, 1, 1}};
    return arrays;
}

std::string refusal_of(BaseTriMesh arrays)
{
    Mended result;
    EXPECT_FALSE(mend_mesh("host", std::move(arrays), result.mesh, result.contents));
    EXPECT_EQ(result.mesh.n_vertices(), 0U);
    return result.contents.error;
}

} // namespace

TEST(MendArrays, AreMendedLikeFiles)
{
    Mended result;
    ASSERT_TRUE(mend_mesh("host", fin(), result.mesh, result.contents));
    EXPECT_EQ(result.contents.error, "");
    EXPECT_EQ(result.contents.vertices, 5U);
    EXPECT_EQ(result.contents.crowded_edges, 1U);
    EXPECT_EQ(result.mesh.n_faces(), 3U);
    EXPECT_EQ(result.mesh.n_vertices(), 7U);
    auto const h = *result.mesh.cfh_iter(OpenMesh::FaceHandle(2));
    EXPECT_EQ(result.mesh.texcoord2D(h), OrvaneAlgorithm::Vector2f(0.75F, 1.0F));
    EXPECT_FALSE(detail::has_texcoords(result.mesh, OpenMesh::FaceHandle(1)));
}

TEST(MendArrays, ThatDoNotFitEachOtherAreRefused)
{
    auto arrays = fin();
    arrays.faces[1][2] = 5;
    EXPECT_EQ(refusal_of(arrays), "host: face 1 names vertex 5, but there are only 5");
    arrays = fin();
    arrays.has_vNormal = true;
    EXPECT_EQ(refusal_of(arrays), "host: has 0 normals for 5 vertices");
    arrays = fin();
    arrays.face_texture_ids.pop_back();
    EXPECT_EQ(refusal_of(arrays), "host: has texture coordinates for 2 of 3 faces");
    arrays = fin();
    arrays.face_texture_ids[0][2] = 2;
    EXPECT_EQ(refusal_of(arrays), "host: face 0 names texture coordinate 2, but there are only 2");
}

TEST(MendDialects, ObjLinesGoOnBehindABackslash)
{
    auto const mesh = mend("a.obj", "v 0 0 \\\n 0\nv 1 0 0\r\nv 0 1 0\nv 1 1 \\\r\n\\\n0\n"
                                    "# C:\\models\\\nf 1 2\\\n3\nf 2 \\\n4 3\ng a \\\nb c\n");
    EXPECT_THAT(corners_of(mesh.mesh),
                ElementsAre(std::array<int, 3>{0, 1, 2}, std::array<int, 3>{1, 3, 2}));
    EXPECT_EQ(mesh.mesh.point(vh(3)), Vector3f(1, 1, 0));
}

TEST(MendDialects, ABackslashAtTheEndOfTheFileEndsIt)
{
    EXPECT_EQ(mend("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3 \\").mesh.n_faces(), 1U);
    EXPECT_EQ(mend("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\\\n").mesh.n_faces(), 1U);
}

TEST(MendDialects, AByteOrderMarkIsPassedOver)
{
    std::string const mark = "\xEF\xBB\xBF";
    std::string const points = "0 0 0\n1 0 0\n0 1 0\n";
    EXPECT_EQ(mend("a.obj", mark + obj_points(points) + "f 1 2 3\n").mesh.n_faces(), 1U);
    EXPECT_EQ(mend("a.off", mark + off(points + "3 0 1 2\n", 3, 1)).mesh.n_faces(), 1U);
    EXPECT_EQ(mend("a.ply", mark + ply(points + "3 0 1 2\n", 3, 1)).mesh.n_faces(), 1U);
    EXPECT_EQ(mend("a.stl", mark + "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\n"
                                   "vertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid a\n")
                  .mesh.n_faces(),
              1U);
}

// What is carried.

Vector2f texcoord_at(TriMesh const& mesh, int face, int vertex)
{
    for (auto const h : mesh.fh_range(OpenMesh::FaceHandle(face)))
    {
        if (h.to().idx() == vertex)
        {
            return mesh.texcoord2D(h);
        }
    }
    return {-1, -1};
}

/// A square of two triangles with a seam: 1 and 2 have other coordinates in each. A third has none.
std::string const SEAM = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nv 2 0 0\n"
                         "vt 0 0\nvt 0.5 0\nvt 0 0.5\nvt 1 0.5\nvt 0.5 1\nvt 1 1\n"
                         "f 1/1 2/2 3/3\nf 2/4 4/6 3/5\nf 2 5 4\n";

void expect_seam(TriMesh const& mesh)
{
    ASSERT_TRUE(mesh.has_halfedge_texcoords2D());
    EXPECT_EQ(texcoord_at(mesh, 0, 1), Vector2f(0.5F, 0));
    EXPECT_EQ(texcoord_at(mesh, 0, 2), Vector2f(0, 0.5F));
    EXPECT_EQ(texcoord_at(mesh, 1, 1), Vector2f(1, 0.5F));
    EXPECT_EQ(texcoord_at(mesh, 1, 2), Vector2f(0.5F, 1));
    EXPECT_EQ(texcoord_at(mesh, 1, 3), Vector2f(1, 1));
    EXPECT_FALSE(detail::has_texcoords(mesh, OpenMesh::FaceHandle(2)));
}

TEST(Carried, TextureCoordinatesOfCornersComeBackFromObjAndPly)
{
    auto const seam = mend("a.obj", SEAM);
    expect_seam(seam.mesh);
    EXPECT_THAT(seam.contents.kept, ElementsAre("texture coordinates"));
    EXPECT_THAT(seam.contents.dropped, IsEmpty());
    TempDir const directory;
    for (auto const* name : {"b.obj", "b.ply"})
    {
        std::string error;
        ASSERT_TRUE(write_mesh(directory.file(name), seam.mesh, error));
        expect_seam(mend_path(directory.file(name)).mesh);
    }
    // In OBJ each is written once.
    auto const text = file_content(directory.file("b.obj"));
    std::size_t n = 0;
    for (auto at = text.find("vt"); at != std::string::npos; at = text.find("vt", at + 1))
    {
        ++n;
    }
    EXPECT_EQ(n, 6U);
}

TEST(Carried, TextureCoordinatesOfPolygonsAndTurnedFacesStayAtTheirCorners)
{
    // The quad's coordinates are its points; so are those of the face that is turned over.
    auto const mesh = mend("a.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\n"
                                    "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvt 2 0\n"
                                    "f 1/1 2/2 3/3 4/4\nf 2/2 3/3 5/5\n");
    EXPECT_EQ(mesh.contents.turned_faces, 1U);
    ASSERT_EQ(mesh.mesh.n_faces(), 3U);
    for (auto const face : mesh.mesh.faces())
    {
        for (auto const h : face.halfedges())
        {
            EXPECT_EQ(mesh.mesh.texcoord2D(h), Vector2f(mesh.mesh.point(h.to()).head<2>()));
        }
    }
}

TEST(Carried, ValuesOfVerticesComeBackInTheirOrder)
{
    auto const mesh = mend("a.ply", "ply\nformat ascii 1.0\nelement vertex 2\n"
                                    "property float intensity\nproperty float x\n"
                                    "property float y\nproperty float z\nproperty uchar quality\n"
                                    "property double radius\nproperty float scalar_depth\n"
                                    "property list uchar int near\nend_header\n"
                                    "0.5 0 0 0 7 1 -3 0\n0.25 1 0 0 9 1 -4 2 1 1\n");
    EXPECT_THAT(mesh.contents.kept, ElementsAre("intensity", "quality", "scalar_depth"));
    EXPECT_THAT(mesh.contents.dropped, ElementsAre("vertex radius", "vertex near"));
    TempDir const directory;
    std::string error;
    ASSERT_TRUE(write_mesh(directory.file("b.ply"), mesh.mesh, error));
    auto const back = mend_path(directory.file("b.ply"));
    EXPECT_THAT(back.contents.kept, ElementsAre("intensity", "quality", "scalar_depth"));
    auto const values = detail::carried_values(back.mesh);
    ASSERT_EQ(values.size(), 3U);
    EXPECT_EQ(back.mesh.property(values[0], vh(1)), 0.25F);
    EXPECT_EQ(back.mesh.property(values[1], vh(0)), 7.0F);
    EXPECT_EQ(back.mesh.property(values[2], vh(1)), -4.0F);
}

TEST(Carried, WhatIsDroppedIsNamedOnce)
{
    auto const obj = mend("a.obj", "mtllib a.mtl\no a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\n"
                                   "vn 0 0 1\nvn 0 1 0\nusemtl red\ng b\ns 1\n"
                                   "f 1//1 2//1 3//1\nusemtl blue\nf 2//2 4//2 3//2\nl 1 2\n");
    EXPECT_THAT(obj.contents.dropped,
                UnorderedElementsAre("materials", "groups", "smoothing groups", "lines",
                                     "normals that differ between the faces of a vertex"));
    auto const off_file = mend("a.off", off("0 0 0\n1 0 0\n0 1 0\n3 0 1 2 255 0 0\n", 3, 1));
    EXPECT_THAT(off_file.contents.dropped, ElementsAre("face colours"));
    auto const ply_file =
        mend("a.ply", "ply\nformat ascii 1.0\ncomment TextureFile a.png\nelement vertex 3\n"
                      "property float x\nproperty float y\nproperty float z\nproperty uchar red\n"
                      "property uchar green\nproperty uchar blue\nproperty uchar alpha\n"
                      "element face 1\nproperty list uchar int vertex_indices\n"
                      "property list uchar float texcoord\nproperty int texnumber\n"
                      "property uchar red\nelement edge 1\nproperty int vertex1\nend_header\n"
                      "0 0 0 1 2 3 255\n1 0 0 1 2 3 255\n0 1 0 1 2 3 255\n"
                      "3 0 1 2 6 0 0 1 0 0 1 0 9\n1\n");
    EXPECT_THAT(ply_file.contents.dropped, ElementsAre("texture images", "face colours", "edge"));
    EXPECT_THAT(ply_file.contents.kept, ElementsAre("colours", "texture coordinates"));
}

TEST(Carried, TransparencyIsNamedWhereSomethingIsTransparent)
{
    std::string const text = "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                             "property float y\nproperty float z\nproperty uchar alpha\n"
                             "end_header\n0 0 0 ";
    EXPECT_THAT(mend("a.ply", text + "255\n").contents.dropped, IsEmpty());
    EXPECT_THAT(mend("a.ply", text + "254\n").contents.dropped, ElementsAre("transparency"));
}

TEST(Carried, AnExtremeNumberOfForeignNamesIsBoundedWork)
{
    std::string header = "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                         "property float y\nproperty float z\n";
    std::string row = "0 0 0";
    for (int i = 0; i < 20000; ++i)
    {
        header += "property uchar scalar\x1b" + std::to_string(i) + "\n";
        row += " 1";
    }
    auto const mesh = mend("a.ply", header + "end_header\n" + row + "\n");
    EXPECT_EQ(mesh.contents.dropped.size(), 32U);
    EXPECT_EQ(mesh.contents.dropped[0].find('\x1b'), std::string::npos);
}

TEST(Carried, TwoValuesOfOneNameAreOne)
{
    auto const mesh = mend("a.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\n"
                                    "property float y\nproperty float z\nproperty float quality\n"
                                    "property float quality\nend_header\n0 0 0 1 2\n");
    auto const values = detail::carried_values(mesh.mesh);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(mesh.mesh.property(values[0], vh(0)), 1.0F);
}

// A file that needs nothing, and a strict reader.

TEST(ReadAndMend, AMeshThatNeedsNothingIsWhatReadingGives)
{
    TempDir const directory;
    auto mesh = veld_test::grid_with_hole(3);
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, Vector3f(0, 0, 1));
        mesh.set_color(v, Vector3f(0, 1, 0));
    }
    for (auto const* name : {"a.ply", "a.obj", "a.off", "a.om", "a.stl"})
    {
        std::string error;
        ASSERT_TRUE(write_mesh(directory.file(name), mesh, error));
        auto const strict = veld_test::read_path(directory.file(name));
        auto const mended = mend_path(directory.file(name));
        EXPECT_EQ(corners_of(mended.mesh), corners_of(strict.mesh));
        EXPECT_EQ(mended.mesh.has_vertex_normals(), strict.mesh.has_vertex_normals());
        EXPECT_EQ(mended.mesh.has_vertex_colors(), strict.mesh.has_vertex_colors());
        EXPECT_FALSE(mended.mesh.has_halfedge_texcoords2D());
        EXPECT_EQ(mended.contents.faces_left_out() + mended.contents.added_vertices, 0U);
    }
}

TEST(ReadAndMend, ReadingWithoutMendingCarriesNothing)
{
    auto const strict = veld_test::read_content("a.obj", SEAM);
    ASSERT_TRUE(strict.ok);
    EXPECT_FALSE(strict.mesh.has_halfedge_texcoords2D());
}

using MendRealData = veld_test::RealData;

TEST_F(MendRealData, OfADecimatedScanHardlyAnythingGoesButRepeatedFaces)
{
    for (auto const* file : {"bun_zipper_res2.ply", "bun_zipper_res3.ply", "dragon_vrip_res3.ply",
                             "dragon_vrip_res4.ply", "squirrel_hole_back_round.ply",
                             "squirrel_hole_bottom_plane.ply", "squirrel_missing_tip.ply"})
    {
        auto const path = veld_test::real_data(std::string("meshes_holes/") + file);
        auto const strict = veld_test::read_path(path);
        ASSERT_GT(strict.report.faces_left_out, 0U) << file;
        auto const mended = mend_path(path);
        EXPECT_LE(mended.contents.unheld.count, 1U) << file;
        EXPECT_EQ(mended.contents.faces_left_out(),
                  mended.contents.repeated.count + mended.contents.unheld.count)
            << file;
        EXPECT_EQ(mended.mesh.n_faces() + mended.contents.faces_left_out(),
                  strict.mesh.n_faces() + strict.report.faces_left_out)
            << file;
        EXPECT_LT(boundary_edges(mended.mesh), boundary_edges(strict.mesh)) << file;
    }
}

// Files with changed bytes.

TEST(MendDamage, ChangedBytesNeverHarm)
{
    std::vector<std::pair<std::string, std::string>> const files{
        {"a.obj", SEAM},
        {"a.off", off(CUBE_POINTS + cube_rows(), 8, 6)},
        {"a.ply", ply(CUBE_POINTS + cube_rows(), 8, 6)}};
    TempDir const directory;
    std::mt19937 random(5);
    for (auto const& [name, content] : files)
    {
        for (int i = 0; i < 3000; ++i)
        {
            auto changed = content;
            for (unsigned n = 1 + random() % 4; n > 0; --n)
            {
                changed[random() % changed.size()] = random() % 2 == 0
                                                         ? static_cast<char>('0' + random() % 10)
                                                         : static_cast<char>(random() % 256);
            }
            write_file(directory.file(name), changed);
            auto const result = mend_path(directory.file(name));
            EXPECT_THAT(result.contents.error, testing::Not(testing::HasSubstr("memory")));
            EXPECT_TRUE(result.contents.error.empty() || result.mesh.n_vertices() == 0);
        }
    }
}

} // namespace
