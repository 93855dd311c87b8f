#include "algorithmVeld/TextureFusion/atlas/AtlasCoordinates.h"
#include "algorithmVeld/TextureFusion/atlas/AtlasPacking.h"

#include "hand_textured.h"
#include "scenes.h"
#include "tests/support/meshes.h"
#include "tests/support/threads.h"
#include "textured_checks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <vector>

namespace
{

using namespace OrvaneAlgorithm;
using detail::AtlasPieces;
using detail::BlackCell;
using detail::FaceGroupType;
using detail::PatchTex;
using veld_test::HandTextured;
using UVCoord = BaseTriMesh::UVCoord;
using Photo = Image<3, unsigned char>;

PatchTex atlas_rectangle(int min_x, int max_x, int min_y, int max_y)
{
    PatchTex patch;
    patch.min_x = min_x;
    patch.max_x = max_x;
    patch.min_y = min_y;
    patch.max_y = max_y;
    return patch;
}

PatchTex repaired_hole(int min_x, int max_x, int min_y, int max_y)
{
    PatchTex hole = atlas_rectangle(min_x, max_x, min_y, max_y);
    hole.is_hole = true;
    hole.repaired = true;
    return hole;
}

/// Patches and holes with images, and the atlas of them.
struct Atlas
{
    std::vector<PatchTex> patches;
    std::vector<Photo> patch_textures;
    std::vector<PatchTex> holes;
    std::vector<Photo> hole_textures;
    Photo image;
    BlackCell black_cell;

    /// No two pixels of pieces have one colour, and none is black.
    Photo new_image(int width, int height)
    {
        return veld_test::painted(width, height,
                                  [&](int, int)
                                  {
                                      ++pixels_;
                                      return std::array<unsigned char, 3>{
                                          static_cast<unsigned char>(pixels_),
                                          static_cast<unsigned char>(pixels_ >> 8),
                                          static_cast<unsigned char>(pixels_ >> 16)};
                                  });
    }

    void add_patch(int width, int height)
    {
        patches.push_back(atlas_rectangle(10, 10 + width - 1, 20, 20 + height - 1));
        patch_textures.push_back(new_image(width, height));
    }

    void add_hole(int width, int height)
    {
        holes.push_back(repaired_hole(-5, -5 + width - 1, -7, -7 + height - 1));
        hole_textures.push_back(new_image(width, height));
    }

    void add_refused_hole()
    {
        PatchTex hole;
        hole.is_hole = true;
        holes.push_back(hole);
        hole_textures.emplace_back();
    }

    bool pack(int gap = 1)
    {
        return detail::pack_atlas({patches, patch_textures, holes, hole_textures}, gap, image,
                                  black_cell);
    }

    bool is_black(int x, int y) const
    {
        auto const* const pixel = image.pixel(x, y);
        return pixel[0] == 0 && pixel[1] == 0 && pixel[2] == 0;
    }

    int count_colored() const
    {
        int n = 0;
        for (int y = 0; y < image.height(); ++y)
        {
            for (int x = 0; x < image.width(); ++x)
            {
                n += is_black(x, y) ? 0 : 1;
            }
        }
        return n;
    }

private:
    int pixels_ = 0;
};

bool shows(Photo const& atlas, PatchTex const& place, Photo const& piece)
{
    for (int y = 0; y < piece.height(); ++y)
    {
        for (int x = 0; x < piece.width(); ++x)
        {
            if (std::memcmp(atlas.pixel(place.atlas_x + x, place.atlas_y + y), piece.pixel(x, y),
                            3) != 0)
            {
                return false;
            }
        }
    }
    return true;
}

Atlas random_atlas(unsigned seed)
{
    std::mt19937 random(seed);
    auto const side = [&] { return 1 + static_cast<int>(random() % 40); };
    Atlas atlas;
    for (int i = 0; i < 60; ++i)
    {
        atlas.add_patch(side(), side());
    }
    for (int i = 0; i < 10; ++i)
    {
        atlas.add_hole(side(), side());
        atlas.add_refused_hole();
    }
    return atlas;
}

// ---------------------------------------------------------------------------------------- packing

TEST(AtlasPacking, EveryPieceIsThereAndNothingElse)
{
    Atlas atlas = random_atlas(1);
    ASSERT_TRUE(atlas.pack());
    int pixels = 0;
    for (std::size_t i = 0; i < atlas.patches.size(); ++i)
    {
        EXPECT_TRUE(shows(atlas.image, atlas.patches[i], atlas.patch_textures[i])) << i;
        pixels += atlas.patches[i].width() * atlas.patches[i].height();
    }
    for (std::size_t i = 0; i < atlas.holes.size(); ++i)
    {
        EXPECT_TRUE(shows(atlas.image, atlas.holes[i], atlas.hole_textures[i])) << i;
        pixels += atlas.hole_textures[i].width() * atlas.hole_textures[i].height();
    }
    // Colours are told apart, so as many pixels as all pieces have cannot overlap.
    EXPECT_EQ(atlas.count_colored(), pixels);
    EXPECT_TRUE(atlas.is_black(atlas.black_cell.column, atlas.black_cell.row));
}

TEST(AtlasPacking, PiecesAndTheBlackCellStandAGapApart)
{
    Atlas atlas = random_atlas(2);
    constexpr int GAP = 3;
    ASSERT_TRUE(atlas.pack(GAP));
    std::vector<PatchTex> all = atlas.patches;
    all.insert(all.end(), atlas.holes.begin(), atlas.holes.end());
    PatchTex black;
    black.atlas_x = atlas.black_cell.column;
    black.atlas_y = atlas.black_cell.row;
    all.push_back(black);
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        for (std::size_t j = 0; j < i; ++j)
        {
            PatchTex const& a = all[i];
            PatchTex const& b = all[j];
            EXPECT_TRUE(a.atlas_x + a.width() + GAP <= b.atlas_x ||
                        b.atlas_x + b.width() + GAP <= a.atlas_x ||
                        a.atlas_y + a.height() + GAP <= b.atlas_y ||
                        b.atlas_y + b.height() + GAP <= a.atlas_y)
                << i << " " << j;
        }
    }
}

TEST(AtlasPacking, ARefusedHoleTakesOnePixel)
{
    Atlas atlas;
    atlas.add_refused_hole();
    ASSERT_TRUE(atlas.pack(0));
    EXPECT_EQ(atlas.image.width() * atlas.image.height(), 2);
    EXPECT_EQ(atlas.count_colored(), 0);
}

TEST(AtlasPacking, APatchWithoutImageKeepsItsPlaceBlack)
{
    Atlas atlas;
    atlas.add_patch(8, 5);
    atlas.patch_textures[0] = {};
    ASSERT_TRUE(atlas.pack());
    EXPECT_GE(atlas.image.width() * atlas.image.height(), 8 * 5 + 1);
    EXPECT_EQ(atlas.count_colored(), 0);
}

TEST(AtlasPacking, WithoutPiecesOnlyTheBlackCellIsLeft)
{
    Atlas atlas;
    ASSERT_TRUE(atlas.pack());
    EXPECT_EQ(atlas.image.width(), 1);
    EXPECT_EQ(atlas.image.height(), 1);
    EXPECT_TRUE(atlas.is_black(0, 0));
}

TEST(AtlasPacking, WhatCannotBePackedChangesNothing)
{
    Atlas atlas;
    atlas.add_patch(8, 5);
    atlas.patches[0].atlas_x = 17;
    atlas.image = Photo(2, 3);
    EXPECT_FALSE(atlas.pack(-1));
    EXPECT_EQ(atlas.patches[0].atlas_x, 17);
    EXPECT_EQ(atlas.image.width(), 2);
}

TEST(AtlasPacking, IsTheSameForAnyNumberOfThreads)
{
    Photo first;
    for (int const n : {1, 2, 8})
    {
        veld_test::Threads const threads(n);
        Atlas atlas = random_atlas(3);
        ASSERT_TRUE(atlas.pack());
        first = first.empty() ? atlas.image : first;
        EXPECT_TRUE(veld_test::same_pixels(atlas.image, first)) << n;
    }
}

// ------------------------------------------------------------------------------------ coordinates

constexpr int ATLAS_WIDTH = 200;
constexpr int ATLAS_HEIGHT = 100;

/// Where a point of the atlas lies, in the precision of the coordinates.
UVCoord coordinate(float column, float row)
{
    return {column / static_cast<float>(ATLAS_WIDTH),
            1.0F - row / static_cast<float>(ATLAS_HEIGHT)};
}

void expect_coordinate(UVCoord const& found, UVCoord const& expected)
{
    EXPECT_EQ(found.u, expected.u);
    EXPECT_EQ(found.v, expected.v);
}

std::vector<UVCoord> coordinates_of(HandTextured& hand, std::vector<PatchTex> const& patches,
                                    BlackCell black_cell = {4, 9})
{
    return detail::patch_coordinates(hand.mesh, hand.properties, patches, black_cell, ATLAS_WIDTH,
                                     ATLAS_HEIGHT);
}

/// A rectangle that begins at pixel (1, 2) of its view, at a place of the atlas.
PatchTex placed_patch(int atlas_x, int atlas_y)
{
    PatchTex patch = atlas_rectangle(1, 50, 2, 50);
    patch.atlas_x = atlas_x;
    patch.atlas_y = atlas_y;
    return patch;
}

/// The two faces of each cell of a row of cells.
TriMesh strip_of_cells(int cells)
{
    return veld_test::grid(cells, 1);
}

TEST(AtlasCoordinates, TheFirstIsTheBlackCellAndAllFacesWithoutViewHaveItThreeTimes)
{
    HandTextured hand(strip_of_cells(2));
    auto const list = coordinates_of(hand, {});
    ASSERT_EQ(list.size(), 1U);
    expect_coordinate(list[0], {0.02F, 1.0F - 0.09F});
    for (int f = 0; f < 4; ++f)
    {
        EXPECT_EQ(hand.indices(f), Vector3i(0, 0, 0));
    }
}

TEST(AtlasCoordinates, NothingRefersToTheBlackCellOfAMeshWithViewsAllOver)
{
    HandTextured hand(strip_of_cells(3));
    hand.choose_all(0, FaceGroupType::ISOLATED);
    auto const list = coordinates_of(hand, {placed_patch(30, 40)});
    expect_coordinate(list[0], coordinate(4, 9));
    for (int f = 0; f < 6; ++f)
    {
        EXPECT_GT(hand.indices(f).minCoeff(), 0);
    }
}

TEST(AtlasCoordinates, FacesOfOnePatchShareThem)
{
    HandTextured hand(strip_of_cells(3));
    hand.choose_all(0, FaceGroupType::ISOLATED);
    auto const list = coordinates_of(hand, {placed_patch(30, 40)});
    EXPECT_EQ(list.size(), 1 + hand.mesh.n_vertices());
    for (int f = 0; f < 6; ++f)
    {
        auto const corners = hand.corners(f);
        for (int k = 0; k < 3; ++k)
        {
            auto const& point = hand.mesh.point(corners[static_cast<std::size_t>(k)]);
            expect_coordinate(list.at(static_cast<std::size_t>(hand.indices(f)[k])),
                              coordinate(29 + point.x(), 38 + point.y()));
        }
    }
}

TEST(AtlasCoordinates, MayLieBetweenPixels)
{
    TriMesh mesh = veld_test::lone_triangle();
    mesh.set_point(OpenMesh::VertexHandle(0), {3.7F, 5.2F, 0.0F});
    HandTextured hand(mesh);
    hand.choose_all(0, FaceGroupType::ISOLATED);
    auto const list = coordinates_of(hand, {placed_patch(30, 40)});
    auto const corners = hand.corners(0);
    auto const k =
        std::find(corners.begin(), corners.end(), OpenMesh::VertexHandle(0)) - corners.begin();
    expect_coordinate(list.at(static_cast<std::size_t>(hand.indices(0)[k])),
                      coordinate(29.0F + 3.7F, 38.0F + 5.2F));
}

TEST(AtlasCoordinates, AFaceAtABoundaryHasItsOwn)
{
    HandTextured hand(strip_of_cells(2));
    hand.choose(0, 0, FaceGroupType::BOUNDARY);
    hand.choose(1, 0, FaceGroupType::BOUNDARY);
    hand.choose(2, 1, FaceGroupType::BOUNDARY);
    hand.choose(3, 1, FaceGroupType::BOUNDARY);
    auto const list = coordinates_of(hand, {placed_patch(30, 40), placed_patch(100, 40)});
    EXPECT_EQ(list.size(), 1U + 4U * 3U);
    std::set<int> used;
    for (int f = 0; f < 4; ++f)
    {
        auto const indices = hand.indices(f);
        used.insert({indices[0], indices[1], indices[2]});
        auto const corners = hand.corners(f);
        float const left = f < 2 ? 29.0F : 99.0F;
        for (int k = 0; k < 3; ++k)
        {
            auto const& point = hand.mesh.point(corners[static_cast<std::size_t>(k)]);
            expect_coordinate(list.at(static_cast<std::size_t>(indices[k])),
                              coordinate(left + point.x(), 38.0F + point.y()));
        }
    }
    EXPECT_EQ(used.size(), 12U);
}

TEST(AtlasCoordinates, SharedOnesComeFirst)
{
    HandTextured hand(strip_of_cells(3));
    hand.choose(0, 0, FaceGroupType::BOUNDARY);
    for (int f = 1; f < 6; ++f)
    {
        hand.choose(f, 0, FaceGroupType::NONBOUNDARY);
    }
    auto const list = coordinates_of(hand, {placed_patch(30, 40)});
    // Seven vertices of the five faces that share, then the three of the first face.
    ASSERT_EQ(list.size(), 1U + 8U + 3U);
    EXPECT_EQ(hand.indices(0).minCoeff(), 9);
    EXPECT_EQ(hand.indices(0).maxCoeff(), 11);
}

/// Four by four cells. The lower left quarter is patch 0, the upper right one patch 1: they meet at
/// the vertex in the middle. The other quarters have no view.
struct Quarters : HandTextured
{
    explicit Quarters(int label_across) : HandTextured(veld_test::grid(4, 4))
    {
        for (int f = 0; f < 32; ++f)
        {
            int const x = f / 2 % 4;
            int const y = f / 8;
            if ((x < 2) == (y < 2))
            {
                choose(f, x < 2 ? 0 : 1, FaceGroupType::NONBOUNDARY, x < 2 ? 0 : label_across);
            }
        }
    }

    bool has_middle(int face) const
    {
        auto const list = corners(face);
        return std::find(list.begin(), list.end(), veld_test::vh(12)) != list.end();
    }

    int count(Group wanted) const
    {
        int n = 0;
        for (int f = 0; f < 32; ++f)
        {
            n += group(f) == wanted ? 1 : 0;
        }
        return n;
    }
};

TEST(AtlasCoordinates, AFaceThatMeetsAnotherPatchAtACornerBecomesBoundary)
{
    for (int const label_across : {0, 1}) // also a patch of the same view
    {
        Quarters hand(label_across);
        coordinates_of(hand, std::vector<PatchTex>(2, placed_patch(30, 40)));
        for (int f = 0; f < 32; ++f)
        {
            EXPECT_EQ(hand.group(f) == FaceGroupType::BOUNDARY,
                      hand.has_middle(f) && hand.group(f) != FaceGroupType::TEXLESS)
                << f;
        }
        EXPECT_EQ(hand.count(FaceGroupType::BOUNDARY), 4);
        EXPECT_EQ(hand.count(FaceGroupType::NONBOUNDARY), 12);
    }
}

TEST(AtlasCoordinates, ANeighbourThatLostItsViewMakesNoBoundary)
{
    Quarters hand(1);
    for (auto const face : hand.mesh.faces())
    {
        if (hand.mesh.property(hand.properties.face_patch_id, face) == 1)
        {
            hand.mesh.property(hand.properties.face_has_tex, face) = false;
            hand.mesh.property(hand.properties.face_group, face) = FaceGroupType::TEXLESS;
        }
    }
    coordinates_of(hand, std::vector<PatchTex>(2, placed_patch(30, 40)));
    EXPECT_EQ(hand.count(FaceGroupType::BOUNDARY), 0);
}

TEST(AtlasCoordinates, IsolatedPatchesThatTouchAtAVertexShareItsCoordinate)
{
    HandTextured hand(veld_test::bow_tie());
    hand.choose(0, 0, FaceGroupType::ISOLATED);
    hand.choose(1, 1, FaceGroupType::ISOLATED);
    auto const list = coordinates_of(hand, {placed_patch(30, 40), placed_patch(100, 40)});
    EXPECT_EQ(list.size(), 1U + 5U);
    EXPECT_EQ(hand.group(1), FaceGroupType::ISOLATED);
    auto const corners = hand.corners(1);
    for (int k = 0; k < 3; ++k)
    {
        auto const vertex = corners[static_cast<std::size_t>(k)];
        auto const& point = hand.mesh.point(vertex);
        // The vertex in the middle points into the first patch, also for the face of the second.
        float const left = vertex.idx() == 0 ? 29.0F : 99.0F;
        expect_coordinate(list.at(static_cast<std::size_t>(hand.indices(1)[k])),
                          coordinate(left + point.x(), 38.0F + point.y()));
    }
}

// ------------------------------------------------------------------------------- holes'
// coordinates

struct HoleFaces
{
    std::vector<std::vector<OpenMesh::FaceHandle>> lists;
    std::vector<PatchTex> records;
};

void append_coordinates(HandTextured& hand, HoleFaces const& holes, std::vector<UVCoord>& list)
{
    detail::append_hole_coordinates(hand.mesh, hand.properties, holes.lists, holes.records,
                                    ATLAS_WIDTH, ATLAS_HEIGHT, list);
}

std::vector<OpenMesh::FaceHandle> face_handles(std::vector<int> const& numbers)
{
    std::vector<OpenMesh::FaceHandle> list;
    list.reserve(numbers.size());
    for (int const number : numbers)
    {
        list.emplace_back(number);
    }
    return list;
}

TEST(HoleCoordinates, FacesOfARepairedHoleShareThem)
{
    HandTextured hand(strip_of_cells(2));
    for (int f = 0; f < 4; ++f)
    {
        hand.put_into_hole(f, 0);
    }
    auto list = coordinates_of(hand, {});
    PatchTex hole = repaired_hole(-3, 10, -2, 10);
    hole.atlas_x = 60;
    hole.atlas_y = 70;
    append_coordinates(hand, {{face_handles({0, 1, 2, 3})}, {hole}}, list);
    EXPECT_EQ(list.size(), 1 + hand.mesh.n_vertices());
    for (int f = 0; f < 4; ++f)
    {
        auto const corners = hand.corners(f);
        for (int k = 0; k < 3; ++k)
        {
            auto const& point = hand.mesh.point(corners[static_cast<std::size_t>(k)]);
            expect_coordinate(list.at(static_cast<std::size_t>(hand.indices(f)[k])),
                              coordinate(63 + point.x(), 72 + point.y()));
        }
    }
}

TEST(HoleCoordinates, FacesOfOtherHolesKeepTheBlackCell)
{
    HandTextured hand(strip_of_cells(2));
    hand.put_into_hole(0, 0);
    hand.put_into_hole(1, 0);
    auto list = coordinates_of(hand, {});
    PatchTex refused;
    refused.is_hole = true;
    PatchTex no_hole = repaired_hole(0, 5, 0, 5);
    no_hole.is_hole = false;
    append_coordinates(hand, {{face_handles({0, 1}), face_handles({2, 3})}, {refused, no_hole}},
                       list);
    EXPECT_EQ(list.size(), 1U);
    for (int f = 0; f < 4; ++f)
    {
        EXPECT_EQ(hand.indices(f), Vector3i(0, 0, 0));
    }
}

TEST(HoleCoordinates, DoNotTakeOverThoseOfPatches)
{
    HandTextured hand(strip_of_cells(2));
    hand.choose(0, 0, FaceGroupType::ISOLATED);
    hand.choose(1, 0, FaceGroupType::ISOLATED);
    hand.put_into_hole(2, 0);
    hand.put_into_hole(3, 0);
    auto list = coordinates_of(hand, {placed_patch(30, 40)});
    std::size_t const of_patch = list.size();
    append_coordinates(hand, {{face_handles({2, 3})}, {repaired_hole(0, 5, 0, 5)}}, list);
    EXPECT_EQ(of_patch, 1U + 4U);
    EXPECT_EQ(list.size(), of_patch + 4U);
    EXPECT_GE(hand.indices(2).minCoeff(), static_cast<int>(of_patch));
}

TEST(HoleCoordinates, AFaceThatTouchesAnotherHoleHasItsOwn)
{
    HandTextured hand(strip_of_cells(3));
    for (int f = 0; f < 6; ++f)
    {
        hand.put_into_hole(f, f < 4 ? 0 : 1);
    }
    auto list = coordinates_of(hand, {});
    append_coordinates(hand,
                       {{face_handles({0, 1, 2, 3}), face_handles({4, 5})},
                        {repaired_hole(0, 5, 0, 5), repaired_hole(0, 5, 0, 5)}},
                       list);
    // The faces that have one of the two vertices between the holes.
    std::vector<int> const apart = {2, 3, 4, 5};
    std::set<int> of_all;
    std::size_t n_corners = 0;
    for (int const f : apart)
    {
        auto const corners = hand.corners(f);
        bool const touches =
            std::any_of(corners.begin(), corners.end(),
                        [&](auto vertex) { return hand.mesh.point(vertex).x() == 2.0F; });
        if (touches)
        {
            auto const indices = hand.indices(f);
            of_all.insert({indices[0], indices[1], indices[2]});
            n_corners += 3;
        }
    }
    EXPECT_GE(n_corners, 9U);
    EXPECT_EQ(of_all.size(), n_corners);
}

TEST(HoleCoordinates, APixelOfTheVirtualViewMayBeAsFarOffAsAnIntGoes)
{
    for (int const far : {std::numeric_limits<int>::min(), std::numeric_limits<int>::max() - 10})
    {
        HandTextured hand(veld_test::lone_triangle());
        hand.put_into_hole(0, 0);
        for (auto const vertex : hand.mesh.vertices())
        {
            hand.mesh.property(hand.properties.vert_hole_uv, vertex) += Vector2i(far, far);
        }
        auto list = coordinates_of(hand, {});
        PatchTex hole = repaired_hole(far, far + 10, far, far + 10);
        hole.atlas_x = 50;
        hole.atlas_y = 25;
        append_coordinates(hand, {{face_handles({0})}, {hole}}, list);
        ASSERT_EQ(list.size(), 4U);
        for (std::size_t i = 1; i < 4; ++i)
        {
            EXPECT_GE(list[i].u, 0.25F);
            EXPECT_LE(list[i].u, 51.0F / ATLAS_WIDTH);
            EXPECT_LE(list[i].v, 0.75F);
            EXPECT_GE(list[i].v, 1.0F - 26.0F / ATLAS_HEIGHT);
        }
    }
}

} // namespace
