#include "algorithmVeld/TextureFusion/debug_files/DebugPalette.h"
#include "algorithmVeld/TextureFusion/debug_files/PartDebugFiles.h"
#include "algorithmVeld/TextureFusion/debug_files/TexDebugFiles.h"
#include "algorithmVeld/TextureFusion/projection/DepthBuffer.h"
#include "algorithmVeld/TextureFusion/projection/Projection.h"
#include "algorithmVeld/TextureFusion/seams/EdgeSeam.h"
#include "algorithmVeld/TextureFusion/selection/FaceBlocks.h"
#include "algorithmVeld/TextureFusion/solve/systems/SparseLuSolve.h"
#include "hand_textured.h"
#include "scenes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

/// \file
/// The choices of stages that `TextureMesh` makes.

namespace
{

using namespace OrvaneAlgorithm;
using namespace OrvaneAlgorithm::detail;
using veld_test::HandTextured;

using FaceGroup = HandTextured::Group;

/// Draws depths to the pixels around that have one which is farther by more than 1, pixel by pixel.
void dilate_in_place(std::vector<float>& image, int width, int height, float none)
{
    std::vector<float> const before = image;
    auto const number = [width](int x, int y) { return static_cast<std::size_t>(y * width + x); };
    for (int i = 0; i < width * height; ++i)
    {
        int const x = i % width;
        int const y = i / width; // whole rows
        float const depth = image[number(x, y)];
        for (int r = std::max(y - 1, 0); r <= std::min(y + 1, height - 1) && depth != none; ++r)
        {
            for (int c = std::max(x - 1, 0); c <= std::min(x + 1, width - 1); ++c)
            {
                float& other = image[number(c, r)];
                if (before[number(c, r)] != none && other > depth + 1.0F)
                {
                    other = depth;
                }
            }
        }
    }
}

TEST(DilationInPlace, IsThatOfTheWholeImage)
{
    constexpr int WIDTH = 19;
    constexpr int HEIGHT = 11;
    constexpr float FAR = 1e30F;
    std::mt19937 random(4);
    DepthBuffer buffer(1.0F, Dilation::IN_PLACE);
    for (int round = 0; round < 100; ++round)
    {
        std::vector<float> image(WIDTH * HEIGHT, FAR);
        std::vector<std::array<int, 3>> samples;
        buffer.begin_view(WIDTH, HEIGHT);
        for (int i = 0; i < 20 + round; ++i)
        {
            int const x = static_cast<int>(random() % WIDTH);
            int const y = static_cast<int>(random() % HEIGHT);
            int const halves = static_cast<int>(random() % 20U);
            samples.push_back({x, y, halves});
            float& pixel = image[static_cast<std::size_t>(y * WIDTH + x)];
            pixel = std::min(pixel, 0.5F * static_cast<float>(halves));
            buffer.insert(x, y, 0.5F * static_cast<float>(halves));
        }
        buffer.end_view();
        dilate_in_place(image, WIDTH, HEIGHT, FAR);
        for (auto const& [x, y, halves] : samples)
        {
            float const depth = 0.5F * static_cast<float>(halves);
            float const held = image[static_cast<std::size_t>(y * WIDTH + x)];
            ASSERT_EQ(buffer.nearest(x, y), held);
            ASSERT_EQ(buffer.is_visible(x, y, depth, held), held + 1.0F > depth);
        }
    }
}

TEST(DilationInPlace, GoesOnFromPixelToPixelToTheRight)
{
    for (auto const dilation : {Dilation::FROM_ORIGINAL, Dilation::IN_PLACE})
    {
        DepthBuffer buffer(1.0F, dilation);
        buffer.begin_view(4, 1);
        for (int x = 0; x < 4; ++x)
        {
            buffer.insert(x, 0, x == 0 ? 10.0F : 20.0F);
        }
        buffer.end_view();
        // The second pixel hides in both ways, what comes behind it in one.
        EXPECT_FALSE(buffer.is_visible(1, 0, 20.0F, buffer.nearest(1, 0)));
        EXPECT_EQ(buffer.is_visible(3, 0, 20.0F, buffer.nearest(3, 0)),
                  dilation == Dilation::FROM_ORIGINAL);
    }
}

TEST(PixelsRounded, AreThoseOfTheNearestWholeNumberUpToTheRim)
{
    TriMesh mesh = veld_test::make_mesh({{-1.2F, 0.0F, 0.0F},
                                         {1.3F, 0.0F, 0.0F},
                                         {0.4F, 1.2F, 0.0F},
                                         {9.7F, 0.0F, 0.0F},
                                         {9.8F, 0.0F, 0.0F}},
                                        {{0, 1, 2}});
    mesh.request_vertex_normals();
    veld_test::set_normals(mesh, {0.0F, 0.0F, 1.0F});
    // Columns are 10 + x, rows 10 - y.
    std::vector<TexImage> const views{
        veld_test::view(0, veld_test::look_at({0.0, 0.0, 100.0}, {0.0, 0.0, 0.0}), 100.0,
                        Image<3, unsigned char>(20, 20))};
    VisibilityLimits limits;
    limits.image_border = 0;
    limits.pixels = PixelRule::ROUNDED;
    limits.dilation = Dilation::IN_PLACE;
    auto const lists = project_vertices(mesh, views, limits);
    std::vector<int> columns;
    for (std::size_t v = 0; v < 5; ++v)
    {
        columns.push_back(lists.size(v) == 0 ? -1 : lists.begin(v)->px);
        if (lists.size(v) != 0)
        {
            EXPECT_EQ(lists.begin(v)->u, static_cast<float>(columns.back()));
        }
    }
    EXPECT_EQ(columns, (std::vector<int>{9, 11, 10, -1, -1}));
    EXPECT_EQ(lists.begin(2)->py, 9);
}

TEST(ViewOrder, DecidesWhichViewsAVertexCollectsFirst)
{
    TriMesh mesh = veld_test::lone_triangle();
    mesh.request_vertex_normals();
    veld_test::set_normals(mesh, {0.0F, 0.0F, 1.0F});
    std::vector<TexImage> views;
    for (int k = 0; k < 4; ++k)
    {
        views.push_back(veld_test::view(k, veld_test::look_at({0.0, 0.0, 100.0}, {0.0, 0.0, 0.0}),
                                        100.0, Image<3, unsigned char>(40, 40)));
    }
    VisibilityLimits limits;
    limits.vertex_tex_num_thr = 2;
    auto const lists = project_vertices(mesh, views, limits, {3, 1, 0, 2});
    for (std::size_t v = 0; v < 3; ++v)
    {
        ASSERT_EQ(lists.size(v), 2U);
        EXPECT_EQ(lists.begin(v)[0].image_id, 1);
        EXPECT_EQ(lists.begin(v)[1].image_id, 3);
    }
}

/// A face that may take either of two views, and has one of them.
void choose_of_two(HandTextured& scene, int face, int label)
{
    scene.choose(face, 0, FaceGroup::NONBOUNDARY, 1);
    OpenMesh::FaceHandle const handle(face);
    auto& list = scene.mesh.property(scene.properties.face_tex_list, handle);
    list.push_back(list.front());
    list.front().image_id = 0;
    scene.mesh.property(scene.properties.face_tex_label, handle) = label;
    scene.mesh.property(scene.properties.face_tex_index, handle) = label;
}

TEST(GreedyChange, TakesTheViewOfMostNeighboursAcrossEdgesInOnePass)
{
    HandTextured scene(veld_test::grid(4, 1));
    // A strip of eight faces, each with one before and one behind it.
    std::vector<int> const labels{0, 1, 0, 1, 1, 1, 0, 1};
    std::vector<std::vector<int>> neighbours(8);
    for (int f = 0; f < 8; ++f)
    {
        choose_of_two(scene, f, labels[static_cast<std::size_t>(f)]);
        for (auto const other : scene.mesh.ff_range(OpenMesh::FaceHandle(f)))
        {
            neighbours[static_cast<std::size_t>(f)].push_back(other.idx());
        }
    }
    std::vector<int> expected = labels;
    int n_changed = 0;
    for (std::size_t f = 0; f < 8; ++f)
    {
        // Marked before anything has changed.
        bool const is_marked = std::any_of(
            neighbours[f].begin(), neighbours[f].end(),
            [&](int other) { return labels[static_cast<std::size_t>(other)] != labels[f]; });
        std::array<int, 2> counts{};
        for (int const other : neighbours[f])
        {
            ++counts[static_cast<std::size_t>(expected[static_cast<std::size_t>(other)])];
        }
        int const best = counts[1] > counts[0] ? 1 : 0;
        if (is_marked && best != expected[f])
        {
            expected[f] = best;
            ++n_changed;
        }
    }
    veld_test::LogCapture const log;
    EXPECT_EQ(greedy_change_face_tex_by_edge_shared(scene.mesh, scene.properties), n_changed);
    EXPECT_GT(n_changed, 0);
    for (int f = 0; f < 8; ++f)
    {
        EXPECT_EQ(scene.mesh.property(scene.properties.face_tex_label, OpenMesh::FaceHandle(f)),
                  expected[static_cast<std::size_t>(f)]);
    }
    EXPECT_EQ(log.count("  affected faces:    "), 1);
}

TEST(FindBlockByFace, MarksBlocksUpToTheLimit)
{
    HandTextured scene(veld_test::grid(4, 1));
    for (int f = 0; f < 8; ++f)
    {
        choose_of_two(scene, f, f < 2 ? 0 : 1);
    }
    std::vector<std::uint8_t> const first_cell{1, 1, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(find_block_by_face(scene.mesh, scene.properties, 1), std::vector<std::uint8_t>(8, 0));
    EXPECT_EQ(find_block_by_face(scene.mesh, scene.properties, 2), first_cell);
    EXPECT_EQ(find_block_by_face(scene.mesh, scene.properties, 5), first_cell);
    EXPECT_EQ(find_block_by_face(scene.mesh, scene.properties, 6), std::vector<std::uint8_t>(8, 1));
}

TEST(EdgeSeam, PrescribesAllPixelsOfAnEdgeAndItsEndsExactly)
{
    // Two triangles with the edge from (0, 8) to (8, 0) between them.
    HandTextured scene(veld_test::make_mesh(
        {{0.0F, 0.0F, 0.0F}, {8.0F, 0.0F, 0.0F}, {8.0F, 8.0F, 0.0F}, {0.0F, 8.0F, 0.0F}},
        {{0, 1, 3}, {1, 2, 3}}));
    scene.choose(0, 0, FaceGroup::BOUNDARY, 0);
    scene.choose(1, 1, FaceGroup::BOUNDARY, 1);
    std::vector<TexImage> views(2);
    views[0].image = veld_test::painted(9, 9,
                                        [](int, int) {
                                            return std::array<unsigned char, 3>{100, 100, 100};
                                        });
    // The second view is brighter by as much as the row says.
    views[1].image =
        veld_test::painted(9, 9,
                           [](int, int y)
                           {
                               auto const level = static_cast<unsigned char>(100 + 4 * y);
                               return std::array<unsigned char, 3>{level, level, level};
                           });
    PatchTex patch;
    patch.max_x = 8;
    patch.max_y = 8;
    RasterizedEdges rasterized;
    auto const seam = edge_seam(scene.mesh, scene.properties, views, patch,
                                {OpenMesh::FaceHandle(0)}, rasterized);
    EXPECT_EQ(rasterized.n_edges, 1);
    EXPECT_EQ(rasterized.n_points, 9);
    EXPECT_EQ(rasterized.fewest, 9);
    EXPECT_EQ(rasterized.most, 9);
    ASSERT_EQ(seam.size(), 9U);
    for (std::size_t i = 0; i < 9; ++i)
    {
        SeamPixel const& pixel = seam[i];
        EXPECT_EQ(pixel.x + pixel.y, 8);
        EXPECT_EQ(pixel.vertex.is_valid(), i >= 7);
        // Half of the difference, evenly from 0 at row 0 to 16 at row 8.
        EXPECT_FLOAT_EQ(pixel.correction[0], 2.0F * static_cast<float>(pixel.y));
        EXPECT_EQ(pixel.mean[0], 100 + 2 * pixel.y);
    }
}

TEST(SparseLu, SolvesAsTheOthersDo)
{
    std::mt19937 random(8);
    for (int const side : {2, 7, 40, 90})
    {
        Image<3, float> field(side, side);
        Image<1, unsigned char> mask(side, side);
        for (int i = 0; i < side; ++i)
        {
            int const x = static_cast<int>(random() % static_cast<unsigned>(side));
            int const y = static_cast<int>(random() % static_cast<unsigned>(side));
            *mask.pixel(x, y) = 128;
            for (int c = 0; c < 3; ++c)
            {
                field.pixel(x, y)[c] = static_cast<float>(random() % 200U) - 100.0F;
            }
        }
        Image<3, float> other = field;
        ASSERT_EQ(solve_rectangle_timed(field, mask, RectangleSolver::SPARSE_LU, ""),
                  RectangleFailure::NONE);
        ASSERT_EQ(solve_rectangle(other, mask, RectangleSolver::PARDISO), RectangleFailure::NONE);
        for (int i = 0; i < 3 * side * side; ++i)
        {
            ASSERT_NEAR(field.data()[i], other.data()[i], 1e-3F) << side;
        }
    }
}

TEST(SparseLu, WithoutAKnownPixelItFailsAndWithoutAnUnknownOneNothingChanges)
{
    Image<3, float> field(3, 2);
    Image<1, unsigned char> mask(3, 2);
    EXPECT_EQ(solve_rectangle_timed(field, mask, RectangleSolver::SPARSE_LU, ""),
              RectangleFailure::SPARSE_LU);
    std::fill_n(mask.data(), 6, static_cast<unsigned char>(128));
    std::fill_n(field.data(), 18, 5.0F);
    EXPECT_EQ(solve_rectangle_timed(field, mask, RectangleSolver::SPARSE_LU, ""),
              RectangleFailure::NONE);
    EXPECT_EQ(*std::min_element(field.data(), field.data() + 18), 5.0F);
}

TEST(PartDebugFiles, ABlockHasItsOwnVerticesAndTheColoursOfItsView)
{
    veld_test::LogCapture const log;
    veld_test::TempDir const dir;
    gPH.set_debug_dir(dir.path().string());
    HandTextured scene(veld_test::grid(2, 1));
    scene.choose_all(0, FaceGroup::ISOLATED, 2);
    std::vector<TexImage> views(3);
    views[2].image = veld_test::painted(4, 4,
                                        [](int x, int y)
                                        {
                                            return std::array<unsigned char, 3>{
                                                static_cast<unsigned char>(10 * x),
                                                static_cast<unsigned char>(20 * y), 7};
                                        });
    save_face_patch(scene.mesh, scene.properties, views, {OpenMesh::FaceHandle(3)}, 12);
    std::string expected = "# Number of vertices: 3\n";
    std::string palette = expected;
    auto const [red, green, blue] = debug_palette(2);
    for (auto const vertex : scene.corners(3))
    {
        auto const& point = scene.mesh.point(vertex);
        std::array<char, 100> line{};
        std::snprintf(line.data(), line.size(), "v %d.000000 %d.000000 0.000000 ",
                      static_cast<int>(point.x()), static_cast<int>(point.y()));
        expected += std::string(line.data()) + "7 " +
                    std::to_string(20 * static_cast<int>(point.y())) + " " +
                    std::to_string(10 * static_cast<int>(point.x())) + "\n";
        palette += std::string(line.data()) + std::to_string(red) + " " + std::to_string(green) +
                   " " + std::to_string(blue) + "\n";
    }
    std::string const end = "# Number of triangles: 1\nf 1 2 3\n# end of file\n";
    EXPECT_EQ(veld_test::file_content(dir.file("6-face-block-0012-tex.obj")), expected + end);
    EXPECT_EQ(veld_test::file_content(dir.file("6-face-block-0012-patch.obj")), palette + end);
}

TEST(PartDebugFiles, AListOfFacesHasNoColours)
{
    veld_test::LogCapture const log;
    veld_test::TempDir const dir;
    gPH.set_result_dir(dir.path().string());
    save_face_array(veld_test::lone_triangle(), {OpenMesh::FaceHandle(0)}, "some");
    std::string const text = veld_test::file_content(dir.file("some_face_array.obj"));
    EXPECT_EQ(text.rfind("# Number of vertices: 3\nv ", 0), 0U);
    EXPECT_NE(text.find("\n# Number of triangles: 1\nf 1 2 3\n# end of file\n"), std::string::npos);
    EXPECT_EQ(std::count(text.begin(), text.end(), ' '), 3 + 1 + 9 + 4 + 3 + 3);
    gPH.set_result_dir(dir.file("missing"));
    save_face_array(veld_test::lone_triangle(), {OpenMesh::FaceHandle(0)}, "some");
    EXPECT_EQ(log.count("fail to write '"), 1);
}

TEST(TexDebugFiles, AViewShowsThePixelsOfTheVerticesThatItSees)
{
    veld_test::LogCapture const log;
    veld_test::TempDir const dir;
    gPH.set_result_dir(dir.path().string());
    TriMesh const mesh = veld_test::lone_triangle();
    std::vector<TexImage> views(2);
    views[1].image = veld_test::painted(4, 4,
                                        [](int, int) {
                                            return std::array<unsigned char, 3>{1, 2, 3};
                                        });
    VertTexLists lists(3, 2);
    VertTex seen;
    seen.image_id = 1;
    lists.append(1, seen);
    save_image_projected_model(mesh, views, lists, 1);
    std::string const text = veld_test::file_content(dir.file("0-image-0001-projected-model.obj"));
    EXPECT_EQ(veld_test::count_of(text, " 3 2 1\n"), 1);
    EXPECT_EQ(veld_test::count_of(text, " 0 0 0\n"), 2);
}

} // namespace
