#include "algorithmVeld/reconstruction/frames/TextScanner.h"

#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <limits>

using OrvaneAlgorithm::detail::TextScanner;

namespace
{

class Text : public veld_test::TempDir
{
public:
    explicit Text(std::string const& content)
    {
        std::ofstream(file("t"), std::ios::binary) << content;
    }
    TextScanner scanner() const { return TextScanner(file("t")); }
};

float next_float(TextScanner& text)
{
    float value = -77;
    EXPECT_TRUE(text.next(value));
    return value;
}

int next_int(TextScanner& text)
{
    int value = -77;
    EXPECT_TRUE(text.next(value));
    return value;
}

TEST(TextScanner, NumbersBetweenAnyWhiteSpace)
{
    Text const file(" 1.5\t-2e3\r\n\n\v+4\f.25 7.");
    auto text = file.scanner();
    for (float const expected : {1.5F, -2000.0F, 4.0F, 0.25F, 7.0F})
    {
        EXPECT_EQ(next_float(text), expected);
    }
    float value = 3;
    EXPECT_FALSE(text.next(value));
    EXPECT_EQ(value, 3.0F);
}

TEST(TextScanner, NumberEndsWhereTheTextStopsToBeOne)
{
    Text const file("12abc");
    auto text = file.scanner();
    EXPECT_EQ(next_float(text), 12.0F);
    float value = 3;
    EXPECT_FALSE(text.next(value));
    EXPECT_FALSE(text.next(value)); // it stays there
    EXPECT_TRUE(text.skip_word(511));
    EXPECT_FALSE(text.next(value));
}

TEST(TextScanner, IntegerEndsAtThePoint)
{
    Text const file("3.5 +7 -8 --9");
    auto text = file.scanner();
    EXPECT_EQ(next_int(text), 3);
    EXPECT_EQ(next_float(text), 0.5F);
    EXPECT_EQ(next_int(text), 7);
    EXPECT_EQ(next_int(text), -8);
    int value = 0;
    EXPECT_FALSE(text.next(value));
}

TEST(TextScanner, NumbersThatTheTypeCannotHold)
{
    Text const file("1e99 -1e99 1e-99 99999999999 -99999999999 nan inf");
    auto text = file.scanner();
    EXPECT_EQ(next_float(text), std::numeric_limits<float>::infinity());
    EXPECT_EQ(next_float(text), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(next_float(text), 0.0F);
    EXPECT_EQ(next_int(text), std::numeric_limits<int>::max());
    EXPECT_EQ(next_int(text), std::numeric_limits<int>::min());
    EXPECT_TRUE(std::isnan(next_float(text)));
    EXPECT_TRUE(std::isinf(next_float(text)));
}

TEST(TextScanner, SignAloneIsNoNumber)
{
    for (char const* const content : {"+", "-", "+-1", "e5", ".", "", " \n "})
    {
        Text const file(content);
        auto text = file.scanner();
        float value = 3;
        EXPECT_FALSE(text.next(value)) << content;
        EXPECT_EQ(value, 3.0F);
    }
}

TEST(TextScanner, WordsAreCutAtTheirLongest)
{
    Text const file("  abcdef  gh");
    auto text = file.scanner();
    EXPECT_TRUE(text.skip_word(4));
    EXPECT_TRUE(text.skip_word(511)); // "ef"
    EXPECT_TRUE(text.skip_word(511));
    EXPECT_FALSE(text.skip_word(511));
}

TEST(TextScanner, LinesAreCutAtTheirLongest)
{
    Text const file("abcdef\n\nlast");
    auto text = file.scanner();
    EXPECT_EQ(text.line(4), "abcd");
    EXPECT_EQ(text.line(511), "ef");
    EXPECT_EQ(text.line(511), "");
    EXPECT_EQ(text.line(511), "last");
    EXPECT_EQ(text.line(511), "");
}

TEST(TextScanner, LineOfExactlyTheLongestKeepsItsEndForTheNext)
{
    Text const file("abcd\nef");
    auto text = file.scanner();
    EXPECT_EQ(text.line(4), "abcd");
    EXPECT_EQ(text.line(4), "");
    EXPECT_EQ(text.line(4), "ef");
}

TEST(TextScanner, NumbersOverTheBoundsOfThePiecesInMemory)
{
    // One number that is longer than a piece, and then enough for several pieces, with exponents
    // that stand at every offset to their bounds.
    std::string content = std::string(300000, '0') + "7 ";
    for (int i = 0; i < 60000; ++i)
    {
        content += std::to_string(i) + ".5e+02\n";
    }
    Text const file(content);
    auto text = file.scanner();
    EXPECT_EQ(next_float(text), 7.0F);
    for (int i = 0; i < 60000; ++i)
    {
        ASSERT_EQ(next_float(text), static_cast<float>(i) * 100.0F + 50.0F) << i;
    }
}

TEST(TextScanner, NumberThatThePieceCutsAnywhereIsOneNumber)
{
    // The first piece has 2^18 characters. Of a number that it cuts at its exponent the beginning
    // is a number, too.
    std::string const number = "1234.5e+02";
    for (std::size_t in_first = 0; in_first <= number.size(); ++in_first)
    {
        Text const file(std::string((std::size_t{1} << 18U) - in_first, ' ') + number + " 8");
        auto text = file.scanner();
        EXPECT_EQ(next_float(text), 123450.0F) << in_first;
        EXPECT_EQ(next_float(text), 8.0F) << in_first;
    }
}

TEST(TextScanner, OnlyPlainFilesAreOpened)
{
    veld_test::TempDir const dir;
    EXPECT_FALSE(TextScanner(dir.file("none")).is_open());
    TextScanner directory(dir.path().string());
    EXPECT_FALSE(directory.is_open());
    float value = 0;
    EXPECT_FALSE(directory.next(value));
    EXPECT_FALSE(directory.skip_word(511));
    EXPECT_EQ(directory.line(511), "");
}

TEST(TextScanner, ByteZeroIsNoSpace)
{
    Text const file(std::string("1\0002", 3));
    auto text = file.scanner();
    EXPECT_EQ(next_float(text), 1.0F);
    float value = 3;
    EXPECT_FALSE(text.next(value));
}

} // namespace
