#include "algorithmVeld/TextureFusion/holes/TextureHoles.h"

#include "tests/TextureFusion/textured_grid.h"
#include "tests/support/log_capture.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

namespace veld_test
{

namespace
{

namespace detail = OrvaneAlgorithm::detail;
using detail::PixelColor;
using detail::RectangleSolver;
using detail::RepairedHoles;
using detail::TextureHoleFaces;
using detail::TextureHoleSettings;
using OrvaneAlgorithm::Vector2i;

/// A grid with the same colour in all vertices. The view's focal length is 100, and the depth of
/// all corners too, so that a length of 1 is a pixel wide in the view of a hole.
struct HoleScene
{
    TexturedGrid grid;
    TextureHoleFaces holes;
    RepairedHoles repaired;

    HoleScene(int columns, int rows, std::vector<int> const& labels)
        : grid(columns, rows, labels, {{1, 2, 3}})
    {
        for (auto const vertex : grid.mesh.vertices())
        {
            colour(vertex) = {100, 50, 200};
        }
        // Places with a half, so that no rounding takes them to another pixel.
        grid.images[0].intrinsics = OrvaneAlgorithm::CameraInParam(100.0, 100.0, 60.5, 30.5);
    }

    PixelColor& colour(OpenMesh::VertexHandle vertex)
    {
        return grid.mesh.property(grid.properties.vert_color, vertex);
    }

    /// Makes a cell so many pixels wide.
    void stretch(float width)
    {
        for (auto const vertex : grid.mesh.vertices())
        {
            grid.mesh.set_point(vertex, grid.mesh.point(vertex) * width);
        }
    }

    void repair(TextureHoleSettings const& settings = {})
    {
        holes = detail::find_texture_holes(grid.mesh, grid.properties);
        repaired =
            detail::repair_texture_holes(grid.mesh, grid.properties, grid.images, holes, settings);
    }

    void expect_unrepaired(std::size_t h) const
    {
        auto const& patch = repaired.hole_patches[h];
        EXPECT_TRUE(patch.is_hole);
        EXPECT_FALSE(patch.repaired);
        EXPECT_EQ(patch.max_x, 0);
        EXPECT_EQ(patch.min_y, 0);
        EXPECT_TRUE(repaired.hole_textures[h].empty());
    }
};

/// Eight textured cells around one without a view.
std::vector<int> const RING{0, 0, 0, 0, -1, 0, 0, 0, 0};

TextureHoleSettings by_pardiso()
{
    TextureHoleSettings settings;
    settings.solver = RectangleSolver::PARDISO;
    return settings;
}

TEST(TextureHoles, AMeshWithAllItsViewsHasNone)
{
    LogCapture const log;
    HoleScene scene(2, 1, {0, 0});
    scene.repair();
    EXPECT_TRUE(scene.holes.empty());
    EXPECT_TRUE(scene.repaired.hole_patches.empty());
    EXPECT_TRUE(scene.repaired.hole_textures.empty());
    EXPECT_EQ(log.text(), "poisson_hole_filling() ..\n  total holes:         0\n");
}

TEST(TextureHoles, AComponentWithoutViewsStaysUnrepaired)
{
    HoleScene scene(2, 1, {-1, -1});
    scene.repair();
    ASSERT_EQ(scene.holes.size(), 1U);
    scene.expect_unrepaired(0);
    EXPECT_EQ(scene.colour(vh(0)), (PixelColor{100, 50, 200}));
}

TEST(TextureHoles, HolesThatTouchInAVertexAreOne)
{
    HoleScene scene(4, 2, {-1, 0, 0, -1, 0, -1, 0, 0});
    scene.repair();
    ASSERT_EQ(scene.holes.size(), 2U);
    EXPECT_EQ(scene.holes[0].size(), 4U);
    EXPECT_EQ(scene.holes[1].size(), 2U);
    auto const hole_of = [&](int cell) {
        return scene.grid.mesh.property(scene.grid.properties.face_hole_id,
                                        scene.grid.face(cell, 1));
    };
    EXPECT_EQ(hole_of(0), 0);
    EXPECT_EQ(hole_of(5), 0);
    EXPECT_EQ(hole_of(3), 1);
    EXPECT_EQ(hole_of(1), -1);
}

TEST(TextureHoles, TheViewLooksAlongZFromTheMeanDepthOfTheRing)
{
    HoleScene scene(3, 3, RING);
    scene.grid.depth = 50.0F;
    for (int const cell : {0, 1, 2, 3, 5, 6, 7, 8})
    {
        scene.grid.set_label(cell, 0);
    }
    scene.stretch(10.0F);
    scene.repair();
    auto const& patch = scene.repaired.hole_patches[0];
    ASSERT_TRUE(patch.repaired);
    EXPECT_TRUE(patch.is_hole);
    EXPECT_EQ(patch.label, 0);
    // The hole's centre is (15, 15) and lies at (60.5, 30.5). A cell is 10 / 50 * 100
    // pixels wide, and the ring reaches a cell further on each side.
    EXPECT_EQ(scene.grid.mesh.property(scene.grid.properties.vert_hole_uv, scene.grid.vertex(1, 1)),
              Vector2i(50, 20));
    EXPECT_EQ(scene.grid.mesh.property(scene.grid.properties.vert_hole_uv, scene.grid.vertex(2, 1)),
              Vector2i(70, 20));
    EXPECT_EQ(patch.min_x, 30 - 3);
    EXPECT_EQ(patch.max_x, 90 + 3);
    EXPECT_EQ(patch.min_y, 0 - 3); // a virtual view has no edge
    EXPECT_EQ(patch.max_y, 60 + 3);
    EXPECT_EQ(scene.repaired.hole_textures[0].width(), 67);
    EXPECT_EQ(scene.repaired.hole_textures[0].height(), 67);
}

TEST(TextureHoles, PixelsAreTruncatedTowardsZero)
{
    HoleScene scene(3, 3, RING);
    scene.stretch(0.7F); // corners of the hole at 0.35 from its centre
    scene.grid.images[0].intrinsics = OrvaneAlgorithm::CameraInParam(100.0, 100.0, 0.0, 0.6);
    scene.repair();
    auto const pixel = [&](int x, int y) {
        return scene.grid.mesh.property(scene.grid.properties.vert_hole_uv,
                                        scene.grid.vertex(x, y));
    };
    EXPECT_EQ(pixel(1, 1), Vector2i(0, 0));
    EXPECT_EQ(pixel(2, 2), Vector2i(0, 0));
    // The outermost corners at 1.05, and 0.45 and 1.65 in rows.
    EXPECT_EQ(scene.repaired.hole_patches[0].min_x, -1 - 3);
    EXPECT_EQ(scene.repaired.hole_patches[0].max_x, 1 + 3);
    EXPECT_EQ(scene.repaired.hole_patches[0].min_y, 0 - 3);
    EXPECT_EQ(scene.repaired.hole_patches[0].max_y, 1 + 3);
}

/// The colour of a hole's image at a vertex of a 3 x 3 grid.
PixelColor painted_at(HoleScene const& scene, Vector2i const& pixel)
{
    auto const& patch = scene.repaired.hole_patches[0];
    auto const* const p =
        scene.repaired.hole_textures[0].pixel(pixel.x() - patch.min_x, pixel.y() - patch.min_y);
    return {p[0], p[1], p[2]};
}

TEST(TextureHoles, TheKnownPixelsAreBlackByTheFactorisationAndKeptByTheDirectSolver)
{
    for (bool const is_pardiso : {false, true})
    {
        HoleScene scene(3, 3, RING);
        scene.stretch(10.0F);
        scene.repair(is_pardiso ? by_pardiso() : TextureHoleSettings());
        ASSERT_TRUE(scene.repaired.hole_patches[0].repaired);
        PixelColor const ring{100, 50, 200};
        PixelColor const known = is_pardiso ? ring : PixelColor{0, 0, 0};
        EXPECT_EQ(painted_at(scene, {55, 25}), known); // the hole's corner
        // A colour that is the same all round is so in between, up to the rounding of the solve.
        auto const inside = painted_at(scene, {60, 31});
        for (std::size_t c = 0; c < 3; ++c)
        {
            EXPECT_NEAR(inside[c], ring[c], 1);
        }
        // Vertices on the rim take what lies in their pixels; the others of the ring keep theirs.
        EXPECT_EQ(scene.colour(scene.grid.vertex(1, 1)), known);
        EXPECT_EQ(scene.colour(scene.grid.vertex(0, 0)), ring);
    }
}

TEST(TextureHoles, AnInnerVertexTakesTheColourBetween)
{
    // The hole has two cells on each side; colours rise from left to right.
    std::vector<int> labels(16, 0);
    for (int const cell : {5, 6, 9, 10})
    {
        labels[static_cast<std::size_t>(cell)] = -1;
    }
    HoleScene scene(4, 4, labels);
    scene.stretch(10.0F);
    for (auto const vertex : scene.grid.mesh.vertices())
    {
        auto const x = static_cast<unsigned char>(vertex.idx() % 5);
        scene.colour(vertex) = {static_cast<unsigned char>(50 * x), 60, 0};
    }
    scene.repair();
    auto const inner = scene.colour(scene.grid.vertex(2, 2));
    EXPECT_NEAR(inner[0], 100, 8);
    EXPECT_NEAR(inner[1], 60, 1);
    EXPECT_EQ(inner[2], 0);
}

TEST(TextureHoles, BlackRingsGiveBlackHoles)
{
    HoleScene scene(3, 3, RING);
    scene.stretch(10.0F);
    for (auto const vertex : scene.grid.mesh.vertices())
    {
        scene.colour(vertex) = {0, 0, 0};
    }
    scene.repair();
    auto const& image = scene.repaired.hole_textures[0];
    ASSERT_FALSE(image.empty());
    EXPECT_EQ(std::count(image.data(), image.data() + 3 * image.width() * image.height(), 0),
              3 * image.width() * image.height());
}

TEST(TextureHoles, AHoleSeesTheColoursFromBeforeTheFirstRepair)
{
    // The vertices of the textured cell are rim vertices of both holes, and become black.
    HoleScene scene(3, 1, {-1, 0, -1});
    scene.stretch(10.0F);
    scene.repair();
    ASSERT_EQ(scene.holes.size(), 2U);
    EXPECT_EQ(scene.colour(scene.grid.vertex(1, 0)), (PixelColor{0, 0, 0}));
    EXPECT_EQ(scene.colour(scene.grid.vertex(2, 0)), (PixelColor{0, 0, 0}));
    for (auto const& image : scene.repaired.hole_textures)
    {
        ASSERT_FALSE(image.empty());
        EXPECT_NEAR(image.pixel(1, 1)[0], 100, 1);
        EXPECT_NEAR(image.pixel(1, 1)[2], 200, 1);
    }
}

TEST(TextureHoles, InTurnAHoleSeesWhatTheOneBeforeItPainted)
{
    // Of three holes in a row each shares a textured cell with the next. The rims become black, so
    // the first one is painted from the colours all round, and each other from black on its left.
    TextureHoleSettings settings;
    settings.colours = detail::ColoursAround::IN_TURN;
    HoleScene scene(5, 1, {-1, 0, -1, 0, -1});
    scene.stretch(10.0F);
    scene.repair(settings);
    ASSERT_EQ(scene.holes.size(), 3U);
    auto const& images = scene.repaired.hole_textures;
    EXPECT_NEAR(images[0].pixel(1, 1)[0], 100, 1);
    for (std::size_t const h : {1U, 2U})
    {
        ASSERT_FALSE(images[h].empty());
        EXPECT_LT(images[h].pixel(1, 1)[0], 50);
        EXPECT_TRUE(scene.repaired.hole_patches[h].repaired);
    }
}

TEST(TextureHoles, TurnsGiveWhatHoleAfterHoleGives)
{
    // Holes of one or two cells, in a pattern in which many see vertices of others.
    std::vector<int> labels;
    for (int cell = 0; cell < 16 * 8; ++cell)
    {
        labels.push_back(cell * 7 % 5 == 1 || cell * 11 % 13 == 2 ? -1 : 0);
    }
    auto const coloured = [&]
    {
        HoleScene scene(16, 8, labels);
        scene.stretch(6.0F);
        for (auto const vertex : scene.grid.mesh.vertices())
        {
            auto const i = static_cast<unsigned>(vertex.idx());
            scene.colour(vertex) = {static_cast<unsigned char>(i * 37),
                                    static_cast<unsigned char>(i * 11), 9};
        }
        return scene;
    };
    TextureHoleSettings settings;
    settings.colours = detail::ColoursAround::IN_TURN;
    HoleScene turns = coloured();
    turns.repair(settings);
    ASSERT_GT(turns.holes.size(), 4U);

    HoleScene plain = coloured();
    std::size_t n_seen = 0;
    auto const holes = detail::find_texture_holes(plain.grid.mesh, plain.grid.properties);
    HoleScene before = coloured();
    before.repair();
    for (std::size_t h = 0; h < holes.size(); ++h)
    {
        auto const one = detail::repair_texture_holes(plain.grid.mesh, plain.grid.properties,
                                                      plain.grid.images, {holes[h]}, {});
        auto const& expected = one.hole_textures[0];
        auto const& image = turns.repaired.hole_textures[h];
        ASSERT_EQ(image.width(), expected.width());
        ASSERT_EQ(image.height(), expected.height());
        auto const n_values = 3 * image.width() * image.height();
        EXPECT_TRUE(std::equal(image.data(), image.data() + n_values, expected.data())) << h;
        n_seen += std::equal(image.data(), image.data() + n_values,
                             before.repaired.hole_textures[h].data())
                      ? 0
                      : 1;
    }
    EXPECT_GT(n_seen, 2U); // It makes a difference here.
}

TEST(TextureHoles, OnlyAHoleOfManyVerticesCanBeTooLarge)
{
    // The hole has four vertices, and its rectangle 37 x 37 pixels.
    TextureHoleSettings settings;
    settings.hole_area_ratio = 1368.0F / 7200.0F; // of a view of 120 x 60
    settings.hole_vertex_limit = 4;
    HoleScene allowed(3, 3, RING);
    allowed.stretch(10.0F);
    allowed.repair(settings);
    EXPECT_TRUE(allowed.repaired.hole_patches[0].repaired);

    settings.hole_vertex_limit = 3;
    HoleScene refused(3, 3, RING);
    refused.stretch(10.0F);
    refused.repair(settings);
    refused.expect_unrepaired(0);
    EXPECT_EQ(refused.colour(refused.grid.vertex(1, 1)), (PixelColor{100, 50, 200}));
    EXPECT_EQ(
        refused.grid.mesh.property(refused.grid.properties.vert_hole_uv, refused.grid.vertex(1, 1)),
        Vector2i(55, 25));

    settings.hole_area_ratio = 1369.5F / 7200.0F;
    HoleScene fitting(3, 3, RING);
    fitting.stretch(10.0F);
    fitting.repair(settings);
    EXPECT_TRUE(fitting.repaired.hole_patches[0].repaired);
}

TEST(TextureHoles, TheLimitOfPixelsCountsForFewVerticesToo)
{
    // The same rectangle of 37 x 37 pixels.
    for (int const limit : {1369, 1368})
    {
        TextureHoleSettings settings;
        settings.hole_pixel_limit = limit;
        HoleScene scene(3, 3, RING);
        scene.stretch(10.0F);
        scene.repair(settings);
        EXPECT_EQ(scene.repaired.hole_patches[0].repaired, limit == 1369);
        EXPECT_EQ(scene.repaired.too_large, limit == 1369 ? 0U : 1U);
    }
}

TEST(TextureHoles, AHoleInTheCamerasPlaneStaysUnrepaired)
{
    HoleScene scene(3, 3, RING);
    scene.grid.depth = 0.0F;
    for (int const cell : {0, 1, 2, 3, 5, 6, 7, 8})
    {
        scene.grid.set_label(cell, 0);
    }
    scene.repair();
    scene.expect_unrepaired(0);
}

TEST(TextureHoles, PointsThatAreNoNumbersLeaveTheHoleUnrepaired)
{
    for (float const value :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(), 3e38F})
    {
        HoleScene scene(3, 3, RING);
        scene.grid.mesh.set_point(scene.grid.vertex(0, 0), {value, 0.0F, 0.0F});
        scene.repair();
        scene.expect_unrepaired(0);
    }
}

TEST(TextureHoles, ARectangleOfMorePixelsThanAnIntCountsIsRefused)
{
    HoleScene scene(3, 3, RING);
    scene.stretch(100000.0F); // 300,000 pixels on each side
    scene.repair();
    scene.expect_unrepaired(0);
}

TEST(TextureHoles, AnyNumberOfThreadsGivesTheSameImagesAndLog)
{
    std::vector<int> labels;
    for (int cell = 0; cell < 20 * 9; ++cell)
    {
        labels.push_back(cell % 20 % 3 == 1 && cell / 20 % 2 == 1 ? -1 : 0);
    }
    std::vector<HoleScene> scenes;
    std::vector<std::string> logs;
    for (int const threads : {1, 2, 8})
    {
        Threads const with(threads);
        LogCapture const log;
        scenes.emplace_back(20, 9, labels);
        scenes.back().stretch(6.0F);
        for (auto const vertex : scenes.back().grid.mesh.vertices())
        {
            auto const i = static_cast<unsigned>(vertex.idx());
            scenes.back().colour(vertex) = {static_cast<unsigned char>(i * 37),
                                            static_cast<unsigned char>(i * 11), 9};
        }
        scenes.back().repair(by_pardiso());
        logs.push_back(log.text());
    }
    ASSERT_GT(scenes[0].holes.size(), 10U);
    for (std::size_t const k : {1U, 2U})
    {
        EXPECT_EQ(logs[k], logs[0]);
        for (std::size_t h = 0; h < scenes[0].holes.size(); ++h)
        {
            auto const& one = scenes[0].repaired.hole_textures[h];
            EXPECT_TRUE(std::equal(one.data(), one.data() + 3 * one.width() * one.height(),
                                   scenes[k].repaired.hole_textures[h].data()));
        }
    }
}

} // namespace
} // namespace veld_test
