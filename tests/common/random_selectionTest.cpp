#include "algorithmVeld/common/random_selection.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <numeric>
#include <set>

using OrvaneAlgorithm::randomly_select_more;

namespace
{

std::vector<int> picks(int n, int count)
{
    std::vector<int> list{-7, -7, -7};
    randomly_select_more(n, count, list);
    return list;
}

void expect_distinct_within(std::vector<int> const& list, int n)
{
    std::set<int> const distinct(list.begin(), list.end());
    EXPECT_EQ(distinct.size(), list.size());
    EXPECT_GE(*distinct.begin(), 0);
    EXPECT_LT(*distinct.rbegin(), n);
}

} // namespace

TEST(RandomSelection, AllPicksAreAPermutation)
{
    for (int const n : {1, 2, 3, 17, 1000})
    {
        std::vector<int> list = picks(n, n);
        std::sort(list.begin(), list.end());
        std::vector<int> expected(static_cast<std::size_t>(n));
        std::iota(expected.begin(), expected.end(), 0);
        EXPECT_EQ(list, expected);
    }
}

TEST(RandomSelection, FewPicksAreDistinctAndInRange)
{
    for (int const count : {1, 2, 10, 124, 125, 126, 900})
    {
        std::vector<int> const list = picks(1000, count);
        ASSERT_EQ(list.size(), static_cast<std::size_t>(count));
        expect_distinct_within(list, 1000);
    }
}

TEST(RandomSelection, FewerPicksAreTheBeginningOfMore)
{
    std::vector<int> const all = picks(5000, 5000);
    for (int const count : {1, 100, 624, 625, 626, 4999})
    {
        std::vector<int> const some = picks(5000, count);
        EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin())) << count;
    }
}

TEST(RandomSelection, TheSameArgumentsGiveTheSamePicks)
{
    EXPECT_EQ(picks(100, 100), picks(100, 100));
    EXPECT_NE(picks(100, 100), picks(101, 100));
}

// The engine's numbers are fixed by the standard: unseeded, it begins with 3499211612, 581869302,
// 3890346734. None is among the few that are drawn again, so the places are 3499211612 % 4 = 0,
// 1 + 581869302 % 3 = 1 and 2 + 3890346734 % 2 = 2: nothing moves. Of five, the places are
// 3499211612 % 5 = 2, 1 + 581869302 % 4 = 3 and 2 + 3890346734 % 3 = 4.
TEST(RandomSelection, PicksAreTheSameOnEveryMachine)
{
    EXPECT_EQ(picks(4, 4), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(picks(5, 3), (std::vector<int>{2, 3, 4}));
}

TEST(RandomSelection, CountIsLimitedToTheCandidates)
{
    EXPECT_EQ(picks(5, 6), picks(5, 5));
    EXPECT_EQ(picks(5, std::numeric_limits<int>::max()), picks(5, 5));
}

TEST(RandomSelection, NothingToPickEmptiesTheList)
{
    EXPECT_TRUE(picks(0, 5).empty());
    EXPECT_TRUE(picks(-3, 5).empty());
    EXPECT_TRUE(picks(5, 0).empty());
    EXPECT_TRUE(picks(5, -1).empty());
    EXPECT_TRUE(picks(std::numeric_limits<int>::min(), std::numeric_limits<int>::min()).empty());
}

TEST(RandomSelection, FewPicksFromVeryManyTakeNoArrayOfThem)
{
    int const n = std::numeric_limits<int>::max();
    std::vector<int> const list = picks(n, 1000);
    ASSERT_EQ(list.size(), 1000U);
    EXPECT_LE(list.capacity(), 2000U);
    expect_distinct_within(list, n);
}

// Over many permutations of different lengths the first pick falls into each tenth of the range
// about equally often: 10 000 draws, expected 1 000 a tenth, standard deviation 30.
TEST(RandomSelection, PicksAreSpreadEvenly)
{
    std::array<int, 10> tenths{};
    std::vector<int> const list = picks(100000, 10000);
    for (int const pick : list)
    {
        ++tenths[static_cast<std::size_t>(pick / 10000)];
    }
    for (int const hits : tenths)
    {
        EXPECT_NEAR(hits, 1000, 150);
    }
}
