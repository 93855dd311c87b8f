#include "algorithmVeld/common/files/BinaryFile.h"

#include "algorithmVeld/common/types.h"
#include "swap_support.h"
#include "tests/support/files.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <limits>

using namespace OrvaneAlgorithm;
using detail::BinaryReader;
using detail::BinaryWriter;
using veld_test::file_content;
using veld_test::TempDir;
using veld_test::write_file;

namespace
{

std::vector<Vector3f> const POINTS{{1, 2, 3}, {-4, 5.5F, 0}};

void write_sample(std::string const& path)
{
    BinaryWriter writer(path);
    writer.scalar<std::int32_t>(-2);
    writer.array<float>(POINTS);
    ASSERT_TRUE(writer.finish());
}

struct Sample
{
    std::int32_t number = 0;
    std::vector<Vector3f> points;
    bool is_whole = false;
};

Sample read_sample(std::string const& path)
{
    Sample sample;
    BinaryReader reader(path);
    sample.number = reader.scalar<std::int32_t>();
    reader.array<float>(sample.points);
    sample.is_whole = reader.finish();
    return sample;
}

} // namespace

TEST(BinaryFile, GivesBackWhatWasWritten)
{
    TempDir const dir;
    write_sample(dir.file("a"));
    Sample const sample = read_sample(dir.file("a"));
    EXPECT_TRUE(sample.is_whole);
    EXPECT_EQ(sample.number, -2);
    EXPECT_EQ(sample.points, POINTS);
}

TEST(BinaryFile, IsLittleEndianWithAChecksumAtItsEnd)
{
    TempDir const dir;
    BinaryWriter writer(dir.file("a"));
    writer.array<std::uint16_t>(std::vector<std::uint16_t>{0x3231, 0x3433, 0x3635, 0x3837});
    ASSERT_TRUE(writer.finish());
    std::string const bytes = file_content(dir.file("a"));
    ASSERT_EQ(bytes.size(), 20U);
    EXPECT_EQ(bytes.substr(0, 8), std::string("\x04\0\0\0\0\0\0\0", 8));
    EXPECT_EQ(bytes.substr(8, 8), "12345678");

    // The published check value of CRC-32: the nine digits give CBF43926.
    BinaryWriter digits(dir.file("b"));
    digits.elements<char>("123456789", 9);
    ASSERT_TRUE(digits.finish());
    EXPECT_EQ(file_content(dir.file("b")), "123456789\x26\x39\xF4\xCB");
}

TEST(BinaryFile, CutOffAnywhereIsSeen)
{
    TempDir const dir;
    write_sample(dir.file("a"));
    std::string const bytes = file_content(dir.file("a"));
    for (std::size_t n = 0; n < bytes.size(); ++n)
    {
        write_file(dir.file("a"), bytes.substr(0, n));
        EXPECT_FALSE(read_sample(dir.file("a")).is_whole) << n;
    }
    write_file(dir.file("a"), bytes + "x");
    EXPECT_FALSE(read_sample(dir.file("a")).is_whole);
}

TEST(BinaryFile, EveryChangedBitIsSeen)
{
    TempDir const dir;
    write_sample(dir.file("a"));
    std::string const bytes = file_content(dir.file("a"));
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit)
    {
        std::string damaged = bytes;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << (bit % 8)));
        write_file(dir.file("a"), damaged);
        EXPECT_FALSE(read_sample(dir.file("a")).is_whole) << bit;
    }
}

TEST(BinaryFile, LengthBeyondTheFileTakesNoMemory)
{
    TempDir const dir;
    for (std::uint64_t const n :
         {std::uint64_t{3}, std::uint64_t{1} << 40U, std::numeric_limits<std::uint64_t>::max()})
    {
        BinaryWriter writer(dir.file("a"));
        writer.scalar<std::uint64_t>(n);
        writer.elements<float>(POINTS.data(), POINTS.size());
        ASSERT_TRUE(writer.finish());
        BinaryReader reader(dir.file("a"));
        std::vector<Vector3f> points;
        reader.array<float>(points);
        EXPECT_TRUE(points.empty());
        EXPECT_EQ(points.capacity(), 0U);
        EXPECT_EQ(reader.remaining(), 0U);
        EXPECT_EQ(reader.scalar<std::int32_t>(), 0) << "after a failure everything reads as zero";
        EXPECT_FALSE(reader.finish());
    }
}

TEST(BinaryFile, WhatIsNoFileCannotBeOpened)
{
    TempDir const dir;
    EXPECT_FALSE(BinaryReader(dir.path() / "missing").is_open());
    EXPECT_FALSE(BinaryReader(dir.path()).is_open());
    BinaryReader missing(dir.path() / "missing");
    EXPECT_EQ(missing.scalar<std::int32_t>(), 0);
    EXPECT_FALSE(missing.finish());
}

TEST(BinaryFile, OneThatShrinksWhileItIsReadLeavesArraysEmpty)
{
    TempDir const dir;
    // Less than a pair of numbers is left: not even the array's length, or a part of its values.
    for (std::uintmax_t const left : {6U, 12U, 20U})
    {
        write_sample(dir.file("a"));
        BinaryReader reader(dir.file("a"));
        std::filesystem::resize_file(dir.file("a"), left);
        EXPECT_EQ(reader.scalar<std::int32_t>(), -2);
        std::vector<Vector3f> points = POINTS;
        reader.array<float>(points);
        EXPECT_TRUE(points.empty()) << left;
        EXPECT_EQ(reader.remaining(), 0U);
        EXPECT_FALSE(reader.finish());
    }
}

TEST(BinaryFile, BytesOfEachScalarAreTurnedRoundForHostsThatKeepThemTheOtherWay)
{
    std::vector<std::uint32_t> numbers{0x01020304, 0xA0B0C0D0};
    detail::reverse_each<std::uint32_t>(numbers.data(), numbers.size());
    EXPECT_EQ(numbers, (std::vector<std::uint32_t>{0x04030201, 0xD0C0B0A0}));
    // Those of a structure, scalar by scalar.
    std::vector<Vector3f> points = POINTS;
    detail::reverse_each<float>(points.data(), 3 * points.size());
    EXPECT_NE(points, POINTS);
    detail::reverse_each<float>(points.data(), 3 * points.size());
    EXPECT_EQ(points, POINTS);
}

TEST(BinaryFile, UnfinishedFileLeavesTheOldOne)
{
    TempDir const dir;
    write_file(dir.file("a"), "old");
    {
        BinaryWriter writer(dir.file("a"));
        writer.scalar<std::int32_t>(1);
    }
    EXPECT_EQ(file_content(dir.file("a")), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
    write_sample(dir.file("a"));
    EXPECT_TRUE(read_sample(dir.file("a")).is_whole);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(BinaryFile, PlaceThatCannotBeWrittenIsReported)
{
    TempDir const dir;
    BinaryWriter writer(dir.path() / "no" / "such" / "directory");
    writer.scalar<std::int32_t>(1);
    EXPECT_FALSE(writer.finish());
    BinaryWriter onto_directory(dir.path());
    EXPECT_FALSE(onto_directory.finish());
}
