#include "workflow/report/models/DisplayMesh.h"

#include "workflow/Error.h"
#include "workflow/files/TexturedMesh.h"

#include "reason_of.h"
#include "tests/support/files.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <meshoptimizer.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Vector3f;
using testing::HasSubstr;
using veld::DisplayMesh;
using veld::make_display_mesh;

unsigned char const* bytes_of(std::string const& text)
{
    return reinterpret_cast<unsigned char const*>(text.data());
}

/// The points as the page has them.
std::vector<Vector3f> points_in(DisplayMesh const& mesh)
{
    std::vector<std::array<std::uint16_t, 4>> steps(mesh.vertices);
    EXPECT_EQ(meshopt_decodeVertexBuffer(steps.data(), mesh.vertices, 8, bytes_of(mesh.points),
                                         mesh.points.size()),
              0);
    std::vector<Vector3f> points;
    for (auto const& step : steps)
    {
        Vector3f const part(step[0] / 65535.0F, step[1] / 65535.0F, step[2] / 65535.0F);
        points.emplace_back(mesh.box_min + part.cwiseProduct(mesh.box_max - mesh.box_min));
    }
    return points;
}

std::vector<unsigned int> corners_in(DisplayMesh const& mesh)
{
    std::vector<unsigned int> corners(mesh.faces * 3);
    EXPECT_EQ(meshopt_decodeIndexBuffer(corners.data(), corners.size(), bytes_of(mesh.triangles),
                                        mesh.triangles.size()),
              0);
    return corners;
}

/// The ends of its border edges, as they are kept.
std::vector<std::pair<Vector3f, Vector3f>> border_in(DisplayMesh const& mesh)
{
    std::vector<unsigned int> ends(mesh.border * 2);
    EXPECT_EQ(meshopt_decodeIndexSequence(ends.data(), ends.size(), bytes_of(mesh.borders),
                                          mesh.borders.size()),
              0);
    auto const points = points_in(mesh);
    std::vector<std::pair<Vector3f, Vector3f>> edges;
    for (std::size_t i = 0; i < ends.size(); i += 2)
    {
        edges.emplace_back(points.at(ends[i]), points.at(ends[i + 1]));
    }
    return edges;
}

/// How many edges have one face, counted from the faces that are left.
std::size_t open_edges(DisplayMesh const& mesh)
{
    std::map<std::pair<unsigned int, unsigned int>, int> faces_of;
    auto const corners = corners_in(mesh);
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        unsigned int const a = corners[i];
        unsigned int const b = corners[i % 3 == 2 ? i - 2 : i + 1];
        ++faces_of[std::minmax(a, b)];
    }
    return static_cast<std::size_t>(std::count_if(
        faces_of.begin(), faces_of.end(), [](auto const& edge) { return edge.second == 1; }));
}

/// A square sheet, a little uneven, of 2 n^2 faces.
TriMesh uneven_sheet(int n)
{
    TriMesh mesh = grid(n, n);
    for (auto const vertex : mesh.vertices())
    {
        auto point = mesh.point(vertex);
        point.z() = 0.3F * std::sin(point.x()) * std::cos(point.y());
        mesh.set_point(vertex, point);
    }
    return mesh;
}

TEST(DisplayMesh, ASmallMeshKeepsAllOfItsFaces)
{
    TriMesh const mesh = grid_with_hole(6);
    DisplayMesh const made = make_display_mesh(mesh, {});
    EXPECT_EQ(made.faces, mesh.n_faces());
    EXPECT_EQ(made.all_faces, mesh.n_faces());
    EXPECT_EQ(made.new_from, made.faces);
    EXPECT_FALSE(made.is_thinned());
    EXPECT_EQ(made.border, open_edges(made));

    // The same places, to half a step.
    std::vector<Vector3f> places;
    for (auto const vertex : mesh.vertices())
    {
        if (!mesh.is_isolated(vertex))
        {
            places.emplace_back(mesh.point(vertex));
        }
    }
    auto const points = points_in(made);
    ASSERT_EQ(points.size(), places.size());
    for (auto const& place : places)
    {
        EXPECT_TRUE(std::any_of(points.begin(), points.end(),
                                [&](Vector3f const& point)
                                { return (point - place).norm() < 1e-3F; }));
    }
}

TEST(DisplayMesh, NewFacesComeLast)
{
    TriMesh const mesh = grid(4, 4);
    std::vector<char> is_new(mesh.n_faces(), 0);
    is_new[0] = is_new[7] = 1;
    DisplayMesh const made = make_display_mesh(mesh, is_new);
    ASSERT_EQ(made.new_from, mesh.n_faces() - 2);
    auto const points = points_in(made);
    auto const corners = corners_in(made);
    auto const middle_of = [&](std::size_t face)
    {
        return Vector3f((points[corners[3 * face]] + points[corners[3 * face + 1]] +
                         points[corners[3 * face + 2]]) /
                        3.0F);
    };
    for (int const number : {0, 7})
    {
        Vector3f middle = Vector3f::Zero();
        for (auto const vertex : mesh.fv_range(mesh.face_handle(static_cast<unsigned int>(number))))
        {
            middle += mesh.point(vertex) / 3.0F;
        }
        EXPECT_TRUE((middle_of(made.new_from) - middle).norm() < 1e-3F ||
                    (middle_of(made.new_from + 1) - middle).norm() < 1e-3F)
            << number;
    }
}

TEST(DisplayMesh, ALargeMeshIsThinnedAndItsBorderStays)
{
    TriMesh const mesh = uneven_sheet(60);
    DisplayMesh const made = make_display_mesh(mesh, {}, 1000);
    EXPECT_EQ(made.all_faces, 7200U);
    EXPECT_LE(made.faces, 1000U);
    EXPECT_GT(made.faces, 800U);
    EXPECT_TRUE(made.is_thinned());
    EXPECT_EQ(made.border, 240U);
    EXPECT_EQ(open_edges(made), 240U);
    double length = 0.0;
    for (auto const& [a, b] : border_in(made))
    {
        // Edges of one step along the rim of the sheet.
        EXPECT_LT(Vector3f(a - b).head<2>().norm(), 1.01F);
        length += Vector3f(a - b).head<2>().norm();
    }
    EXPECT_NEAR(length, 240.0, 0.1);
}

TEST(DisplayMesh, ThinningKeepsTheLineBetweenOldAndNewFaces)
{
    TriMesh const mesh = uneven_sheet(60);
    std::vector<char> is_new(mesh.n_faces(), 0);
    for (auto const face : mesh.faces())
    {
        float largest = 0.0F;
        for (auto const vertex : mesh.fv_range(face))
        {
            largest = std::max(largest, mesh.point(vertex).x());
        }
        is_new[static_cast<std::size_t>(face.idx())] = largest > 30.5F ? 1 : 0;
    }
    DisplayMesh const made = make_display_mesh(mesh, is_new, 1500);
    EXPECT_TRUE(made.is_thinned());
    EXPECT_GT(made.new_from, 0U);
    ASSERT_LT(made.new_from, made.faces);
    auto const points = points_in(made);
    auto const corners = corners_in(made);
    for (std::size_t i = 0; i < corners.size(); ++i)
    {
        float const x = points[corners[i]].x();
        if (i < 3 * made.new_from)
        {
            EXPECT_LT(x, 30.01F);
        }
        else
        {
            EXPECT_GT(x, 29.99F);
        }
    }
}

TEST(DisplayMesh, TheSameMeshGivesTheSameBytes)
{
    TriMesh const mesh = uneven_sheet(40);
    DisplayMesh const one = make_display_mesh(mesh, {}, 500);
    DisplayMesh const two = make_display_mesh(mesh, {}, 500);
    EXPECT_EQ(one.points, two.points);
    EXPECT_EQ(one.triangles, two.triangles);
    EXPECT_EQ(one.borders, two.borders);
}

TEST(DisplayMesh, ACloudIsThinnedEvenly)
{
    TriMesh cloud;
    for (int i = 0; i < 1000; ++i)
    {
        cloud.add_vertex(TriMesh::Point(static_cast<float>(i), 0.0F, 0.0F));
    }
    EXPECT_FALSE(make_display_mesh(cloud, {}).is_thinned());
    DisplayMesh const made = make_display_mesh(cloud, {}, 100);
    EXPECT_EQ(made.faces, 0U);
    EXPECT_EQ(made.all_vertices, 1000U);
    ASSERT_EQ(made.vertices, 100U);
    auto const points = points_in(made);
    for (std::size_t i = 0; i < 100; ++i)
    {
        EXPECT_NEAR(points[i].x(), 10.0F * static_cast<float>(i), 0.02F);
    }
}

TEST(DisplayMesh, WhatHasNoPlaceIsLeftOut)
{
    TriMesh mesh = grid(2, 2);
    mesh.set_point(mesh.vertex_handle(0),
                   TriMesh::Point(std::numeric_limits<float>::quiet_NaN(), 0.0F, 0.0F));
    std::size_t const around = mesh.valence(mesh.vertex_handle(0)) - 1;
    DisplayMesh const made = make_display_mesh(mesh, {});
    EXPECT_EQ(made.faces, mesh.n_faces() - around);
    EXPECT_TRUE(made.box_min.allFinite() && made.box_max.allFinite());
    EXPECT_EQ(make_display_mesh(TriMesh(), {}).vertices, 0U);
}

/// A square metre with a texture of two pixels.
veld::TexturedMesh textured_square()
{
    veld::TexturedMesh textured;
    textured.mesh =
        make_mesh({{0, 0, 0}, {1000, 0, 0}, {1000, 1000, 0}, {0, 1000, 0}}, {{0, 1, 2}, {0, 2, 3}});
    textured.mesh.request_halfedge_texcoords2D();
    for (auto const h : textured.mesh.halfedges())
    {
        auto const point = textured.mesh.point(textured.mesh.to_vertex_handle(h));
        textured.mesh.set_texcoord2D(h, {point.x() / 1000, point.y() / 1000});
    }
    textured.image = veld::TextureImage(2, 1);
    return textured;
}

TEST(GlbReader, ReadsWhatTheWriterWrites)
{
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("square.glb"), textured_square(), context);
    veld::GlbContent const read = veld::read_glb(dir.file("square.glb"));
    ASSERT_EQ(read.points.size(), 4U);
    ASSERT_EQ(read.texcoords.size(), 4U);
    EXPECT_EQ(read.triangles.size(), 6U);
    EXPECT_EQ(read.image_type, "image/jpeg");
    EXPECT_EQ(read.image.substr(0, 2), "\xFF\xD8");
    for (std::size_t i = 0; i < 4; ++i)
    {
        EXPECT_NEAR(read.texcoords[i].x(), read.points[i].x() / 1000, 1e-6F);
        EXPECT_NEAR(read.texcoords[i].y(), 1 - read.points[i].y() / 1000, 1e-6F);
    }
    DisplayMesh const made = make_display_mesh(read);
    EXPECT_EQ(made.faces, 2U);
    EXPECT_EQ(made.image, read.image);
    EXPECT_FALSE(made.texcoords.empty());
}

TEST(GlbReader, EveryCutFileIsAnError)
{
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("square.glb"), textured_square(), context);
    std::string const whole = file_content(dir.file("square.glb"));
    for (std::size_t size = 0; size < whole.size(); size += 7)
    {
        write_file(dir.file("cut.glb"), whole.substr(0, size));
        EXPECT_THAT(reason_of([&] { veld::read_glb(dir.file("cut.glb")); }),
                    HasSubstr(dir.file("cut.glb") + ": is "))
            << size;
    }
}

TEST(GlbReader, NumbersThatLeadOutOfTheFileAreAnError)
{
    TempDir const dir;
    veld::Context context;
    veld::write_textured_mesh(dir.file("square.glb"), textured_square(), context);
    std::string const whole = file_content(dir.file("square.glb"));
    // Each number of the description in turn, made nines: sizes, places, counts, numbers of parts.
    std::size_t const end = whole.find("BIN");
    std::size_t refused = 0;
    for (std::size_t at = 20; at < end; ++at)
    {
        bool const begins = whole[at - 1] == ':' && std::isdigit(whole[at]) != 0;
        if (!begins)
        {
            continue;
        }
        std::string damaged = whole;
        for (std::size_t k = at; std::isdigit(damaged[k]) != 0; ++k)
        {
            damaged[k] = '9';
        }
        write_file(dir.file("bad.glb"), damaged);
        std::string const reason = reason_of([&] { veld::read_glb(dir.file("bad.glb")); });
        if (reason != "no error")
        {
            EXPECT_THAT(reason, HasSubstr("is damaged"));
            ++refused;
        }
    }
    EXPECT_GT(refused, 5U);
}

} // namespace
