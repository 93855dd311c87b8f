#include "algorithmVeld/common/range_scan_io.h"

#include "tests/support/mesh_files.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using testing::ElementsAre;
using testing::HasSubstr;
using veld_test::bytes;

namespace
{

std::string header(int rows, int columns, int n_vertices, std::string const& format = "ascii")
{
    return "ply\nformat " + format + " 1.0\nobj_info is_mesh 0\nobj_info num_cols " +
           std::to_string(columns) + "\nobj_info num_rows " + std::to_string(rows) +
           "\nelement vertex " + std::to_string(n_vertices) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement range_grid " +
           std::to_string(rows * columns) +
           "\nproperty list uchar int vertex_indices\nend_header\n";
}

/// Two rows and three columns without the last corner. Vertices stand in another order than cells.
std::string const BODY = "10 0 0\n0 0 0\n20 0 0\n0 1 0\n10 1 0\n";
std::string const GRID = "1 1\n1 0\n1 2\n1 3\n1 4\n0\n";

struct Reading
{
    bool ok = false;
    RangeData frame;
    std::string error;
};

Reading read(std::string const& content)
{
    veld_test::TempDir const dir;
    veld_test::write_file(dir.file("scan.ply"), content);
    Reading reading;
    reading.frame.add_vCoord({1, 2, 3}); // has to go
    reading.ok = read_range_ply(dir.file("scan.ply"), reading.frame, reading.error);
    EXPECT_EQ(reading.ok, reading.error.empty());
    if (!reading.ok)
    {
        EXPECT_EQ(reading.frame.get_vn(), 0U);
        EXPECT_EQ(reading.error.find(dir.file("scan.ply") + ": "), 0U);
        EXPECT_EQ(reading.error.find('\n'), std::string::npos);
    }
    return reading;
}

std::string error_of(std::string const& content)
{
    return read(content).error;
}

TEST(RangePly, VerticesComeInTheOrderOfTheGrid)
{
    auto const reading = read(header(2, 3, 5) + BODY + GRID);
    ASSERT_TRUE(reading.ok) << reading.error;
    auto const& frame = reading.frame;
    EXPECT_EQ(frame.grid_rows, 2);
    EXPECT_EQ(frame.grid_cols, 3);
    EXPECT_THAT(frame.vCoord, ElementsAre(Vector3f(0, 0, 0), Vector3f(10, 0, 0), Vector3f(20, 0, 0),
                                          Vector3f(0, 1, 0), Vector3f(10, 1, 0)));
    EXPECT_EQ(frame.vUV.at(1).col, 1);
    EXPECT_EQ(frame.vUV.at(3).row, 1);
    EXPECT_EQ(frame.vUV.at(3).col, 0);
    EXPECT_THAT(frame.cellFlag, ElementsAre(1, 0, 0, 0, 0));
    EXPECT_FALSE(frame.has_vNormal);
    EXPECT_FALSE(frame.has_vColor);
    EXPECT_TRUE(frame.pose.get_rotation().isIdentity(0));
    EXPECT_TRUE(frame.is_legal());
}

/// The same scan in binary form.
std::string binary_scan(bool big_endian)
{
    auto const put = [big_endian](auto number)
    { return big_endian ? veld_test::big_endian_bytes(number) : bytes(number); };
    std::string text = header(2, 3, 5, big_endian ? "binary_big_endian" : "binary_little_endian");
    for (float const x : {10.0F, 0.0F, 0.0F, 0.0F, 0.0F, 0.0F, 20.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F,
                          10.0F, 1.0F, 0.0F})
    {
        text += put(x);
    }
    for (int const vertex : {1, 0, 2, 3, 4})
    {
        text += '\1' + put(vertex);
    }
    return text + '\0';
}

TEST(RangePly, BinaryFilesOfBothByteOrders)
{
    auto const expected = read(header(2, 3, 5) + BODY + GRID).frame.vCoord;
    for (bool const big_endian : {false, true})
    {
        auto const reading = read(binary_scan(big_endian));
        ASSERT_TRUE(reading.ok) << reading.error;
        EXPECT_EQ(reading.frame.vCoord, expected);
    }
}

TEST(RangePly, GridMayStandBeforeTheVertices)
{
    std::string text = header(2, 3, 5);
    auto const vertices = text.find("element vertex");
    auto const cells = text.find("element range_grid");
    auto const end = text.find("end_header");
    std::string const turned = text.substr(0, vertices) + text.substr(cells, end - cells) +
                               text.substr(vertices, cells - vertices) + text.substr(end);
    auto const reading = read(turned + GRID + BODY);
    ASSERT_TRUE(reading.ok) << reading.error;
    EXPECT_EQ(reading.frame.vCoord.at(2), Vector3f(20, 0, 0));
}

TEST(RangePly, ColoursAreKeptAndNormalsAreNot)
{
    auto const reading =
        read("ply\nformat ascii 1.0\nobj_info num_cols 1\nobj_info num_rows 1\nelement vertex 2\n"
             "property float x\nproperty float y\nproperty float z\nproperty float nx\n"
             "property float ny\nproperty float nz\nproperty uchar red\nproperty uchar green\n"
             "property uchar blue\nproperty float confidence\nelement range_grid 1\n"
             "property list uchar int vertex_indices\nend_header\n"
             "9 9 9 0 0 1 0 0 0 1\n1 2 3 0 0 1 255 0 51 0.5\n1 1\n");
    ASSERT_TRUE(reading.ok) << reading.error;
    // The vertex that no cell names is left out.
    EXPECT_THAT(reading.frame.vCoord, ElementsAre(Vector3f(1, 2, 3)));
    ASSERT_TRUE(reading.frame.has_vColor);
    EXPECT_LT((reading.frame.vColor.at(0) - Vector3f(1, 0, 0.2F)).norm(), 1e-6F);
    EXPECT_FALSE(reading.frame.has_vNormal);
}

TEST(RangePly, CoordinatesThatAreNotFiniteAreKept)
{
    auto const reading = read(header(1, 2, 2) + "nan 0 0\n1 inf 0\n1 0\n1 1\n");
    ASSERT_TRUE(reading.ok) << reading.error;
    EXPECT_EQ(reading.frame.get_vn(), 2U);
    EXPECT_FALSE(reading.frame.is_legal());
}

TEST(RangePly, EmptyGridIsAFrameWithoutVertices)
{
    EXPECT_TRUE(read(header(2, 2, 0) + "0\n0\n0\n0\n").ok);
    EXPECT_TRUE(read(header(0, 7, 0)).ok);
    EXPECT_TRUE(read(header(0, 0, 1) + "1 2 3\n").ok);
}

TEST(RangePly, GridThatContradictsTheFileIsRefused)
{
    std::string const head = header(2, 3, 5);
    EXPECT_THAT(error_of(head + BODY + "1 1\n1 0\n1 2\n1 3\n1 5\n0\n"),
                HasSubstr("range_grid 4 names a vertex that is not there"));
    EXPECT_THAT(error_of(head + BODY + "1 1\n1 0\n1 2\n1 3\n1 -1\n0\n"),
                HasSubstr("range_grid 4 names a vertex that is not there"));
    EXPECT_THAT(error_of(head + BODY + "1 1\n1 0\n1 2\n1 1\n1 4\n0\n"),
                HasSubstr("range_grid 3 names a vertex that is in another cell"));
    EXPECT_THAT(error_of(head + BODY + "2 1 0\n1 2\n1 3\n1 4\n0\n0\n"),
                HasSubstr("range_grid 0 has more than one vertex"));
    EXPECT_THAT(error_of(head + BODY + "1 1.5\n1 0\n1 2\n1 3\n1 4\n0\n"),
                HasSubstr("range_grid 0"));
}

std::string replaced(std::string text, std::string const& from, std::string const& to)
{
    return text.replace(text.find(from), from.size(), to);
}

TEST(RangePly, SizeOfTheGridHasToBeTold)
{
    std::string const good = header(2, 3, 5) + BODY + GRID;
    EXPECT_THAT(error_of(replaced(good, "num_cols 3", "num_cols 4")),
                HasSubstr("a range grid of 6 cells, but rows and columns for 8"));
    EXPECT_THAT(error_of(replaced(good, "num_cols 3", "num_cols")), HasSubstr("num_cols"));
    EXPECT_THAT(error_of(replaced(good, "num_rows 2", "num_rows -2")), HasSubstr("num_rows"));
    EXPECT_THAT(error_of(replaced(good, "obj_info num_rows 2\n", "")), HasSubstr("num_rows"));
    EXPECT_THAT(error_of(replaced(replaced(good, "num_rows 2", "num_rows 268435456"), "num_cols 3",
                                  "num_cols 268435456")),
                HasSubstr("268435456 x 268435456 cells, which is too large"));
    EXPECT_THAT(error_of(replaced(good, "num_rows 2", "num_rows 9223372036854775807")),
                HasSubstr("9223372036854775807 x 3 cells, which is too large"));
    EXPECT_THAT(error_of(replaced(good, "num_rows 2", "num_rows 99999999999999999999")),
                HasSubstr("num_rows"));
}

TEST(RangePly, MeshFilesAndOtherFilesAreRefused)
{
    EXPECT_THAT(error_of(""), HasSubstr("is empty"));
    EXPECT_THAT(error_of("hello"), HasSubstr("is not a PLY file"));
    EXPECT_THAT(error_of(replaced(header(2, 3, 5) + BODY + GRID, "range_grid", "face")),
                HasSubstr("range grid"));
    EXPECT_THAT(error_of(replaced(header(2, 3, 5) + BODY + GRID, "list uchar int", "int")),
                HasSubstr("no list"));
    EXPECT_THAT(error_of(header(2, 3, 5) + BODY + GRID + "0\n"), HasSubstr("more than its header"));
    RangeData frame;
    std::string error;
    EXPECT_FALSE(read_range_ply("/no/such.ply", frame, error));
    EXPECT_EQ(error, "/no/such.ply: no such file");
    EXPECT_FALSE(read_range_ply("/", frame, error));
}

TEST(RangePly, EveryBeginningOfAFileIsRefused)
{
    std::string const text = header(2, 3, 5) + BODY + GRID;
    for (size_t n = 0; n + 2 < text.size(); ++n)
    {
        EXPECT_FALSE(read(text.substr(0, n)).ok) << n;
    }
    std::string const binary = binary_scan(false);
    for (size_t n = 0; n < binary.size(); ++n)
    {
        EXPECT_FALSE(read(binary.substr(0, n)).ok) << n;
    }
}

TEST(RangePly, DeclaredSizesTakeNoMemory)
{
    std::string const many = "element vertex 9000000000000000000";
    EXPECT_FALSE(read(replaced(header(2, 3, 5) + BODY + GRID, "element vertex 5", many)).ok);
    std::string const big = header(16384, 16384, 5, "binary_little_endian");
    EXPECT_FALSE(read(big + std::string(60, '\0')).ok);
}

TEST(RangePly, ChangedBytesDoNoHarm)
{
    std::string const whole = binary_scan(false);
    for (size_t i = 0; i < whole.size(); ++i)
    {
        for (int const change : {1, 0x80, 0xff})
        {
            std::string changed = whole;
            changed[i] = static_cast<char>(changed[i] ^ change);
            auto const reading = read(changed);
            if (reading.ok)
            {
                EXPECT_LE(reading.frame.get_vn(), 5U);
                EXPECT_EQ(reading.frame.cellFlag.size(), reading.frame.get_vn());
            }
        }
    }
}

using RangePlyRealData = veld_test::RealData;

TEST_F(RangePlyRealData, ScansHaveTheirDocumentedSizes)
{
    struct Scan
    {
        char const* file;
        size_t samples;
        int columns;
        int rows;
    };
    for (auto const& scan : {Scan{"range_bunny/bun000.ply", 40256, 512, 400},
                             Scan{"range_bunny/ear_back.ply", 32193, 512, 400},
                             Scan{"range_dragon_stand/dragonStandRight_96.ply", 20645, 363, 272}})
    {
        RangeData frame;
        std::string error;
        ASSERT_TRUE(read_range_ply(veld_test::real_data(scan.file), frame, error)) << error;
        EXPECT_EQ(frame.get_vn(), scan.samples);
        EXPECT_EQ(frame.grid_cols, scan.columns);
        EXPECT_EQ(frame.grid_rows, scan.rows);
        EXPECT_TRUE(frame.is_legal());
    }
}

} // namespace
