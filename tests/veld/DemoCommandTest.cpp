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
    // The border where it stood, and the rims of the six loose specks.
    EXPECT_EQ(json["fill"]["holes_after"], 7);
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

} // namespace
