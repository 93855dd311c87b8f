#include "run_veld.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;

TEST(DemoCommand, RunsTheWholeChain)
{
    TempDir const dir;
    Outcome const run = run_veld({"demo", "-o", dir.file("demo"), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(files_in(dir.file("demo")),
                ElementsAre("after.png", "before.png", "filled.ply", "scan.ply"));
    auto const json = run.json();
    EXPECT_THAT(keys_of(json), testing::UnorderedElementsAre("scan", "before", "fill", "after"));

    // The defects that the object is made with.
    EXPECT_GE(json["scan"]["faces"], 50000);
    EXPECT_LE(json["scan"]["faces"], 100000);
    EXPECT_GE(json["scan"]["holes"], 20);
    EXPECT_GE(json["scan"]["components"], 7);
    EXPECT_GE(json["scan"]["non_manifold_vertices"], 2);

    auto const info = run_veld({"info", dir.file("demo/filled.ply"), "--json"}).json();
    EXPECT_EQ(info["holes"], json["fill"]["holes_after"]);
    EXPECT_EQ(json["fill"]["holes_before"], json["scan"]["holes"]);
    EXPECT_EQ(info["faces"],
              json["scan"]["faces"].get<int>() + json["fill"]["new_faces"].get<int>());
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
    EXPECT_EQ(info["vertices"],
              json["scan"]["vertices"].get<int>() + json["fill"]["new_vertices"].get<int>());
    // The border where it stood, the rims of the six loose specks, and that of the scrap, which
    // the filling of the hole beside it has left alone.
    EXPECT_EQ(json["fill"]["holes_after"], 8);
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

TEST(DemoCommand, TextNamesTheMethods)
{
    TempDir const dir;
    Outcome const run = run_veld({"demo", "-o", dir.file("demo")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, testing::ContainsRegex("  trim closed [0-9]+ of the others"));
    EXPECT_THAT(run.out, testing::ContainsRegex("  core closed [0-9]+ holes of more than"));
}

TEST(DemoCommand, TimingsAreNoOtherOutputOfTheDemo)
{
    TempDir const dir;
    for (std::string const name : {"scan.ply", "before.png", "filled.ply", "after.png"})
    {
        Outcome const run = run_veld(
            {"demo", "-o", dir.file("new/demo"), "--timings", dir.file("new/demo/" + name)});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.error_lines(), 1);
        EXPECT_NE(run.err.find(name), std::string::npos) << run.err;
    }
    EXPECT_TRUE(files_in(dir.path()).empty());
}

TEST(DemoCommand, TimingsMayGoToTheDirectoryThatTheDemoMakes)
{
    TempDir const dir;
    Outcome const run =
        run_veld({"demo", "-o", dir.file("new"), "--timings", dir.file("new/times.json")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(files_in(dir.file("new")),
                ElementsAre("after.png", "before.png", "filled.ply", "scan.ply", "times.json"));
}

} // namespace
