#include "algorithmVeld/common/files/TextCursor.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

using OrvaneAlgorithm::detail::first_number;
using OrvaneAlgorithm::detail::parse_number;

namespace
{

/// The number that a word is; -1 for a word that is none.
template <typename Number>
Number number_of(std::string const& word)
{
    Number number = 0;
    return parse_number(std::string_view(word), number) ? number : Number(-1);
}

std::string const ZEROS(400, '0');

} // namespace

TEST(ParseNumber, ReadsWhatTheTypeCanHold)
{
    EXPECT_EQ(number_of<float>("+0.5"), 0.5F);
    EXPECT_EQ(number_of<float>("-25e-2"), -0.25F);
    EXPECT_EQ(number_of<double>("1" + ZEROS + "e-400"), 1.0);
    EXPECT_EQ(number_of<double>("0." + ZEROS + "1e401"), 1.0);
    EXPECT_EQ(number_of<float>("1e-40"), 1e-40F) << "a denormal number";
    EXPECT_EQ(number_of<float>("1.5x"), -1.0F);
    EXPECT_EQ(number_of<float>(""), -1.0F);
}

TEST(ParseNumber, MakesZeroOfWhatIsTooSmall)
{
    EXPECT_EQ(number_of<float>("1e-60"), 0.0F);
    EXPECT_EQ(number_of<float>("0." + std::string(60, '0') + "1"), 0.0F);
    EXPECT_EQ(number_of<float>("-0." + std::string(60, '0') + "1"), 0.0F);
    EXPECT_EQ(number_of<float>("." + std::string(60, '0') + "1"), 0.0F);
    EXPECT_EQ(number_of<double>("0." + ZEROS + "1"), 0.0);
    EXPECT_EQ(number_of<double>("0." + ZEROS + "1e5"), 0.0);
    EXPECT_EQ(number_of<double>("12e-99999999999999999999"), 0.0);
    EXPECT_EQ(number_of<float>("1234567.5e-60"), 0.0F);
}

TEST(ParseNumber, MakesInfinityOfWhatIsTooLarge)
{
    float const infinite = std::numeric_limits<float>::infinity();
    EXPECT_EQ(number_of<float>("1e60"), infinite);
    EXPECT_EQ(number_of<float>("1E+60"), infinite);
    EXPECT_EQ(number_of<float>("-1e60"), -infinite);
    EXPECT_EQ(number_of<float>("1" + std::string(60, '0')), infinite);
    EXPECT_EQ(number_of<float>("1" + std::string(60, '0') + "e-2"), infinite);
    EXPECT_EQ(number_of<float>("0.01e60"), infinite);
    EXPECT_EQ(number_of<double>("1e99999999999999999999"), std::numeric_limits<double>::infinity());
}

TEST(FirstNumber, IsTheFirstRunOfDigitsWithoutItsSign)
{
    auto const found = first_number("frame-007_12.txt");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->value, 7);
    EXPECT_EQ(found->digits, "007");
}

TEST(FirstNumber, IsTheLargestIntegerWhereTheDigitsMakeALargerOne)
{
    EXPECT_EQ(first_number("2147483646")->value, 2147483646);
    auto const found = first_number("x99999999999999999999y");
    ASSERT_TRUE(found);
    EXPECT_EQ(found->value, 2147483647);
    EXPECT_EQ(found->digits, "99999999999999999999");
}

TEST(FirstNumber, IsNotThereWithoutADigit)
{
    EXPECT_FALSE(first_number(""));
    EXPECT_FALSE(first_number("frame.txt"));
}
