#include "run_veld.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::HasSubstr;

/// A folder with the record of one step and its mesh.
void write_run(TempDir const& dir, std::string const& mesh = "mesh.ply")
{
    write_file(dir.file("mesh.ply"), ply_text(grid(3, 3)));
    write_file(dir.file("run.json"), R"({"version": "1", "source": "scan", "steps": [)"
                                     R"({"name": "merge", "mesh": ")" +
                                         mesh + "\"}]}");
}

TEST(ReportCommand, MakesThePageBesideTheRecord)
{
    TempDir const dir;
    write_run(dir);
    Outcome const run = run_veld({"report", dir.path().string(), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    auto const json = run.json();
    EXPECT_EQ(json["page"], dir.file("report.html"));
    EXPECT_EQ(json["models"], 1);
    EXPECT_EQ(json["gaps"].size(), 0U);
    std::string const page = file_content(dir.file("report.html"));
    EXPECT_EQ(json["bytes"], page.size());
    EXPECT_EQ(page.rfind("<!DOCTYPE html>", 0), 0U);
}

TEST(ReportCommand, TheNumberOfThreadsChangesNothing)
{
    TempDir const dir;
    write_run(dir);
    for (char const* threads : {"1", "2", "8"})
    {
        ASSERT_EQ(run_veld({"report", dir.path().string(), "--threads", threads, "-o",
                            dir.file(std::string(threads) + ".html")})
                      .status,
                  0);
    }
    std::string const page = file_content(dir.file("1.html"));
    EXPECT_EQ(page, file_content(dir.file("2.html")));
    EXPECT_EQ(page, file_content(dir.file("8.html")));
}

TEST(ReportCommand, AFolderWithoutARecordIsAnError)
{
    TempDir const dir;
    Outcome const run = run_veld({"report", dir.path().string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "error: " + dir.file("run.json") + ": no such file\n");
    EXPECT_TRUE(files_in(dir.path()).empty());
}

TEST(ReportCommand, ADamagedRecordIsAnErrorAndLeavesNoPage)
{
    TempDir const dir;
    write_file(dir.file("run.json"), "{\"version\": ");
    Outcome const run = run_veld({"report", dir.path().string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("run.json: is no JSON"));
    EXPECT_EQ(run.error_lines(), 1);
    EXPECT_EQ(files_in(dir.path()).size(), 1U);
}

TEST(ReportCommand, AMissingMeshIsAWarning)
{
    TempDir const dir;
    write_run(dir, "lost.ply");
    Outcome const run = run_veld({"report", dir.path().string(), "--json"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("warning: "));
    EXPECT_THAT(run.err, HasSubstr("lost.ply: no such file"));
    EXPECT_EQ(run.json()["gaps"].size(), 1U);
    EXPECT_THAT(file_content(dir.file("report.html")), HasSubstr("lost.ply: no such file"));
}

TEST(ReportCommand, APageThatIsThereStaysIfThatIsAsked)
{
    TempDir const dir;
    write_run(dir);
    write_file(dir.file("report.html"), "mine");
    Outcome const run = run_veld({"report", dir.path().string(), "--no-overwrite"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("report.html: is there already"));
    EXPECT_EQ(file_content(dir.file("report.html")), "mine");
}

TEST(ReportCommand, WritesNothingButPages)
{
    TempDir const dir;
    write_run(dir);
    EXPECT_EQ(run_veld({"report", dir.path().string(), "-o", dir.file("run.json")}).status, 1);
    EXPECT_EQ(run_veld({"report", dir.path().string(), "-o", dir.file("page.txt")}).status, 1);
    EXPECT_EQ(files_in(dir.path()).size(), 2U);
}

} // namespace
