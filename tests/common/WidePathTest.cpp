#include "algorithmVeld/common/Cloud.h"
#include "algorithmVeld/common/files/wide_path.h"

#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace OrvaneAlgorithm;

// \u00e4 is C3 A4, and \u6f22 is E6 BC A2 in UTF-8.
TEST(WidePath, LettersBeyondAsciiAreUtf8InAnyLocale)
{
    std::wstring const wide = L"scan/\u00e4\u6f22.rge";
    std::filesystem::path const path = detail::path_from_wide(wide);
    EXPECT_EQ(path.generic_u8string(), "scan/\xc3\xa4\xe6\xbc\xa2.rge");
    EXPECT_EQ(detail::wide_from_path(path), wide);
    EXPECT_TRUE(detail::path_from_wide({}).empty());
}

#if defined(__unix__)
TEST(WidePath, ALetterThatNoNameCanHaveLeavesThePathAsItWas)
{
    std::filesystem::path path = "kept";
    EXPECT_FALSE(detail::path_from_wide(std::wstring(1, wchar_t{0x110000}), path));
    EXPECT_EQ(path, "kept");
    EXPECT_TRUE(detail::path_from_wide(L"taken", path));
    EXPECT_EQ(path, "taken");
}

TEST(WidePath, SwapFilesMayLieInAFolderOfAnyName)
{
    veld_test::TempDir const dir;
    std::filesystem::path const folder = dir.path() / detail::path_from_wide(L"\u00e4\u6f22");
    std::filesystem::create_directory(folder);
    char const* const before = std::getenv("TMPDIR");
    std::string const kept = before == nullptr ? "" : before;
    setenv("TMPDIR", folder.c_str(), 1);
    Cloud cloud;
    cloud.add_vCoord({1, 2, 3});
    EXPECT_EQ(cloud.swap_out_data(), 0);
    EXPECT_FALSE(std::filesystem::is_empty(folder));
    EXPECT_EQ(cloud.swap_in_data(), 0);
    EXPECT_EQ(cloud.vCoord.at(0), Vector3f(1, 2, 3));
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    before == nullptr ? unsetenv("TMPDIR") : setenv("TMPDIR", kept.c_str(), 1);
}
#endif
