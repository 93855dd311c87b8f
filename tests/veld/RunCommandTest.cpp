#include "run_veld.h"

#include "tests/support/photos.h"
#include "tests/support/real_data.h"
#include "tests/support/sanitizers.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

namespace
{

using namespace veld_test;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

/// A sheet with a hole of 6 x 6 mm.
TriMesh sheet()
{
    std::vector<Cell> missing;
    for (int i = 0; i < 36; ++i)
    {
        missing.push_back({10 + i % 6, 10 + i / 6});
    }
    return grid_without(30, 30, missing);
}

/// A mesh with a hole, and a folder for results.
class RunCommand : public testing::Test
{
protected:
    Outcome run(std::vector<std::string> const& more = {}) const
    {
        std::vector<std::string> list{"run", scan_.mesh(), "-o", out(""), "--no-pictures"};
        list.insert(list.end(), more.begin(), more.end());
        return run_veld(list);
    }
    Outcome run_recipe(std::string const& text) const
    {
        write_file(scan_.file("recipe.json"), text);
        return run({"--recipe", scan_.file("recipe.json")});
    }
    std::string out(std::string const& name) const { return results_.file("run/" + name); }

    MeshDir scan_{sheet()};
    TempDir results_;
};

TEST_F(RunCommand, PrintsALineAStep)
{
    Outcome const first = run();
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.err, "");
    EXPECT_EQ(std::count(first.out.begin(), first.out.end(), '\n'), 5);
    EXPECT_THAT(first.out, AllOf(StartsWith(scan_.mesh() + ": a mesh of "), HasSubstr("\nclean: "),
                                 HasSubstr("\nrepair: left out"), HasSubstr("\nfill: 1 of 2 ")));
    EXPECT_THAT(run().out, HasSubstr("s), from before\n"));
    EXPECT_EQ(run({"--quiet"}).out, "");
}

TEST_F(RunCommand, HasTheRecordAsJson)
{
    auto const json = run({"--json"}).json();
    EXPECT_THAT(keys_of(json), testing::IsSupersetOf({"version", "source", "recipe", "steps",
                                                      "comparison", "textured", "from_before"}));
    EXPECT_EQ(json["from_before"], 0);
    EXPECT_EQ(json["steps"].size(), 4U);
    EXPECT_EQ(run({"--json"}).json()["from_before"], 4);
}

TEST_F(RunCommand, RefusesAFinishedRunWhereNothingMayBeOverwritten)
{
    ASSERT_EQ(run({"--no-overwrite"}).status, 0);
    Outcome const again = run({"--no-overwrite"});
    EXPECT_EQ(again.status, 1);
    EXPECT_EQ(again.err, "error: " + out("") + ": a run is there already (see --no-overwrite)\n");
}

TEST_F(RunCommand, PrintsTheRecipeThatItWouldTake)
{
    Outcome const printed = run_veld({"run", scan_.mesh(), "--print-recipe"});
    ASSERT_EQ(printed.status, 0) << printed.err;
    auto const json = printed.json();
    EXPECT_EQ(json["veld_recipe"], 1);
    ASSERT_EQ(json["steps"].size(), 4U);
    EXPECT_TRUE(json["steps"][2]["settings"]["max_perimeter"].is_null()) << "it is measured";
    Outcome const done = run_recipe(printed.out);
    ASSERT_EQ(done.status, 0) << done.err;
    std::string const model = file_content(out("model.ply"));
    std::filesystem::remove_all(out(""));
    ASSERT_EQ(run().status, 0);
    EXPECT_EQ(file_content(out("model.ply")), model);
    EXPECT_EQ(run_veld({"run", "--print-recipe"}).json()["steps"].size(), 7U);
}

TEST_F(RunCommand, AWrongRecipeIsToldByItsLine)
{
    Outcome const wrong = run_recipe("{\"veld_recipe\": 1, \"steps\": [\n{\"step\": \"fill\",\n"
                                     "\"settings\": {\"max_perimeter\": -1}}]}");
    EXPECT_EQ(wrong.status, 1);
    EXPECT_EQ(wrong.err, "error: " + scan_.file("recipe.json") +
                             ":3: steps[0].settings.max_perimeter: has to be a number of 0 or "
                             "more, or null\n");
    EXPECT_FALSE(std::filesystem::exists(out("")));
    EXPECT_EQ(run({"--recipe", scan_.file("none.json")}).status, 1);
}

TEST_F(RunCommand, AStepThatFailsLeavesWhatWasMade)
{
    auto view = sheet_view("one.png");
    view["R"] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}; // it looks away
    PhotoDir const photos(nlohmann::json::array({view}));
    Outcome const failed = run({"--photos", photos.path().string()});
    EXPECT_EQ(failed.status, 2);
    EXPECT_EQ(failed.error_lines(), 1) << failed.err;
    EXPECT_THAT(failed.err, StartsWith("error: texture: "));
    EXPECT_TRUE(std::filesystem::exists(out("model.ply")));
}

TEST_F(RunCommand, WrongInputIsToldInOneLine)
{
    TempDir const empty;
    std::vector<std::vector<std::string>> const calls{
        {"run"},
        {"run", scan_.mesh()},
        {"run", scan_.file("none.ply"), "-o", out("")},
        {"run", empty.path().string(), "-o", out("")},
        {"run", scan_.mesh(), "-o", scan_.path().string()},
        {"run", scan_.mesh(), "-o", out(""), "--photos", empty.path().string()},
        {"run", scan_.mesh(), "-o", out(""), "--markers", empty.file("none.txt")},
        {"run", scan_.mesh(), "-o", out(""), "--print-recipe"}};
    for (auto const& call : calls)
    {
        Outcome const wrong = run_veld(call);
        EXPECT_EQ(wrong.status, 1) << call.size();
        EXPECT_EQ(wrong.error_lines(), 1) << wrong.err;
        EXPECT_THAT(wrong.err, StartsWith("error: "));
    }
    EXPECT_FALSE(std::filesystem::exists(out("")));
}

using RunRealData = RealData;

TEST_F(RunRealData, RangeScansInMetresBecomeAClosedMesh)
{
    TempDir const dir;
    Outcome const run = run_veld({"run", real_data("range_bunny"), "-o", dir.file("bunny")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("all lengths are taken times 1000"));
    EXPECT_THAT(run.out, HasSubstr("the mesh is closed ("));
    auto const info = run_veld({"info", dir.file("bunny/model.ply"), "--json"}).json();
    EXPECT_TRUE(info["closed"]);
    EXPECT_EQ(info["non_manifold_vertices"], 0);
    EXPECT_GT(info["average_edge_length"], 0.5);
}

TEST(RunDemo, FramesWithMarkersAndPhotographsBecomeATexturedModel)
{
    if (veld_test::IS_SANITIZED)
    {
        GTEST_SKIP() << "minutes; smaller runs and the demonstration itself take the same steps";
    }
    TempDir const dir;
    ASSERT_EQ(run_veld({"demo", "-o", dir.file("demo"), "--width", "320", "--quiet"}).status, 0);
    Outcome const run = run_veld({"run", dir.file("demo/frames"), "-o", dir.file("run"), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const steps = run.json()["steps"];
    std::vector<std::string> names;
    for (auto const& step : steps)
    {
        names.push_back(step["name"]);
    }
    EXPECT_THAT(names, testing::ElementsAre("merge", "clean", "markers", "repair", "fill", "fill",
                                            "texture"));
    EXPECT_EQ(steps[6]["result"]["photographs"], 12);
    EXPECT_GT(steps[6]["result"]["textured_faces"],
              steps[6]["result"]["faces"].get<int>() * 9 / 10);
    EXPECT_EQ(file_content(dir.file("run/model.glb")).substr(0, 4), "glTF");
}

} // namespace
