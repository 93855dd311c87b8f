#include "algorithmVeld/TextureFusion/atlas/AtlasArrangement.h"

#include "tests/TextureFusion/reference_arrangement.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace
{

using OrvaneAlgorithm::Vector2i;
using OrvaneAlgorithm::detail::arrangement_cell;
using OrvaneAlgorithm::detail::arrangement_order;
using OrvaneAlgorithm::detail::AtlasArrangement;
using OrvaneAlgorithm::detail::BlackCell;
using OrvaneAlgorithm::detail::PatchTex;
using veld_test::reference::find_pixel_plainly;
using veld_test::reference::overlap;
using veld_test::reference::place_plainly;

PatchTex piece(int width, int height)
{
    PatchTex result;
    result.min_x = 10;
    result.max_x = 10 + width - 1;
    result.min_y = 20;
    result.max_y = 20 + height - 1;
    return result;
}

std::vector<PatchTex> random_pieces(std::mt19937& random, int n, int largest)
{
    std::vector<PatchTex> pieces;
    for (int i = 0; i < n; ++i)
    {
        // Many small ones, and a few large ones.
        int const limit = random() % 8 == 0 ? largest : 1 + largest / 8;
        int const width = 1 + static_cast<int>(random() % static_cast<unsigned>(limit));
        int const height = 1 + static_cast<int>(random() % static_cast<unsigned>(limit));
        pieces.push_back(piece(width, height));
    }
    return pieces;
}

TEST(AtlasArrangement, PiecesLieWhereTheSearchOverAllPlacesAndPiecesPutsThem)
{
    std::mt19937 random(5);
    for (int round = 0; round < 30; ++round)
    {
        SCOPED_TRACE(round);
        int const gap = round % 5;
        auto pieces = random_pieces(random, 1 + round * 4, 20 + 10 * round);
        AtlasArrangement arrangement(gap, round % 2 == 0 ? 1 : arrangement_cell(pieces));
        std::vector<PatchTex> placed;
        for (auto const i : arrangement_order(pieces))
        {
            PatchTex expected = pieces[i];
            if (placed.empty())
            {
                arrangement.place_first(pieces[i]);
            }
            else
            {
                ASSERT_TRUE(place_plainly(placed, expected, gap));
                ASSERT_TRUE(arrangement.place(pieces[i]));
            }
            ASSERT_EQ(pieces[i].atlas_x, expected.atlas_x);
            ASSERT_EQ(pieces[i].atlas_y, expected.atlas_y);
            placed.push_back(expected);
        }
        Vector2i const size = veld_test::reference::size_of_all(placed);
        EXPECT_EQ(arrangement.size(), size);
        BlackCell found;
        std::size_t const n = (placed.size() + 1) / 2;
        auto const expected = find_pixel_plainly(placed, n, gap, size);
        ASSERT_EQ(arrangement.find_free_pixel(n, found), expected.has_value());
        if (expected)
        {
            EXPECT_EQ(Vector2i(found.column, found.row), *expected);
        }
    }
}

TEST(AtlasArrangement, HighPiecesComeFirstAndWideOnesAmongThem)
{
    std::vector<PatchTex> const pieces{piece(5, 2), piece(3, 9), piece(7, 2), piece(4, 9),
                                       piece(4, 9)};
    EXPECT_EQ(arrangement_order(pieces), (std::vector<std::size_t>{3, 4, 1, 2, 0}));
}

TEST(AtlasArrangement, TheSecondPieceLiesBelowTheFirst)
{
    AtlasArrangement arrangement(3, 16);
    PatchTex first = piece(10, 20);
    PatchTex second = piece(10, 20);
    arrangement.place_first(first);
    ASSERT_TRUE(arrangement.place(second));
    EXPECT_EQ(second.atlas_x, 0);
    EXPECT_EQ(second.atlas_y, 23);
    EXPECT_EQ(arrangement.size(), Vector2i(43, 10));
}

TEST(AtlasArrangement, TwoEqualPiecesLeaveNoPixel)
{
    AtlasArrangement arrangement(3, 16);
    PatchTex first = piece(10, 20);
    PatchTex second = piece(10, 20);
    arrangement.place_first(first);
    ASSERT_TRUE(arrangement.place(second));
    BlackCell pixel;
    EXPECT_FALSE(arrangement.find_free_pixel(2, pixel));
}

TEST(AtlasArrangement, ALonePieceHasAPixelBelowWhereThereIsSpace)
{
    AtlasArrangement arrangement(3, 16);
    PatchTex first = piece(10, 20);
    arrangement.place_first(first);
    BlackCell pixel;
    EXPECT_FALSE(arrangement.find_free_pixel(1, pixel));
    arrangement.widen(9);
    EXPECT_EQ(arrangement.size(), Vector2i(29, 19));
    ASSERT_TRUE(arrangement.find_free_pixel(1, pixel));
    EXPECT_EQ(pixel.column, 0);
    EXPECT_EQ(pixel.row, 23);
}

TEST(AtlasArrangement, WithoutAnyPieceThereIsNoPlace)
{
    AtlasArrangement arrangement(3, 16);
    PatchTex record = piece(2, 2);
    BlackCell pixel;
    EXPECT_FALSE(arrangement.place(record));
    EXPECT_FALSE(arrangement.find_free_pixel(5, pixel));
}

TEST(AtlasArrangement, TwoThousandPiecesDoNotOverlap)
{
    std::mt19937 random(9);
    auto pieces = random_pieces(random, 2000, 300);
    AtlasArrangement arrangement(3, arrangement_cell(pieces));
    auto const order = arrangement_order(pieces);
    arrangement.place_first(pieces[order[0]]);
    for (std::size_t i = 1; i < order.size(); ++i)
    {
        ASSERT_TRUE(arrangement.place(pieces[order[i]]));
    }
    for (std::size_t i = 0; i < pieces.size(); ++i)
    {
        for (std::size_t j = 0; j < i; ++j)
        {
            ASSERT_FALSE(overlap(pieces[i], pieces[j], 3));
        }
    }
}

} // namespace
