#include "algorithmVeld/TextureFusion/modules/ModuleAtlas.h"

#include "algorithmVeld/TextureFusion/atlas/TexturedArrays.h"
#include "algorithmVeld/TextureFusion/modules/ModuleStages.h"
#include "algorithmVeld/common/mesh_conversion.h"
#include "hand_textured.h"
#include "scenes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

/// \file
/// What the modules do where what they are handed does not fit together.

namespace veld_test
{

namespace
{

using namespace OrvaneAlgorithm;
using detail::FaceGroupType;
using detail::ModuleWork;
using detail::PatchTex;
using Photo = Image<3, unsigned char>;

Photo grey_image(int width, int height, unsigned char level)
{
    return painted(width, height,
                   [level](int, int) {
                       return std::array<unsigned char, 3>{level, level, level};
                   });
}

PatchTex square_of(int side)
{
    PatchTex patch;
    patch.max_x = side - 1;
    patch.max_y = side - 1;
    return patch;
}

PatchTex square_hole_of(int side)
{
    PatchTex hole = square_of(side);
    hole.is_hole = true;
    hole.repaired = true;
    return hole;
}

/// Larger than an atlas can be, together with anything else.
constexpr int HUGE_SIDE = std::numeric_limits<int>::max();

/// A patch of 8 x 8 pixels, and one of 4 x 4.
ModuleWork two_patches()
{
    ModuleWork work;
    work.patches = {square_of(8), square_of(4)};
    work.patch_textures = {grey_image(8, 8, 100), grey_image(4, 4, 200)};
    return work;
}

/// Two triangles in the first of two patches that are in an atlas.
ModuleWork two_faces_in_an_atlas(int patch_of_second)
{
    ModuleWork work = two_patches();
    HandTextured hand(grid(1, 1));
    hand.choose(0, 0, FaceGroupType::ISOLATED);
    hand.choose(1, patch_of_second, FaceGroupType::ISOLATED);
    work.mesh = hand.mesh;
    work.properties = hand.properties;
    EXPECT_TRUE(detail::arrange_patches(work, 1));
    EXPECT_TRUE(detail::arrange_holes(work));
    return work;
}

std::vector<Vector3i> indices_of(ModuleWork const& work)
{
    std::vector<Vector3i> indices;
    for (auto const face : work.mesh.faces())
    {
        indices.push_back(work.mesh.property(work.properties.face_uv_index, face));
    }
    return indices;
}

unsigned char level_at_corner_of(ModuleWork const& work, PatchTex const& record)
{
    return work.texture_image.pixel(record.atlas_x, record.atlas_y)[0];
}

TEST(ModuleAtlas, PatchesWithoutTheirImagesAreRefused)
{
    LogCapture const log;
    ModuleWork work = two_patches();
    work.patch_textures.pop_back();
    EXPECT_FALSE(detail::arrange_patches(work, 3));
    EXPECT_EQ(log.count("error: unmatched patch info ["), 1);
    EXPECT_FALSE(work.arrangement.has_value());
}

TEST(ModuleAtlas, PatchesThatNoAtlasCanHoldAreRefused)
{
    LogCapture const log;
    ModuleWork work;
    work.patches = {square_of(HUGE_SIDE - 1), square_of(HUGE_SIDE - 1)};
    work.patch_textures.resize(2);
    EXPECT_FALSE(detail::arrange_patches(work, 3));
    EXPECT_EQ(log.count("  total patches:                      2\n"
                        "  succeed reallocated patches:        1\n"),
              1);
    EXPECT_EQ(log.count("  not all patches are reallocated.\n"), 1);
}

TEST(ModuleAtlas, AHoleWithoutAPlaceIsNoLongerRepairedAndTheOthersAre)
{
    LogCapture const log;
    ModuleWork work = two_patches();
    ASSERT_TRUE(detail::arrange_patches(work, 3));
    work.repaired.hole_patches = {square_hole_of(2), square_hole_of(HUGE_SIDE), PatchTex()};
    work.repaired.hole_textures = {grey_image(2, 2, 50), grey_image(1, 1, 60), {}};
    EXPECT_TRUE(detail::arrange_holes(work));
    EXPECT_EQ(log.count("  total hole patches:        3\n"), 1);
    EXPECT_EQ(log.count("  total hole patches:                      2\n"
                        "  succeed reallocated hole patches:        1\n"),
              1);
    EXPECT_EQ(log.count("  not all patches are reallocated.\n"), 1);
    EXPECT_TRUE(work.repaired.hole_patches[0].repaired);
    EXPECT_EQ(level_at_corner_of(work, work.repaired.hole_patches[0]), 50);
    EXPECT_FALSE(work.repaired.hole_patches[1].repaired);
    EXPECT_TRUE(work.repaired.hole_textures[1].empty());
}

TEST(ModuleAtlas, AnImageOfAnotherSizeThanItsPatchLeavesItsPlaceBlack)
{
    LogCapture const log;
    ModuleWork work = two_patches();
    work.patch_textures[1] = grey_image(20, 20, 200);
    ASSERT_TRUE(detail::arrange_patches(work, 3));
    EXPECT_TRUE(detail::arrange_holes(work));
    EXPECT_EQ(log.count("error: unmatched image size ["), 1);
    EXPECT_EQ(level_at_corner_of(work, work.patches[0]), 100);
    EXPECT_EQ(level_at_corner_of(work, work.patches[1]), 0);
}

TEST(ModuleAtlas, HolesWithoutTheirImagesAreRefused)
{
    LogCapture const log;
    ModuleWork work = two_patches();
    ASSERT_TRUE(detail::arrange_patches(work, 3));
    work.repaired.hole_patches = {square_hole_of(2)};
    EXPECT_FALSE(detail::arrange_holes(work));
    EXPECT_EQ(log.count("error: unmatched patch info ["), 1);
    EXPECT_TRUE(work.texture_image.empty());
}

TEST(ModuleAtlas, AFaceOfAPatchThatThereIsNotHasNoColour)
{
    for (int const id : {2, -1})
    {
        LogCapture const log;
        ModuleWork work = two_faces_in_an_atlas(id);
        EXPECT_TRUE(detail::compute_patch_coordinates(work));
        EXPECT_EQ(log.count("error: patch_id = " + std::to_string(id) + "  ["), 1);
        EXPECT_TRUE(work.mesh.property(work.properties.face_has_tex, OpenMesh::FaceHandle(0)));
        EXPECT_FALSE(work.mesh.property(work.properties.face_has_tex, OpenMesh::FaceHandle(1)));
        auto const indices = indices_of(work);
        EXPECT_GT(indices[0].minCoeff(), 0);
        EXPECT_EQ(indices[1], Vector3i(0, 0, 0));
    }
}

TEST(ModuleAtlas, APixelOutsideOfItsPatchIsToldAndGoesIn)
{
    LogCapture const log;
    ModuleWork work = two_faces_in_an_atlas(0);
    work.patches[0].max_x = 0; // The corners at x = 1 lie beside it.
    EXPECT_TRUE(detail::compute_patch_coordinates(work));
    EXPECT_EQ(log.count("node expand bounding box ["), 2);
    EXPECT_EQ(work.uv_coords.size(), 1U + 4U);
}

TEST(ModuleAtlas, PixelsThatLieInTheirPatchesAreNotTold)
{
    LogCapture const log;
    ModuleWork work = two_faces_in_an_atlas(0);
    EXPECT_TRUE(detail::compute_patch_coordinates(work));
    EXPECT_EQ(log.count("node expand bounding box ["), 0);
    EXPECT_EQ(log.count("error: "), 0);
}

TEST(ModuleAtlas, HolesThatWereFoundAnewAndNotPaintedHaveNoCoordinates)
{
    LogCapture const log;
    ModuleWork work = two_faces_in_an_atlas(0);
    ASSERT_TRUE(detail::compute_patch_coordinates(work));
    auto const before = indices_of(work);
    work.holes = {{OpenMesh::FaceHandle(1)}};
    EXPECT_FALSE(detail::compute_hole_coordinates(work));
    EXPECT_EQ(log.count("  unmatched hole id ["), 1);
    EXPECT_EQ(indices_of(work), before);
}

TEST(ModuleStages, AVertexWithoutTheViewOfItsFaceIsTold)
{
    ModuleWork work;
    HandTextured hand(lone_triangle());
    hand.choose(0, 0, FaceGroupType::ISOLATED, 5);
    work.mesh = hand.mesh;
    work.properties = hand.properties;
    work.vertices.emplace(3, 2);
    auto const append = [&](std::size_t vertex, int view)
    {
        detail::VertTex entry;
        entry.image_id = view;
        work.vertices->append(vertex, entry);
    };
    append(0, 5);
    append(1, 3);
    append(1, 5);
    append(2, 3);
    LogCapture const log;
    detail::update_vertex_tex_by_face(work);
    EXPECT_EQ(work.vert_chosen_tex, (std::vector<int>{0, 1, -1}));
    EXPECT_EQ(log.count("error: fail to find corresponding vertex texture ["), 1);
    EXPECT_EQ(log.count("\n\n!!! update vertex tex failed ["), 1);
}

TEST(ModuleStages, ColoursNeedPatchesAndFacesThatAreInOneOfThem)
{
    ModuleWork work = two_faces_in_an_atlas(7);
    work.patch_textures.clear();
    LogCapture const log;
    EXPECT_FALSE(detail::solve_patch_colours(work));
    EXPECT_EQ(log.count("error: patch_id = 7  ["), 1);
    work.patches.clear();
    EXPECT_FALSE(detail::solve_patch_colours(work));
    EXPECT_EQ(log.count("  no texture patch.\n"), 1);
    EXPECT_TRUE(work.patch_textures.empty());
}

TEST(ModuleStages, VerticesOfPaintedHolesAreCountedOnce)
{
    ModuleWork work;
    work.mesh = grid(3, 1);
    auto const face = [](int f) { return OpenMesh::FaceHandle(f); };
    // The first cell, half of the second and half of the third; then one that was found anew.
    work.holes = {{face(0), face(1)}, {face(2)}, {face(4)}, {face(5)}};
    work.repaired.hole_patches = {square_hole_of(2), square_hole_of(2), PatchTex()};
    // Four corners of the cell, and the two of face 2 (vertices 1, 2, 6) that are not among them.
    EXPECT_EQ(detail::count_repaired_vertices(work), 6);
    work.repaired.hole_patches.clear();
    EXPECT_EQ(detail::count_repaired_vertices(work), 0);
}

TEST(TexturedArrays, FacesThatTheArraysLackAreCountedAndTheOthersTextured)
{
    HandTextured hand(grid(2, 1));
    for (auto const face : hand.mesh.faces())
    {
        hand.mesh.property(hand.properties.face_uv_index, face).setConstant(10 + face.idx());
    }
    BaseTriMesh arrays;
    TriMesh_convert_to_BaseTriMesh(grid(1, 1), arrays);
    EXPECT_EQ(detail::add_texture(hand.mesh, hand.properties, grey_image(3, 2, 9), {{0.5F, 0.25F}},
                                  arrays),
              2U);
    ASSERT_TRUE(arrays.has_texture);
    EXPECT_EQ(arrays.face_texture_ids,
              (std::vector<Vector3i>{Vector3i::Constant(10), Vector3i::Constant(11)}));
    EXPECT_EQ(arrays.texture_image.width(), 3);
    ASSERT_EQ(arrays.texture_coords.size(), 1U);
    EXPECT_EQ(arrays.texture_coords[0].u, 0.5F);
}

} // namespace
} // namespace veld_test
