#include "run_veld.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;

/// One run of the demo that the tests share: its pictures take seconds.
struct SharedDemo
{
    TempDir dir;
    Outcome run = run_veld({"demo", "-o", dir.file("demo"), "--json"});
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
                            "markers.txt", "scan.ply", "seeds.txt", "stick-0.ply", "stick-1.ply",
                            "stick-2.ply"));
    auto const json = run.json();
    EXPECT_THAT(keys_of(json), testing::UnorderedElementsAre("scan", "before", "sticks", "clean",
                                                             "cleaned", "fill", "after"));

    // The defects that the object is made with.
    EXPECT_GE(json["scan"]["faces"], 50000);
    EXPECT_LE(json["scan"]["faces"], 100000);
    EXPECT_GE(json["scan"]["holes"], 20);
    EXPECT_GE(json["scan"]["components"], 7);
    EXPECT_GE(json["scan"]["non_manifold_vertices"], 2);

    auto const info = run_veld({"info", dir.file("demo/filled.ply"), "--json"}).json();
    EXPECT_EQ(info["holes"], json["fill"]["holes_after"]);
    EXPECT_EQ(json["fill"]["holes_before"], json["clean"]["after"]["holes"]);
    EXPECT_EQ(info["faces"],
              json["clean"]["after"]["faces"].get<int>() + json["fill"]["new_faces"].get<int>());
    EXPECT_EQ(info["vertices"], json["clean"]["after"]["vertices"].get<int>() +
                                    json["fill"]["new_vertices"].get<int>());
    // Each method had its share.
    auto const& large = json["fill"]["large_holes"];
    auto const& others = json["fill"]["other_holes"];
    EXPECT_EQ(large["method"], "core");
    EXPECT_EQ(others["method"], "trim");
    EXPECT_GT(large["holes_before"], large["holes_after"]);
    EXPECT_GT(others["holes_before"], others["holes_after"]);
    EXPECT_EQ(large["holes_after"], others["holes_before"]);
    EXPECT_EQ(others["new_vertices"], 0);
    EXPECT_EQ(large["new_vertices"], json["fill"]["new_vertices"]);
    // The border where it stood.
    EXPECT_EQ(json["fill"]["holes_after"], 1);
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
    for (auto const& step : clean["steps"])
    {
        EXPECT_GT(step["removed_faces"].get<int>() + step["removed_vertices"].get<int>(), 0)
            << step["step"];
    }
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
    auto const file = [&demo](std::string const& name) { return demo.dir.file("demo/" + name); };
    TempDir const dir;
    Outcome const sticks = run_veld(
        {"sticks", file("scan.ply"), "--seeds", file("seeds.txt"), "-o", dir.file("again")});
    EXPECT_EQ(sticks.status, 0) << sticks.err;
    for (std::string const name : {"stick-0.ply", "stick-1.ply", "stick-2.ply"})
    {
        EXPECT_EQ(read_file(dir.file("again/" + name)), read_file(file(name)));
    }
    Outcome const clean =
        run_veld({"clean", file("scan.ply"), "-o", dir.file("again.ply"), "--markers",
                  file("markers.txt"), "--marker-radius", "3.3", "--normals", "--json"});
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
    EXPECT_EQ(read_file(dir.file("demo")), "mine");
}

TEST(DemoCommand, TimingsAreNoOtherOutputOfTheDemo)
{
    TempDir const dir;
    for (std::string const name : {"scan.ply", "markers.txt", "stick-2.ply", "after.png"})
    {
        Outcome const run = run_veld(
            {"demo", "-o", dir.file("new/demo"), "--timings", dir.file("new/demo/" + name)});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.error_lines(), 1);
        EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
    }
    EXPECT_TRUE(files_in(dir.path()).empty());
}

TEST(DemoCommand, TextNamesTheStepsAndTimingsMayGoToTheDirectoryThatTheDemoMakes)
{
    TempDir const dir;
    Outcome const run =
        run_veld({"demo", "-o", dir.file("new"), "--timings", dir.file("new/times.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(files_in(dir.file("new")), testing::Contains("times.json"));
    EXPECT_THAT(run.out, testing::ContainsRegex("stick-2.ply: a stick of [0-9]+ faces"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  markers took [0-9]+ faces"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  trim closed [0-9]+ of the others"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  core closed [0-9]+ holes of more than"));
}

} // namespace
