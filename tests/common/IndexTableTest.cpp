#include "algorithmVeld/common/arrays/IndexTable.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <random>

using OrvaneAlgorithm::detail::IndexTable;

TEST(IndexTable, NumbersIndicesInTheOrderInWhichTheyCome)
{
    std::mt19937 random(1);
    for (int const range : {10, 1000, std::numeric_limits<int>::max()})
    {
        IndexTable table;
        std::map<int, int> expected;
        std::uniform_int_distribution<int> any(0, range);
        for (int k = 0; k < 5000; ++k)
        {
            // Neighbours, as in a mesh, and indices from anywhere.
            int const index = k % 2 == 0 ? k % range : any(random);
            EXPECT_EQ(table.contains(index), expected.count(index) > 0);
            auto const entry = expected.emplace(index, static_cast<int>(expected.size())).first;
            EXPECT_EQ(table.add(index), entry->second);
            EXPECT_EQ(table.size(), expected.size());
        }
        for (auto const& [index, number] : expected)
        {
            EXPECT_EQ(table.find(index), number);
        }
    }
}

TEST(IndexTable, HasNoNumberForWhatWasNotAdded)
{
    IndexTable table(1000);
    EXPECT_EQ(table.find(0), IndexTable::NONE);
    table.add(0);
    EXPECT_EQ(table.find(0), 0);
    EXPECT_EQ(table.find(16), IndexTable::NONE);
    EXPECT_EQ(table.find(-1), IndexTable::NONE);
    EXPECT_EQ(table.size(), 1U);
}
