#include "algorithmVeld/common/arrays/GridMap.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

using namespace OrvaneAlgorithm;
using detail::GridMap;

namespace
{

/// Vertices in random cells, some of which are taken twice and some of which lie outside.
RangeData random_frame(int rows, int columns, int n, unsigned seed)
{
    std::mt19937 random(seed);
    auto const cell = [&random](int size)
    { return static_cast<int>(random() % static_cast<unsigned>(size + 2)) - 1; };
    RangeData frame;
    frame.set_grid_size(rows, columns);
    for (int i = 0; i < n; ++i)
    {
        int const row = cell(rows);
        frame.add_vCoord_and_vUV({0, 0, 0}, {row, cell(columns)});
    }
    return frame;
}

/// Checks that a map tells what the array of the whole grid tells, also a step outside.
void expect_whole_map(RangeData const& frame)
{
    GridMap const map(frame);
    MatrixXi whole;
    frame.create_vertices_index_map(whole);
    for (int row = -1; row <= frame.grid_rows; ++row)
    {
        for (int column = -1; column <= frame.grid_cols; ++column)
        {
            bool const inside =
                row >= 0 && column >= 0 && row < frame.grid_rows && column < frame.grid_cols;
            ASSERT_EQ(map(row, column), inside ? whole(row, column) : -1) << row << " " << column;
        }
    }
}

TEST(GridMap, DenseGridIsTheWholeMap)
{
    for (unsigned seed = 0; seed < 20; ++seed)
    {
        expect_whole_map(random_frame(7, 9, 40, seed));
    }
}

TEST(GridMap, SparseGridIsTheWholeMap)
{
    // So large and with so few vertices that the map is a list.
    for (unsigned seed = 0; seed < 5; ++seed)
    {
        expect_whole_map(random_frame(700, 500, 800, seed));
        expect_whole_map(random_frame(1, 300000, 900, seed));
        expect_whole_map(random_frame(300000, 1, 900, seed));
    }
}

TEST(GridMap, OfTwoVerticesInACellTheLaterStays)
{
    for (int const far : {1, 5000})
    {
        RangeData frame;
        frame.set_grid_size(far + 1, far + 1);
        frame.add_vCoord_and_vUV({0, 0, 0}, {far, far});
        frame.add_vCoord_and_vUV({0, 0, 0}, {0, 0});
        frame.add_vCoord_and_vUV({0, 0, 0}, {far, far});
        EXPECT_EQ(GridMap(frame)(far, far), 2);
        EXPECT_EQ(GridMap(frame)(0, 0), 1);
    }
}

TEST(GridMap, FrameWithoutVerticesInItsGridHasAnEmptyMap)
{
    EXPECT_EQ(GridMap(RangeData())(0, 0), -1);
    RangeData frame = random_frame(3, 3, 9, 1);
    frame.set_grid_size(0, 3);
    EXPECT_EQ(GridMap(frame)(0, 0), -1);
    frame = RangeData();
    frame.add_vCoord({1, 2, 3}); // without a cell
    EXPECT_EQ(GridMap(frame)(-1, -1), -1);
    frame.set_grid_size(4, 4);
    frame.vUV.clear(); // shorter than the vertices
    EXPECT_EQ(GridMap(frame)(0, 0), -1);
}

TEST(GridMap, LargestGridTakesMemoryForItsVerticesOnly)
{
    int const most = std::numeric_limits<int>::max();
    RangeData frame;
    frame.set_grid_size(most, most);
    frame.add_vCoord_and_vUV({0, 0, 0}, {0, 0});
    frame.add_vCoord_and_vUV({0, 0, 0}, {most - 1, most - 1});
    frame.add_vCoord_and_vUV({0, 0, 0}, {most - 1, 0});
    GridMap const map(frame);
    EXPECT_EQ(map(0, 0), 0);
    EXPECT_EQ(map(most - 1, most - 1), 1);
    EXPECT_EQ(map(most - 1, 0), 2);
    EXPECT_EQ(map(0, most - 1), -1);
    EXPECT_EQ(map(most, 0), -1);
    EXPECT_EQ(map(0, most), -1);
    EXPECT_EQ(map(-1, most), -1);
}

} // namespace
