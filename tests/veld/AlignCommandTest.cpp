#include "depth_png.h"
#include "run_veld.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "tests/support/real_data.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>

#include <cmath>
#include <map>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::Matrix3d;
using OrvaneAlgorithm::RangeData;
using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace fs = std::filesystem;

constexpr int SIDE = 40;

double hill(double x, double y)
{
    return 6.0 * std::sin(x / 9.0) * std::cos(y / 11.0) + 3.0 * std::sin((x + y) / 6.0);
}

/// A scan of heights as a PLY file with a range grid, from the origin on.
template <typename Height>
std::string heights_text(Height const& height, double unit = 1.0)
{
    std::ostringstream text;
    text.precision(9);
    text << "ply\nformat ascii 1.0\nobj_info num_cols " << SIDE << "\nobj_info num_rows " << SIDE
         << "\nelement vertex " << SIDE * SIDE
         << "\nproperty float x\nproperty float y\nproperty float z\nelement range_grid "
         << SIDE * SIDE << "\nproperty list uchar int vertex_indices\nend_header\n";
    for (int i = 0; i < SIDE * SIDE; ++i)
    {
        double const x = i % SIDE;
        double const y = i / SIDE; // whole rows
        text << unit * x << " " << unit * y << " " << unit * height(x, y) << "\n";
    }
    for (int i = 0; i < SIDE * SIDE; ++i)
    {
        text << "1 " << i << "\n";
    }
    return text.str();
}

/// A scan of hills, from a corner on; in its own coordinates it begins at the origin.
std::string hills_text(double left, double bottom, double unit = 1.0)
{
    return heights_text([=](double x, double y) { return hill(left + x, bottom + y); }, unit);
}

/// Where a scan of hills belongs, as a row of a list has it, with an error along z.
std::string row_of(std::string const& file, double left, double bottom, double off = 0.0)
{
    std::ostringstream text;
    text << "bmesh " << file << " " << left << " " << bottom << " " << off << " 0 0 0 1\n";
    return text.str();
}

/// Three scans of hills, each of which overlaps the others; the second one is 0.4 mm too high.
class HillScans : public TempDir
{
public:
    explicit HillScans(std::string const& more_rows = "")
    {
        write_file(file("a.ply"), hills_text(0, 0));
        write_file(file("b c.ply"), hills_text(15, 3));
        write_file(file("d.ply"), hills_text(4, 16));
        write_file(conf(), "camera 0 0 0 0 0 0 1\n# hills\n" + row_of("a.ply", 0, 0) +
                               row_of("\"b c.ply\"", 15, 3, 0.4) + row_of("d.ply", 4, 16) +
                               more_rows);
    }
    std::string conf() const { return file("hills.conf"); }
};

/// A run of `veld align` into a directory of its own.
struct AlignRun
{
    TempDir dir;
    Outcome outcome;

    explicit AlignRun(std::string const& source, std::vector<std::string> const& options = {})
    {
        std::vector<std::string> arguments{"align", source, "-o", out(), "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        outcome = run_veld(arguments);
    }
    std::string out() const { return dir.file("out"); }
    std::string out(std::string const& name) const { return (fs::path(out()) / name).string(); }
    nlohmann::json frame(std::size_t i) const { return outcome.json()["frames"].at(i); }
    void expect_error(std::string const& text) const
    {
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.out, "");
        EXPECT_THAT(outcome.err, HasSubstr("error: "));
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_FALSE(fs::exists(out()));
    }
};

/// The frames of a source, as `veld frames` reads them.
std::vector<RangeData> frames_of(std::string const& source, std::string const& scale = "1")
{
    TempDir const dir;
    Outcome const run =
        run_veld({"frames", source, "-o", dir.file("rge"), "--scale", scale, "--json"});
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<RangeData> frames;
    auto const json = run.json();
    for (auto const& frame : json["frames"])
    {
        frames.emplace_back();
        EXPECT_EQ(OrvaneAlgorithm::CRangeDataIO::read_rge(
                      fs::path(frame["file"].get<std::string>()).wstring(), frames.back()),
                  0);
    }
    return frames;
}

/// Where the middle of a scan's grid is.
Vector3d middle_of(RangeData const& frame)
{
    return frame.pose.get_rotation() * Vector3d(SIDE / 2, SIDE / 2, 0) +
           frame.pose.get_translation();
}

/// All frames are where the first one says that they belong.
void expect_hills_together(std::string const& source)
{
    auto const frames = frames_of(source);
    ASSERT_EQ(frames.size(), 3U);
    std::vector<Vector3d> const corners{{0, 0, 0}, {15, 3, 0}, {4, 16, 0}};
    for (std::size_t f = 0; f < 3; ++f)
    {
        EXPECT_LT((middle_of(frames[f]) - corners[f] - Vector3d(SIDE / 2, SIDE / 2, 0)).norm(),
                  0.05)
            << f;
    }
}

TEST(AlignCommand, RangeScansBecomeRangeScansWithNewPoses)
{
    HillScans const scans;
    AlignRun const run(scans.conf());
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_EQ(run.outcome.err, "");
    EXPECT_THAT(files_in(run.out()), ElementsAre("a.ply", "b c.ply", "d.ply", "hills.conf"));
    EXPECT_EQ(file_content(run.out("b c.ply")), file_content(scans.file("b c.ply")));
    std::string const list = file_content(run.out("hills.conf"));
    EXPECT_THAT(list, HasSubstr("camera 0 0 0 0 0 0 1\n# hills\nbmesh a.ply 0 0 0 0 0 0 1\n"));
    EXPECT_THAT(list, HasSubstr("bmesh \"b c.ply\" "));
    expect_hills_together(run.out("hills.conf"));
    EXPECT_EQ(run_veld({"merge", run.out("hills.conf"), "-o", run.dir.file("m.ply")}).status, 0);
}

TEST(AlignCommand, HasTheDocumentedKeys)
{
    HillScans const scans;
    AlignRun const run(scans.conf());
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_THAT(keys_of(run.outcome.json()),
                testing::UnorderedElementsAre("frames", "before", "after", "noise", "noise_depth",
                                              "reach", "rounds", "converged", "seconds", "source"));
    EXPECT_THAT(
        keys_of(run.frame(0)),
        testing::UnorderedElementsAre("name", "fate", "group", "shift", "turn", "before", "after"));
    EXPECT_EQ(run.outcome.json()["source"], run.out("hills.conf"));
    EXPECT_EQ(run.frame(0)["fate"], "held");
    EXPECT_EQ(run.frame(0)["shift"], 0.0);
    EXPECT_EQ(run.frame(1)["fate"], "moved");
    EXPECT_NEAR(run.frame(1)["shift"].get<double>(), 0.4, 0.05);
    EXPECT_LT(run.frame(1)["after"].get<double>(), 0.2 * run.frame(1)["before"].get<double>());
}

TEST(AlignCommand, TellsAPersonHowFarEachFrameWasMoved)
{
    HillScans const scans;
    TempDir const dir;
    Outcome const run = run_veld({"align", scans.conf(), "-o", dir.file("out")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("hills.conf: 3 frames, "));
    EXPECT_THAT(run.out, HasSubstr("moved (mm)"));
    EXPECT_THAT(run.out, testing::ContainsRegex("a.ply .*  stays\n"));
    EXPECT_THAT(run.out, testing::ContainsRegex("b c.ply +0\\.[34]"));
}

TEST(AlignCommand, LengthsOfTheSourceStayInItsUnit)
{
    TempDir const metres;
    write_file(metres.file("a.ply"), hills_text(0, 0, 0.001));
    write_file(metres.file("b.ply"), hills_text(15, 3, 0.001));
    write_file(metres.file("m.conf"),
               row_of("a.ply", 0, 0) + row_of("b.ply", 0.015, 0.003, 0.0004));
    AlignRun const run(metres.file("m.conf"), {"--scale", "1000"});
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_NEAR(run.frame(1)["shift"].get<double>(), 0.4, 0.05);
    auto const frames = frames_of(run.out("m.conf"));
    EXPECT_LT((frames[1].pose.get_translation() - Vector3d(0.015, 0.003, 0.0)).norm(), 1e-4);
}

TEST(AlignCommand, FramesOfAFolderStayBitForBitButForThePose)
{
    HillScans const scans;
    TempDir const dir;
    ASSERT_EQ(run_veld({"frames", scans.conf(), "-o", dir.file("rge")}).status, 0);
    AlignRun const run(dir.file("rge"));
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_EQ(run.outcome.json()["source"], (fs::path(run.out()) / "").string());
    expect_hills_together(run.out());
    auto const before = frames_of(dir.file("rge"));
    auto const after = frames_of(run.out());
    for (std::size_t f = 0; f < 3; ++f)
    {
        EXPECT_EQ(before[f].vCoord, after[f].vCoord);
        EXPECT_EQ(before[f].vNrv, after[f].vNrv);
    }
    EXPECT_NE(before[1].pose.get_translation(), after[1].pose.get_translation());
}

/// The hills as text frames of a form of poses, in a folder below the description.
class HillTexts : public TempDir
{
public:
    explicit HillTexts(std::string const& form)
    {
        fs::create_directory(path() / "deep");
        std::string common;
        double const corners[3][3] = {{0, 0, 0}, {15, 3, 0.4}, {4, 16, 0}};
        for (int f = 0; f < 3; ++f)
        {
            auto const& c = corners[f];
            write_file(points(f), points_text(c[0], c[1]));
            std::ostringstream rows;
            rows << "1 0 0 " << c[0] << "\n0 1 0 " << c[1] << "\n0 0 1 " << c[2] << "\n";
            std::ostringstream twelve;
            twelve << "1 0 0\n0 1 0\n0 0 1\n" << c[0] << " " << c[1] << " " << c[2] << "\n";
            std::string const number = std::to_string(f + 7);
            common += "frame " + number + "\n" + rows.str();
            if (form != "common")
            {
                write_file(file("deep/rt" + number + ".txt"),
                           form == "twelve"
                               ? twelve.str()
                               : "1 header\nframe " + number + "\n" + rows.str() + "0 0 0 1\n");
            }
        }
        if (form == "common")
        {
            write_file(file("deep/rt.txt"), common);
        }
        write_file(json(), R"({"rows": 40, "columns": 40, "directory": "deep", "sensor": "+z",
            "points": {"prefix": "c", "suffix": ".asc"}, "first": 7, "last": 9,
            "poses": {"prefix": "rt", "suffix": ".txt", "form": ")" +
                               form + "\"}}");
    }
    std::string json() const { return file("hills.json"); }
    std::string points(int f) const { return file("deep/c" + std::to_string(f + 7) + ".asc"); }

private:
    static std::string points_text(double left, double bottom)
    {
        std::ostringstream text;
        text.precision(9);
        for (int i = 0; i < SIDE * SIDE; ++i)
        {
            double const x = i % SIDE;
            double const y = i / SIDE; // whole rows
            // The origin would be no point.
            text << x << " " << y << " " << hill(left + x, bottom + y) + (i == 0 ? 1e-3 : 0.0)
                 << " 0 0 0\n";
        }
        return text.str();
    }
};

TEST(AlignCommand, TextFramesKeepTheFormOfTheirPoses)
{
    for (std::string const form : {"twelve", "common", "sixteen"})
    {
        SCOPED_TRACE(form);
        HillTexts const texts(form);
        AlignRun const run(texts.json());
        ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
        EXPECT_EQ(run.outcome.err, "");
        auto const files = files_in(run.out());
        EXPECT_EQ(files.size(), form == "common" ? 5U : 7U);
        EXPECT_EQ(file_content(run.out("c8.asc")), file_content(texts.points(1)));
        expect_hills_together(run.out("hills.json"));
    }
}

// Frames of depth cameras.

/// What a camera sees that looks at a wall of waves from 1000 mm, from `shift` to the right.
std::string waves_png(double shift, double scale = 1.0)
{
    constexpr int WIDTH = 80;
    constexpr int HEIGHT = 60;
    constexpr double FOCAL = 100.0;
    std::vector<int> depths;
    for (int row = 0; row < HEIGHT; ++row)
    {
        for (int column = 0; column < WIDTH; ++column)
        {
            double const x = (column - 40.0) / FOCAL;
            double const y = (row - 30.0) / FOCAL;
            double z = 1000.0;
            for (int k = 0; k < 30; ++k)
            {
                z = 1000.0 + 60.0 * std::sin((x * z + shift) / 90.0) * std::cos(y * z / 70.0);
            }
            depths.push_back(static_cast<int>(std::lround(scale * z)));
        }
    }
    return png_text(WIDTH, HEIGHT, depths);
}

std::string view_text(std::string const& depth, std::string const& r, std::string const& t,
                      std::string const& more = "")
{
    return "{\"depth\": \"" + depth +
           "\", \"width\": 80, \"height\": 60, \"fx\": 100, \"fy\": 100, \"cx\": 40, \"cy\": 30, "
           "\"R\": " +
           r + ", \"t\": " + t + more + "}";
}

constexpr char const* STRAIGHT = "[[1,0,0],[0,1,0],[0,0,1]]";
constexpr char const* TURNED_ROUND = "[[-1,0,0],[0,1,0],[0,0,-1]]";

/// Two cameras side by side, the second 8 mm too near.
class WaveImages : public TempDir
{
public:
    explicit WaveImages(std::string const& more_views = "", std::string const& unit = "metre")
    {
        write_file(file("0.png"), waves_png(0));
        write_file(file("1.png"), waves_png(150));
        write_file(file("photo.jpg"), "a photograph");
        bool const in_metres = unit == "metre";
        write_file(cameras(),
                   "{\"units\": \"" + unit + "\", \"views\": [" +
                       view_text("0.png", STRAIGHT, "[0,0,0]", ", \"image\": \"photo.jpg\"") + "," +
                       view_text("1.png", STRAIGHT, in_metres ? "[-0.15,0,0.008]" : "[-150,0,8]") +
                       more_views + "]}");
    }
    std::string cameras() const { return file("cameras.json"); }
};

TEST(AlignCommand, DepthImagesBecomeDepthImagesWithNewPoses)
{
    for (std::string const unit : {"metre", "millimetre"})
    {
        WaveImages const images("", unit);
        AlignRun const run(images.cameras());
        ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
        EXPECT_THAT(files_in(run.out()),
                    ElementsAre("0.png", "1.png", "cameras.json", "photo.jpg"));
        EXPECT_EQ(file_content(run.out("1.png")), file_content(images.file("1.png")));
        auto const frames = frames_of(run.out("cameras.json"));
        ASSERT_EQ(frames.size(), 2U);
        EXPECT_LT((frames[1].pose.get_translation() - Vector3d(150, 0, 0)).norm(), 2.0);
    }
}

/// The pose under two keys of a view.
Eigen::Isometry3d pose_in(nlohmann::json const& view, char const* rotation, char const* translation)
{
    Eigen::Isometry3d pose = Eigen::Isometry3d::Identity();
    for (int row = 0; row < 3; ++row)
    {
        for (int column = 0; column < 3; ++column)
        {
            pose(row, column) = view[rotation]
                                    .at(static_cast<std::size_t>(row))
                                    .at(static_cast<std::size_t>(column));
        }
        pose(row, 3) = view[translation].at(static_cast<std::size_t>(row));
    }
    return pose;
}

TEST(AlignCommand, DepthCamerasOfTheirOwnPoseTakeTheirPhotographsAlong)
{
    // The photographs are turned by 90 degrees, and 10, 20, 30 mm off. The third depth camera has
    // the pose of a photograph that says none.
    std::string const turned = "[[0,-1,0],[1,0,0],[0,0,1]]";
    std::string const straight = std::string(", \"depth_R\": ") + STRAIGHT + ", \"depth_t\": ";
    TempDir const dir;
    write_file(dir.file("0.png"), waves_png(0));
    write_file(dir.file("1.png"), waves_png(150));
    write_file(dir.file("cameras.json"),
               "{\"units\": \"metre\", \"views\": [" +
                   view_text("0.png", turned, "[0.01,0.02,0.03]", straight + "[0,0,0]") + "," +
                   view_text("1.png", turned, "[0.01,-0.13,0.038]", straight + "[-0.15,0,0.008]") +
                   "," + view_text("1.png", "null", "null", straight + "[-0.15,0,0.008]") + "]}");
    AlignRun const run(dir.file("cameras.json"));
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_EQ(run.frame(1)["fate"], "moved");
    auto const frames = frames_of(run.out("cameras.json"));
    ASSERT_EQ(frames.size(), 3U);
    EXPECT_LT((frames[1].pose.get_translation() - Vector3d(150, 0, 0)).norm(), 2.0);
    EXPECT_LT((frames[2].pose.get_translation() - Vector3d(150, 0, 0)).norm(), 2.0);
    auto const views = nlohmann::json::parse(file_content(run.out("cameras.json"))).at("views");
    Eigen::Isometry3d photo_from_depth = Eigen::Isometry3d::Identity();
    photo_from_depth.linear() << 0, -1, 0, 1, 0, 0, 0, 0, 1;
    photo_from_depth.translation() << 0.01, 0.02, 0.03;
    for (std::size_t f = 0; f < 2; ++f)
    {
        EXPECT_TRUE(
            (pose_in(views[f], "R", "t") * pose_in(views[f], "depth_R", "depth_t").inverse())
                .isApprox(photo_from_depth, 1e-9))
            << f;
    }
    EXPECT_EQ(views[2]["R"], nullptr);
}

// Bad input.

TEST(AlignCommand, NamesFramesThatStay)
{
    std::string const zeros = png_text(80, 60, std::vector<int>(80UL * 60UL, 0));
    WaveImages const images("," + view_text("blank.png", STRAIGHT, "[0,0,0]") + "," +
                            view_text("back.png", TURNED_ROUND, "[0,0,0]") + "," +
                            view_text("far.png", STRAIGHT, "[150000,0,0]"));
    write_file(images.file("blank.png"), zeros);
    write_file(images.file("back.png"), waves_png(0));
    write_file(images.file("far.png"), waves_png(0));
    AlignRun const run(images.cameras());
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    // Nothing is said of photographs, which nobody looks at here.
    EXPECT_EQ(run.outcome.error_lines(), 3) << run.outcome.err;
    EXPECT_THAT(run.outcome.err, HasSubstr("blank.png: left out: it holds no points"));
    EXPECT_THAT(run.outcome.err, HasSubstr("back.png: stays where it is"));
    EXPECT_THAT(run.outcome.err, HasSubstr("far.png: stays where it is"));
    EXPECT_EQ(run.frame(2)["fate"], "alone");
    EXPECT_EQ(run.frame(2)["after"], nullptr);
    // Also the blank one is a part of the new source.
    EXPECT_EQ(file_content(run.out("blank.png")), zeros);
}

TEST(AlignCommand, AFrameOfAnotherUnitStaysAndIsNamed)
{
    HillScans const scans(row_of("large.ply", 0, 0));
    write_file(scans.file("large.ply"), hills_text(0, 0, 1000.0));
    AlignRun const run(scans.conf());
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_THAT(run.outcome.err, HasSubstr("large.ply: stays where it is: no other frame saw"));
    EXPECT_THAT(run.outcome.err, HasSubstr("unit"));
    EXPECT_NEAR(run.frame(1)["shift"].get<double>(), 0.4, 0.05);
}

TEST(AlignCommand, AFrameThatWouldGoTooFarStaysAndIsNamed)
{
    // Two planes that meet in a ridge; that of the second scan is 6 mm off.
    auto const ridge_at = [](double ridge)
    { return [ridge](double x, double) { return 0.06 * std::max(0.0, x - ridge); }; };
    TempDir const dir;
    write_file(dir.file("a.ply"), heights_text(ridge_at(15)));
    write_file(dir.file("b.ply"), heights_text(ridge_at(21)));
    write_file(dir.file("r.conf"),
               row_of("a.ply", 0, 0) + row_of("b.ply", 0, 20) + row_of("a.ply", 0, 0, 0.3));
    AlignRun const run(dir.file("r.conf"), {"--reach", "0.5"});
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    EXPECT_EQ(run.frame(1)["fate"], "astray");
    EXPECT_EQ(run.frame(2)["fate"], "moved");
    EXPECT_THAT(run.outcome.err, HasSubstr("b.ply: stays where it was: it would have gone farther "
                                           "than four times the reach of 0.5 mm"));
    EXPECT_THAT(file_content(run.out("r.conf")), HasSubstr(row_of("b.ply", 0, 20)));
    Outcome const text =
        run_veld({"align", dir.file("r.conf"), "-o", dir.file("out"), "--reach", "0.5"});
    EXPECT_THAT(text.out, HasSubstr("  stays: would have gone too far\n"));
}

TEST(AlignCommand, FramesThatCannotBeComparedAreRefused)
{
    TempDir const dir;
    write_file(dir.file("a.ply"), hills_text(0, 0));
    write_file(dir.file("one.conf"), row_of("a.ply", 0, 0));
    write_file(dir.file("two.conf"), row_of("a.ply", 0, 0) + row_of("a.ply", 900, 0));
    AlignRun(dir.file("one.conf")).expect_error("a.ply");
    AlignRun(dir.file("two.conf")).expect_error("two.conf: no two frames overlap");
    AlignRun(dir.file("none.conf")).expect_error("none.conf");
}

TEST(AlignCommand, TheSourceIsNeverWritten)
{
    HillScans const scans;
    std::string const before = file_content(scans.conf());
    Outcome const run = run_veld({"align", scans.conf(), "-o", scans.path().string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("is an input, which is never written"));
    EXPECT_EQ(file_content(scans.conf()), before);
}

/// Two cameras whose images are in a folder below the list.
class DeepImages : public TempDir
{
public:
    DeepImages()
    {
        fs::create_directory(path() / "deep");
        write_file(file("deep/0.png"), waves_png(0));
        write_file(file("deep/1.png"), waves_png(150));
        write_file(cameras(), "{\"units\": \"metre\", \"views\": [" +
                                  view_text("deep/0.png", STRAIGHT, "[0,0,0]") + "," +
                                  view_text("deep/1.png", STRAIGHT, "[-0.15,0,0.008]") + "]}");
    }
    std::string cameras() const { return file("cameras.json"); }
};

TEST(AlignCommand, FilesBelowTheNewSourceAreNotReplacedEither)
{
    DeepImages const images;
    TempDir const out;
    fs::create_directory(out.path() / "deep");
    write_file(out.file("deep/1.png"), "something else");
    Outcome const run =
        run_veld({"align", images.cameras(), "-o", out.path().string(), "--no-overwrite"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("1.png"));
    EXPECT_FALSE(fs::exists(out.file("cameras.json")));
    EXPECT_EQ(file_content(out.file("deep/1.png")), "something else");
}

TEST(AlignCommand, AFolderThatIsALinkToTheSourceIsNotWritten)
{
    DeepImages const images;
    TempDir const out;
    fs::create_directory_symlink(images.path() / "deep", out.path() / "deep");
    Outcome const run = run_veld({"align", images.cameras(), "-o", out.path().string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("is an input, which is never written"));
    EXPECT_FALSE(fs::exists(out.file("cameras.json")));
}

TEST(AlignCommand, TheBytesDoNotDependOnThreads)
{
    HillScans const scans;
    std::string first;
    for (char const* const threads : {"1", "2", "8"})
    {
        AlignRun const run(scans.conf(), {"--threads", threads});
        std::string const list = file_content(run.out("hills.conf"));
        first = first.empty() ? list : first;
        EXPECT_NE(list, "");
        EXPECT_EQ(list, first);
    }
}

TEST(AlignCommand, HelpHasAnExample)
{
    Outcome const help = run_veld({"align", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.out, HasSubstr("Example:\n  veld align "));
    EXPECT_THAT(help.out, HasSubstr("--reach"));
}

// The comparison.

TEST(FramesCheck, TellsHowFarPairsAreOffAndNamesTheFrame)
{
    // With more frames in their places the one that is not stands out.
    HillScans const scans(row_of("a.ply", 0, 0) + row_of("d.ply", 4, 16) + row_of("d.ply", 4, 16));
    Outcome const run = run_veld({"frames", scans.conf(), "--check", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const check = run.json()["check"];
    EXPECT_THAT(keys_of(check),
                testing::UnorderedElementsAre("frames", "pairs", "distance", "off", "alone",
                                              "noise", "noise_depth", "reach"));
    EXPECT_EQ(check["frames"].size(), 6U);
    EXPECT_EQ(check["pairs"].size(), 15U);
    EXPECT_NEAR(check["frames"][1]["distance"].get<double>(), 0.33, 0.08);
    EXPECT_LT(check["frames"][0]["distance"].get<double>(), 0.1);
    Outcome const text = run_veld({"frames", scans.conf(), "--check"});
    EXPECT_THAT(text.out, HasSubstr("hills.conf: 6 frames, 15 pairs overlap"));
    EXPECT_THAT(text.out, HasSubstr("  5 pairs agree better; --verbose lists them\n"));
}

TEST(FramesCheck, WarnsOfFramesThatAreOffOrAlone)
{
    HillScans const scans(row_of("a.ply", 0, 0, 1.0) + row_of("d.ply", 4, 16) +
                          row_of("d.ply", 4, 16) + row_of("a.ply", 0, 900));
    Outcome const run = run_veld({"frames", scans.conf(), "--check", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["check"]["alone"], nlohmann::json({6}));
    EXPECT_THAT(run.err, HasSubstr("a.ply: no other frame saw what it did"));
    EXPECT_EQ(run.json()["check"]["frames"][6]["distance"], nullptr);
}

TEST(FramesCheck, ItsOptionsNeedItAndWithoutItThereIsAnOutput)
{
    HillScans const scans;
    Outcome const without = run_veld({"frames", scans.conf()});
    EXPECT_EQ(without.status, 1);
    EXPECT_THAT(without.err, HasSubstr("--output"));
    TempDir const dir;
    Outcome const reach = run_veld({"frames", scans.conf(), "-o", dir.file("o"), "--reach", "1"});
    EXPECT_EQ(reach.status, 1);
    EXPECT_THAT(reach.err, HasSubstr("--check"));
}

TEST(FramesCheck, OneFrameIsRefusedByName)
{
    TempDir const dir;
    write_file(dir.file("a.ply"), hills_text(0, 0));
    write_file(dir.file("one.conf"), row_of("a.ply", 0, 0));
    Outcome const run = run_veld({"frames", dir.file("one.conf"), "--check"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("a.ply"));
}

// What a merge says of poses.

Outcome merge_of(std::string const& source)
{
    TempDir const dir;
    return run_veld({"merge", source, "-o", dir.file("m.ply")});
}

TEST(MergeOfPoses, SaysNothingOfFramesThatAgree)
{
    HillScans const scans;
    EXPECT_EQ(merge_of(scans.conf()).err, "");
}

TEST(MergeOfPoses, SuggestsToAlignFramesThatAreOff)
{
    HillScans scans;
    write_file(scans.conf(), row_of("a.ply", 0, 0) + row_of("\"b c.ply\"", 15, 3, 2.5) +
                                 row_of("d.ply", 4, 16, -2.5));
    Outcome const run = merge_of(scans.conf());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("off each other where they overlap"));
    EXPECT_THAT(run.err, HasSubstr("veld align"));
}

TEST(MergeOfPoses, NamesTheFrameThatOverlapsNothing)
{
    HillScans const scans(row_of("large.ply", 0, 0) + row_of("a.ply", 5000, 0));
    write_file(scans.file("large.ply"), hills_text(0, 0, 1000.0));
    Outcome const run = merge_of(scans.conf());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("large.ply: no other frame saw what it did"));
    EXPECT_THAT(run.err, HasSubstr("a.ply: no other frame saw what it did"));
    EXPECT_THAT(run.err, Not(HasSubstr("d.ply: no other")));
}

/// Depth images of which the last ones are of no use to the others: of zeros, of a camera that
/// looks the other way, and in tenths of millimetres.
class SpoiltImages : public WaveImages
{
public:
    SpoiltImages()
        : WaveImages("," + view_text("blank.png", STRAIGHT, "[0,0,0]") + "," +
                     view_text("back.png", TURNED_ROUND, "[0,0,0]") + "," +
                     view_text("tenths.png", STRAIGHT, "[0,0,0]"))
    {
        std::filesystem::remove(file("photo.jpg"));
        write_file(file("blank.png"), png_text(80, 60, std::vector<int>(80UL * 60UL, 0)));
        write_file(file("back.png"), waves_png(0));
        write_file(file("tenths.png"), waves_png(0, 10.0));
    }
};

TEST(MergeOfPoses, NamesDepthImagesThatShowNothingOfTheOthers)
{
    SpoiltImages const images;
    TempDir const dir;
    for (char const* const prepare : {"auto", "always"})
    {
        Outcome const run =
            run_veld({"merge", images.cameras(), "-o", dir.file("m.ply"), "--prepare", prepare});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.err, HasSubstr("blank.png: left out: it holds no points")) << prepare;
        EXPECT_THAT(run.err, HasSubstr("back.png: no other frame saw what it did")) << prepare;
        EXPECT_THAT(run.err, HasSubstr("tenths.png: no other frame saw what it did")) << prepare;
        EXPECT_THAT(run.err, Not(HasSubstr("0.png: no other"))) << prepare;
    }
}

TEST(MergeOfPoses, OneDepthImageIsMergedWithoutAWarning)
{
    TempDir const dir;
    write_file(dir.file("0.png"), waves_png(0));
    write_file(dir.file("cameras.json"), "{\"units\": \"metre\", \"views\": [" +
                                             view_text("0.png", STRAIGHT, "[0,0,0]") + "]}");
    for (char const* const prepare : {"auto", "always"})
    {
        Outcome const run = run_veld({"merge", dir.file("cameras.json"), "-o", dir.file("m.ply"),
                                      "--prepare", prepare, "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "") << prepare;
        EXPECT_GT(run.json()["faces"].get<int>(), 1000) << prepare;
    }
}

TEST(MergeOfPoses, ImagesOfZerosAloneAreRefused)
{
    TempDir const dir;
    write_file(dir.file("blank.png"), png_text(80, 60, std::vector<int>(80UL * 60UL, 0)));
    write_file(dir.file("cameras.json"), "{\"units\": \"metre\", \"views\": [" +
                                             view_text("blank.png", STRAIGHT, "[0,0,0]") + "]}");
    Outcome const run = run_veld({"merge", dir.file("cameras.json"), "-o", dir.file("m.ply")});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("blank.png: left out: it holds no points"));
    EXPECT_THAT(run.err, HasSubstr("holds no frame that can be used"));
    EXPECT_FALSE(fs::exists(dir.file("m.ply")));
}

TEST(MergeOfPoses, NamesAPhotographThatCannotBeRead)
{
    WaveImages const images;
    Outcome const run = merge_of(images.cameras());
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("0.png: "));
    EXPECT_THAT(run.err, HasSubstr("photo.jpg cannot be read: no colours"));
}

using AlignRealData = RealData;

TEST_F(AlignRealData, ScansOfABunnyAgreeBetter)
{
    AlignRun const run(real_data("range_bunny/bun.conf"), {"--scale", "1000"});
    ASSERT_EQ(run.outcome.status, 0) << run.outcome.err;
    auto const json = run.outcome.json();
    EXPECT_TRUE(json["converged"].get<bool>());
    EXPECT_LT(json["after"].get<double>(), json["before"].get<double>());
}

} // namespace
