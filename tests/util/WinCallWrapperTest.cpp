#include "algorithmVeld/util/WinCallWrapper.h"

#include "tests/support/log_capture.h"
#include "tests/support/standard_output.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

using OrvaneAlgorithm::WinCallWrapper;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

namespace fs = std::filesystem;

/// A directory with three plain files, two of them with the extension, and two directories.
class Folder : public veld_test::TempDir
{
public:
    Folder()
    {
        for (char const* const name : {"b2.rge", "A10.RGE", "note.txt", ".rge"})
        {
            make_file(name);
        }
        fs::create_directory(path() / "sub");
        fs::create_directory(path() / "old.rge");
    }
    void make_file(fs::path const& name) const { std::ofstream(path() / name) << "x"; }
    /// The name that lists have in front.
    std::wstring wide() const { return path().wstring(); }
    std::wstring wide(wchar_t const* name) const { return wide() + L"/" + name; }
};

TEST(WstringToLower, OnlyTheTwentySixLettersChange)
{
    std::wstring text = L"AZaz09@[_.\u00C4\u0130";
    WinCallWrapper::wstring_to_lower(text);
    EXPECT_EQ(text, L"azaz09@[_.\u00C4\u0130");
    std::wstring empty;
    WinCallWrapper::wstring_to_lower(empty);
    EXPECT_EQ(empty, L"");
}

TEST(GetDirArr, ListsTheDirectoriesByName)
{
    Folder const folder;
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.wide(), false),
                ElementsAre(folder.wide(L"old.rge"), folder.wide(L"sub")));
}

TEST(GetDirArr, TheFirstEntryOfTheSystemIsNotLost)
{
    veld_test::TempDir const folder;
    fs::create_directory(folder.path() / "only");
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.path().wstring(), false),
                ElementsAre(folder.path().wstring() + L"/only"));
}

TEST(GetDirArr, WithoutADirectoryTheListIsEmpty)
{
    Folder const folder;
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.wide(L"none"), false), IsEmpty());
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.wide(L"note.txt"), false), IsEmpty());
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(L"none"), L".rge", false), IsEmpty());
    // Half of a pair, which no file name can have.
    EXPECT_THAT(WinCallWrapper::get_dir_arr(std::wstring(1, wchar_t{0xD800}), false), IsEmpty());
}

TEST(GetDirArr, SeparatorIsAddedToTheDirectoryAsItIs)
{
    Folder const folder;
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.wide() + L"/", false),
                ElementsAre(folder.wide() + L"//old.rge", folder.wide() + L"//sub"));
}

#if !defined(_WIN32)
TEST(GetDirArr, EmptyNameIsTheRoot)
{
    // The pattern is made of the name, "/" and a star, so nothing in front of it is the root.
    auto const paths = WinCallWrapper::get_dir_arr(L"", false);
    EXPECT_THAT(paths, testing::Contains(L"/usr"));
}

TEST(GetDirArr, LinksToDirectoriesAreDirectories)
{
    Folder const folder;
    fs::create_directory_symlink(folder.path() / "sub", folder.path() / "link");
    fs::create_symlink(folder.path() / "gone", folder.path() / "broken.rge");
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.wide(), false),
                ElementsAre(folder.wide(L"link"), folder.wide(L"old.rge"), folder.wide(L"sub")));
    // A link to nothing has no directory attribute.
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L".rge", false),
                testing::Contains(folder.wide(L"broken.rge")));
}

TEST(GetFileArr, NameThatIsNoTextIsLeftOut)
{
    Folder const folder;
    folder.make_file("\xFF\xFE.rge");
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L".rge", false),
                ElementsAre(folder.wide(L"A10.RGE"), folder.wide(L"b2.rge")));
}
#endif

TEST(GetFileArr, ListsFilesWithTheExtensionInAnyCase)
{
    Folder const folder;
    // ".rge" is exactly as long as the extension: a name has to be longer.
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L".rge", false),
                ElementsAre(folder.wide(L"A10.RGE"), folder.wide(L"b2.rge")));
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L"2.rge", false),
                ElementsAre(folder.wide(L"b2.rge")));
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L".none", false), IsEmpty());
}

TEST(GetFileArr, CapitalsComeFirst)
{
    // Names are ordered as they are, character by character.
    veld_test::TempDir const folder;
    for (char const* const name : {"a.rge", "B.rge", "c.rge"})
    {
        std::ofstream(folder.path() / name) << "x";
    }
    std::wstring const dir = folder.path().wstring();
    EXPECT_THAT(WinCallWrapper::get_file_arr(dir, L".rge", false),
                ElementsAre(dir + L"/B.rge", dir + L"/a.rge", dir + L"/c.rge"));
}

TEST(GetFileArr, ExtensionItselfIsNotLowered)
{
    // The name is lowered and the extension is not, so capitals match nothing.
    Folder const folder;
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L".RGE", false), IsEmpty());
}

TEST(GetFileArr, EmptyExtensionTakesEveryFile)
{
    Folder const folder;
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L"", false),
                ElementsAre(folder.wide(L".rge"), folder.wide(L"A10.RGE"), folder.wide(L"b2.rge"),
                            folder.wide(L"note.txt")));
}

TEST(GetFileArr, PrefixIsComparedWithTheWholePath)
{
    Folder const folder;
    // The name alone is no beginning of a path, and the comparison knows no case.
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L"b2", L".rge", false), IsEmpty());
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), folder.wide(L"b"), L".rge", false),
                ElementsAre(folder.wide(L"b2.rge")));
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), folder.wide(L"a"), L".rge", false),
                IsEmpty());
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), L"", L".rge", false),
                ElementsAre(folder.wide(L"A10.RGE"), folder.wide(L"b2.rge")));
    EXPECT_THAT(WinCallWrapper::get_file_arr(folder.wide(), folder.wide() + std::wstring(300, L'x'),
                                             L".rge", false),
                IsEmpty());
}

TEST(GetFileArr, NamesMayHaveLettersBeyondAscii)
{
    Folder const folder;
    fs::create_directory(folder.path() / fs::u8path("M\u00FCller"));
    folder.make_file(fs::u8path("M\u00FCller/Stra\u00DFe.RGE"));
    std::wstring const sub = folder.wide(L"M\u00FCller");
    EXPECT_THAT(WinCallWrapper::get_dir_arr(folder.wide(), false), testing::Contains(sub));
    EXPECT_THAT(WinCallWrapper::get_file_arr(sub, L".rge", false),
                ElementsAre(sub + L"/Stra\u00DFe.RGE"));
}

TEST(GetFileArr, LongDirectoryIsListed)
{
    veld_test::TempDir const folder;
    fs::path deep = folder.path();
    for (int i = 0; i < 4; ++i)
    {
        deep /= std::string(100, 'd');
    }
    fs::create_directories(deep);
    std::ofstream(deep / "a.rge") << "x";
    EXPECT_THAT(WinCallWrapper::get_file_arr(deep.wstring(), L".rge", false),
                ElementsAre(deep.wstring() + L"/a.rge"));
}

TEST(Browse, VerboseTellsTheDirectoryTwice)
{
    veld_test::LogCapture const log(false); // its own argument decides, not the switch
    auto const printed =
        veld_test::output_of([] { WinCallWrapper::get_dir_arr(L"no/s\u00FCch", true); });
    EXPECT_EQ(log.text(), "browse no/s\u00FCch\n");
    EXPECT_EQ(printed, "browse no/s\u00FCch\n");
}

TEST(Browse, EachListTellsOnce)
{
    veld_test::LogCapture const log(false);
    veld_test::output_of(
        []
        {
            WinCallWrapper::get_file_arr(L"a", L".x", true);
            WinCallWrapper::get_file_arr(L"b", L"b/p", L".x", true);
        });
    EXPECT_EQ(log.text(), "browse a\nbrowse b\n");
}

TEST(Browse, WithoutVerboseNothingIsTold)
{
    veld_test::LogCapture const log(true);
    auto const printed = veld_test::output_of(
        []
        {
            WinCallWrapper::get_dir_arr(L"a", false);
            WinCallWrapper::get_file_arr(L"a", L".x", false);
            WinCallWrapper::get_file_arr(L"a", L"a/p", L".x", false);
        });
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(printed, "");
}

TEST(Browse, PercentSignsAreNoFormat)
{
    veld_test::LogCapture const log(true);
    auto const printed = veld_test::output_of([] { WinCallWrapper::get_dir_arr(L"%s%n", true); });
    EXPECT_EQ(log.text(), "browse %s%n\n");
    EXPECT_EQ(printed, "browse %s%n\n");
}

} // namespace
