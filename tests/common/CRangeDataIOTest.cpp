#include "algorithmVeld/common/CRangeDataIO.h"

#include "tests/support/files.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

#include <cstring>
#include <cwchar>
#include <fstream>
#include <iterator>
#include <limits>

using namespace OrvaneAlgorithm;
using veld_test::Bytes;
using veld_test::files_in;
using veld_test::read_bytes;
using veld_test::TempDir;
using veld_test::write_bytes;

namespace
{

/// Builds a file by hand, byte by byte as the format's page tells it.
class FileBuilder
{
public:
    FileBuilder& unsigned_number(std::uint64_t value, int n_bytes)
    {
        for (int i = 0; i < n_bytes; ++i)
        {
            bytes_.push_back(static_cast<unsigned char>(value & 0xffU));
            value >>= 8U;
        }
        return *this;
    }
    FileBuilder& integer(int value) { return unsigned_number(static_cast<unsigned>(value), 4); }
    FileBuilder& switched(bool on) { return unsigned_number(on ? 1 : 0, 1); }
    FileBuilder& length(std::uint64_t n) { return unsigned_number(n, 8); }
    FileBuilder& floats(std::vector<float> const& values)
    {
        for (float const value : values)
        {
            std::uint32_t bits = 0;
            std::memcpy(&bits, &value, 4);
            unsigned_number(bits, 4);
        }
        return *this;
    }
    FileBuilder& doubles(std::vector<double> const& values)
    {
        for (double const value : values)
        {
            std::uint64_t bits = 0;
            std::memcpy(&bits, &value, 8);
            unsigned_number(bits, 8);
        }
        return *this;
    }
    FileBuilder& header(std::uint32_t version)
    {
        bytes_ = {0x89, 0x56, 0x52, 0x47, 0x45, 0x0d, 0x0a, 0x1a};
        return unsigned_number(version, 4);
    }
    FileBuilder& pose_of_nothing()
    {
        return doubles({1, 0, 0, 0, 1, 0, 0, 0, 1}).doubles({0, 0, 0});
    }

    Bytes bytes() const { return bytes_; }
    Bytes with_checksum() { return unsigned_number(checksum(bytes_), 4).bytes_; }

private:
    /// CRC-32, bit by bit.
    static std::uint32_t checksum(Bytes const& bytes)
    {
        std::uint32_t remainder = 0xffffffffU;
        for (unsigned char const byte : bytes)
        {
            remainder ^= byte;
            for (int bit = 0; bit < 8; ++bit)
            {
                remainder = (remainder >> 1U) ^ ((remainder & 1U) != 0 ? 0xedb88320U : 0U);
            }
        }
        return ~remainder;
    }

    Bytes bytes_;
};

/// Two vertices, with every member different from its default.
RangeData small_frame()
{
    RangeData frame;
    frame.set_grid_size(2, 3);
    frame.vCoord = {{1.5F, -2, 3}, {4, 5, 6.25F}};
    frame.vUV = {{0, 1}, {1, 2}};
    frame.cellFlag = {1, 0};
    frame.has_vNormal = true;
    frame.vNrv = {{0, 0, 1}, {0, -1, 0}};
    frame.has_vColor = true;
    frame.vColor = {{0.25F, 0.5F, 1}, {0, 1, 0}};
    frame.has_vFlag = true;
    frame.vFlag = {0, 1};
    Matrix3d rotation;
    rotation << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    frame.pose.set_rotation(rotation);
    frame.pose.set_translation({7, 8, 9.5});
    return frame;
}

Bytes small_file()
{
    FileBuilder file;
    file.header(1).integer(2).integer(3);
    file.doubles({0, -1, 0, 1, 0, 0, 0, 0, 1}).doubles({7, 8, 9.5});
    file.length(2).floats({1.5F, -2, 3, 4, 5, 6.25F});
    file.length(2).integer(0).integer(1).integer(1).integer(2);
    file.length(2).unsigned_number(1, 1).unsigned_number(0, 1);
    file.switched(true).length(2).floats({0, 0, 1, 0, -1, 0});
    file.switched(true).length(2).floats({0.25F, 0.5F, 1, 0, 1, 0});
    file.switched(true).length(2).unsigned_number(0, 1).unsigned_number(1, 1);
    return file.with_checksum();
}

bool same_bits(std::vector<Vector3f> const& a, std::vector<Vector3f> const& b)
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(Vector3f)) == 0);
}

void expect_same(RangeData const& a, RangeData const& b)
{
    EXPECT_EQ(a.grid_rows, b.grid_rows);
    EXPECT_EQ(a.grid_cols, b.grid_cols);
    EXPECT_TRUE(same_bits(a.vCoord, b.vCoord));
    ASSERT_EQ(a.vUV.size(), b.vUV.size());
    for (std::size_t i = 0; i < a.vUV.size(); ++i)
    {
        EXPECT_EQ(a.vUV[i].row, b.vUV[i].row);
        EXPECT_EQ(a.vUV[i].col, b.vUV[i].col);
    }
    EXPECT_EQ(a.cellFlag, b.cellFlag);
    EXPECT_EQ(a.has_vNormal, b.has_vNormal);
    EXPECT_TRUE(same_bits(a.vNrv, b.vNrv));
    EXPECT_EQ(a.has_vColor, b.has_vColor);
    EXPECT_TRUE(same_bits(a.vColor, b.vColor));
    EXPECT_EQ(a.has_vFlag, b.has_vFlag);
    EXPECT_EQ(a.vFlag, b.vFlag);
    EXPECT_EQ(a.pose.get_rotation(), b.pose.get_rotation());
    EXPECT_EQ(a.pose.get_translation(), b.pose.get_translation());
}

/// Writes and reads; the target is not empty before.
void expect_round_trip(RangeData const& frame)
{
    TempDir const dir;
    std::wstring const path = (dir.path() / "frame.rge").wstring();
    ASSERT_EQ(CRangeDataIO::write_rge(path, frame), 0);
    RangeData back = small_frame();
    ASSERT_EQ(CRangeDataIO::read_rge(path, back), 0);
    expect_same(frame, back);
}

/// Reads bytes as a file. A frame that is refused has to be empty.
int code_of_reading(Bytes const& bytes)
{
    TempDir const dir;
    write_bytes(dir.path() / "frame.rge", bytes);
    RangeData frame = small_frame();
    int const code = CRangeDataIO::read_rge((dir.path() / "frame.rge").wstring(), frame);
    if (code != 0)
    {
        expect_same(frame, RangeData());
    }
    return code;
}

} // namespace

TEST(RangeDataIo, WritesTheDocumentedBytes)
{
    TempDir const dir;
    ASSERT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), small_frame()), 0);
    EXPECT_EQ(read_bytes(dir.path() / "a.rge"), small_file());
    ASSERT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), RangeData()), 0);
    EXPECT_EQ(read_bytes(dir.path() / "a.rge").size(), 171U);
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
}

TEST(RangeDataIo, ReadsTheDocumentedBytes)
{
    TempDir const dir;
    write_bytes(dir.path() / "a.rge", small_file());
    RangeData frame;
    ASSERT_EQ(CRangeDataIO::read_rge((dir.path() / "a.rge").wstring(), frame), 0);
    expect_same(frame, small_frame());
}

TEST(RangeDataIo, EveryMemberComesBack)
{
    expect_round_trip(small_frame());
    expect_round_trip(RangeData());
}

TEST(RangeDataIo, EachSwitchComesBackByItself)
{
    for (int on = 0; on < 8; ++on)
    {
        RangeData frame = small_frame();
        frame.has_vNormal = (on & 1) != 0;
        frame.has_vColor = (on & 2) != 0;
        frame.has_vFlag = (on & 4) != 0;
        expect_round_trip(frame);
    }
}

TEST(RangeDataIo, UnusualValuesComeBackBitByBit)
{
    RangeData frame = small_frame();
    frame.vCoord[0] = {std::numeric_limits<float>::quiet_NaN(),
                       std::numeric_limits<float>::infinity(), -0.0F};
    frame.vCoord[1].x() = std::numeric_limits<float>::denorm_min();
    frame.vUV[0] = {-1, std::numeric_limits<int>::max()};
    frame.cellFlag[1] = static_cast<char>(-128);
    expect_round_trip(frame);
}

TEST(RangeDataIo, AFrameOfTheUsualSizeComesBack)
{
    RangeData frame;
    frame.set_grid_size(480, 640);
    for (int row = 0; row < 480; ++row)
    {
        for (int column = 0; column < 640; ++column)
        {
            frame.add_vCoord_and_vUV({0.1F * static_cast<float>(column),
                                      0.1F * static_cast<float>(row),
                                      static_cast<float>((row * 31 + column * 17) % 100)},
                                     {row, column});
        }
    }
    frame.update_vNrv_from_grid();
    expect_round_trip(frame);
}

TEST(RangeDataIo, PathsMayHaveAnyLetters)
{
    TempDir const dir;
    std::wstring const path = dir.path().wstring() + L"/Aufnahme \u00e4\u6f22.rge";
    ASSERT_EQ(CRangeDataIO::write_rge(path, small_frame()), 0);
    EXPECT_EQ(read_bytes(dir.path() / std::filesystem::u8path(u8"Aufnahme \u00e4\u6f22.rge")),
              small_file());
    RangeData back;
    ASSERT_EQ(CRangeDataIO::read_rge(path, back), 0);
    expect_same(back, small_frame());
}

TEST(RangeDataIo, FilesCutOffAtAnyLengthAreRefused)
{
    Bytes const whole = small_file();
    ASSERT_EQ(code_of_reading(whole), 0);
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        // Without header and checksum it is no frame file; after that it is a damaged one.
        ASSERT_EQ(code_of_reading(Bytes(whole.begin(), whole.begin() + std::ptrdiff_t(length))),
                  length < 16 ? 2 : 3)
            << length;
    }
}

TEST(RangeDataIo, FilesWithAnyChangedByteAreRefused)
{
    Bytes const whole = small_file();
    for (std::size_t i = 0; i < whole.size(); ++i)
    {
        for (unsigned char const change : {0x01, 0x80, 0xff})
        {
            Bytes changed = whole;
            changed[i] ^= change;
            ASSERT_EQ(code_of_reading(changed), i < 12 ? 2 : 3) << "byte " << i;
        }
    }
}

TEST(RangeDataIo, BytesBehindTheChecksumAreRefused)
{
    Bytes longer = small_file();
    longer.push_back(0);
    EXPECT_EQ(code_of_reading(longer), 3);
}

TEST(RangeDataIo, OtherVersionsAreRefused)
{
    EXPECT_EQ(code_of_reading(FileBuilder().header(2).with_checksum()), 2);
    EXPECT_EQ(code_of_reading(FileBuilder().header(0).with_checksum()), 2);
}

TEST(RangeDataIo, HugeArraysInSmallFilesAreRefused)
{
    for (std::uint64_t const n :
         {std::uint64_t{2}, std::uint64_t{1} << 32U, std::uint64_t{1} << 61U, ~std::uint64_t{0}})
    {
        FileBuilder file;
        file.header(1).integer(1).integer(1).pose_of_nothing();
        EXPECT_EQ(code_of_reading(file.length(n).floats({1, 2, 3}).with_checksum()), 3) << n;
    }
}

TEST(RangeDataIo, GridsThatCannotBeAreRefused)
{
    // All arrays empty, all switches off, the checksum right.
    auto const with_grid = [](int rows, int columns)
    {
        FileBuilder file;
        file.header(1).integer(rows).integer(columns).pose_of_nothing();
        file.length(0).length(0).length(0);
        file.switched(false).length(0).switched(false).length(0).switched(false).length(0);
        return code_of_reading(file.with_checksum());
    };
    EXPECT_EQ(with_grid(0, 0), 0);
    EXPECT_EQ(with_grid(16384, 16384), 0);
    EXPECT_EQ(with_grid(16384, 16385), 3);
    EXPECT_EQ(with_grid(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()), 3);
    EXPECT_EQ(with_grid(-1, 5), 3);
    EXPECT_EQ(with_grid(-5, -5), 3);
}

TEST(RangeDataIo, ReasonIsToldInWords)
{
    TempDir const dir;
    auto const reason_of = [&](Bytes const& bytes)
    {
        write_bytes(dir.path() / "a.rge", bytes);
        RangeData frame;
        std::string reason = "of an earlier file";
        int const code = CRangeDataIO::read_rge((dir.path() / "a.rge").wstring(), frame, reason);
        EXPECT_EQ(code == 0, reason.empty());
        return reason;
    };
    EXPECT_EQ(reason_of(small_file()), "");
    EXPECT_EQ(reason_of({}), "it is no frame file of a known version");
    Bytes cut = small_file();
    cut.pop_back();
    EXPECT_EQ(reason_of(cut), "the file is damaged");
    EXPECT_EQ(reason_of(FileBuilder().header(1).integer(-1).integer(5).with_checksum()),
              "the file is damaged");
    EXPECT_EQ(reason_of(FileBuilder().header(1).integer(20000).integer(30000).with_checksum()),
              "its grid of 20000 x 30000 cells is too large: more than 268435456");
    RangeData frame;
    std::string reason;
    EXPECT_EQ(CRangeDataIO::read_rge((dir.path() / "none.rge").wstring(), frame, reason), 1);
    EXPECT_EQ(reason, "it cannot be opened");
}

TEST(RangeDataIo, GridsThatCannotBeReadAreNotWritten)
{
    TempDir const dir;
    RangeData frame = small_frame();
    frame.grid_rows = -1;
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), frame), 1);
    frame.grid_rows = frame.grid_cols = 20000;
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), frame), 1);
    EXPECT_EQ(files_in(dir.path()).size(), 0U);
}

TEST(RangeDataIo, FramesThatAreSwappedOutAreNotWritten)
{
    TempDir const dir;
    RangeData frame = small_frame();
    ASSERT_EQ(frame.swap_out_data(), 0);
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), frame), 1);
    EXPECT_EQ(files_in(dir.path()).size(), 0U);
    ASSERT_EQ(frame.swap_in_data(), 0);
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), frame), 0);
}

TEST(RangeDataIo, SwitchesAreOnOrOff)
{
    FileBuilder file;
    file.header(1).integer(0).integer(0).pose_of_nothing();
    file.length(0).length(0).length(0).unsigned_number(2, 1).length(0);
    file.switched(false).length(0).switched(false).length(0);
    EXPECT_EQ(code_of_reading(file.with_checksum()), 3);
}

TEST(RangeDataIo, ForeignAndEmptyFilesAreNoFrames)
{
    EXPECT_EQ(code_of_reading({}), 2);
    EXPECT_EQ(code_of_reading({'p', 'l', 'y'}), 2);
    EXPECT_EQ(code_of_reading(Bytes(1000, 'x')), 2);
}

TEST(RangeDataIo, MissingFilesAndDirectoriesCannotBeOpened)
{
    TempDir const dir;
    for (std::wstring const& path :
         {(dir.path() / "missing.rge").wstring(), dir.path().wstring(), std::wstring()})
    {
        RangeData frame = small_frame();
        EXPECT_EQ(CRangeDataIO::read_rge(path, frame), 1);
        expect_same(frame, RangeData());
    }
}

TEST(RangeDataIo, WhatCannotBeWrittenLeavesNothingBehind)
{
    TempDir const dir;
    std::filesystem::create_directory(dir.path() / "folder");
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "folder").wstring(), small_frame()), 1);
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "no/a.rge").wstring(), small_frame()), 1);
    EXPECT_EQ(CRangeDataIO::write_rge({}, small_frame()), 1);
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
    std::error_code error;
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "no/a.rge").wstring(), small_frame(), error),
              1);
    EXPECT_EQ(error, std::errc::no_such_file_or_directory);
    EXPECT_EQ(CRangeDataIO::write_rge((dir.path() / "a.rge").wstring(), small_frame(), error), 0);
    EXPECT_FALSE(error);
}

#if WCHAR_MAX > 0x10ffff
TEST(RangeDataIo, LettersThatDoNotExistAreRefused)
{
    std::wstring const path(1, static_cast<wchar_t>(0x110000));
    RangeData frame = small_frame();
    EXPECT_EQ(CRangeDataIO::read_rge(path, frame), 1);
    expect_same(frame, RangeData());
    EXPECT_EQ(CRangeDataIO::write_rge(path, frame), 1);
}
#endif
