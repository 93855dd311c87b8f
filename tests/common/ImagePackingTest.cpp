#include "algorithmVeld/common/ImagePacking.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

using namespace OrvaneAlgorithm;

namespace
{

constexpr int INT_LIMIT = std::numeric_limits<int>::max();

struct Packed
{
    RetVal code = RET_FAILED;
    std::vector<Vector2i> positions{Vector2i(7, 7)};
    Vector2i total{7, 7};
};

Packed pack(std::vector<Vector2i> const& sizes, int gap)
{
    Packed packed;
    packed.code = ImagePacking::pack(sizes, gap, packed.positions, packed.total);
    return packed;
}

/// Paints each rectangle with the gap on its right and below: where nothing is painted twice, no
/// two are too near.
bool painting_meets_nothing(std::vector<Vector2i> const& sizes, Packed const& packed, int gap)
{
    auto const rows = static_cast<std::size_t>(packed.total[0] + gap);
    auto const columns = static_cast<std::size_t>(packed.total[1] + gap);
    std::vector<bool> painted(rows * columns, false);
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        Vector2i const p = packed.positions[i];
        for (int r = p[0]; r < p[0] + sizes[i][0] + gap; ++r)
        {
            for (int c = p[1]; c < p[1] + sizes[i][1] + gap; ++c)
            {
                std::size_t const at =
                    static_cast<std::size_t>(r) * columns + static_cast<std::size_t>(c);
                if (painted[at])
                {
                    return false;
                }
                painted[at] = true;
            }
        }
    }
    return true;
}

bool lies_inside(std::vector<Vector2i> const& sizes, Packed const& packed)
{
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        Vector2i const end = packed.positions[i] + sizes[i];
        if (packed.positions[i].minCoeff() < 0 || (packed.total - end).minCoeff() < 0)
        {
            return false;
        }
    }
    return true;
}

void expect_legal(std::vector<Vector2i> const& sizes, Packed const& packed, int gap)
{
    ASSERT_EQ(packed.code, RET_SUCCESS);
    ASSERT_EQ(packed.positions.size(), sizes.size());
    ASSERT_TRUE(lies_inside(sizes, packed));
    EXPECT_TRUE(painting_meets_nothing(sizes, packed, gap));
}

std::int64_t product(Vector2i const& size)
{
    return std::int64_t{size[0]} * size[1];
}

/// Share of the whole that the rectangles cover.
double fill(std::vector<Vector2i> const& sizes, Packed const& packed)
{
    std::int64_t covered = 0;
    for (Vector2i const& size : sizes)
    {
        covered += product(size);
    }
    return static_cast<double>(covered) / static_cast<double>(product(packed.total));
}

/// The same with the gaps counted as covered: what no packing can avoid.
double fill_with_gaps(std::vector<Vector2i> sizes, Packed packed, int gap)
{
    Vector2i const border(gap, gap);
    for (Vector2i& size : sizes)
    {
        size += border;
    }
    packed.total += border;
    return fill(sizes, packed);
}

double aspect(Vector2i const& total)
{
    return static_cast<double>(total.maxCoeff()) / total.minCoeff();
}

/// Patches as a texture has them: log-normal sizes of 4 to 400 pixels, aspects of 0.3 to 3.
std::vector<Vector2i> texture_patches(int n, unsigned seed)
{
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    std::vector<Vector2i> sizes;
    for (int i = 0; i < n; ++i)
    {
        double const side = 40.0 * std::exp(0.9 * normal(random));
        double const root = std::sqrt(0.3 * std::pow(10.0, uniform(random)));
        sizes.emplace_back(static_cast<int>(std::clamp(side * root, 4.0, 400.0)),
                           static_cast<int>(std::clamp(side / root, 4.0, 400.0)));
    }
    return sizes;
}

std::vector<Vector2i> random_sizes(int n, int min, int max, unsigned seed)
{
    std::mt19937 random(seed);
    std::uniform_int_distribution<int> side(min, max);
    std::vector<Vector2i> sizes;
    for (int i = 0; i < n; ++i)
    {
        int const height = side(random);
        sizes.emplace_back(height, side(random));
    }
    return sizes;
}

void append(std::vector<Vector2i>& to, std::vector<Vector2i> const& more)
{
    to.insert(to.end(), more.begin(), more.end());
}

void expect_refused(std::vector<Vector2i> const& sizes, int gap)
{
    Packed const packed = pack(sizes, gap);
    EXPECT_EQ(packed.code, RET_INVALID_INPUT);
    EXPECT_TRUE(packed.positions.empty());
    EXPECT_EQ(packed.total, Vector2i(0, 0));
}

} // namespace

TEST(ImagePacking, NothingTakesNoRoom)
{
    Packed const packed = pack({}, 3);
    EXPECT_EQ(packed.code, RET_SUCCESS);
    EXPECT_TRUE(packed.positions.empty());
    EXPECT_EQ(packed.total, Vector2i(0, 0));
}

TEST(ImagePacking, OneRectangleIsTheWhole)
{
    for (int const gap : {0, 5})
    {
        Packed const packed = pack({{30, 70}}, gap);
        EXPECT_EQ(packed.code, RET_SUCCESS);
        EXPECT_EQ(packed.positions, std::vector<Vector2i>{Vector2i(0, 0)});
        EXPECT_EQ(packed.total, Vector2i(30, 70));
    }
}

TEST(ImagePacking, SizesAreHeightFirstAndNothingIsTurned)
{
    // The only way without waste: side by side, 2 rows high.
    std::vector<Vector2i> const sizes{{2, 50}, {2, 1}};
    Packed const packed = pack(sizes, 0);
    EXPECT_EQ(packed.total, Vector2i(2, 51));
    expect_legal(sizes, packed, 0);
}

TEST(ImagePacking, RectanglesStandApart)
{
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        for (int const gap : {0, 1, 2, 9})
        {
            std::vector<Vector2i> const sizes =
                random_sizes(static_cast<int>(seed) * 7, 1, 40, seed);
            expect_legal(sizes, pack(sizes, gap), gap);
        }
    }
}

TEST(ImagePacking, TheRimNeedsNoGap)
{
    Packed const packed = pack({{10, 10}, {10, 10}}, 4);
    EXPECT_EQ(product(packed.total), 10 * 24);
}

TEST(ImagePacking, FillsWithTexturePatches)
{
    for (int const n : {100, 1000, 20000})
    {
        for (int const gap : {0, 2})
        {
            std::vector<Vector2i> const sizes = texture_patches(n, 11);
            Packed const packed = pack(sizes, gap);
            expect_legal(sizes, packed, gap);
            EXPECT_GE(fill_with_gaps(sizes, packed, gap), n < 1000 ? 0.95 : 0.975) << n;
            EXPECT_GE(fill(sizes, packed), 0.85) << n << " rectangles, gap " << gap;
            EXPECT_LE(aspect(packed.total), n < 1000 ? 2.0 : 1.2) << n;
        }
    }
}

TEST(ImagePacking, FillsWithTenPatches)
{
    for (unsigned seed = 1; seed <= 10; ++seed)
    {
        std::vector<Vector2i> const sizes = texture_patches(10, seed);
        Packed const packed = pack(sizes, 0);
        expect_legal(sizes, packed, 0);
        EXPECT_GE(fill(sizes, packed), 0.85) << "seed " << seed;
    }
}

// A 40 x 30 sheet cut into ten: none but a layout without waste has its area.
TEST(ImagePacking, PutsACutSheetTogetherAgain)
{
    std::vector<Vector2i> const sizes{{10, 40}, {20, 10}, {8, 12}, {12, 12}, {5, 18},
                                      {15, 9},  {15, 3},  {7, 6},  {8, 2},   {8, 4}};
    Packed const packed = pack(sizes, 0);
    expect_legal(sizes, packed, 0);
    EXPECT_EQ(product(packed.total), 30 * 40);
}

TEST(ImagePacking, FillsWithAFewHugeAndManyTiny)
{
    std::vector<Vector2i> sizes = random_sizes(3, 700, 1200, 5);
    append(sizes, random_sizes(20000, 4, 15, 6));
    Packed const packed = pack(sizes, 0);
    expect_legal(sizes, packed, 0);
    EXPECT_GE(fill(sizes, packed), 0.95);
}

TEST(ImagePacking, EqualOnesLieWithoutWaste)
{
    for (int const n : {4, 10, 100, 1000})
    {
        std::vector<Vector2i> const sizes(static_cast<std::size_t>(n), Vector2i(64, 48));
        Packed const packed = pack(sizes, 0);
        expect_legal(sizes, packed, 0);
        EXPECT_GE(fill(sizes, packed), 0.999) << n;
    }
}

TEST(ImagePacking, FillsWithLongThinStrips)
{
    std::vector<Vector2i> sizes;
    for (Vector2i const& size : random_sizes(2000, 100, 400, 8))
    {
        bool const upright = sizes.size() % 2 == 0;
        int const thin = 2 + size[0] % 4;
        sizes.emplace_back(upright ? size[1] : thin, upright ? thin : size[1]);
    }
    Packed const packed = pack(sizes, 0);
    expect_legal(sizes, packed, 0);
    EXPECT_GE(fill(sizes, packed), 0.9);
}

TEST(ImagePacking, FillsWithManySinglePixelsAmongPatches)
{
    std::vector<Vector2i> sizes = texture_patches(1000, 3);
    sizes.insert(sizes.end(), 2000, Vector2i(1, 1));
    Packed const packed = pack(sizes, 1);
    expect_legal(sizes, packed, 1);
    EXPECT_GE(fill_with_gaps(sizes, packed, 1), 0.96);
}

TEST(ImagePacking, OneVeryLongStripDoesNotWasteTheRest)
{
    // As wide as it has to be, and the patches in rows below.
    std::vector<Vector2i> sizes = texture_patches(1000, 4);
    sizes.emplace_back(3, 8000);
    Packed const packed = pack(sizes, 0);
    expect_legal(sizes, packed, 0);
    EXPECT_EQ(packed.total[1], 8000);
    EXPECT_GE(fill(sizes, packed), 0.85);
}

TEST(ImagePacking, TheSameInputGivesTheSameLayout)
{
    for (int const n : {10, 300, 5000})
    {
        std::vector<Vector2i> const sizes = texture_patches(n, 21);
        Packed const first = pack(sizes, 2);
        Packed const second = pack(sizes, 2);
        EXPECT_EQ(first.positions, second.positions);
        EXPECT_EQ(first.total, second.total);
    }
}

TEST(ImagePacking, PositionsMayReplaceTheSizes)
{
    std::vector<Vector2i> const sizes = texture_patches(20, 1);
    std::vector<Vector2i> list = sizes;
    Vector2i total;
    ASSERT_EQ(ImagePacking::pack(list, 1, list, total), RET_SUCCESS);
    EXPECT_EQ(list, pack(sizes, 1).positions);
}

TEST(ImagePacking, RefusesSizesThatAreNotPositive)
{
    expect_refused({{5, 5}, {0, 5}}, 0);
    expect_refused({{5, 5}, {5, 0}}, 0);
    expect_refused({{-1, 5}}, 0);
    expect_refused({{5, std::numeric_limits<int>::min()}}, 0);
}

TEST(ImagePacking, RefusesANegativeGap)
{
    expect_refused({{5, 5}}, -1);
    expect_refused({}, -1);
}

TEST(ImagePacking, TakesTheLargestSidesThatCanBeCounted)
{
    EXPECT_EQ(pack({{INT_LIMIT, INT_LIMIT}}, INT_LIMIT).total, Vector2i(INT_LIMIT, INT_LIMIT));
    EXPECT_EQ(pack({{1, INT_LIMIT}, {1, INT_LIMIT}}, 0).total, Vector2i(2, INT_LIMIT));
    EXPECT_EQ(pack({{INT_LIMIT, 1}, {INT_LIMIT, 1}}, 0).total, Vector2i(INT_LIMIT, 2));
    // One beside the other has room for the gap, two do not.
    EXPECT_EQ(pack({{1, 1}, {1, 1}, {1, 1}, {1, 1}}, 2000000000).total,
              Vector2i(2000000002, 2000000002));
}

TEST(ImagePacking, RefusesATotalThatCannotBeCounted)
{
    expect_refused({{INT_LIMIT, INT_LIMIT}, {1, 1}}, 0);
    expect_refused({{1, 1}, {1, 1}}, INT_LIMIT);
    expect_refused({{INT_LIMIT, 1}, {1, INT_LIMIT}}, 0);
    expect_refused(std::vector<Vector2i>(100, Vector2i(INT_LIMIT, INT_LIMIT)), INT_LIMIT);
}
