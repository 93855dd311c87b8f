#include "workflow/files/OutputFile.h"

#include "workflow/Error.h"
#include "workflow/words.h"

#include "tests/support/files.h"
#include "tests/support/mesh_files.h"
#include "tests/support/temp_dir.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>

#include <sstream>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using veld::Existing;
using veld::OutputFile;
using veld::Outputs;
using veld_test::file_content;
using veld_test::files_in;
using veld_test::reason_of;
using veld_test::TempDir;
using veld_test::write_file;

TEST(OutputFile, IsInItsPlaceWhenItIsCommittedAndNotBefore)
{
    TempDir const dir;
    {
        OutputFile file(dir.file("out.txt"));
        veld::write_text_file(file, "content");
        EXPECT_FALSE(fs::exists(dir.file("out.txt")));
        EXPECT_EQ(file.temporary().filename(), "out.txt");
        file.commit();
        EXPECT_EQ(file_content(dir.file("out.txt")), "content");
    }
    {
        OutputFile const file(dir.file("out.txt"));
        veld::write_text_file(file, "never committed");
    }
    EXPECT_EQ(file_content(dir.file("out.txt")), "content");
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
}

TEST(OutputFile, GoesToAStreamAsAWhole)
{
    std::ostringstream stream;
    OutputFile file(stream, "standard output", ".bin");
    EXPECT_EQ(file.temporary().extension(), ".bin");
    std::string const content = std::string(100'000, 'x') + std::string("\0\r\n\x1A", 4);
    veld::write_text_file(file, content);
    EXPECT_EQ(stream.str(), "");
    file.commit();
    EXPECT_EQ(stream.str(), content);

    std::ostringstream full;
    full.setstate(std::ios::badbit);
    OutputFile lost(full, "standard output", ".bin");
    veld::write_text_file(lost, content);
    EXPECT_EQ(reason_of([&] { lost.commit(); }), "standard output: cannot be written");
}

TEST(OutputFile, FileThatAppearsMeanwhileIsKeptWhereFilesAreKept)
{
    TempDir const dir;
    OutputFile file(dir.file("out.txt"), Existing::KEPT);
    veld::write_text_file(file, "late");
    write_file(dir.file("out.txt"), "first");
    EXPECT_EQ(reason_of([&] { file.commit(); }), dir.file("out.txt") + ": is there already");
    EXPECT_EQ(file_content(dir.file("out.txt")), "first");

    OutputFile other(dir.file("other.txt"), Existing::KEPT);
    veld::write_text_file(other, "new");
    other.commit();
    EXPECT_EQ(file_content(dir.file("other.txt")), "new");
}

TEST(Outputs, ThoseOfOneDirectoryAreStagedTogetherUnderTheirNames)
{
    TempDir const dir;
    Outputs outputs;
    auto const& first = outputs.add(dir.file("first.txt"));
    auto const& second = outputs.add(dir.file("second.txt"));
    EXPECT_EQ(first.temporary().parent_path(), second.temporary().parent_path());
    EXPECT_EQ(second.temporary().filename(), "second.txt");
    // The same name for two files must not make one of them.
    EXPECT_NE(outputs.add(dir.file("first.txt")).temporary(), first.temporary());
}

TEST(Outputs, CheckTellsWhyNothingCanBeWritten)
{
    TempDir const dir;
    write_file(dir.file("file"), "");
    Outputs const outputs;
    auto const reason = [&](std::string const& name)
    { return reason_of([&] { outputs.check({dir.file(name)}, {}); }); };
    EXPECT_EQ(reason("no/out.txt"), dir.file("no/out.txt") +
                                        ": cannot be written: there is no "
                                        "directory " +
                                        dir.file("no"));
    EXPECT_THAT(reason("file/out.txt"), HasSubstr(dir.file("file") + " is no directory"));
    EXPECT_EQ(reason("out.txt"), "no error");
    EXPECT_EQ(reason("file"), "no error");
    EXPECT_EQ(reason_of([&] { Outputs(Existing::KEPT).check({dir.file("file")}, {}); }),
              dir.file("file") + ": is there already");
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
}

TEST(Outputs, ReasonsAreWords)
{
    auto const words = [](std::errc error)
    { return veld::why_not_written(std::make_error_code(error)); };
    EXPECT_EQ(words(std::errc::read_only_file_system), "the disk is read-only");
    EXPECT_EQ(words(std::errc::no_space_on_device), "the disk is full");
    EXPECT_THAT(words(std::errc::permission_denied), HasSubstr("no permission"));
    EXPECT_EQ(words(std::errc::io_error), std::make_error_code(std::errc::io_error).message());
}

#if !defined(_WIN32)
TEST(OutputFile, HasThePermissionsOfTheFileThatItReplacesFromTheStart)
{
    TempDir const dir;
    write_file(dir.file("out.txt"), "old");
    for (auto const mode : {fs::perms{0600}, fs::perms{0640}, fs::perms{0664}})
    {
        fs::permissions(dir.file("out.txt"), mode);
        OutputFile file(dir.file("out.txt"));
        EXPECT_EQ(fs::status(file.temporary()).permissions(), mode);
        EXPECT_EQ(fs::status(file.temporary().parent_path()).permissions(), fs::perms::owner_all);
        veld::write_text_file(file, "new");
        file.commit();
        EXPECT_EQ(fs::status(dir.file("out.txt")).permissions(), mode);
    }
}

TEST(OutputFile, NewFileHasThePermissionsThatTheUserWants)
{
    TempDir const dir;
    auto const before = ::umask(027);
    {
        OutputFile file(dir.file("out.txt"));
        veld::write_text_file(file, "new");
        file.commit();
    }
    ::umask(before);
    EXPECT_EQ(fs::status(dir.file("out.txt")).permissions(), fs::perms{0640});
}

TEST(OutputFile, WhatAnEndedProcessLeftIsRemovedByTheNext)
{
    TempDir const dir;
    OutputFile at_work(dir.file("out.txt"));
    veld::write_text_file(at_work, "mine");
    fs::create_directory(dir.file(".veld-0123456789abcdef.part"));
    write_file(dir.file(".veld-0123456789abcdef.part/out.txt"), "left over");
    fs::create_directory(dir.file(".veld-notes.part"));
    {
        OutputFile other(dir.file("out.txt"));
        veld::write_text_file(other, "other");
        other.commit();
    }
    EXPECT_FALSE(fs::exists(dir.file(".veld-0123456789abcdef.part")));
    EXPECT_TRUE(fs::exists(dir.file(".veld-notes.part")));
    at_work.commit();
    EXPECT_EQ(file_content(dir.file("out.txt")), "mine");
}
#endif

} // namespace
