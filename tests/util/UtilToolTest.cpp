#include "algorithmVeld/util/UtilTool.h"

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>

using OrvaneAlgorithm::UtilTool;

namespace
{

using DirDesc = UtilTool::DirDesc;
using FileSeriesDesc = UtilTool::FileSeriesDesc;

/// What a path is split into; "-" for the result false.
std::string parts(std::string const& path)
{
    std::string dir = "before";
    std::string name = "before";
    std::string ext = "before";
    bool const ok = DirDesc::extractPathTag(path, dir, name, ext);
    return (ok ? "" : "-") + dir + "|" + name + "|" + ext;
}

TEST(ExtractPathTag, SplitsAtTheLastSeparatorAndTheLastPoint)
{
    EXPECT_EQ(parts("scans/today/frame12.ply"), "scans/today|frame12|.ply");
    EXPECT_EQ(parts("C:\\scans\\frame.tar.gz"), "C:\\scans|frame.tar|.gz");
    EXPECT_EQ(parts("frame.ply"), "|frame|.ply");
    EXPECT_EQ(parts("/frame.ply"), "|frame|.ply");
}

TEST(ExtractPathTag, WithoutAPointThereIsNothing)
{
    EXPECT_EQ(parts(""), "-||");
    EXPECT_EQ(parts("frame"), "-||");
    EXPECT_EQ(parts("scans/frame"), "-||");
}

TEST(ExtractPathTag, PointInTheDirectorysNameCounts)
{
    // The last point is taken wherever it stands, so a name without one loses its directory.
    EXPECT_EQ(parts("a.b/c"), "|a|.b/c");
    EXPECT_EQ(parts("x/a.b/c"), "x|a|.b/c");
    EXPECT_EQ(parts("../frame"), "|.|./frame");
}

TEST(ExtractPathTag, BackslashGoesBeforeAnySlash)
{
    // A backslash is the separator even where a slash comes after it.
    EXPECT_EQ(parts("a\\b/c.x"), "a|b/c|.x");
    EXPECT_EQ(parts("a/b\\c.x"), "a/b|c|.x");
}

TEST(ExtractPathTag, NameAndExtensionMayBeEmpty)
{
    EXPECT_EQ(parts("."), "||.");
    EXPECT_EQ(parts("scans/.hidden"), "scans||.hidden");
    EXPECT_EQ(parts("scans/frame."), "scans|frame|.");
}

TEST(ExtractPathTag, PathMayBeOneOfTheOutputs)
{
    std::string dir;
    std::string name = "d/n.e";
    std::string ext;
    EXPECT_TRUE(DirDesc::extractPathTag(name, dir, name, ext));
    EXPECT_EQ(dir + "|" + name + "|" + ext, "d|n|.e");
}

TEST(ExtractNum, FindsTheFirstRunOfDigits)
{
    int number = -1;
    std::string digits;
    EXPECT_TRUE(DirDesc::extract_num("frame12_3.txt", number, digits));
    EXPECT_EQ(number, 12);
    EXPECT_EQ(digits, "12");
    EXPECT_TRUE(DirDesc::extract_num("frame-007", number, digits));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(digits, "007");
    EXPECT_TRUE(DirDesc::extract_num("5", number, digits));
    EXPECT_EQ(number, 5);
}

TEST(ExtractNum, TextWithoutADigitLeavesTheOutputs)
{
    int number = -1;
    std::string digits = "before";
    EXPECT_FALSE(DirDesc::extract_num("", number, digits));
    EXPECT_FALSE(DirDesc::extract_num("frame.txt", number, digits));
    EXPECT_EQ(number, -1);
    EXPECT_EQ(digits, "before");
}

TEST(ExtractNum, NumberThatIsTooLargeIsTheLargest)
{
    int number = -1;
    std::string digits;
    EXPECT_TRUE(DirDesc::extract_num("2147483647", number, digits));
    EXPECT_EQ(number, 2147483647);
    EXPECT_TRUE(DirDesc::extract_num("x99999999999999999999y", number, digits));
    EXPECT_EQ(number, std::numeric_limits<int>::max());
    EXPECT_EQ(digits, "99999999999999999999");
}

TEST(FileSeries, OneNameForEachNumberInTheirOrder)
{
    FileSeriesDesc series;
    series.set_name_info(std::string("in"), std::string("frame"), std::string(".txt"));
    series.set_fileNumArr({12, 3, -4, 0, std::numeric_limits<int>::min()});
    std::vector<std::string> names{"before"};
    series.get_filenames(names);
    EXPECT_EQ(names, (std::vector<std::string>{"in/frame12.txt", "in/frame3.txt", "in/frame-4.txt",
                                               "in/frame0.txt", "in/frame-2147483648.txt"}));
}

TEST(FileSeries, WithoutNumbersThereAreNoNames)
{
    FileSeriesDesc series;
    series.set_name_info(std::string("in"), std::string("frame"), std::string(".txt"));
    std::vector<std::string> names{"before"};
    std::vector<std::wstring> wide_names{L"before"};
    series.get_filenames(names);
    series.get_filenames(wide_names);
    EXPECT_TRUE(names.empty());
    EXPECT_TRUE(wide_names.empty());
}

TEST(FileSeries, NameInfoSetsBothWidths)
{
    FileSeriesDesc series;
    series.set_fileNumArr({1});
    std::vector<std::string> names;
    std::vector<std::wstring> wide_names;
    series.set_name_info(std::string("a"), std::string("b"), std::string("c"));
    series.get_filenames(names);
    series.get_filenames(wide_names);
    EXPECT_EQ(names.at(0), "a/b1c");
    EXPECT_EQ(wide_names.at(0), L"a/b1c");
    series.set_name_info(std::wstring(L"d"), std::wstring(L"e"), std::wstring(L"f"));
    series.get_filenames(names);
    series.get_filenames(wide_names);
    EXPECT_EQ(names.at(0), "d/e1f");
    EXPECT_EQ(wide_names.at(0), L"d/e1f");
}

TEST(FileSeries, ConversionTakesCharacterForCharacter)
{
    // Two bytes, which are one letter in UTF-8, become two wide characters and come back.
    FileSeriesDesc series;
    series.set_fileNumArr({1});
    series.set_name_info(std::string("\xC3\xA9"), std::string(), std::string());
    std::vector<std::wstring> wide_names;
    series.get_filenames(wide_names);
    EXPECT_EQ(wide_names.at(0), std::wstring({wchar_t{0xC3}, wchar_t{0xA9}, L'/', L'1'}));
    series.set_name_info(std::wstring({wchar_t{0xC3}, wchar_t{0xA9}}), std::wstring(),
                         std::wstring());
    std::vector<std::string> names;
    series.get_filenames(names);
    EXPECT_EQ(names.at(0), "\xC3\xA9/1");
}

TEST(FileSeries, SetterOfOneWidthLeavesTheOther)
{
    FileSeriesDesc series;
    series.set_fileNumArr({1});
    series.set_name_info(std::string("a"), std::string("b"), std::string("c"));
    series.set_parentDir(std::string("x"));
    series.set_filenamePrefix(std::wstring(L"y"));
    series.set_filenameSuffix(std::string("z"));
    std::vector<std::string> names;
    std::vector<std::wstring> wide_names;
    series.get_filenames(names);
    series.get_filenames(wide_names);
    EXPECT_EQ(names.at(0), "x/b1z");
    EXPECT_EQ(wide_names.at(0), L"a/y1c");
    series.set_parentDir(std::wstring(L"x"));
    series.set_filenamePrefix(std::string("y"));
    series.set_filenameSuffix(std::wstring(L"z"));
    series.get_filenames(names);
    series.get_filenames(wide_names);
    EXPECT_EQ(names.at(0), "x/y1z");
    EXPECT_EQ(wide_names.at(0), L"x/y1z");
}

TEST(FileSeries, NamesHaveAnyLength)
{
    std::string const longest(5000, 'p');
    FileSeriesDesc series;
    series.set_name_info("d", longest, "%s");
    series.set_fileNumArr({7});
    std::vector<std::string> names;
    series.get_filenames(names);
    EXPECT_EQ(names.at(0), "d/" + longest + "7%s");
}

static_assert(std::is_default_constructible_v<UtilTool> && std::is_copy_assignable_v<UtilTool> &&
                  std::is_default_constructible_v<DirDesc> && std::is_copy_assignable_v<DirDesc>,
              "values");

TEST(FileSeries, CopiesNameTheSameFiles)
{
    FileSeriesDesc series;
    series.set_name_info(std::string("a"), std::string("b"), std::string("c"));
    series.set_fileNumArr({1, 2});
    FileSeriesDesc const copy(series);
    FileSeriesDesc assigned;
    assigned = copy;
    series.set_fileNumArr({3});
    for (auto const& each : {copy, assigned})
    {
        std::vector<std::string> names;
        each.get_filenames(names);
        EXPECT_EQ(names, (std::vector<std::string>{"a/b1c", "a/b2c"}));
    }
}

} // namespace
