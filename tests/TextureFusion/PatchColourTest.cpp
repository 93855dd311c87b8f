#include "algorithmVeld/TextureFusion/seams/PatchColour.h"

#include "algorithmVeld/TextureFusion/seams/PatchSeam.h"

#include "tests/TextureFusion/textured_grid.h"
#include "tests/support/log_capture.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace veld_test
{

namespace
{

namespace detail = OrvaneAlgorithm::detail;
using detail::PatchFaces;
using detail::PatchTex;
using detail::PixelColor;
using detail::RectangleSolver;
using Photo = Image<3, unsigned char>;

PixelColor colour_at(Photo const& image, int x, int y)
{
    return {image.pixel(x, y)[0], image.pixel(x, y)[1], image.pixel(x, y)[2]};
}

/// A grid with its patches, and what comes of them.
struct Fusion
{
    TexturedGrid grid;
    std::vector<PatchTex> patches;
    PatchFaces faces;
    std::vector<Photo> textures;

    Fusion(int columns, int rows, std::vector<int> const& labels,
           std::vector<std::array<unsigned char, 3>> const& colours)
        : grid(columns, rows, labels, colours),
          patches(detail::partition_mesh_by_face(grid.mesh, grid.properties, grid.images, 3))
    {
        list();
    }

    void list()
    {
        EXPECT_TRUE(detail::list_patch_faces(grid.mesh, grid.properties, patches.size(), faces));
    }

    void fuse(RectangleSolver solver = RectangleSolver::SIMPLICIAL)
    {
        textures = detail::fuse_patch_colours(grid.mesh, grid.properties, grid.images, patches,
                                              faces, solver);
    }

    PixelColor vertex_colour(int x, int y) const
    {
        return grid.mesh.property(grid.properties.vert_color, grid.vertex(x, y));
    }

    /// The fused colour of a vertex in the image of a patch.
    PixelColor fused(std::size_t p, int x, int y) const
    {
        return colour_at(textures[p], grid.pixel(x) - patches[p].min_x,
                         grid.pixel(y) - patches[p].min_y);
    }
};

std::vector<std::array<unsigned char, 3>> const COLOURS{{100, 50, 10}, {20, 60, 255}, {0, 0, 90}};

TEST(PatchColour, AnIsolatedPatchIsCopiedAndItsVerticesStayBlack)
{
    Fusion fusion(2, 2, {0, 0, 0, 0}, COLOURS);
    fusion.grid.images[0].image = painted(
        120, 60,
        [](int x, int y) {
            return PixelColor{static_cast<unsigned char>(x), static_cast<unsigned char>(y), 7};
        });
    for (auto const vertex : fusion.grid.mesh.vertices())
    {
        fusion.grid.mesh.property(fusion.grid.properties.vert_color, vertex) = {1, 2, 3};
    }
    LogCapture const log;
    fusion.fuse();
    EXPECT_EQ(log.text(), "  isolated patch [   0] (size =     8)\n");
    PatchTex const& patch = fusion.patches[0];
    ASSERT_EQ(fusion.textures[0].width(), patch.width());
    ASSERT_EQ(fusion.textures[0].height(), patch.height());
    for (int y = 0; y < patch.height(); ++y)
    {
        for (int x = 0; x < patch.width(); ++x)
        {
            EXPECT_EQ(colour_at(fusion.textures[0], x, y),
                      colour_at(fusion.grid.images[0].image, patch.min_x + x, patch.min_y + y));
        }
    }
    EXPECT_EQ(fusion.vertex_colour(1, 1), (PixelColor{0, 0, 0}));
}

TEST(PatchColour, TheSeamTakesTheMeanInWhichEachFaceCountsOnce)
{
    for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
    {
        Fusion fusion(2, 1, {0, 1}, COLOURS);
        fusion.fuse(solver);
        // Around the upper vertex lie one face of view 0 and two of view 1; below it is the other
        // way round. (100 + 2 * 20) / 3 = 46.67, (2 * 100 + 20) / 3 = 73.33, and so on.
        PixelColor const upper{46, 56, 173};
        PixelColor const lower{73, 53, 91};
        for (std::size_t const p : {0U, 1U})
        {
            EXPECT_EQ(fusion.fused(p, 1, 0), upper);
            EXPECT_EQ(fusion.fused(p, 1, 1), lower);
        }
        EXPECT_EQ(fusion.vertex_colour(1, 0), upper);
        EXPECT_EQ(fusion.vertex_colour(1, 1), lower);
        // All other pixels lie between, and other vertices have the colours of their pixels.
        for (int y = 0; y < fusion.patches[0].height(); ++y)
        {
            for (int x = 0; x < fusion.patches[0].width(); ++x)
            {
                EXPECT_GE(colour_at(fusion.textures[0], x, y)[0], 46);
                EXPECT_LE(colour_at(fusion.textures[0], x, y)[0], 73);
            }
        }
        EXPECT_EQ(fusion.vertex_colour(0, 0), fusion.fused(0, 0, 0));
        EXPECT_EQ(fusion.vertex_colour(2, 1), fusion.fused(1, 2, 1));
        EXPECT_NE(fusion.vertex_colour(0, 0), (PixelColor{100, 50, 10}));
    }
}

TEST(PatchColour, TheCorrectionIsTheMeanWithItsFractionLessTheOwnColour)
{
    Fusion fusion(2, 1, {0, 1}, COLOURS);
    auto const seam =
        detail::patch_seam(fusion.grid.mesh, fusion.grid.properties, fusion.grid.images,
                           fusion.patches[0], fusion.faces.patch_boundary_faces[0]);
    ASSERT_EQ(seam.size(), 2U);
    for (auto const& pixel : seam)
    {
        bool const is_upper = pixel.vertex == fusion.grid.vertex(1, 0);
        EXPECT_EQ(pixel.x, 8 + 3);
        EXPECT_EQ(pixel.y, is_upper ? 3 : 8 + 3);
        EXPECT_EQ(pixel.correction[0], (is_upper ? 140.0F : 220.0F) / 3.0F - 100.0F);
        EXPECT_EQ(pixel.correction[2], (is_upper ? 520.0F : 275.0F) / 3.0F - 10.0F);
    }
}

TEST(PatchColour, OfTwoSeamVerticesInOnePixelTheLastCounts)
{
    Fusion fusion(2, 1, {0, 1}, COLOURS);
    fusion.grid.step = 0;
    for (int cell = 0; cell < 2; ++cell)
    {
        fusion.grid.set_label(cell, cell);
    }
    fusion.patches = detail::partition_mesh_by_face(fusion.grid.mesh, fusion.grid.properties,
                                                    fusion.grid.images, 3);
    auto const seam =
        detail::patch_seam(fusion.grid.mesh, fusion.grid.properties, fusion.grid.images,
                           fusion.patches[0], fusion.faces.patch_boundary_faces[0]);
    ASSERT_EQ(seam.size(), 2U);
    EXPECT_NE(seam[0].mean, seam[1].mean);
    fusion.fuse();
    EXPECT_EQ(colour_at(fusion.textures[0], 3, 3), seam[1].mean);
    EXPECT_EQ(fusion.vertex_colour(1, 0),
              seam[seam[0].vertex == fusion.grid.vertex(1, 0) ? 0 : 1].mean);
}

TEST(PatchColour, CorrectedColoursAreKeptInRangeAndTruncated)
{
    Fusion fusion(2, 1, {0, 1}, {{40, 200, 100}, {240, 10, 101}});
    // Off the seam the photograph is bright where the correction is positive, and the other way
    // round.
    fusion.grid.images[0].image =
        painted(120, 60,
                [](int x, int /*y*/) {
                    return x < 15 ? PixelColor{250, 3, 100} : PixelColor{40, 200, 100};
                });
    fusion.fuse();
    EXPECT_EQ(fusion.fused(0, 0, 0)[0], 255);
    EXPECT_EQ(fusion.fused(0, 0, 0)[1], 0);
    // Between 100.33 and 100.67.
    EXPECT_EQ(fusion.fused(0, 0, 1)[2], 100);
    EXPECT_EQ(fusion.vertex_colour(0, 0)[0], 255);
}

TEST(PatchColour, PatchesOfOneViewThatMeetInAVertexHaveNoSeamThere)
{
    Fusion fusion(2, 2, {0, -1, -1, 0}, COLOURS);
    ASSERT_EQ(fusion.patches.size(), 2U);
    for (std::size_t const p : {0U, 1U})
    {
        EXPECT_TRUE(detail::patch_seam(fusion.grid.mesh, fusion.grid.properties, fusion.grid.images,
                                       fusion.patches[p], fusion.faces.patch_faces[p])
                        .empty());
    }
}

TEST(PatchColour, TheLastOfTwoPatchesColoursTheVertexTheyShare)
{
    // The two patches of view 0 meet in (2, 1), far from the seam that each has.
    Fusion fusion(4, 2, {1, 0, -1, -1, -1, -1, 0, 2}, COLOURS);
    ASSERT_EQ(fusion.patches.size(), 4U);
    fusion.fuse();
    EXPECT_NE(fusion.fused(1, 2, 1), fusion.fused(2, 2, 1));
    EXPECT_EQ(fusion.vertex_colour(2, 1), fusion.fused(2, 2, 1));
}

TEST(PatchColour, ASeamVertexKeepsTheMeanAlsoInAPatchForWhichItIsNone)
{
    // Around (1, 1) lie the two halves of the first cell, of two views, and apart from them the
    // corner of a patch whose own seam is two cells away.
    Fusion fusion(4, 2, {0, -1, -1, -1, -1, 0, 0, 2}, COLOURS);
    fusion.grid.set_face_label(fusion.grid.face(0, 1), 1);
    fusion.patches = detail::partition_mesh_by_face(fusion.grid.mesh, fusion.grid.properties,
                                                    fusion.grid.images, 3);
    fusion.list();
    fusion.fuse();
    PixelColor const mean{(3 * 100 + 20) / 4, (3 * 50 + 60) / 4, (3 * 10 + 255) / 4};
    EXPECT_EQ(fusion.vertex_colour(1, 1), mean);
    EXPECT_EQ(fusion.fused(0, 1, 1), mean);
    EXPECT_NE(fusion.fused(2, 1, 1), mean);
}

TEST(PatchColour, APatchThatCannotBeSolvedHasNoImage)
{
    // Patches of one view side by side: there are boundary faces, and no seam.
    for (auto const solver : {RectangleSolver::SIMPLICIAL, RectangleSolver::PARDISO})
    {
        Fusion fusion(2, 1, {0, 0}, COLOURS);
        fusion.patches.push_back(fusion.patches[0]);
        for (int const half : {0, 1})
        {
            fusion.grid.mesh.property(fusion.grid.properties.face_patch_id,
                                      fusion.grid.face(1, half)) = 1;
        }
        fusion.list();
        LogCapture const log;
        fusion.fuse(solver);
        EXPECT_EQ(log.text(), solver == RectangleSolver::SIMPLICIAL
                                  ? "  patch [   0] SimplicialLDLT decomposition failed.\n"
                                    "  patch [   1] SimplicialLDLT decomposition failed.\n"
                                  : "  MKL_Pardiso failed.\n  MKL_Pardiso failed.\n");
        EXPECT_TRUE(fusion.textures[0].empty());
        EXPECT_TRUE(fusion.textures[1].empty());
        EXPECT_EQ(fusion.vertex_colour(0, 0), (PixelColor{0, 0, 0}));
    }
}

TEST(PatchColour, AnyNumberOfThreadsGivesTheSameImagesColoursAndLog)
{
    std::vector<int> labels;
    for (int cell = 0; cell < 12 * 5; ++cell)
    {
        labels.push_back(cell * 7 % 5 - 1 < 3 ? cell * 7 % 5 - 1 : 0);
    }
    std::vector<Fusion> fusions;
    std::vector<std::string> logs;
    for (int const threads : {1, 2, 8})
    {
        Threads const with(threads);
        LogCapture const log;
        fusions.emplace_back(12, 5, labels, COLOURS);
        fusions.back().fuse(RectangleSolver::PARDISO);
        logs.push_back(log.text());
    }
    ASSERT_GT(fusions[0].patches.size(), 10U);
    for (std::size_t const k : {1U, 2U})
    {
        EXPECT_EQ(logs[k], logs[0]);
        for (std::size_t p = 0; p < fusions[0].textures.size(); ++p)
        {
            Photo const& one = fusions[0].textures[p];
            EXPECT_TRUE(std::equal(one.data(), one.data() + 3 * one.width() * one.height(),
                                   fusions[k].textures[p].data()));
        }
        for (int v = 0; v < 13 * 6; ++v)
        {
            EXPECT_EQ(fusions[k].vertex_colour(v % 13, v / 13),
                      fusions[0].vertex_colour(v % 13, v / 13));
        }
    }
}

} // namespace
} // namespace veld_test
