#include "workflow/report/RunRecord.h"

#include "tests/support/files.h"
#include "tests/support/temp_dir.h"
#include "tests/workflow/reason_of.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using veld::Json;
using veld::RunRecord;
using veld::RunStep;
using veld_test::reason_of;

RunRecord record_of_two_steps()
{
    RunStep merge;
    merge.name = "merge";
    merge.title = "Merge 10 frames";
    merge.settings = {{"overlap_distance", 0.25}, {"average", true}};
    merge.result = {{"faces", 1200}};
    merge.seconds = 1.5;
    merge.line = "scan.ply: 1200 faces";
    merge.warnings = {"frame 3 is empty", "frame \"4\" <turned>"};
    merge.mesh = "scan.ply";
    merge.picture = "scan.png";
    merge.key = "00ff";
    RunStep fill;
    fill.name = "fill";
    fill.title = "Fill 3 holes";
    fill.mesh = "filled.ply";
    fill.new_faces_begin = 1200;
    RunRecord record;
    record.version = "0.1.0";
    record.source = "scan.conf";
    record.recipe = Json::array({{{"step", "merge"}}, {{"step", "fill"}}});
    record.steps = {merge, fill};
    record.comparison = {{"mean", 0.01}};
    record.textured = "textured.glb";
    return record;
}

/// What is said of a record file with this content, behind the name of the file.
std::string record_complaint(std::string const& content)
{
    veld_test::TempDir const directory;
    veld_test::write_file(directory.file("run.json"), content);
    std::string const reason = reason_of([&] { veld::read_run_record(directory.path()); });
    std::string const start = directory.file("run.json") + ": ";
    EXPECT_EQ(reason.substr(0, start.size()), start);
    return reason.substr(std::min(start.size(), reason.size()));
}

TEST(RunRecord, WhatIsWrittenIsReadAgain)
{
    veld_test::TempDir const directory;
    RunRecord const record = record_of_two_steps();
    veld::write_run_record(directory.path(), record);
    RunRecord const read = veld::read_run_record(directory.path());

    EXPECT_EQ(read.version, "0.1.0");
    EXPECT_EQ(read.source, "scan.conf");
    EXPECT_EQ(read.recipe, record.recipe);
    EXPECT_EQ(read.comparison, record.comparison);
    EXPECT_EQ(read.textured, "textured.glb");
    ASSERT_EQ(read.steps.size(), 2U);
    RunStep const& merge = read.steps.front();
    EXPECT_EQ(merge.name, "merge");
    EXPECT_EQ(merge.title, "Merge 10 frames");
    EXPECT_EQ(merge.settings, record.steps.front().settings);
    EXPECT_EQ(merge.result, record.steps.front().result);
    EXPECT_EQ(merge.seconds, 1.5);
    EXPECT_EQ(merge.line, "scan.ply: 1200 faces");
    EXPECT_THAT(merge.warnings, ElementsAre("frame 3 is empty", "frame \"4\" <turned>"));
    EXPECT_EQ(merge.mesh, "scan.ply");
    EXPECT_EQ(merge.picture, "scan.png");
    EXPECT_EQ(merge.key, "00ff");
    EXPECT_EQ(merge.new_faces_begin, -1);
    EXPECT_EQ(read.steps.back().new_faces_begin, 1200);
    EXPECT_THAT(veld_test::files_in(directory.path()), ElementsAre("run.json"));
}

TEST(RunRecord, AStepNeedsNoMoreThanItsName)
{
    veld_test::TempDir const directory;
    veld_test::write_file(directory.file("run.json"),
                          R"({"version": "1", "steps": [{"name": "fill", "later": 7}]})");
    RunRecord const read = veld::read_run_record(directory.path());
    ASSERT_EQ(read.steps.size(), 1U);
    EXPECT_EQ(read.steps.front().title, "fill");
    EXPECT_EQ(read.steps.front().seconds, 0.0);
    EXPECT_EQ(read.steps.front().new_faces_begin, -1);
    EXPECT_TRUE(read.steps.front().warnings.empty());
    EXPECT_TRUE(read.comparison.is_null());
}

TEST(RunRecord, TextsThatAreNoUnicodeAndNumbersThatAreNoneAreWrittenAllTheSame)
{
    RunRecord record;
    record.version = "1";
    record.source = "a\xFF"
                    "b";
    record.comparison = {{"mean", std::nan("")}};
    Json const json = Json::parse(record.to_text());
    EXPECT_EQ(json.at("source"), "a\xEF\xBF\xBD"
                                 "b");
    EXPECT_TRUE(json.at("comparison").at("mean").is_null());
}

TEST(RunRecord, AFolderWithoutOneIsAnError)
{
    veld_test::TempDir const directory;
    EXPECT_EQ(reason_of([&] { veld::read_run_record(directory.path()); }),
              directory.file("run.json") + ": no such file");
}

TEST(RunRecord, ADamagedOneIsAnErrorThatNamesThePlace)
{
    EXPECT_THAT(record_complaint("{"), HasSubstr("is no JSON"));
    EXPECT_EQ(record_complaint("[]"), "is no JSON object");
    EXPECT_EQ(record_complaint("{}"), "'version' is missing");
    EXPECT_EQ(record_complaint(R"({"version": 1})"), "'version' has to be a text");
    EXPECT_EQ(record_complaint(R"({"version": "1", "steps": {}})"), "'steps' has to be a list");
    EXPECT_EQ(record_complaint(R"({"version": "1", "steps": [3]})"), "step 1: is no JSON object");
    EXPECT_EQ(record_complaint(R"({"version": "1", "steps": [{"name": "a"}, {}]})"),
              "step 2: 'name' is missing");
    EXPECT_EQ(record_complaint(R"({"version": "1", "steps": [{"name": "a", "warnings": [1]}]})"),
              "step 1: 'warnings' has to be a list of texts");
    EXPECT_THAT(
        record_complaint(R"({"version": "1", "steps": [{"name": "a", "new_faces_begin": -2}]})"),
        HasSubstr("step 1: 'new_faces_begin' has to be"));
    EXPECT_THAT(
        record_complaint(R"({"version": "1", "steps": [{"name": "a", "seconds": "long"}]})"),
        HasSubstr("step 1: 'seconds' has to be"));
}

/// A record whose step has lists in each other as its settings.
std::string record_nested(std::size_t depth)
{
    return R"({"version": "1", "steps": [{"name": "fill", "settings": )" + std::string(depth, '[') +
           std::string(depth, ']') + "}]}";
}

TEST(RunRecord, ListsInEachOtherAreReadUpToALimitAndRefusedBeyondIt)
{
    // The object, the list of steps and the step hold the settings.
    veld::parse_run_record(record_nested(97), "run.json: ");
    for (std::size_t const depth : {std::size_t{98}, std::size_t{200000}})
    {
        EXPECT_EQ(reason_of([&] { veld::parse_run_record(record_nested(depth), "run.json: "); }),
                  "run.json: has more than 100 lists and objects in each other");
        EXPECT_EQ(record_complaint(record_nested(depth)),
                  "has more than 100 lists and objects in each other");
    }
}

TEST(RunRecord, BracketsInATextAreNoLists)
{
    std::string const brackets = std::string(500, '[') + R"(\"{\\)";
    auto const record = veld::parse_run_record(
        R"({"version": "1", "source": ")" + brackets + R"("})", "run.json: ");
    EXPECT_EQ(record.source, std::string(500, '[') + R"("{\)");
}

} // namespace
