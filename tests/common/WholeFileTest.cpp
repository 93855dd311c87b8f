#include "algorithmVeld/common/files/WholeFile.h"

#include "tests/support/files.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#if !defined(_WIN32)
#include <sys/resource.h>
#include <sys/stat.h>
#endif

using namespace OrvaneAlgorithm;
using veld_test::TempDir;
using veld_test::write_file;

namespace
{

/// Why a file cannot be read; empty if it can.
std::string reason_for(std::filesystem::path const& path)
{
    try
    {
        static_cast<void>(detail::file_content(path));
        return {};
    }
    catch (detail::FileError const& error)
    {
        return error.what();
    }
}

std::string words_for(std::errc error)
{
    return std::make_error_code(error).message();
}

} // namespace

TEST(WholeFile, IsReadToTheLastByteWhateverIsInIt)
{
    TempDir const dir;
    // More than is read at a time, with zeros and line ends of every kind.
    std::string content((std::size_t{1} << 22U) + 5, 'x');
    content.replace(0, 6, std::string("\0\r\n\x1A\xFF\0", 6));
    content.back() = '\0';
    write_file(dir.file("a"), content);
    EXPECT_TRUE(detail::file_content(dir.file("a")) == content);
}

TEST(WholeFile, WhatIsNoneIsToldApart)
{
    TempDir const dir;
    write_file(dir.file("empty"), "");
    EXPECT_EQ(reason_for(dir.path() / "missing"), "no such file");
    EXPECT_EQ(reason_for(dir.path()), "is a directory");
    EXPECT_EQ(reason_for(dir.path() / "empty"), "is empty");
}

TEST(WholeFile, IsNotReadOnInARunThatWasCancelled)
{
    TempDir const dir;
    write_file(dir.file("a"), "some");
    CancelToken const token;
    token.cancel();
    RunScope const run(token);
    EXPECT_THROW(static_cast<void>(detail::file_content(dir.file("a"))), Cancelled);
}

#if !defined(_WIN32)

TEST(WholeFile, APipeIsNotWaitedFor)
{
    TempDir const dir;
    ASSERT_EQ(mkfifo(dir.file("pipe").c_str(), 0600), 0);
    EXPECT_EQ(reason_for(dir.path() / "pipe"), "is not a file");
}

TEST(WholeFile, APlaceThatTheSystemCannotLookAtComesWithTheSystemsReason)
{
    TempDir const dir;
    EXPECT_EQ(reason_for(dir.path() / std::string(1000, 'a')),
              "cannot be read: " + words_for(std::errc::filename_too_long));
}

TEST(WholeFile, AFileThatTheSystemDoesNotOpenComesWithTheSystemsReason)
{
    TempDir const dir;
    write_file(dir.file("a"), "some");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit none = before;
    none.rlim_cur = 0;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    std::string const reason = reason_for(dir.file("a"));
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(reason, "cannot be read: " + words_for(std::errc::too_many_files_open));
    EXPECT_EQ(reason_for(dir.file("a")), "");
}

TEST(WholeFile, OneThatHoldsLessThanItSaysIsNotTakenForWhole)
{
    // A file of the kernel's says the size of a page, and holds a line.
    std::filesystem::path const path = "/sys/devices/system/cpu/online";
    std::error_code error;
    if (std::filesystem::file_size(path, error) <= veld_test::file_content(path).size() || error)
    {
        GTEST_SKIP() << "there is no such file here";
    }
    EXPECT_EQ(reason_for(path), "cannot be read to its end");
}

#endif

TEST(ErrorOf, IsEmptyWhereNothingWentWrong)
{
    EXPECT_EQ(detail::error_of("a", [] {}), "");
}

TEST(ErrorOf, IsOneLineThatNamesTheFile)
{
    auto const fail = [] { throw std::runtime_error("line 3:\n\x1B[31mred\x7F"); };
    EXPECT_EQ(detail::error_of("a\tb", fail), "a?b: line 3:??[31mred?");
    // Letters beyond ASCII are no control characters.
    EXPECT_EQ(detail::printable("\xC3\xA4 ~"), "\xC3\xA4 ~");
}

TEST(ErrorOf, MemoryThatIsMissingIsSaidInWords)
{
    EXPECT_EQ(detail::error_of("a\nb", [] { throw std::bad_alloc(); }),
              "a?b: needs more memory than there is");
}

TEST(ErrorOf, AnEndThatWasAskedForPasses)
{
    EXPECT_THROW(static_cast<void>(detail::error_of("a", [] { throw Cancelled(); })), Cancelled);
}
