#include "algorithmVeld/reconstruction/PointCloud2RangeData.h"

#include "tests/support/log_capture.h"
#include "tests/support/standard_output.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <limits>
#include <sstream>

using namespace OrvaneAlgorithm;
using testing::ElementsAre;
using testing::HasSubstr;
using veld_test::LogCapture;

namespace
{

/// The three forms of poses.
enum class Poses
{
    TWELVE,
    COMMON,
    SIXTEEN
};

/// A directory of text frames.
class Scan : public veld_test::TempDir
{
public:
    Scan(int rows, int columns) : rows_(rows), columns_(columns) {}

    void write(std::string const& name, std::string const& content) const
    {
        std::ofstream(file(name), std::ios::binary) << content;
    }

    void write_points(int number, std::string const& content) const
    {
        write("cloud" + std::to_string(number) + ".asc", content);
    }

    /// Points on a plane at a height, none of them at the origin.
    void write_plane(int number, float height) const
    {
        std::ostringstream text;
        for (int r = 0; r < rows_; ++r)
        {
            for (int c = 0; c < columns_; ++c)
            {
                text << c << " " << r << " " << height << " 0 0 1\n";
            }
        }
        write_points(number, text.str());
    }

    void write_pose(int number, std::string const& content) const
    {
        write("rt" + std::to_string(number) + ".txt", content);
    }

    PointCloud2RangeData reader(Poses form, int first, int last) const
    {
        PointCloud2RangeData frames;
        frames.set_ImageSize(rows_, columns_);
        frames.set_DataInputDir(path().string());
        frames.set_DataTmpDir("unused");
        frames.set_PointCloudName("cloud", ".asc");
        frames.set_RtParamName("rt", ".txt");
        frames.set_FrameIdInfo(first, last);
        frames.set_rt_file_with_12_params(form == Poses::TWELVE);
        frames.set_RtParamStoreType(form == Poses::COMMON);
        return frames;
    }

private:
    int rows_;
    int columns_;
};

std::string const IDENTITY_12 = "1 0 0 0 1 0 0 0 1 0 0 0";
std::string const IDENTITY_16 = "1 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1";

/// The frame that one pixel and a pose make.
PointCloud2RangeData frame_with_pose(Poses form, int number, std::string const& pose)
{
    Scan const scan(1, 1);
    scan.write_plane(number, 5);
    scan.write_pose(number, pose);
    auto frames = scan.reader(form, number, number);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    return frames;
}

Matrix3d rows(double a, double b, double c, double d, double e, double f, double g, double h,
              double i)
{
    Matrix3d m;
    m << a, b, c, d, e, f, g, h, i;
    return m;
}

// The three forms of poses.

TEST(PointCloud2RangeData, TwelveValuesAreTheRotationAndThenTheTranslation)
{
    auto frames = frame_with_pose(Poses::TWELVE, 3, "1 2 3\n4 5 6\n7 8 9\n10 11 12");
    ASSERT_EQ(frames.get_frames(), 1U);
    auto const& pose = frames.get_rangeData(0).get_rigidMatrix();
    EXPECT_EQ(pose.get_rotation(), rows(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(pose.get_translation(), Vector3d(10, 11, 12));
    EXPECT_EQ(frames.get_frame_id(0), 3);
}

TEST(PointCloud2RangeData, CommonFileHoldsRowsOfRotationAndTranslation)
{
    Scan const scan(1, 1);
    scan.write_plane(7, 5);
    scan.write_plane(2, 6);
    // Its own numbers in its own order; the first and the last frame do not matter.
    scan.write("rt.txt", "frame 7\n1 2 3 10\n4 5 6 11\n7 8 9 12\nframe 2 " + IDENTITY_12);
    auto frames = scan.reader(Poses::COMMON, 50, 40);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(7, 2));
    auto const& pose = frames.get_rangeData(0).get_rigidMatrix();
    EXPECT_EQ(pose.get_rotation(), rows(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(pose.get_translation(), Vector3d(10, 11, 12));
    EXPECT_EQ(frames.get_rangeData(0).vCoord.at(0).z(), 5.0F);
    EXPECT_EQ(frames.get_rangeData(1).vCoord.at(0).z(), 6.0F);
}

TEST(PointCloud2RangeData, SixteenValuesAreAMatrixByRows)
{
    auto frames =
        frame_with_pose(Poses::SIXTEEN, 4,
                        "scan 9 of 12\n== frame no. 4, mm\n1 2 3 10 4 5 6 11 7 8 9 12 0 0 0 1\n");
    auto const& pose = frames.get_rangeData(0).get_rigidMatrix();
    EXPECT_EQ(pose.get_rotation(), rows(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(pose.get_translation(), Vector3d(10, 11, 12));
}

TEST(PointCloud2RangeData, SixteenValuesWithoutAHeader)
{
    Scan const scan(1, 1);
    scan.write_plane(4, 5);
    scan.write_pose(4, IDENTITY_16);
    auto frames = scan.reader(Poses::SIXTEEN, 4, 4);
    frames.set_HasFrameIdInfo(false);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 1U);
}

TEST(PointCloud2RangeData, LongHeaderLineGoesOnInTheNext)
{
    // A header line is read in pieces of 511 characters: what is left of a long first line is the
    // second, and the true second one is read as values of the matrix.
    auto frames = frame_with_pose(
        Poses::SIXTEEN, 4, "1" + std::string(510, 'x') + "4\n2 0 0 0  0 1 0 0  0 0 1 0  0 0 0 1");
    EXPECT_EQ(frames.get_rangeData(0).get_rigidMatrix().get_rotation()(0, 0), 2.0);
}

TEST(PointCloud2RangeData, HeaderLineThatFitsWithItsEndIsOneLine)
{
    // 510 characters and the end of the line are read in one go; of 511 the end would be left, as
    // a second line without a number.
    Scan const scan(1, 1);
    scan.write_plane(4, 5);
    scan.write_pose(4, "1" + std::string(509, 'x') + "\n4\n" + IDENTITY_16);
    auto frames = scan.reader(Poses::SIXTEEN, 4, 4);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 1U);
    scan.write_pose(4, "1" + std::string(510, 'x') + "\n4\n" + IDENTITY_16);
    auto longer = scan.reader(Poses::SIXTEEN, 4, 4);
    longer.Initialize();
    EXPECT_THROW(longer.processPointCloud(), std::out_of_range);
}

TEST(PointCloud2RangeData, LongWordOfTheCommonFileIsReadInPieces)
{
    // The rest of a longer word stands where the frame's number should: the record is empty, and
    // the text behind it begins the next one.
    Scan const scan(1, 1);
    scan.write("rt.txt", std::string(511, 'w') + "x 5");
    auto frames = scan.reader(Poses::COMMON, 0, 0);
    frames.Initialize();
    frames.processPointCloud();
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(0, 5));
}

// Points and cells.

TEST(PointCloud2RangeData, FullGridHasFlagsExceptInTheLastRowAndColumn)
{
    Scan const scan(3, 4);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    auto const& frame = frames.get_rangeData(0);
    EXPECT_EQ(frame.grid_rows, 3);
    EXPECT_EQ(frame.grid_cols, 4);
    ASSERT_EQ(frame.get_vn(), 12U);
    for (size_t i = 0; i < 12; ++i)
    {
        int const r = static_cast<int>(i) / 4;
        int const c = static_cast<int>(i) % 4;
        EXPECT_EQ(frame.vUV[i].row, r);
        EXPECT_EQ(frame.vUV[i].col, c);
        EXPECT_EQ(frame.vCoord[i], Vector3f(static_cast<float>(c), static_cast<float>(r), 5));
        EXPECT_EQ(frame.cellFlag[i], r < 2 && c < 3 ? 1 : 0);
    }
    EXPECT_FALSE(frame.has_vNormal);
    EXPECT_TRUE(frame.is_legal());
}

TEST(PointCloud2RangeData, PixelAtTheOriginHasNoPointAndItsCellsAreNotComplete)
{
    Scan const scan(2, 3);
    scan.write_points(1, "0 0 1 0 0 0  1 0 1 0 0 0  0 0 0 0 0 0\n"
                         "0 1 1 0 0 0  1 1 1 0 0 0  2 1 1 0 0 0\n");
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    auto const& frame = frames.get_rangeData(0);
    EXPECT_EQ(frame.get_vn(), 5U);
    EXPECT_THAT(frame.cellFlag, ElementsAre(1, 0, 0, 0, 0));
    EXPECT_EQ(frame.vUV.at(2).row, 1);
    EXPECT_EQ(frame.vUV.at(2).col, 0);
}

TEST(PointCloud2RangeData, CellNeedsEachOfItsFourCorners)
{
    for (int const gap : {0, 1, 2, 3})
    {
        Scan const scan(2, 2);
        std::string points;
        for (int i = 0; i < 4; ++i)
        {
            points += i == gap ? "0 0 0 0 0 0 " : "1 2 3 0 0 0 ";
        }
        scan.write_points(1, points);
        scan.write_pose(1, IDENTITY_12);
        auto frames = scan.reader(Poses::TWELVE, 1, 1);
        frames.Initialize();
        EXPECT_TRUE(frames.processPointCloud());
        EXPECT_THAT(frames.get_rangeData(0).cellFlag, ElementsAre(0, 0, 0)) << gap;
    }
}

TEST(PointCloud2RangeData, PointIsWhereTheAbsoluteCoordinatesAddUpToMoreThanTheLimit)
{
    Scan const scan(1, 5);
    // 1e-5 as a float is a little less than 1e-5, and the next float a little more.
    scan.write_points(1, "1e-5 0 0 0 0 0  0 1.0000001e-5 0 0 0 0  6e-6 -6e-6 0 0 0 0 "
                         "nan 1 1 0 0 0  inf 1 1 0 0 0");
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    auto const& frame = frames.get_rangeData(0);
    std::vector<int> columns;
    for (auto const& cell : frame.vUV)
    {
        columns.push_back(cell.col);
    }
    EXPECT_THAT(columns, ElementsAre(1, 2, 4)); // NaN compares with nothing
}

TEST(PointCloud2RangeData, CoordinatesAreAddedInFloatAndComparedInDouble)
{
    // The float nearest to 1e-5 is 2.5e-13 less than 1e-5, and the next one is 9.1e-13 above that.
    // 3e-13 more are beyond the limit, but the sum of floats stays where it was; 5e-13 more make it
    // the next float.
    Scan const scan(1, 4);
    scan.write_points(1, "1e-5 3e-13 0 0 0 0  1e-5 5e-13 0 0 0 0  -1e-5 0 -3e-13 0 0 0 "
                         "-1e-5 0 -5e-13 0 0 0");
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    auto const& frame = frames.get_rangeData(0);
    ASSERT_EQ(frame.get_vn(), 2U);
    EXPECT_EQ(frame.vUV[0].col, 1);
    EXPECT_EQ(frame.vUV[1].col, 3);
}

TEST(PointCloud2RangeData, RowsComeBeforeColumnsInTheSetter)
{
    Scan const scan(1, 3);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.set_ImageSize(3, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    auto const& frame = frames.get_rangeData(0);
    EXPECT_EQ(frame.grid_rows, 3);
    EXPECT_EQ(frame.grid_cols, 1);
    EXPECT_EQ(frame.vUV.at(2).row, 2);
}

// Which frames there are.

TEST(PointCloud2RangeData, FirstAboveLastReadsNothingAndIsWell)
{
    Scan const scan(2, 2);
    scan.write_plane(5, 5);
    scan.write_pose(5, IDENTITY_12);
    for (Poses const form : {Poses::TWELVE, Poses::SIXTEEN})
    {
        auto frames = scan.reader(form, 6, 5);
        frames.Initialize();
        LogCapture const log;
        EXPECT_TRUE(frames.processPointCloud());
        EXPECT_EQ(frames.get_frames(), 0U);
        EXPECT_TRUE(frames.get_frame_id_arr().empty());
        EXPECT_EQ(log.count("  # fail to load any matrix.\n"), form == Poses::TWELVE ? 1 : 0);
    }
}

TEST(PointCloud2RangeData, RangeEndsAtTheLargestNumber)
{
    Scan const scan(1, 1);
    int const most = std::numeric_limits<int>::max();
    for (Poses const form : {Poses::TWELVE, Poses::SIXTEEN})
    {
        auto frames = scan.reader(form, most - 1, most);
        frames.Initialize();
        EXPECT_TRUE(frames.processPointCloud());
    }
}

TEST(PointCloud2RangeData, FrameWithoutAPoseIsNotThere)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_plane(2, 5);
    scan.write_plane(3, 5);
    scan.write_pose(1, IDENTITY_12);
    scan.write_pose(3, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 4);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(1, 3));
}

TEST(PointCloud2RangeData, FrameWithoutPointsIsEmptyAndTheResultStaysTrue)
{
    // The counts agree all the same, which is all that the result looks at.
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    scan.write_pose(2, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 2);
    frames.Initialize();
    LogCapture const log;
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_frames(), 2U);
    EXPECT_EQ(frames.get_rangeData(1).get_vn(), 0U);
    EXPECT_EQ(log.count("  !!!fail to read cloud of frame    2\n"), 1);
    EXPECT_FALSE(frames.get_frame_input(1).has_points);
    EXPECT_TRUE(frames.get_frame_input(0).has_points);
}

TEST(PointCloud2RangeData, MissingCommonFileIsPrintedAndWell)
{
    Scan const scan(1, 1);
    auto frames = scan.reader(Poses::COMMON, 1, 1);
    frames.Initialize();
    LogCapture const log;
    auto const printed = veld_test::output_of([&] { EXPECT_TRUE(frames.processPointCloud()); });
    EXPECT_EQ(printed, "fail to read '" + scan.path().string() + "/rt.txt'.\n");
    EXPECT_EQ(log.count("fail to read"), 0);
    EXPECT_EQ(frames.get_frames(), 0U);
}

TEST(PointCloud2RangeData, HeaderWithAnotherNumberLeavesTheFrameEmpty)
{
    Scan const scan(1, 1);
    scan.write_plane(4, 5);
    scan.write_pose(4, "4\n5\n" + IDENTITY_16);
    auto frames = scan.reader(Poses::SIXTEEN, 4, 4);
    frames.Initialize();
    LogCapture const log;
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_frames(), 1U);
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 0U);
    EXPECT_EQ(log.count("orvaneMat.curFrameId (5) != frameId (4)\n"
                        "  fail to get matrix of frame 4.\n"),
              1);
    EXPECT_EQ(log.count("fail to get matrix"), 1);
    EXPECT_FALSE(frames.get_frame_input(0).has_pose);
}

TEST(PointCloud2RangeData, HeaderLineWithoutADigitThrows)
{
    for (char const* const header : {"no digit\n4\n", "4\nno digit\n", "4\n", ""})
    {
        Scan const scan(1, 1);
        scan.write_plane(4, 5);
        scan.write_pose(4, header);
        auto frames = scan.reader(Poses::SIXTEEN, 4, 4);
        frames.Initialize();
        try
        {
            frames.processPointCloud();
            ADD_FAILURE() << header;
        }
        catch (std::out_of_range const& error)
        {
            EXPECT_STREQ(error.what(), "invalid string position");
        }
        // The list ends with the frame whose file it was.
        EXPECT_EQ(frames.get_frame_id_arr().back(), 4);
    }
}

TEST(PointCloud2RangeData, HeaderNumberThatIsTooLargeIsNoFrames)
{
    auto frames = frame_with_pose(Poses::SIXTEEN, 4, "1\n99999999999999999999\n" + IDENTITY_16);
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 0U);
}

// Files that are short or damaged.

TEST(PointCloud2RangeData, CommonRecordWithoutANumberHasNoPoseEvenIfItsValuesAreThere)
{
    // ".5" is no frame number, but the first value: twelve values are read all the same.
    Scan const scan(1, 1);
    scan.write("rt.txt", "frame .5 0 0 0 0 1 0 0 0 0 1 0 frame 3 " + IDENTITY_12);
    auto frames = scan.reader(Poses::COMMON, 0, 0);
    frames.Initialize();
    frames.processPointCloud();
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(0, 3));
    EXPECT_EQ(frames.get_frame_input(0).pose_values_missing, 12);
    EXPECT_EQ(frames.get_frame_input(1).pose_values_missing, 0);
}

TEST(PointCloud2RangeData, ShortPoseFileGivesZeros)
{
    auto frames = frame_with_pose(Poses::TWELVE, 1, "1 0 0 0 1 0 0 0 1 10");
    EXPECT_EQ(frames.get_rangeData(0).get_rigidMatrix().get_translation(), Vector3d(10, 0, 0));
    EXPECT_EQ(frames.get_frame_input(0).pose_values_missing, 2);
}

TEST(PointCloud2RangeData, EmptyPoseFileStillMakesAFrame)
{
    auto frames = frame_with_pose(Poses::TWELVE, 1, "");
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 1U);
    EXPECT_EQ(frames.get_rangeData(0).get_rigidMatrix().get_rotation(), Matrix3d::Zero());
    EXPECT_EQ(frames.get_frame_input(0).pose_values_missing, 12);
}

TEST(PointCloud2RangeData, DamagedCommonFileGoesOnAtTheNextWord)
{
    // A value that is none is the word that begins the next record.
    Scan const scan(1, 1);
    scan.write("rt.txt", "frame 1 1 0 oops 2 " + IDENTITY_12 + " frame");
    auto frames = scan.reader(Poses::COMMON, 0, 0);
    frames.Initialize();
    frames.processPointCloud();
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(1, 2, 0));
    EXPECT_EQ(frames.get_frame_input(0).pose_values_missing, 10);
    EXPECT_EQ(frames.get_frame_input(1).pose_values_missing, 0);
    EXPECT_EQ(frames.get_frame_input(2).pose_values_missing, 12);
}

TEST(PointCloud2RangeData, ShortPointFileKeepsTheFrameBeforeAndTheFirstHasZeros)
{
    // The points are set to zero once a run, and not again between frames.
    Scan const scan(1, 3);
    for (int const i : {1, 2, 3})
    {
        scan.write_pose(i, IDENTITY_12);
    }
    scan.write_points(1, "1 1 1 0 0 0  2 2 2 0 0 0");
    scan.write_points(2, "3 3 3 0 0 0  4 4 4 0 0 0  5 5 5 0 0 0");
    scan.write_points(3, "6 6 6 0 0 0  7 7");
    auto frames = scan.reader(Poses::TWELVE, 1, 3);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_THAT(frames.get_rangeData(0).vCoord, ElementsAre(Vector3f(1, 1, 1), Vector3f(2, 2, 2)));
    EXPECT_THAT(frames.get_rangeData(2).vCoord,
                ElementsAre(Vector3f(6, 6, 6), Vector3f(7, 7, 4), Vector3f(5, 5, 5)));
    EXPECT_EQ(frames.get_frame_input(0).points_read, 2U);
    EXPECT_EQ(frames.get_frame_input(1).points_read, 3U);
    EXPECT_EQ(frames.get_frame_input(2).points_read, 1U);
}

TEST(PointCloud2RangeData, FrameWithItsOwnPointsOnlyHoldsNothingOfTheFrameBefore)
{
    Scan const scan(2, 2);
    for (int const i : {1, 2, 3})
    {
        scan.write_pose(i, IDENTITY_12);
    }
    scan.write_plane(1, 5);
    scan.write_points(2, "6 6 6 0 0 0  7 7 7 0 0 0  8 8 8 0 0 0  9 9");
    scan.write_points(3, "");
    auto frames = scan.reader(Poses::TWELVE, 1, 3);
    frames.set_OwnPointsOnly(true);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 4U);
    EXPECT_THAT(frames.get_rangeData(0).cellFlag, ElementsAre(1, 0, 0, 0));
    EXPECT_THAT(frames.get_rangeData(1).vCoord,
                ElementsAre(Vector3f(6, 6, 6), Vector3f(7, 7, 7), Vector3f(8, 8, 8)));
    EXPECT_THAT(frames.get_rangeData(1).cellFlag, ElementsAre(0, 0, 0));
    EXPECT_EQ(frames.get_frame_input(1).points_read, 3U);
    EXPECT_EQ(frames.get_rangeData(2).get_vn(), 0U);
    EXPECT_TRUE(frames.get_frame_input(2).has_pose);
}

TEST(PointCloud2RangeData, NumberThatStandsTwiceHasItsPointsOnceWithItsOwnPointsOnly)
{
    Scan const scan(1, 1);
    scan.write_plane(7, 5);
    scan.write("rt.txt", "a 7 " + IDENTITY_12 + " b 7 " + IDENTITY_12);
    for (bool const own : {false, true})
    {
        auto frames = scan.reader(Poses::COMMON, 0, 0);
        frames.set_OwnPointsOnly(own);
        frames.Initialize();
        EXPECT_TRUE(frames.processPointCloud());
        EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(7, 7));
        EXPECT_EQ(frames.get_rangeData(0).get_vn(), 1U);
        EXPECT_EQ(frames.get_rangeData(1).get_vn(), own ? 0U : 1U);
        EXPECT_EQ(frames.get_frame_input(1).has_points, !own);
    }
}

TEST(PointCloud2RangeData, LargestGridIsReadAsFarAsTheFileGoes)
{
    // Points of the whole grid alone would take 3 GB.
    Scan const scan(16384, 16384);
    scan.write_pose(1, IDENTITY_12);
    scan.write_points(1, "1 1 1 0 0 0  2 2 2 0 0 0");
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_rangeData(0).grid_cols, 16384);
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 2U);
    EXPECT_TRUE(frames.get_rangeData(0).is_legal());
}

TEST(PointCloud2RangeData, CellsOfAGridOfWhichTheLastRowIsCutOff)
{
    Scan const scan(3, 3);
    scan.write_pose(1, IDENTITY_12);
    std::string points;
    for (int i = 0; i < 8; ++i)
    {
        points += "1 2 3 0 0 0 ";
    }
    scan.write_points(1, points);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_THAT(frames.get_rangeData(0).cellFlag, ElementsAre(1, 1, 0, 1, 0, 0, 0, 0));
}

TEST(PointCloud2RangeData, LongPointFileIsReadAsFarAsTheGridGoes)
{
    Scan const scan(1, 1);
    scan.write_pose(1, IDENTITY_12);
    scan.write_points(1, "1 2 3 0 0 0  9 9 9 0 0 0 rest");
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_THAT(frames.get_rangeData(0).vCoord, ElementsAre(Vector3f(1, 2, 3)));
}

TEST(PointCloud2RangeData, DirectoryInPlaceOfAFileIsNoFile)
{
    Scan const scan(1, 1);
    std::filesystem::create_directory(scan.path() / "rt1.txt");
    scan.write_pose(2, IDENTITY_12);
    std::filesystem::create_directory(scan.path() / "cloud2.asc");
    auto frames = scan.reader(Poses::TWELVE, 1, 2);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(2));
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 0U);
}

TEST(PointCloud2RangeData, EveryBeginningOfEveryFileIsRead)
{
    std::string const poses = "a 1 1 0 0 0 0 1 0 0 0 0 1 0 b 2 " + IDENTITY_12;
    std::string const points = "1 1 1 0 0 1\n2.5e0 -2 2 0 0 1 3 3 3 nan inf -1e9 4 4 4 0 0 1";
    for (size_t n = 0; n <= std::max(poses.size(), points.size()); ++n)
    {
        Scan const scan(2, 2);
        scan.write("rt.txt", poses.substr(0, n));
        scan.write_points(1, points.substr(0, n));
        scan.write_points(2, points);
        auto frames = scan.reader(Poses::COMMON, 0, 0);
        frames.Initialize();
        EXPECT_TRUE(frames.processPointCloud());
        EXPECT_LE(frames.get_frames(), 2U);
        for (size_t i = 0; i < frames.get_frames(); ++i)
        {
            EXPECT_LE(frames.get_rangeData(static_cast<int>(i)).get_vn(), 4U);
        }
    }
}

// The object.

TEST(PointCloud2RangeData, WithoutInitializeFailsWhereThereIsAPose)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    LogCapture const log;
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    auto const printed = veld_test::output_of([&] { EXPECT_FALSE(frames.processPointCloud()); });
    EXPECT_EQ(printed, "  !!!error: memory uninitialized.\n");
    EXPECT_EQ(frames.get_frames(), 0U);
    EXPECT_THAT(log.text(), HasSubstr("  !!!error in file number.\n"
                                      "    mRtFrameNumArr.size():   1\n"
                                      "    mRgeFrameNumArr.size():  0\n"
                                      "    mRangeDataArr.size():    0\n"
                                      "    mMatrixArr.size():       1\n"));
    auto none = scan.reader(Poses::TWELVE, 8, 9);
    veld_test::output_of([&] { EXPECT_TRUE(none.processPointCloud()); });
}

TEST(PointCloud2RangeData, GridThatGrewAfterInitializeHasNoMemory)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    frames.set_ImageSize(100, 100);
    EXPECT_FALSE(frames.processPointCloud());
    EXPECT_EQ(frames.get_frames(), 0U);
}

TEST(PointCloud2RangeData, GridsOfImpossibleSizes)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    int const most = std::numeric_limits<int>::max();
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.set_ImageSize(most, most);
    frames.Initialize();
    LogCapture const log;
    auto const printed = veld_test::output_of([&] { EXPECT_FALSE(frames.processPointCloud()); });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(log.count("  !!!error: a grid of 2147483647 x 2147483647 has more than 268435456 "
                        "pixels.\n"),
              1);
    for (auto const& size : {std::pair(0, 5), std::pair(-3, -4), std::pair(-1, most)})
    {
        auto empty = scan.reader(Poses::TWELVE, 1, 1);
        empty.set_ImageSize(size.first, size.second);
        empty.Initialize();
        EXPECT_TRUE(empty.processPointCloud());
        EXPECT_EQ(empty.get_rangeData(0).get_vn(), 0U);
    }
}

TEST(PointCloud2RangeData, InitializeTwiceTakesNewArrays)
{
    Scan const scan(2, 2);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    EXPECT_EQ(frames.get_rangeData(0).get_vn(), 4U);
}

TEST(PointCloud2RangeData, SecondRunAppendsToTheListAndFails)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_plane(2, 6);
    scan.write_pose(1, IDENTITY_12);
    scan.write_pose(2, IDENTITY_12);
    auto frames = scan.reader(Poses::TWELVE, 1, 2);
    frames.Initialize();
    EXPECT_TRUE(frames.processPointCloud());
    LogCapture const log;
    EXPECT_FALSE(frames.processPointCloud());
    EXPECT_THAT(frames.get_frame_id_arr(), ElementsAre(1, 2, 1, 2));
    EXPECT_EQ(frames.get_frames(), 4U);
    EXPECT_EQ(frames.get_rangeData(1).get_vn(), 1U);
    EXPECT_EQ(frames.get_rangeData(2).get_vn(), 0U);
    EXPECT_EQ(log.count("  fail to get matrix of frame 1.\n"), 1);
    EXPECT_EQ(log.count("  fail to get matrix of frame 2.\n"), 1);
    EXPECT_EQ(log.count("curFrameId"), 0); // there is no record whose number could differ
    EXPECT_THAT(log.text(), HasSubstr("    mRangeDataArr.size():    4\n"
                                      "    mMatrixArr.size():       2\n"));
}

TEST(PointCloud2RangeData, CopyOutlivesItsSource)
{
    Scan const scan(2, 2);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    PointCloud2RangeData copy;
    {
        auto frames = scan.reader(Poses::TWELVE, 1, 1);
        frames.Initialize();
        PointCloud2RangeData const second(frames);
        copy = second;
    }
    EXPECT_TRUE(copy.processPointCloud());
    EXPECT_EQ(copy.get_rangeData(0).get_vn(), 4U);
    PointCloud2RangeData const with_frames(copy);
    copy.get_rangeData(0).clear();
    EXPECT_EQ(PointCloud2RangeData(with_frames).get_rangeData(0).get_vn(), 4U);
}

TEST(PointCloud2RangeData, IndexOutOfRangeIsLoggedAndThrows)
{
    PointCloud2RangeData frames;
    for (int const index : {-1, 0, std::numeric_limits<int>::min()})
    {
        LogCapture const log;
        EXPECT_THROW(frames.get_rangeData(index), std::out_of_range);
        EXPECT_EQ(log.text(), "  !!!error: index is out of range.\n");
    }
    LogCapture const log;
    EXPECT_THROW(frames.get_frame_id(-1), std::out_of_range);
    EXPECT_THROW(frames.get_frame_id(0), std::out_of_range);
    EXPECT_EQ(log.count("  !!!error: frame index is out of range.\n"), 2);
    EXPECT_THROW(frames.get_frame_input(0), std::out_of_range);
}

TEST(PointCloud2RangeData, NewObjectHasNoFrames)
{
    PointCloud2RangeData const frames;
    EXPECT_EQ(frames.get_frames(), 0U);
    EXPECT_TRUE(frames.get_frame_id_arr().empty());
}

// What it tells.

TEST(PointCloud2RangeData, LogsTheTwelveValueRun)
{
    Scan const scan(1, 2);
    scan.write_plane(11, 5);
    scan.write_pose(11, IDENTITY_12);
    LogCapture const log;
    auto frames = scan.reader(Poses::TWELVE, 10, 11);
    frames.Initialize();
    frames.processPointCloud();
    std::string const dir = scan.path().string();
    // The line with the number of vertices names the index and not the frame.
    EXPECT_EQ(log.text(), "PointCloud2RangeData::Initialize() ..\n"
                          "PointCloud2RangeData::processPointCloud() ..\n"
                          "load_matrix_pro_scan() ..\n"
                          "  # loading '" +
                              dir +
                              "/rt10.txt'.\n"
                              "  ! fail to read Rt param of frame   10\n"
                              "  # loading '" +
                              dir +
                              "/rt11.txt'.\n"
                              "PointCloud2RangeData::loadFile() ..\n"
                              "  loading '" +
                              dir +
                              "/cloud11.asc'.\n"
                              "  frame [   0] valid vertices:         2\n");
}

TEST(PointCloud2RangeData, LogsTheSixteenValueRun)
{
    Scan const scan(1, 2);
    scan.write_plane(11, 5);
    scan.write_pose(11, "1\n11\n" + IDENTITY_16);
    LogCapture const log;
    auto frames = scan.reader(Poses::SIXTEEN, 10, 11);
    frames.Initialize();
    frames.processPointCloud();
    std::string const dir = scan.path().string();
    EXPECT_EQ(log.text(), "PointCloud2RangeData::Initialize() ..\n"
                          "PointCloud2RangeData::processPointCloud() ..\n"
                          "load_matrix_teeth_data() ..\n"
                          "  loading '" +
                              dir +
                              "/rt10.txt'.\n"
                              "  fail to read Rt param of frame   10\n"
                              "  loading '" +
                              dir +
                              "/rt11.txt'.\n"
                              "PointCloud2RangeData::loadFile() ..\n"
                              "  loading '" +
                              dir +
                              "/cloud11.asc'.\n"
                              "  frame [   0] valid vertices:         2\n");
}

TEST(PointCloud2RangeData, WithoutTheSwitchNothingIsTold)
{
    Scan const scan(1, 1);
    scan.write_pose(2, "1\n3\n" + IDENTITY_16);
    scan.write_plane(2, 5);
    LogCapture const log(false);
    auto const printed = veld_test::output_of(
        [&]
        {
            for (Poses const form : {Poses::COMMON, Poses::SIXTEEN})
            {
                auto frames = scan.reader(form, 1, 2);
                frames.processPointCloud();
                frames.Initialize();
                frames.processPointCloud();
                EXPECT_THROW(frames.get_rangeData(-1), std::out_of_range);
            }
        });
    EXPECT_EQ(log.text(), "");
    EXPECT_EQ(printed, "");
}

TEST(PointCloud2RangeData, StepsStandUnderLoading)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    LogCapture const log;
    gLH.clear_steps();
    auto frames = scan.reader(Poses::TWELVE, 1, 1);
    frames.Initialize();
    frames.processPointCloud();
    std::string const report = gLH.steps_as_json();
    auto const at = [&report](char const* name) { return report.find(name); };
    ASSERT_NE(at("\"PC2RD-load-data\""), std::string::npos);
    EXPECT_LT(at("\"PC2RD-load-data\""), at("\"load-matrix-files\""));
    EXPECT_LT(at("\"load-matrix-files\""), at("\"load-point-cloud-files\""));
    // At the top, and so behind the whole tree of loading.
    EXPECT_LT(at("\"load-point-cloud-files\""), at("\"pc2rd-create-image\""));
    EXPECT_NE(at("\"pc2rd-create-image\""), std::string::npos);
    gLH.clear_steps();
}

TEST(PointCloud2RangeData, CountingTheVerticesIsAStepOfItsOwnOnlyWhereTheyAreTold)
{
    Scan const scan(1, 1);
    scan.write_plane(1, 5);
    scan.write_pose(1, IDENTITY_12);
    for (bool const verbose : {true, false})
    {
        LogCapture const log(verbose);
        veld_test::StepsHeard const heard;
        auto frames = scan.reader(Poses::TWELVE, 1, 1);
        frames.Initialize();
        frames.processPointCloud();
        std::vector<std::string> const before{
            "+PC2RD-load-data/", "+load-matrix-files/PC2RD-load-data",
            "-load-matrix-files/PC2RD-load-data", "+load-point-cloud-files/PC2RD-load-data"};
        std::vector<std::string> expected = before;
        if (verbose)
        {
            expected.insert(expected.end(), {"+pc2rd-create-image/", "-pc2rd-create-image/"});
        }
        expected.insert(expected.end(),
                        {"-load-point-cloud-files/PC2RD-load-data", "-PC2RD-load-data/"});
        EXPECT_EQ(heard.events(), expected) << verbose;
    }
}

} // namespace
