#include "algorithmVeld/TextureFusion/debug_files/TexDebugFiles.h"

#include "algorithmVeld/TextureFusion/debug_files/DebugPalette.h"
#include "algorithmVeld/common/ParamHolder.h"
#include "hand_textured.h"
#include "scenes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <array>
#include <set>
#include <string>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using detail::FaceGroupType;
using detail::PaletteColor;
using detail::TexImage;
using detail::VertTexLists;
using veld_test::HandTextured;
using veld_test::LogCapture;
using veld_test::TempDir;

/// What is logged, and files in a directory of their own.
class SavedFiles
{
public:
    SavedFiles() { gPH.set_result_dir(directory_.path().string()); }

    std::string content(std::string const& name) const
    {
        return veld_test::file_content(directory_.path() / name);
    }
    std::vector<std::string> names() const { return veld_test::files_in(directory_.path()); }
    LogCapture const& log() const { return log_; }

private:
    LogCapture log_; // puts the directory back
    TempDir directory_;
};

/// Views whose pixel (x, y) is blue 10 x, green y, red 100 plus the view's number.
std::vector<TexImage> two_views()
{
    std::vector<TexImage> views(2);
    for (int id = 0; id < 2; ++id)
    {
        views[static_cast<std::size_t>(id)].id = id;
        views[static_cast<std::size_t>(id)].image = veld_test::painted(
            8, 8,
            [&](int x, int y)
            {
                return std::array<unsigned char, 3>{static_cast<unsigned char>(10 * x),
                                                    static_cast<unsigned char>(y),
                                                    static_cast<unsigned char>(100 + id)};
            });
    }
    return views;
}

constexpr char const* TRIANGLE_END = "# Number of triangles: 1\n"
                                     "f 1 2 3\n"
                                     "# end of file\n";

TEST(DebugPalette, BeginsWithTheCornersOfTheColourCube)
{
    std::vector<PaletteColor> const pattern = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 1, 0},
                                               {1, 0, 1}, {0, 1, 1}, {1, 1, 1}};
    for (int i = 0; i < 14; ++i)
    {
        PaletteColor expected = pattern[static_cast<std::size_t>(i % 7)];
        for (auto& channel : expected)
        {
            channel = static_cast<unsigned char>(channel * (i < 7 ? 255 : 128));
        }
        EXPECT_EQ(detail::debug_palette(i), expected) << i;
    }
}

TEST(DebugPalette, Has56ColoursAndComesAgain)
{
    std::set<PaletteColor> colors;
    for (int i = 0; i < 56; ++i)
    {
        colors.insert(detail::debug_palette(i));
        EXPECT_EQ(detail::debug_palette(56 + i), detail::debug_palette(i));
        EXPECT_EQ(detail::debug_palette(560 + i), detail::debug_palette(i));
    }
    EXPECT_EQ(colors.size(), 56U);
    EXPECT_EQ(colors.count({0, 0, 0}), 0U);
}

TEST(TexDebugFiles, AProjectedVertexHasThePixelAndThePaletteColourOfItsFirstView)
{
    SavedFiles const files;
    TriMesh const mesh = veld_test::lone_triangle();
    VertTexLists lists(3, 2);
    lists.append(1, {1, 5.0F, 2, 3, 2.5F, 3.5F, 1.0F});
    lists.append(2, {0, 5.0F, 4, 5, 4.5F, 5.5F, 1.0F});
    lists.append(2, {1, 5.0F, 6, 7, 6.5F, 7.5F, 1.0F});
    detail::save_vertex_projected_model(mesh, two_views(), lists);
    EXPECT_EQ(files.names(), (std::vector<std::string>{"1-vertex-projected-model-patch.obj",
                                                       "1-vertex-projected-model-tex.obj"}));
    EXPECT_EQ(files.content("1-vertex-projected-model-tex.obj"),
              std::string("# Number of vertices: 3\n"
                          "v 0.000000 0.000000 0.000000 0 0 0\n"
                          "v 1.000000 0.000000 0.000000 101 3 20\n"
                          "v 0.000000 1.000000 0.000000 100 5 40\n") +
                  TRIANGLE_END);
    EXPECT_EQ(files.content("1-vertex-projected-model-patch.obj"),
              std::string("# Number of vertices: 3\n"
                          "v 0.000000 0.000000 0.000000 0 0 0\n"
                          "v 1.000000 0.000000 0.000000 0 255 0\n"
                          "v 0.000000 1.000000 0.000000 255 0 0\n") +
                  TRIANGLE_END);
}

TEST(TexDebugFiles, ProjectionsAreCounted)
{
    SavedFiles const files;
    TriMesh const mesh = veld_test::open_cone(4);
    VertTexLists lists(5, 3);
    auto const see = [&](std::size_t vertex, int n)
    {
        for (int i = 0; i < n; ++i)
        {
            lists.append(vertex, {i, 5.0F, 1, 1, 1.5F, 1.5F, 1.0F});
        }
    };
    see(1, 3);
    see(2, 1);
    see(4, 3);
    detail::save_vertex_projected_model(mesh, {two_views()[0], two_views()[1], two_views()[0]},
                                        lists);
    EXPECT_EQ(files.log().text(), "save_vertex_projected_model() ..\n"
                                  "  total vertices:              5\n"
                                  "  colored vertices:            3\n"
                                  "  uncolored vertices:          2\n"
                                  "  total vert tex size:         7\n"
                                  "  min vert tex size:           1\n"
                                  "  max vert tex size:           3\n"
                                  "  avg vert tex size:        2.33\n");
}

TEST(TexDebugFiles, WithoutAnyProjectionAllCountsAreZero)
{
    SavedFiles const files;
    detail::save_vertex_projected_model(veld_test::lone_triangle(), {}, VertTexLists(3, 1));
    EXPECT_EQ(files.log().count("  total vert tex size:         0\n"
                                "  min vert tex size:           0\n"
                                "  max vert tex size:           0\n"
                                "  avg vert tex size:        0.00\n"),
              1);
}

TEST(TexDebugFiles, AVertexHasTheChosenViewOfItsFirstTexturedFace)
{
    SavedFiles const files;
    HandTextured hand(veld_test::bow_tie());
    for (auto const vertex : hand.mesh.vertices())
    {
        hand.mesh.point(vertex) += Vector3f(2.0F, 2.0F, 0.0F); // into the image
    }
    hand.choose(1, 0, FaceGroupType::ISOLATED, 1);
    detail::save_face_selection_vertex_model(hand.mesh, hand.properties, two_views(), "a", "b");
    EXPECT_EQ(files.content("a.obj"), "# Number of vertices: 5\n"
                                      "v 2.000000 2.000000 0.000000 101 2 20\n"
                                      "v 3.000000 2.000000 0.000000 0 0 0\n"
                                      "v 2.000000 3.000000 0.000000 0 0 0\n"
                                      "v 1.000000 2.000000 0.000000 101 2 10\n"
                                      "v 2.000000 1.000000 0.000000 101 1 20\n"
                                      "# Number of triangles: 2\n"
                                      "f 1 2 3\n"
                                      "f 1 4 5\n"
                                      "# end of file\n");
    // With a view of its own the first face gives the vertex that both have its colour.
    hand.choose(0, 0, FaceGroupType::ISOLATED, 0);
    detail::save_face_selection_vertex_model(hand.mesh, hand.properties, two_views(), "a", "b");
    EXPECT_NE(files.content("b.obj").find("v 2.000000 2.000000 0.000000 255 0 0\n"),
              std::string::npos);
    EXPECT_NE(files.content("b.obj").find("v 1.000000 2.000000 0.000000 0 255 0\n"),
              std::string::npos);
    EXPECT_EQ(files.log().text(), "save_face_selection_vertex_model() ..\n"
                                  "save_face_selection_vertex_model() ..\n");
}

TEST(TexDebugFiles, FusedColoursAreWrittenRedFirst)
{
    SavedFiles const files;
    HandTextured hand(veld_test::lone_triangle());
    hand.mesh.property(hand.properties.vert_color, veld_test::vh(1)) = {1, 2, 3};
    detail::save_fused_vertex_model(hand.mesh, hand.properties);
    EXPECT_EQ(files.content("7-fused-vertex-model.obj"),
              std::string("# Number of vertices: 3\n"
                          "v 0.000000 0.000000 0.000000 0 0 0\n"
                          "v 1.000000 0.000000 0.000000 3 2 1\n"
                          "v 0.000000 1.000000 0.000000 0 0 0\n") +
                  TRIANGLE_END);
    EXPECT_EQ(files.log().text(), "save_fused_vertex_model() ..\n");
}

TEST(TexDebugFiles, AHoleHasOneColour)
{
    SavedFiles const files;
    TriMesh const mesh = veld_test::grid(3, 1);
    detail::save_tex_hole_model(
        mesh, {{OpenMesh::FaceHandle(0)}, {OpenMesh::FaceHandle(4), OpenMesh::FaceHandle(5)}});
    std::string const text = files.content("4-tex-hole-model-patch.obj");
    for (auto const vertex : mesh.vertices())
    {
        bool const of_first = [&]
        {
            auto const corners = veld_test::corners_of(mesh)[0];
            return std::find(corners.begin(), corners.end(), vertex.idx()) != corners.end();
        }();
        bool const of_second = mesh.point(vertex).x() >= 2.0F;
        char line[512];
        format_line(line, "v %f %f %f %s\n", static_cast<double>(mesh.point(vertex).x()),
                    static_cast<double>(mesh.point(vertex).y()), 0.0,
                    of_first ? "255 0 0" : (of_second ? "0 255 0" : "0 0 0"));
        EXPECT_NE(text.find(line), std::string::npos) << line;
    }
    EXPECT_EQ(files.log().text(), "save_tex_hole_model() ..\n"
                                  "====================< tex hole info >====================\n"
                                  "  total holes:              2\n"
                                  "  total hole faces:         3\n"
                                  "====================</tex hole info >====================\n");
}

TEST(TexDebugFiles, EachFileThatCannotBeWrittenHasItsLine)
{
    LogCapture const log;
    TempDir const directory;
    std::string const missing = directory.file("missing");
    gPH.set_result_dir(missing);
    detail::save_vertex_projected_model(veld_test::lone_triangle(), {}, VertTexLists(3, 1));
    EXPECT_EQ(log.count("fail to write '" + missing + "/1-vertex-projected-model-tex.obj'.\n"), 1);
    EXPECT_EQ(log.count("fail to write '" + missing + "/1-vertex-projected-model-patch.obj'.\n"),
              1);
    EXPECT_EQ(log.count("fail to write"), 2);
}

} // namespace
