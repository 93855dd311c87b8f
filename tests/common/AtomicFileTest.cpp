#include "algorithmVeld/common/files/AtomicFile.h"

#include "tests/support/files.h"
#include "tests/support/mesh_files.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <string>

using OrvaneAlgorithm::detail::AtomicFile;
using veld_test::file_content;
using veld_test::files_in;
using veld_test::TempDir;
using veld_test::write_file;

namespace
{

namespace fs = std::filesystem;

/// \return whether the file is in its place
bool write_atomically(fs::path const& path, std::string const& content)
{
    AtomicFile file(path);
    file.stream() << content;
    return file.commit();
}

} // namespace

TEST(AtomicFile, OldFileStaysUntilTheNewOneIsCommitted)
{
    TempDir const directory;
    auto const path = directory.file("a.bin");
    write_file(path, "old");
    {
        AtomicFile file(path);
        file.stream() << "unfinished";
    }
    EXPECT_EQ(file_content(path), "old");
    {
        AtomicFile file(path);
        file.stream() << "new";
        EXPECT_EQ(file_content(path), "old");
        EXPECT_TRUE(file.commit());
        EXPECT_FALSE(file.error());
    }
    EXPECT_EQ(file_content(path), "new");
    EXPECT_EQ(files_in(directory.path()).size(), 1U);
}

TEST(AtomicFile, SaysWhyItCannotBeWritten)
{
    TempDir const directory;
    AtomicFile nowhere(directory.file("no/a.bin"));
    EXPECT_FALSE(nowhere.stream());
    EXPECT_EQ(nowhere.error(), std::errc::no_such_file_or_directory);
    EXPECT_FALSE(nowhere.commit());
    EXPECT_EQ(nowhere.error(), std::errc::no_such_file_or_directory);
    AtomicFile folder(directory.path());
    EXPECT_FALSE(folder.commit());
    EXPECT_EQ(folder.error(), std::errc::is_a_directory);
    EXPECT_EQ(files_in(directory.path()).size(), 0U);
}

TEST(AtomicFile, NameMayBeAsLongAsTheSystemAllows)
{
    TempDir const directory;
    auto const path = directory.file(std::string(251, 'n') + ".bin");
    EXPECT_TRUE(write_atomically(path, "content"));
    EXPECT_EQ(file_content(path), "content");
}

#if !defined(_WIN32)
TEST(AtomicFile, PermissionsOfAnExistingFileStay)
{
    TempDir const directory;
    auto const path = directory.file("a.bin");
    for (auto const permissions : {fs::perms{0600}, fs::perms{0664}, fs::perms{0751}})
    {
        write_file(path, "old");
        fs::permissions(path, permissions);
        ASSERT_TRUE(write_atomically(path, "new"));
        EXPECT_EQ(file_content(path), "new");
        EXPECT_EQ(fs::status(path).permissions(), permissions);
    }
}

TEST(AtomicFile, WhatAnEndedProcessLeftIsRemovedByTheNext)
{
    TempDir const directory;
    AtomicFile at_work(directory.file("other.bin"));
    at_work.stream() << "unfinished";
    // Nobody holds the first; the others are not ours.
    write_file(directory.file(".veld-0123456789abcdef.part"), "left over");
    write_file(directory.file(".veld-0123456789abcdef.part2"), "a person's");
    write_file(directory.file(".veld-0123456789abcdeg.part"), "a person's");
    fs::create_symlink("other.bin", directory.path() / ".veld-fedcba9876543210.part");

    ASSERT_TRUE(write_atomically(directory.file("a.bin"), "content"));
    EXPECT_FALSE(fs::exists(directory.file(".veld-0123456789abcdef.part")));
    EXPECT_EQ(files_in(directory.path()).size(), 5U);
    EXPECT_TRUE(at_work.commit());
    EXPECT_EQ(file_content(directory.file("other.bin")), "unfinished");
}

TEST(AtomicFile, SymbolicLinksStayAndTheirTargetsAreWritten)
{
    TempDir const directory;
    fs::create_directory(directory.path() / "far");
    write_file(directory.file("far/a.bin"), "old");
    fs::create_symlink("a.bin", directory.path() / "far" / "near");
    fs::create_symlink("far/near", directory.path() / "link");
    ASSERT_TRUE(write_atomically(directory.path() / "link", "new"));
    EXPECT_TRUE(fs::is_symlink(directory.path() / "link"));
    EXPECT_TRUE(fs::is_symlink(directory.path() / "far" / "near"));
    EXPECT_EQ(file_content(directory.file("far/a.bin")), "new");

    fs::create_symlink("far/b.bin", directory.path() / "to nothing");
    ASSERT_TRUE(write_atomically(directory.path() / "to nothing", "made"));
    EXPECT_TRUE(fs::is_symlink(directory.path() / "to nothing"));
    EXPECT_EQ(file_content(directory.file("far/b.bin")), "made");
}

TEST(AtomicFile, LinksInACircleAreRefused)
{
    TempDir const directory;
    fs::create_symlink("b", directory.path() / "a");
    fs::create_symlink("a", directory.path() / "b");
    AtomicFile file(directory.path() / "a");
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file.error(), std::errc::too_many_symbolic_link_levels);
    EXPECT_EQ(files_in(directory.path()).size(), 2U);
}

TEST(AtomicFile, WhatIsNoFileIsNotReplaced)
{
    AtomicFile device("/dev/null");
    EXPECT_FALSE(device.commit());
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
}
#endif
