#include "run_veld.h"

#include "tests/support/sanitizers.h"

#include <gmock/gmock.h>

#include <array>
#include <map>
#include <sstream>

namespace
{

using namespace veld_test;
using testing::ElementsAre;

namespace fs = std::filesystem;

constexpr std::size_t VIEWS = 14;
constexpr std::size_t PHOTOS = 12;

/// One run of the demo that the tests share: its pictures take seconds.
struct SharedDemo
{
    TempDir dir;
    Outcome run =
        run_veld({"demo", "-o", dir.file("demo"), "--width", "240", "--json", "--threads", "3"});

    std::string file(std::string const& name) const { return dir.file("demo/" + name); }
};

SharedDemo const& shared_demo()
{
    static SharedDemo const demo;
    return demo;
}

TEST(DemoCommand, RunsTheWholeChain)
{
    auto const& [dir, run] = shared_demo();
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(files_in(dir.file("demo")),
                ElementsAre("after.png", "before.png", "cleaned.ply", "cleaned.png", "filled.ply",
                            "frames", "markers.txt", "photos", "repaired-ball.ply",
                            "repaired-project.ply", "report.html", "run.json", "scan.ply",
                            "seeds.txt", "stick-0.ply", "stick-1.ply", "stick-2.ply",
                            "textured.glb", "textured.jpg", "textured.mtl", "textured.obj",
                            "textured.png", "torn.ply"));
    auto const json = run.json();
    EXPECT_THAT(keys_of(json),
                testing::UnorderedElementsAre("frames", "merge", "scan", "before", "sticks",
                                              "clean", "cleaned", "fill", "deviation", "after",
                                              "photos", "texture", "textured", "repair", "page"));

    // The defects that the object is scanned with.
    EXPECT_GE(json["scan"]["holes"], 15);
    EXPECT_GE(json["scan"]["components"], 5);

    auto const info = run_veld({"info", dir.file("demo/filled.ply"), "--json"}).json();
    EXPECT_EQ(info["holes"], json["fill"]["holes_after"]);
    EXPECT_EQ(json["fill"]["holes_before"], json["clean"]["after"]["holes"]);
    EXPECT_EQ(info["faces"],
              json["clean"]["after"]["faces"].get<int>() + json["fill"]["new_faces"].get<int>());
    EXPECT_EQ(info["vertices"], json["clean"]["after"]["vertices"].get<int>() +
                                    json["fill"]["new_vertices"].get<int>());
    // Eight discs, of which none touches another hole, and all others but the border.
    auto const& at_markers = json["fill"]["marker_holes"];
    auto const& others = json["fill"]["other_holes"];
    EXPECT_EQ(at_markers["method"], "markers");
    EXPECT_EQ(at_markers["holes_before"], json["fill"]["holes_before"]);
    EXPECT_EQ(at_markers["holes_after"], json["fill"]["holes_before"].get<int>() - 8);
    EXPECT_EQ(others["method"], "whole");
    EXPECT_EQ(others["holes_before"], at_markers["holes_after"]);
    EXPECT_EQ(at_markers["new_vertices"].get<int>() + others["new_vertices"].get<int>(),
              json["fill"]["new_vertices"].get<int>());
    EXPECT_EQ(json["fill"]["cut_faces"], 0);
    // The border where it stood.
    EXPECT_EQ(json["fill"]["holes_after"], 1);
}

TEST(DemoCommand, LeavesThePageThatReportMakesOfItsRecord)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    EXPECT_EQ(demo.run.json()["page"], demo.file("report.html"));
    TempDir const dir;
    Outcome const again =
        run_veld({"report", demo.file(""), "-o", dir.file("page.html"), "--json"});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_EQ(again.err, "");
    EXPECT_EQ(again.json()["models"], 3);
    EXPECT_EQ(again.json()["pictures"], 4);
    EXPECT_EQ(file_content(dir.file("page.html")), file_content(demo.file("report.html")));
}

TEST(DemoCommand, FramesAreFilesThatOtherCommandsRead)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    EXPECT_EQ(files_in(demo.file("frames")).size(), 2 * VIEWS + 1);
    auto const frames = demo.run.json()["frames"];
    ASSERT_EQ(frames.size(), VIEWS);
    TempDir const dir;
    Outcome const read =
        run_veld({"frames", demo.file("frames/frames.json"), "-o", dir.file("rge"), "--json"});
    ASSERT_EQ(read.status, 0) << read.err;
    EXPECT_EQ(read.err, ""); // nothing had to be mended
    auto const again = read.json()["frames"];
    ASSERT_EQ(again.size(), VIEWS);
    for (std::size_t i = 0; i < VIEWS; ++i)
    {
        EXPECT_EQ(frames[i]["file"], demo.file("frames/cloud" + std::to_string(i + 1) + ".asc"));
        EXPECT_GE(frames[i]["vertices"], 10000);
        for (char const* key : {"vertices", "rows", "columns"})
        {
            EXPECT_EQ(again[i][key], frames[i][key]) << key;
        }
    }
}

TEST(DemoCommand, FramesNeedNoMirroring)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    std::istringstream text(file_content(demo.file("frames/cloud1.asc")));
    auto const first = demo.run.json()["frames"][0];
    std::size_t const columns = first["columns"];
    std::vector<std::array<double, 3>> points(columns * first["rows"].get<std::size_t>());
    double dropped = 0.0;
    for (auto& p : points)
    {
        text >> p[0] >> p[1] >> p[2] >> dropped >> dropped >> dropped;
    }
    ASSERT_TRUE(text);
    std::size_t cells = 0;
    for (std::size_t i = 0; i + columns + 1 < points.size(); ++i)
    {
        auto const& [x, y, z] = points[i];
        if (z != 0.0 && points[i + 1][2] != 0.0 && points[i + columns][2] != 0.0)
        {
            // Columns to the right and rows up, as the scanner sees it, which looks along -z.
            ++cells;
            EXPECT_LT(z, 0.0);
            EXPECT_GT(points[i + 1][0], x);
            EXPECT_GT(points[i + columns][1], y);
        }
    }
    EXPECT_GT(cells, 10000U);
}

TEST(DemoCommand, ScanIsTheMergeOfTheFrames)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    TempDir const dir;
    Outcome const run = run_veld({"merge", demo.file("frames/frames.json"), "-o",
                                  dir.file("scan.ply"), "--max-hole-edges", "0", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(file_content(dir.file("scan.ply")), file_content(demo.file("scan.ply")));
    auto const json = demo.run.json();
    auto again = run.json();
    EXPECT_EQ(keys_of(json["merge"]), keys_of(again));
    again["seconds"] = json["merge"]["seconds"];
    EXPECT_EQ(json["merge"], again);

    std::size_t points = 0;
    for (auto const& frame : json["frames"])
    {
        points += frame["vertices"].get<std::size_t>();
    }
    EXPECT_EQ(json["merge"]["frames"], VIEWS);
    EXPECT_GE(json["merge"]["overlap_removed"], points / 2); // each place is seen several times
    EXPECT_EQ(json["merge"]["faces"], json["scan"]["faces"]);
    EXPECT_EQ(json["merge"]["holes"], json["scan"]["holes"]);
    EXPECT_EQ(json["scan"]["non_manifold_vertices"], 0);
}

TEST(DemoCommand, RepairedMeshIsNearTheTrueSurface)
{
    auto const& run = shared_demo().run;
    ASSERT_EQ(run.status, 0) << run.err;
    auto const deviation = run.json()["deviation"];
    // Noise and registration put points about 0.03 mm off. The hundredth part that is farther off
    // is where holes were filled.
    EXPECT_GT(deviation["mean"], 0.015);
    EXPECT_LT(deviation["mean"], 0.06);
    EXPECT_GT(deviation["percentile_99"], deviation["mean"]);
    EXPECT_LT(deviation["percentile_99"], 0.15);
}

TEST(DemoCommand, PhotographsMakeTheTextureThatTheTextureCommandMakes)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    auto const json = demo.run.json();
    EXPECT_EQ(files_in(demo.file("photos")).size(), PHOTOS + 1);
    EXPECT_EQ(json["photos"]["photos"], PHOTOS);
    EXPECT_EQ(json["photos"]["width"], 240);
    EXPECT_EQ(json["photos"]["height"], 180);
    TempDir const dir;
    Outcome const run = run_veld({"texture", demo.file("filled.ply"), "--photos",
                                  demo.file("photos"), "-o", dir.file("textured.obj")});
    ASSERT_EQ(run.status, 0) << run.err;
    for (std::string const name : {"textured.obj", "textured.mtl", "textured.jpg"})
    {
        EXPECT_TRUE(file_content(dir.file(name)) == file_content(demo.file(name))) << name;
    }
}

TEST(DemoCommand, TextureIsNearTheTrueColours)
{
    auto const& run = shared_demo().run;
    ASSERT_EQ(run.status, 0) << run.err;
    auto const texture = run.json()["texture"];
    EXPECT_EQ(texture["photographs"], PHOTOS);
    // All but the shade of the lamps is taken away: a fifth of the light at most. Pixels of half a
    // millimetre leave the grain and the rims of spots out.
    EXPECT_GT(texture["colour_error"]["mean"], 0.5);
    EXPECT_LT(texture["colour_error"]["mean"], 10.0);
    EXPECT_LT(texture["colour_error"]["percentile_95"], 25.0);
    EXPECT_LT(texture["colour_error"]["blank"], 0.01);
    EXPECT_GT(texture["seam_step"]["edges"], 500);
}

TEST(DemoCommand, ComparesBothRepairsOnATornCopy)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    auto const json = demo.run.json()["repair"];
    EXPECT_GT(json["components"], 20);
    EXPECT_GT(json["isolated_vertices"], 100);
    for (std::string const method : {"ball", "project"})
    {
        auto const& repair = json[method];
        EXPECT_EQ(repair["file"], demo.file("repaired-" + method + ".ply"));
        EXPECT_EQ(repair["before"]["holes"], json["holes"]);
        EXPECT_LT(repair["after"]["boundary_edges"], repair["before"]["boundary_edges"]) << method;
        EXPECT_EQ(repair["after"]["non_manifold_vertices"], 0);
        // What a user gets who repairs the file.
        TempDir const dir;
        Outcome const run = run_veld(
            {"repair", demo.file("torn.ply"), "-o", dir.file("again.ply"), "--method", method});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(file_content(dir.file("again.ply")) == file_content(repair["file"])) << method;
    }
    EXPECT_EQ(json["ball"]["after"]["components"], 1);
    EXPECT_LT(json["ball"]["after"]["boundary_edges"],
              json["ball"]["before"]["boundary_edges"].get<int>() / 5);
}

TEST(DemoCommand, CleansItsScan)
{
    auto const& run = shared_demo().run;
    ASSERT_EQ(run.status, 0) << run.err;
    auto const json = run.json();
    auto const& clean = json["clean"];
    EXPECT_EQ(clean["before"]["faces"], json["scan"]["faces"]);
    EXPECT_EQ(clean["before"]["components"], json["scan"]["components"]);
    EXPECT_EQ(clean["after"]["components"], 1);
    EXPECT_EQ(clean["after"]["non_manifold_vertices"], 0);
    EXPECT_EQ(clean["after"]["isolated_vertices"], 0);
    std::map<std::string, int> removed;
    for (auto const& step : clean["steps"])
    {
        removed[step["step"]] =
            step["removed_faces"].get<int>() + step["removed_vertices"].get<int>();
    }
    EXPECT_THAT(removed, testing::UnorderedElementsAre(
                             testing::Pair("markers", testing::Gt(0)),
                             testing::Pair("sticks", testing::Gt(0)),
                             testing::Pair("non-manifold", testing::Ge(0)), // if cutting made any
                             testing::Pair("min-faces", testing::Gt(0)),
                             testing::Pair("min-vertices", testing::Gt(0))));
    ASSERT_EQ(json["sticks"].size(), 3U);
    EXPECT_EQ(json["scan"]["sticks"], 3);
    int vertices = 0;
    for (auto const& stick : json["sticks"])
    {
        EXPECT_GT(stick["faces"], 100);
        vertices += stick["vertices"].get<int>();
    }
    // Each vertex of a stick goes, with those that lose their last face by it.
    ASSERT_EQ(clean["steps"][1]["step"], "sticks");
    EXPECT_GE(clean["steps"][1]["removed_vertices"], vertices);
}

TEST(DemoCommand, FilesOfTheHostServeTheOtherCommands)
{
    auto const& demo = shared_demo();
    ASSERT_EQ(demo.run.status, 0) << demo.run.err;
    TempDir const dir;
    Outcome const sticks = run_veld({"sticks", demo.file("scan.ply"), "--seeds",
                                     demo.file("seeds.txt"), "-o", dir.file("again")});
    EXPECT_EQ(sticks.status, 0) << sticks.err;
    for (std::string const name : {"stick-0.ply", "stick-1.ply", "stick-2.ply"})
    {
        EXPECT_EQ(file_content(dir.file("again/" + name)), file_content(demo.file(name)));
    }
    Outcome const clean =
        run_veld({"clean", demo.file("scan.ply"), "-o", dir.file("again.ply"), "--markers",
                  demo.file("markers.txt"), "--marker-radius", "3.3", "--normals", "--json"});
    ASSERT_EQ(clean.status, 0) << clean.err;
    // Eight discs, of which none touches another hole.
    auto const json = clean.json();
    EXPECT_EQ(json["after"]["holes"].get<int>(), json["before"]["holes"].get<int>() + 8);
}

TEST(DemoCommand, FileInTheDirectorysPlaceIsRefused)
{
    TempDir const dir;
    write_file(dir.file("demo"), "mine");
    Outcome const run = run_veld({"demo", "-o", dir.file("demo")});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.error_lines(), 1);
    EXPECT_NE(run.err.find(dir.file("demo")), std::string::npos);
    EXPECT_EQ(file_content(dir.file("demo")), "mine");
}

TEST(DemoCommand, TimingsAreNoOtherOutputOfTheDemo)
{
    TempDir const dir;
    for (std::string const name : {"scan.ply", "markers.txt", "stick-2.ply", "after.png",
                                   "frames/cloud3.asc", "frames/rt14.txt", "frames/frames.json",
                                   "photos/cameras.json", "photos/photo12.jpg", "textured.mtl"})
    {
        Outcome const run = run_veld(
            {"demo", "-o", dir.file("new/demo"), "--timings", dir.file("new/demo/" + name)});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.error_lines(), 1);
        EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
    }
    EXPECT_TRUE(files_in(dir.path()).empty());
}

TEST(DemoCommand, TextNamesTheStepsAndTimingsGoToItsDirectoryAndThreadsChangeNoByte)
{
    if (IS_SANITIZED)
    {
        GTEST_SKIP() << "a second run takes minutes here, through the same code as the first";
    }
    TempDir const dir;
    // A link stays one, also to another volume, as the second is on most systems.
    fs::path const volume = fs::is_directory("/dev/shm") ? "/dev/shm" : fs::temp_directory_path();
    fs::path const points = volume / (dir.path().filename().string() + ".asc");
    fs::create_directories(dir.file("new/frames"));
    fs::create_symlink(points, dir.file("new/frames/cloud1.asc"));
    Outcome const run = run_veld({"demo", "-o", dir.file("new"), "--width", "240", "--threads", "1",
                                  "--timings", dir.file("new/times.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(files_in(dir.file("new")), testing::Contains("times.json"));
    EXPECT_THAT(run.out, testing::ContainsRegex("frames.json: 14 frames of [0-9]+ points"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  overlap: [0-9]+ points taken out"));
    EXPECT_THAT(run.out, testing::ContainsRegex("mm from the true surface, 99 % within"));
    EXPECT_THAT(run.out, testing::ContainsRegex("stick-2.ply: a stick of [0-9]+ faces"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  markers took [0-9]+ faces"));
    EXPECT_THAT(run.out, testing::HasSubstr("  markers closed 8 holes\n"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  whole closed [0-9]+ holes\n"));
    EXPECT_THAT(run.out, testing::HasSubstr("cameras.json: 12 photographs of 240 x 180\n"));
    EXPECT_THAT(run.out, testing::ContainsRegex("of 255 from the true colours, 95 % within"));
    EXPECT_THAT(run.out, testing::ContainsRegex("torn.ply: a torn copy of [0-9]+ pieces"));
    for (std::string const method : {"ball", "project"})
    {
        EXPECT_THAT(run.out, testing::ContainsRegex("repaired-" + method +
                                                    ".ply: [0-9]+ holes and [0-9]+ border edges"));
    }
    EXPECT_THAT(run.out, testing::ContainsRegex("  markers: [0-9]+ faces and [0-9]+ vertices"));

    EXPECT_TRUE(fs::is_symlink(dir.file("new/frames/cloud1.asc")));

    auto const& demo = shared_demo();
    for (std::string const folder : {"", "frames/", "photos/"})
    {
        for (auto const& name : files_in(demo.file(folder)))
        {
            bool const is_folder = name == "frames" || name == "photos";
            bool const has_times = name == "run.json" || name == "report.html";
            if (!is_folder && !has_times)
            {
                EXPECT_TRUE(file_content(dir.file("new/" + folder + name)) ==
                            file_content(demo.file(folder + name)))
                    << folder << name;
            }
        }
    }
    EXPECT_TRUE(fs::remove(points));
}

} // namespace
