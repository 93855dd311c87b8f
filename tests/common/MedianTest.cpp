#include "algorithmVeld/common/arrays/Median.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

using OrvaneAlgorithm::detail::median;

TEST(Median, IsOfTheKindOfTheValues)
{
    float const middle = median(std::vector<float>{0.3F, 0.1F, 0.2F});
    EXPECT_EQ(middle, 0.2F);
}

TEST(Median, TheValueInTheMiddleInWhateverOrderTheyCome)
{
    std::vector<double> values{-1.0, 2.0, 2.5, 7.0, 100.0};
    do
    {
        EXPECT_EQ(median(values), 2.5);
    } while (std::next_permutation(values.begin(), values.end()));
}

TEST(Median, TheLargerOfTheTwoInTheMiddle)
{
    EXPECT_EQ(median({4.0, 1.0, 3.0, 2.0}), 3.0);
    EXPECT_EQ(median({5.0, 5.0, 5.0, 1.0}), 5.0);
    EXPECT_EQ(median({2.0, 1.0}), 2.0);
}

TEST(Median, NoneIsZeroAndOneIsItself)
{
    EXPECT_EQ(median({}), 0.0);
    EXPECT_EQ(median({-3.0}), -3.0);
}

TEST(Median, ValuesWithoutEndCountLikeOthers)
{
    double const without_end = std::numeric_limits<double>::infinity();
    EXPECT_EQ(median({without_end, 1.0, without_end, 0.0, 2.0}), 2.0);
}
