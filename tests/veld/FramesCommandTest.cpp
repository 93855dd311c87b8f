#include "depth_png.h"
#include "run_veld.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "tests/support/real_data.h"

#include <gmock/gmock.h>

#include <limits>
#include <map>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::CRangeDataIO;
using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;
using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

RangeData read_rge(std::string const& path)
{
    RangeData frame;
    EXPECT_EQ(CRangeDataIO::read_rge(fs::path(path).wstring(), frame), 0) << path;
    return frame;
}

void write_rge(std::string const& path, RangeData const& frame)
{
    ASSERT_EQ(CRangeDataIO::write_rge(fs::path(path).wstring(), frame), 0);
}

/// A run of `veld frames` into a directory of its own.
struct FramesRun
{
    TempDir dir;
    Outcome outcome;

    explicit FramesRun(std::string const& source, std::vector<std::string> const& options = {})
    {
        std::vector<std::string> arguments{"frames", source, "-o", dir.file("out"), "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        outcome = run_veld(arguments);
    }
    std::size_t count() const { return outcome.json()["frames"].size(); }
    RangeData frame(std::size_t i) const
    {
        return read_rge(outcome.json()["frames"].at(i)["file"].get<std::string>());
    }
    void expect_error(std::string const& text) const
    {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr("error: "));
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_FALSE(fs::exists(dir.file("out"))); // nothing is left behind
    }
    void expect_only_warning(std::string const& text) const
    {
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.error_lines(), 1) << outcome.err;
        EXPECT_EQ(outcome.err.rfind("warning: ", 0), 0U);
        EXPECT_THAT(outcome.err, HasSubstr(text));
    }
};

Vector3d normal_of_first_quad(RangeData const& frame)
{
    OrvaneAlgorithm::MatrixXi map;
    frame.create_vertices_index_map(map);
    std::vector<std::vector<int>> quads;
    frame.convert_to_quad(map, quads);
    auto const point = [&](std::size_t i) -> Vector3d
    { return frame.vCoord[static_cast<std::size_t>(quads.at(0)[i])].cast<double>(); };
    return (point(1) - point(0)).cross(point(2) - point(0)).normalized();
}

// Range scans.

/// A PLY file with a range grid without gaps, on a plane at z = 0.
/// \param right where x grows to with the column, 1 or -1
std::string scan_text(int rows, int columns, int right)
{
    std::ostringstream text;
    text << "ply\nformat ascii 1.0\nobj_info num_cols " << columns << "\nobj_info num_rows " << rows
         << "\nelement vertex " << rows * columns
         << "\nproperty float x\nproperty float y\nproperty float z\nelement range_grid "
         << rows * columns << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (int i = 0; i < rows * columns; ++i)
    {
        text << right * (i % columns) << " " << i / columns << " 0\n";
    }
    for (int i = 0; i < rows * columns; ++i)
    {
        text << "1 " << i << "\n";
    }
    return text.str();
}

/// A folder with two range scans and the list that names them.
class Scans : public TempDir
{
public:
    explicit Scans(std::string const& rows)
    {
        write_file(file("a.ply"), scan_text(3, 4, 1));
        write_file(file("b.ply"), scan_text(2, 2, 1));
        write_file(conf(), rows);
    }
    std::string conf() const { return file("scans.conf"); }
};

TEST(FramesCommand, HasTheDocumentedKeys)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\n");
    FramesRun const run(scans.conf());
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    auto const json = run.outcome.json();
    EXPECT_THAT(keys_of(json), ElementsAre("frames", "noise", "noise_aslant", "noise_depth"));
    ASSERT_EQ(json["frames"].size(), 1U);
    EXPECT_THAT(keys_of(json["frames"][0]),
                testing::UnorderedElementsAre("file", "vertices", "rows", "columns"));
    EXPECT_EQ(json["frames"][0]["vertices"], 12);
    EXPECT_EQ(json["frames"][0]["rows"], 3);
    EXPECT_EQ(json["frames"][0]["columns"], 4);
    EXPECT_EQ(json["frames"][0]["file"],
              (fs::path(run.dir.file("out")) / "frame-0000.rge").string());
    EXPECT_EQ(run.outcome.err, "");
    EXPECT_THAT(files_in(run.dir.file("out")), ElementsAre("frame-0000.rge"));
}

TEST(FramesCommand, RangeScansKeepTheirOrderAndOtherRowsAreSkipped)
{
    Scans const scans(
        "camera 0 0 0 0 0 0 1\n\n# both\nbmesh b.ply 1 2 3 0 0 0 2\r\n"
        "mesh whole.ply 0 0 0 0 0 0 1\nbmesh a.ply 0 0 0 0 0 0.70710678 0.70710678\n");
    FramesRun const run(scans.conf());
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    ASSERT_EQ(run.count(), 2U);
    EXPECT_EQ(run.frame(0).get_vn(), 4U);
    EXPECT_EQ(run.frame(0).pose.get_translation(), Vector3d(1, 2, 3));
    // A quarter turn about z in the row, turned round: x of the frame is -y.
    RangeData const turned = run.frame(1);
    Vector3f global;
    turned.get_global_vCoord(1, global);
    EXPECT_LT((global - Vector3f(0, -1, 0)).norm(), 1e-6F);
}

TEST(FramesCommand, NormalsOfRangeScansLookUpZ)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\n");
    FramesRun const run(scans.conf());
    RangeData const frame = run.frame(0);
    ASSERT_TRUE(frame.has_vNormal);
    for (auto const& normal : frame.vNrv)
    {
        EXPECT_LT((normal - Vector3f(0, 0, 1)).norm(), 1e-6F);
    }
    EXPECT_GT(normal_of_first_quad(frame).z(), 0.99);
    EXPECT_EQ(frame.vUV.at(1).col, 1); // the grid stays
}

TEST(FramesCommand, MirroredGridIsMirroredBackWithItsCells)
{
    Scans const scans("bmesh m.ply 0 0 0 0 0 0 1\n");
    // One cell of four is missing a corner, the left upper one of the grid.
    std::string text = scan_text(3, 3, -1);
    write_file(scans.file("m.ply"), text.replace(text.find("1 0\n1 1\n"), 4, "0\n"));
    FramesRun const run(scans.conf());
    RangeData const frame = run.frame(0);
    EXPECT_TRUE(frame.is_legal());
    EXPECT_GT(normal_of_first_quad(frame).z(), 0.99);
    ASSERT_EQ(frame.get_vn(), 8U);
    int flags = 0;
    for (std::size_t i = 0; i < 8; ++i)
    {
        // Points stay where they are, and x grows with the column now.
        EXPECT_EQ(frame.vCoord[i].x(), static_cast<float>(frame.vUV[i].col - 2));
        EXPECT_GT(frame.vNrv[i].z(), 0.99F);
        flags += frame.cellFlag[i];
    }
    EXPECT_EQ(flags, 3);
}

TEST(FramesCommand, ScaleMultipliesPointsAndPoses)
{
    Scans const scans("bmesh a.ply 0.5 0 0 0 0 0 1\n");
    FramesRun const run(scans.conf(), {"--scale", "1000"});
    EXPECT_EQ(run.frame(0).pose.get_translation(), Vector3d(500, 0, 0));
    EXPECT_EQ(run.frame(0).vCoord.at(1), Vector3f(1000, 0, 0));
    for (char const* const wrong : {"0", "-1", "x", "inf"})
    {
        FramesRun(scans.conf(), {"--scale", wrong}).expect_error("--scale");
    }
}

TEST(FramesCommand, UnitsThatLookLikeMetresAreTold)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\n");
    FramesRun const small(scans.conf(), {"--scale", "0.001"});
    small.expect_only_warning("the units look like metres (a scale of 1000 converts)");
}

TEST(FramesCommand, RangeScanThatCannotBeUsedIsLeftOut)
{
    std::string const good = "bmesh a.ply 0 0 0 0 0 0 1\n";
    struct Bad
    {
        std::string row;
        std::string reason;
    };
    for (auto const& bad :
         {Bad{"bmesh b.ply 0 0 0 0 0 1", "b.ply: left out: its pose has 6 numbers and not 7"},
          Bad{"bmesh b.ply 0 0 0 0 0 0 1 9", "its pose has 8 numbers and not 7"},
          Bad{"bmesh b.ply", "its pose has 0 numbers and not 7"},
          Bad{"bmesh b.ply 0 0 0 0 x 0 1", "'x' in its pose is no number"},
          Bad{"bmesh b.ply nan 0 0 0 0 0 1", "'nan' in its pose is no number"},
          Bad{"bmesh b.ply 0 0 0 0 0 0 0", "the quaternion of its pose is zero"},
          Bad{"bmesh none.ply 0 0 0 0 0 0 1", "none.ply: left out: no such file"},
          Bad{"bmesh cut.ply 0 0 0 0 0 0 1", "ends in the middle of range_grid"},
          Bad{"bmesh grid.ply 0 0 0 0 0 0 1", "names a vertex that is in another cell"},
          Bad{"bmesh empty.ply 0 0 0 0 0 0 1", "empty.ply: left out: it holds no points"}})
    {
        Scans const scans(good + bad.row + "\n");
        std::string const whole = scan_text(2, 2, 1);
        write_file(scans.file("cut.ply"), whole.substr(0, whole.size() - 6));
        std::string twice = whole;
        write_file(scans.file("grid.ply"), twice.replace(twice.rfind("1 3"), 3, "1 2"));
        write_file(scans.file("empty.ply"), scan_text(0, 0, 1));
        FramesRun const run(scans.conf());
        run.expect_only_warning(bad.reason);
        EXPECT_EQ(run.count(), 1U);
    }
}

TEST(FramesCommand, NameOfARangeScanMayHaveBlanks)
{
    for (std::string const row :
         {"bmesh \"left  side 2.ply\" 1 2 3 0 0 0 1", "bmesh\tleft  side 2.ply 1 2 3 0 0 0 1",
          "bmesh  left  side 2.ply\t1 2 3 0 0 0 1\r", "bmesh \"left  side 2.ply\"1 2 3 0 0 0 1"})
    {
        Scans const scans(row + "\n");
        write_file(scans.file("left  side 2.ply"), scan_text(3, 4, 1));
        FramesRun const run(scans.conf());
        ASSERT_EQ(run.outcome.status, 0) << row << "\n" << run.outcome.err;
        EXPECT_EQ(run.frame(0).get_vn(), 12U);
        EXPECT_EQ(run.frame(0).pose.get_translation(), Vector3d(1, 2, 3));
    }
    // A name of numbers has to stand in quotes, for a number too many is no part of a name.
    Scans const quoted("bmesh \"a 0\" 0 0 0 0 0 0 1\n");
    write_file(quoted.file("a 0"), scan_text(3, 4, 1));
    EXPECT_EQ(FramesRun(quoted.conf()).count(), 1U);
    for (std::string const row : {"bmesh \"a.ply 0 0 0 0 0 0 1", "bmesh \"\" 0 0 0 0 0 0 1"})
    {
        Scans const open(row + "\n");
        FramesRun(open.conf()).expect_error("line 1 is not understood");
    }
}

TEST(FramesCommand, FolderWithOneListOfRangeScansIsThatList)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\nbmesh b.ply 0 0 0 0 0 0 1\n");
    EXPECT_EQ(FramesRun(scans.path().string()).count(), 2U);
    EXPECT_EQ(FramesRun(scans.path().string() + "/").count(), 2U);
    fs::create_directory(scans.file("folder.conf"));
    EXPECT_EQ(FramesRun(scans.path().string()).count(), 2U);
    write_file(scans.file("second.CONF"), "");
    FramesRun(scans.path().string()).expect_error("holds 2 .conf files: name one of them");
}

TEST(FramesCommand, PointsThatAreNoNumbersAreTakenOut)
{
    Scans const scans("bmesh n.ply 0 0 0 0 0 0 1\n");
    std::string text = scan_text(3, 3, 1);
    auto const at = text.find("end_header\n") + 11;
    write_file(scans.file("n.ply"), text.replace(at, 5, "nan 0 inf"));
    FramesRun const run(scans.conf());
    run.expect_only_warning("n.ply: 1 point taken out: no finite coordinates");
    RangeData const frame = run.frame(0);
    EXPECT_EQ(frame.get_vn(), 8U);
    EXPECT_TRUE(frame.is_legal());
    EXPECT_EQ(std::count(frame.cellFlag.begin(), frame.cellFlag.end(), 1), 3);
}

TEST(FramesCommand, ListThatIsNoneIsRefused)
{
    Scans const unknown("bmesh a.ply 0 0 0 0 0 0 1\nhello\n");
    FramesRun(unknown.conf()).expect_error(unknown.conf() + ": line 2 is not understood");
    Scans const cut("bmesh");
    FramesRun(cut.conf()).expect_error("line 1 is not understood");
    Scans const empty("");
    FramesRun(empty.conf()).expect_error("names no range scan");
    Scans const none("bmesh none.ply 0 0 0 0 0 0 1\n");
    FramesRun(none.conf()).expect_error("holds no frame that can be used");
}

// Text frames.

/// A folder with two text frames as a camera at the origin sees a plane, and their poses in all
/// three forms.
class TextScan : public TempDir
{
public:
    TextScan()
    {
        fs::create_directory(path() / "in");
        for (int const number : {8, 9})
        {
            std::ostringstream points;
            for (int i = 0; i < 6; ++i)
            {
                points << i % 3 << " " << i / 3 << " " << 100 + number << " 0 0 0\n";
            }
            std::string const n = std::to_string(number);
            write("c" + n + ".asc", points.str());
            write("twelve" + n + ".txt", "0 -1 0 1 0 0 0 0 1 5 6 " + n);
            write("sixteen" + n + ".txt",
                  "2 frames\nno. " + n + "\n0 -1 0 5 1 0 0 6 0 0 1 " + n + " 0 0 0 1");
            write("plain" + n + ".txt", "0 -1 0 5 1 0 0 6 0 0 1 " + n + " 0 0 0 1");
        }
        write("common.txt", "frame 8 0 -1 0 5 1 0 0 6 0 0 1 8\nframe 9 0 -1 0 5 1 0 0 6 0 0 1 9\n");
    }
    void write(std::string const& name, std::string const& text) const
    {
        write_file(file("in/" + name), text);
    }
    std::string describe(nlohmann::json const& json) const
    {
        write_file(file("scan.json"), json.dump());
        return file("scan.json");
    }
    /// The description of one of the forms.
    static nlohmann::json description(std::string const& form)
    {
        nlohmann::json json{{"rows", 2},
                            {"columns", 3},
                            {"directory", "in"},
                            {"points", {{"prefix", "c"}, {"suffix", ".asc"}}},
                            {"poses", {{"form", form}, {"prefix", form}, {"suffix", ".txt"}}}};
        if (form != "common")
        {
            json["first"] = 8;
            json["last"] = 9;
        }
        return json;
    }
};

TEST(TextFrames, AllFormsOfPosesGiveTheSameFrames)
{
    TextScan const scan;
    auto plain = TextScan::description("sixteen");
    plain["poses"]["prefix"] = "plain";
    plain["poses"]["header"] = false;
    for (auto const& json : {TextScan::description("twelve"), TextScan::description("common"),
                             TextScan::description("sixteen"), plain})
    {
        FramesRun const run(scan.describe(json));
        ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
        EXPECT_EQ(run.outcome.err, "");
        ASSERT_EQ(run.count(), 2U);
        RangeData const frame = run.frame(1);
        EXPECT_EQ(frame.get_vn(), 6U);
        EXPECT_EQ(frame.pose.get_translation(), Vector3d(5, 6, 9));
        EXPECT_EQ(frame.pose.get_rotation()(0, 1), -1.0);
        EXPECT_EQ(frame.vCoord.at(0).z(), 109.0F);
    }
}

TEST(TextFrames, FacesAndNormalsLookAtTheSensor)
{
    TextScan const scan;
    auto json = TextScan::description("twelve");
    // Columns to the right and rows down is mirrored as the camera at the origin sees it.
    RangeData const from_origin = FramesRun(scan.describe(json)).frame(0);
    EXPECT_EQ(from_origin.vUV.at(0).col, 2);
    json["sensor"] = "-z";
    RangeData const from_below = FramesRun(scan.describe(json)).frame(0);
    EXPECT_EQ(from_below.vUV.at(0).col, 2);
    json["sensor"] = "+z";
    RangeData const from_above = FramesRun(scan.describe(json)).frame(0);
    EXPECT_EQ(from_above.vUV.at(0).col, 0);
    for (auto const* const frame : {&from_origin, &from_below, &from_above})
    {
        double const up = frame == &from_above ? 1.0 : -1.0;
        EXPECT_GT(normal_of_first_quad(*frame).z() * up, 0.99);
        for (auto const& normal : frame->vNrv)
        {
            EXPECT_GT(static_cast<double>(normal.z()) * up, 0.99);
        }
    }
}

TEST(TextFrames, NormalsTurnWithTheSurface)
{
    // A plane that rises by one for each step in x: its normal towards the origin is (1, 0, -1).
    TextScan const scan;
    for (int const number : {8, 9})
    {
        std::ostringstream points;
        for (int i = 0; i < 6; ++i)
        {
            points << i % 3 << " " << i / 3 << " " << 100 + i % 3 << " 0 0 0\n";
        }
        scan.write("c" + std::to_string(number) + ".asc", points.str());
    }
    RangeData const frame = FramesRun(scan.describe(TextScan::description("twelve"))).frame(0);
    for (auto const& normal : frame.vNrv)
    {
        EXPECT_LT((normal - Vector3f(1, 0, -1).normalized()).norm(), 1e-6F);
    }
}

TEST(TextFrames, FrameThatCannotBeUsedIsNamed)
{
    struct Bad
    {
        std::string form;
        std::string file;
        std::string content; ///< "-" takes the file away
        std::string warning;
    };
    for (auto const& bad :
         {Bad{"twelve", "c9.asc", "-", "frame 9: left out: there is no point file"},
          Bad{"twelve", "twelve9.txt", "-", "frame 9: left out: there is no pose for it"},
          Bad{"twelve", "twelve9.txt", "1 0 0 0 1 0 0 0 1 0 0", "its pose lacks 1 of 12 numbers"},
          Bad{"twelve", "twelve9.txt", "", "its pose lacks 12 of 12 numbers"},
          Bad{"twelve", "twelve9.txt", "1 0 0 0 1 0 0 0 2 0 0 0", "no rotation and translation"},
          Bad{"twelve", "twelve9.txt", "1 0 0 0 1 0 0 0 -1 0 0 0", "no rotation and translation"},
          Bad{"twelve", "twelve9.txt", "1 0 0 0 1 0 0 0 1 nan 0 0", "no rotation and translation"},
          Bad{"sixteen", "sixteen9.txt", "1\n8\n1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1",
              "its pose file is that of another frame"},
          Bad{"sixteen", "sixteen9.txt", "1\n9\n1 0 0", "its pose lacks 13 of 16 numbers"},
          Bad{"common", "common.txt", "f 8 1 0 0 0 0 1 0 0 0 0 1 0\nf 8 1 0 0 0 0 1 0 0 0 0 1 0\n",
              "frame 8: left out: its number stands twice"},
          Bad{"twelve", "c9.asc", "", "frame 9"},
          Bad{"twelve", "c9.asc", "0 0 0 0 0 0", "frame 9"}})
    {
        TextScan const scan;
        bad.content == "-" ? static_cast<void>(fs::remove(scan.file("in/" + bad.file)))
                           : scan.write(bad.file, bad.content);
        FramesRun const run(scan.describe(TextScan::description(bad.form)));
        run.expect_only_warning(bad.warning);
        EXPECT_EQ(run.count(), 1U);
    }
}

TEST(TextFrames, ExpectedFramesOfACommonFile)
{
    TextScan const scan;
    auto json = TextScan::description("common");
    json["first"] = 8;
    json["last"] = 10;
    FramesRun const run(scan.describe(json));
    run.expect_only_warning("frame 10: left out: there is no pose for it in");
    EXPECT_EQ(run.count(), 2U);
}

TEST(TextFrames, ShortPointFileHoldsNothingOfTheFrameBefore)
{
    TextScan const scan;
    scan.write("c9.asc", "0 0 5 0 0 0 1 0 5 0 0 0 2 0 5 0 0 0 0 1");
    FramesRun const run(scan.describe(TextScan::description("twelve")));
    run.expect_only_warning("frame 9: its point file ends after 3 of 6 pixels");
    EXPECT_EQ(run.frame(0).get_vn(), 6U);
    EXPECT_EQ(run.frame(1).get_vn(), 3U);
    EXPECT_TRUE(run.frame(1).is_legal());
}

TEST(TextFrames, HeaderLineWithoutANumberIsAnError)
{
    TextScan const scan;
    scan.write("sixteen9.txt", "no number\n9\n1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1");
    FramesRun(scan.describe(TextScan::description("sixteen")))
        .expect_error("sixteen9.txt: a header line has no number");
}

TEST(TextFrames, DescriptionThatIsWrongIsRefused)
{
    TextScan const scan;
    auto const with = [](char const* pointer, nlohmann::json const& value)
    {
        auto json = TextScan::description("twelve");
        json[nlohmann::json::json_pointer(pointer)] = value;
        return json;
    };
    auto const refuse = [&](nlohmann::json const& json, std::string const& text)
    { FramesRun(scan.describe(json)).expect_error(text); };
    refuse(with("/rows", 0), "'rows' has to be a whole number from 1");
    refuse(with("/rows", 2.5), "'rows'");
    refuse(with("/rows", "2"), "'rows'");
    refuse(with("/rows", 1e300), "'rows'");
    refuse(with("/columns", 1 << 28),
           "a grid of 2 'rows' and 268435456 'columns' is too large: more than 268435456 pixels");
    refuse(with("/columns", 1LL << 32), "'columns' has to be a whole number from 1");
    refuse(with("/colums", 3), "'colums' is not known here");
    refuse(with("/poses/form", "thirteen"), "'form' has to be one of twelve, common, sixteen");
    refuse(with("/poses/header", true), "only poses of the form sixteen have a 'header'");
    refuse(with("/poses/from", 1), "poses: 'from' is not known here");
    refuse(with("/points", 7), "points: is no JSON object");
    refuse(with("/points/prefix", 7), "points: 'prefix' has to be a text");
    refuse(with("/sensor", "above"), "'sensor' has to be one of origin, +z, -z");
    refuse(with("/first", 10), "'first' to 'last'");
    refuse(with("/last", 999999999), "'first' to 'last'");
    refuse(nlohmann::json::array(), "is no JSON object");
    auto without = TextScan::description("twelve");
    without.erase("last");
    refuse(without, "'last' is missing");
    without.erase("rows");
    refuse(without, "'rows' is missing");
    refuse(with("/directory", "none"), "holds no frame that can be used");
    auto common = TextScan::description("common");
    common["poses"]["prefix"] = "none";
    refuse(common, "none.txt: no such file");
}

TEST(TextFrames, EveryBeginningOfADescriptionIsRefused)
{
    TextScan const scan;
    std::string const whole = TextScan::description("sixteen").dump();
    for (std::size_t n = 0; n < whole.size(); n += 5)
    {
        write_file(scan.file("scan.json"), whole.substr(0, n));
        FramesRun(scan.file("scan.json")).expect_error("scan.json: is no JSON");
    }
}

// Depth images.

nlohmann::json view(std::string const& depth)
{
    return {{"image", "photo.jpg"},
            {"depth", depth},
            {"width", 3},
            {"height", 2},
            {"fx", 10.0},
            {"fy", 20.0},
            {"cx", 1.0},
            {"cy", 0.0},
            {"R", {{0, 1, 0}, {-1, 0, 0}, {0, 0, 1}}},
            {"t", {0.001, 0.002, 0.003}}};
}

/// A folder with depth images.
class Room : public TempDir
{
public:
    template <typename... Views>
    explicit Room(Views const&... views)
    {
        write_file(file("d.png"), png_text(3, 2, {500, 510, 0, 500, 500, 65535}));
        write_file(file("jump.png"), png_text(3, 2, {1000, 1000, 1051, 1000, 1000, 1000}));
        write_file(cameras(), nlohmann::json{{"units", "metre (depth in mm)"},
                                             {"views", nlohmann::json::array({views...})}}
                                  .dump());
    }
    std::string cameras() const { return file("cameras.json"); }
};

TEST(DepthImageFrames, PixelsBecomePointsThatLookAtTheCamera)
{
    Room const room(view("d.png"));
    for (std::string const& source : {room.path().string(), room.cameras()})
    {
        FramesRun const run(source);
        ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
        EXPECT_EQ(run.outcome.err, "");
        RangeData const frame = run.frame(0);
        ASSERT_EQ(frame.get_vn(), 4U); // 0 and 65535 are no depths
        EXPECT_LT((frame.vCoord.at(0) - Vector3f(-50, 0, 500)).norm(), 1e-4F);
        EXPECT_LT((frame.vCoord.at(1) - Vector3f(0, 0, 510)).norm(), 1e-4F);
        EXPECT_LT((frame.vCoord.at(3) - Vector3f(0, 25, 500)).norm(), 1e-4F);
        // Columns run to the left, so that rows down and faces towards the camera go together.
        EXPECT_EQ(frame.vUV.at(0).col, 2);
        EXPECT_EQ(frame.vUV.at(1).col, 1);
        EXPECT_THAT(frame.cellFlag, ElementsAre(0, 1, 0, 0));
        EXPECT_LT(normal_of_first_quad(frame).z(), -0.9);
        EXPECT_LT(frame.vNrv.at(0).z(), -0.9F);
        EXPECT_TRUE(frame.is_legal());
        // The pose leads back: R X + t is the camera's point. Its unit is the metre.
        Vector3d const t(1, 2, 3);
        Matrix3d r;
        r << 0, 1, 0, -1, 0, 0, 0, 0, 1;
        EXPECT_LT((frame.pose.get_rotation() - r.transpose()).norm(), 1e-12);
        EXPECT_LT((r * frame.pose.get_translation() + t).norm(), 1e-12);
    }
}

TEST(DepthImageFrames, DepthCameraMayDifferFromThatOfThePhotograph)
{
    auto own = view("d.png");
    own["width"] = 1920;
    own["height"] = 1080;
    own["fx"] = 1045.0;
    own["fy"] = 1046.0;
    own["cx"] = 951.0;
    own["cy"] = 506.0;
    own["depth_width"] = 3;
    own["depth_height"] = 2;
    own["depth_fx"] = 10.0;
    own["depth_fy"] = 20.0;
    own["depth_cx"] = 1.0;
    own["depth_cy"] = 0.0;
    auto alone = own;
    for (char const* const key : {"image", "width", "height", "fx", "fy", "cx", "cy"})
    {
        alone.erase(key);
    }
    auto only_focus = view("d.png");
    only_focus["fx"] = 11.0;
    only_focus["depth_fx"] = 10.0;
    Room const plain(view("d.png"));
    std::string const wanted = [&]
    {
        FramesRun const run(plain.cameras());
        return file_content(run.dir.file("out/frame-0000.rge"));
    }();
    for (auto const& json : {own, alone, only_focus})
    {
        Room const room(json);
        FramesRun const run(room.cameras());
        EXPECT_EQ(run.outcome.err, "");
        EXPECT_EQ(file_content(run.dir.file("out/frame-0000.rge")), wanted);
    }
}

TEST(DepthImageFrames, IntrinsicsOfAPhotographOfAnotherSizeAreNotTaken)
{
    auto json = view("d.png");
    json["width"] = 6;
    json["depth_width"] = 3;
    for (char const* const key : {"depth_fx", "depth_fy", "depth_cx", "depth_cy"})
    {
        Room const room(view("d.png"), json);
        FramesRun const run(room.cameras());
        run.expect_only_warning("d.png: left out: its view: '" + std::string(key) + "' is missing");
        json[key] = 1.0;
    }
    Room const whole(view("d.png"), json);
    EXPECT_EQ(FramesRun(whole.cameras()).count(), 2U);
}

TEST(DepthImageFrames, CellAcrossAJumpIsNone)
{
    // 51 of 1000 is more than a twentieth.
    Room const room(view("jump.png"));
    FramesRun const run(room.cameras());
    RangeData const frame = run.frame(0);
    EXPECT_EQ(frame.get_vn(), 6U);
    EXPECT_EQ(std::count(frame.cellFlag.begin(), frame.cellFlag.end(), 1), 1);
}

TEST(DepthImageFrames, ViewThatCannotBeUsedIsNamed)
{
    auto const with = [](char const* key, nlohmann::json const& value)
    {
        auto json = view("d.png");
        json[key] = value;
        return json;
    };
    auto without = view("d.png");
    without.erase("fx");
    struct Bad
    {
        nlohmann::json view;
        std::string warning;
    };
    for (auto const& bad :
         {Bad{without, "d.png: left out: its view: 'fx' is missing"},
          Bad{with("fx", 0), "'fx' and 'fy' have to be more than 0"},
          Bad{with("R", {{1, 0, 0}, {0, 1, 0}}), "'R' has to be 3 rows of 3 numbers"},
          Bad{with("t", {1, 2}), "'t' has to be a list of 3 numbers"},
          Bad{with("t", {1, 2, "3"}), "'t' has to be a list of 3 numbers"},
          Bad{with("width", 4), "it has 3 x 2 pixels, and its view 4 x 2"},
          Bad{with("height", -1), "'height'"},
          Bad{with("R", {{1, 0, 0}, {0, 1, 0}, {0, 0, -1}}), "no rotation and translation"},
          Bad{with("depth", "none.png"), "none.png: left out: it cannot be opened"},
          Bad{with("depth", "cameras.json"), "cannot be opened or is no PNG"},
          Bad{with("depth", "cut.png"), "cut.png: left out: it is damaged"},
          Bad{with("depth", "blank.png"), "blank.png: left out: it holds no points"}})
    {
        Room const room(view("d.png"), bad.view);
        std::string const whole = file_content(room.file("d.png"));
        write_file(room.file("cut.png"), whole.substr(0, whole.size() / 2));
        write_file(room.file("blank.png"), png_text(3, 2, std::vector<int>(6, 0)));
        FramesRun const run(room.cameras());
        run.expect_only_warning(bad.warning);
        EXPECT_EQ(run.count(), 1U);
    }
}

TEST(DepthImageFrames, ViewsWithoutDepthAreNoFrames)
{
    auto photo = view("d.png");
    photo.erase("depth");
    Room const both(photo, view("d.png"));
    EXPECT_EQ(FramesRun(both.cameras()).count(), 1U);
    Room const none(photo);
    FramesRun(none.cameras()).expect_error("no view has a depth image");
}

TEST(DepthImageFrames, UnitOfThePosesHasToBeKnown)
{
    Room const room(view("d.png"));
    write_file(room.cameras(),
               nlohmann::json{{"views", nlohmann::json::array({view("d.png")})}}.dump());
    EXPECT_LT((FramesRun(room.cameras()).frame(0).pose.get_translation().norm()), 0.01);
    write_file(room.cameras(),
               nlohmann::json{{"units", "cubit"}, {"views", nlohmann::json::array({view("d.png")})}}
                   .dump());
    FramesRun(room.cameras()).expect_error("'units' has to be metre or millimetre");
    write_file(room.cameras(), nlohmann::json{{"views", 7}}.dump());
    FramesRun(room.cameras()).expect_error("'views' has to be a list");
}

// Folders of frames.

/// A plane of 2 x 2 points, whose grid runs against the clock about z.
RangeData small_frame()
{
    RangeData frame;
    frame.set_grid_size(2, 2);
    for (int i = 0; i < 4; ++i)
    {
        frame.add_vCoord_and_vUV({static_cast<float>(i % 2), static_cast<float>(i / 2), 0},
                                 {i / 2, i % 2});
    }
    frame.set_cellFlag(0, 1);
    frame.update_vNrv_from_grid();
    return frame;
}

TEST(RgeFolder, FramesComeByNameAndAsTheyAre)
{
    TempDir const dir;
    RangeData frame = small_frame();
    frame.vNrv[2] = Vector3f(0, 0.6F, 0.8F); // nobody computes them anew
    write_rge(dir.file("b.rge"), frame);
    frame.add_vCoord({5, 5, 5});
    write_rge(dir.file("a.RGE"), frame);
    write_file(dir.file("note.txt"), "no frame");
    FramesRun const run(dir.path().string() + "/");
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_EQ(run.outcome.err, "");
    ASSERT_EQ(run.count(), 2U);
    EXPECT_EQ(run.frame(0).get_vn(), 5U);
    EXPECT_EQ(file_content(run.dir.file("out/frame-0001.rge")), file_content(dir.file("b.rge")));
}

TEST(RgeFolder, NormalsAreComputedWhereThereAreNone)
{
    TempDir const dir;
    RangeData frame = small_frame();
    frame.disable_vNormal();
    write_rge(dir.file("a.rge"), frame);
    FramesRun const run(dir.path().string());
    run.expect_only_warning("a.rge: has no normals: computed from its grid");
    EXPECT_EQ(run.frame(0).vNrv.at(3), Vector3f(0, 0, 1));
}

TEST(RgeFolder, GridAgainstTheNormalsIsMirroredAndTheNormalsStay)
{
    TempDir const dir;
    RangeData frame = small_frame();
    for (auto& normal : frame.vNrv)
    {
        normal = -normal;
    }
    write_rge(dir.file("a.rge"), frame);
    FramesRun const run(dir.path().string());
    run.expect_only_warning("a.rge: its grid ran against its normals: mirrored");
    EXPECT_LT(normal_of_first_quad(run.frame(0)).z(), -0.99);
    EXPECT_EQ(run.frame(0).vNrv, frame.vNrv);
}

TEST(RgeFolder, FrameThatCannotBeUsedIsNamed)
{
    RangeData const good = small_frame();
    TempDir const dir;
    write_rge(dir.file("a.rge"), good);
    auto const expect_left_out = [&](std::string const& reason)
    {
        FramesRun const run(dir.path().string());
        run.expect_only_warning("b.rge: left out: " + reason);
        EXPECT_EQ(run.count(), 1U);
    };
    write_rge(dir.file("b.rge"), RangeData());
    expect_left_out("it holds no points");
    std::string const whole = file_content(dir.file("a.rge"));
    write_file(dir.file("b.rge"), whole.substr(0, whole.size() - 1));
    expect_left_out("the file is damaged");
    write_file(dir.file("b.rge"), "");
    expect_left_out("it is no frame file of a known version");
    write_file(dir.file("b.rge"),
               whole.substr(0, 12) + std::string("\0\x80\0\0\0\x80\0\0", 8) + whole.substr(20));
    expect_left_out("its grid of 32768 x 32768 cells is too large: more than 268435456");
    RangeData bent = good;
    bent.pose.set_rotation(2.0 * Matrix3d::Identity());
    write_rge(dir.file("b.rge"), bent);
    expect_left_out("its pose is no rotation and translation");
    RangeData lost = good;
    for (auto& point : lost.vCoord)
    {
        point.x() = std::numeric_limits<float>::quiet_NaN();
    }
    write_rge(dir.file("b.rge"), lost);
    expect_left_out("it holds no points");
    fs::remove(dir.file("a.rge"));
    FramesRun(dir.path().string()).expect_error("holds no frame that can be used");
}

TEST(RgeFolder, DamagedChannelsAreMended)
{
    TempDir const dir;
    RangeData frame = small_frame();
    frame.cellFlag.resize(2);
    frame.vUV[3] = {7, 7};
    frame.vNrv.pop_back();
    write_rge(dir.file("a.rge"), frame);
    FramesRun const run(dir.path().string());
    run.expect_only_warning("a.rge: cells or channels that did not fit were mended");
    EXPECT_TRUE(run.frame(0).is_legal());
    EXPECT_TRUE(run.frame(0).has_vNormal);
}

TEST(RgeFolder, NameMayHaveLettersBeyondAscii)
{
    TempDir const dir;
    fs::create_directory(fs::u8path(dir.file("M\u00FCller")));
    write_rge(dir.file("a.rge"), small_frame());
    fs::rename(dir.file("a.rge"), fs::u8path(dir.file("M\u00FCller/stra\u00DFe.rge")));
    FramesRun const run(dir.file("M\u00FCller"));
    EXPECT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_EQ(run.count(), 1U);
}

// Inputs and outputs.

TEST(FramesCommand, OtherSourcesAreRefused)
{
    TempDir const dir;
    FramesRun(dir.path().string()).expect_error("holds no .rge files and no cameras.json");
    FramesRun(dir.file("none.conf")).expect_error("none.conf: no such file");
    FramesRun(dir.file("none")).expect_error("none: no such file");
    write_file(dir.file("mesh.ply"), "ply");
    FramesRun(dir.file("mesh.ply")).expect_error("mesh.ply: is no source of frames");
    fs::create_directory(dir.file("folder.conf"));
    FramesRun(dir.file("folder.conf")).expect_error("folder.conf: holds no .rge files");
}

TEST(FramesCommand, FolderWithOtherFramesIsNoOutput)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\n");
    TempDir const dir;
    write_rge(dir.file("old.rge"), small_frame());
    Outcome const run = run_veld({"frames", scans.conf(), "-o", dir.path().string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("old.rge: is a frame of something else"));
    EXPECT_THAT(files_in(dir.path()), ElementsAre("old.rge"));
    // What an earlier run wrote is written anew.
    fs::remove(dir.file("old.rge"));
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_EQ(run_veld({"frames", scans.conf(), "-o", dir.path().string()}).status, 0);
        EXPECT_THAT(files_in(dir.path()), ElementsAre("frame-0000.rge"));
    }
}

TEST(FramesCommand, InputsAreNeverWritten)
{
    TempDir const dir;
    write_rge(dir.file("frame-0000.rge"), small_frame());
    std::string const before = file_content(dir.file("frame-0000.rge"));
    Outcome const run =
        run_veld({"frames", dir.path().string(), "-o", dir.path().string(), "--scale", "2"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("is an input, which is never written"));
    EXPECT_EQ(file_content(dir.file("frame-0000.rge")), before);
}

TEST(FramesCommand, OutputIsNeeded)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\n");
    EXPECT_EQ(run_veld({"frames", scans.conf()}).status, 1);
    EXPECT_EQ(run_veld({"frames", scans.conf(), "-o", scans.file("a.ply")}).status, 1);
}

TEST(FramesCommand, TextNamesEveryFrame)
{
    Scans const scans("bmesh a.ply 0 0 0 0 0 0 1\nbmesh b.ply 0 0 0 0 0 0 1\n");
    TempDir const dir;
    Outcome const run = run_veld({"frames", scans.conf(), "-o", dir.path().string()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, scans.conf() + ": 2 frames\n  " + dir.file("frame-0000.rge") +
                           ": 12 points on 3 x 4 (" + scans.file("a.ply") + ")\n  " +
                           dir.file("frame-0001.rge") + ": 4 points on 2 x 2 (" +
                           scans.file("b.ply") + ")\n");
}

TEST(FramesCommand, VerboseJsonIsTheOnlyStandardOutput)
{
    TextScan const scan;
    for (char const* const form : {"twelve", "common", "sixteen"})
    {
        FramesRun const run(scan.describe(TextScan::description(form)), {"--verbose"});
        EXPECT_EQ(run.count(), 2U);
        EXPECT_THAT(run.outcome.err, HasSubstr("PointCloud2RangeData::processPointCloud() ..\n"));
    }
}

// Real scans.

/// The matrices of a file with a name and 16 numbers for each.
std::map<std::string, Eigen::Matrix4d> published_poses(std::string const& path)
{
    std::map<std::string, Eigen::Matrix4d> poses;
    std::istringstream text(file_content(path));
    std::string line;
    while (std::getline(text, line))
    {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string name;
        Eigen::Matrix4d matrix;
        if (!(words >> name))
        {
            continue;
        }
        for (int i = 0; i < 16; ++i)
        {
            words >> matrix(i / 4, i % 4);
        }
        poses[name] = matrix;
    }
    return poses;
}

using FramesRealData = RealData;

/// Runs that tests share: each takes seconds, and many times that under sanitizers.
FramesRun const& bunny()
{
    static FramesRun const run(real_data("range_bunny/bun.conf"),
                               {"--threads", "1", "--scale", "1000"});
    return run;
}

FramesRun const& room()
{
    static FramesRun const run(real_data("rgbd_room/cameras.json"));
    return run;
}

TEST_F(FramesRealData, PosesOfTheBunnyAreThePublishedOnes)
{
    FramesRun const& run = bunny();
    EXPECT_EQ(run.outcome.err, "");
    ASSERT_EQ(run.count(), 10U);
    auto const poses = published_poses(real_data("range_bunny/poses_mm.txt"));
    std::vector<std::string> const names{"bun000", "bun045", "bun090", "bun180", "bun270",
                                         "top2",   "top3",   "bun315", "chin",   "ear_back"};
    std::size_t points = 0;
    for (std::size_t i = 0; i < names.size(); ++i)
    {
        RangeData const frame = run.frame(i);
        auto const& pose = poses.at(names[i] + ".ply");
        EXPECT_LT((frame.pose.get_rotation() - pose.topLeftCorner<3, 3>()).norm(), 1e-5)
            << names[i];
        EXPECT_LT((frame.pose.get_translation() - pose.topRightCorner<3, 1>()).norm(), 1e-3);
        EXPECT_TRUE(frame.is_legal());
        points += frame.get_vn();
    }
    EXPECT_EQ(points, 362272U);
}

TEST_F(FramesRealData, UnitsOfTheBunnyLookLikeMetres)
{
    FramesRun(real_data("range_bunny/bun.conf")).expect_only_warning("the units look like metres");
}

TEST_F(FramesRealData, FacesAndNormalsAgreeAndLookAtTheSensor)
{
    FramesRun const scans(real_data("range_dragon_stand/dragonStandRight.conf"),
                          {"--scale", "1000"});
    ASSERT_EQ(scans.count(), 15U);
    ASSERT_EQ(room().count(), 40U);
    for (bool const is_scan : {true, false})
    {
        RangeData const frame = (is_scan ? scans : room()).frame(7);
        OrvaneAlgorithm::MatrixXi map;
        frame.create_vertices_index_map(map);
        std::vector<std::vector<int>> quads;
        frame.convert_to_quad(map, quads);
        std::size_t to_sensor = 0;
        std::size_t agreeing = 0;
        for (auto const& quad : quads)
        {
            auto const point = [&](std::size_t k) -> Vector3d
            { return frame.vCoord[static_cast<std::size_t>(quad[k])].cast<double>(); };
            Vector3d const normal = (point(1) - point(0)).cross(point(2) - point(0));
            to_sensor += normal.dot(is_scan ? Vector3d(0, 0, 1) : Vector3d(-point(0))) > 0 ? 1 : 0;
            auto const& nrv = frame.vNrv[static_cast<std::size_t>(quad[0])];
            agreeing += normal.dot(nrv.cast<double>()) > 0 ? 1 : 0;
        }
        auto const nearly_all = static_cast<std::size_t>(0.995 * static_cast<double>(quads.size()));
        EXPECT_GT(quads.size(), 10000U);
        EXPECT_GE(to_sensor, nearly_all);
        EXPECT_GE(agreeing, nearly_all);
    }
}

TEST_F(FramesRealData, PosesOfTheRoomAreThePublishedOnesInMillimetres)
{
    FramesRun const& run = room();
    EXPECT_EQ(run.outcome.err, "");
    std::istringstream text(file_content(real_data("rgbd_room/frame-000010.pose.txt")));
    Eigen::Matrix4d pose;
    for (int i = 0; i < 16; ++i)
    {
        text >> pose(i / 4, i % 4);
    }
    RangeData const frame = run.frame(1);
    EXPECT_LT((frame.pose.get_rotation() - pose.topLeftCorner<3, 3>()).norm(), 1e-3);
    EXPECT_LT((frame.pose.get_translation() - 1000.0 * pose.topRightCorner<3, 1>()).norm(), 1.0);
    EXPECT_EQ(frame.grid_rows, 480);
    EXPECT_EQ(frame.grid_cols, 640);
}

TEST_F(FramesRealData, NumberOfThreadsDoesNotMatter)
{
    FramesRun const& one = bunny();
    FramesRun const many(real_data("range_bunny/bun.conf"), {"--threads", "8", "--scale", "1000"});
    for (auto const& name : files_in(one.dir.file("out")))
    {
        EXPECT_EQ(file_content(one.dir.file("out/" + name)),
                  file_content(many.dir.file("out/" + name)));
    }
}

} // namespace
