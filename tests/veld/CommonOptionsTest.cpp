#include "run_veld.h"

#include "tests/support/sanitizers.h"

#include "algorithmVeld/common/solver.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> const COMMANDS{"info",    "holes",  "fill",   "repair", "clean",
                                        "normals", "sticks", "render", "demo",   "keyframes"};

/// The command line of a help text's example, without the program's name.
std::string example_of(std::string const& command)
{
    Outcome const help = run_veld({command, "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.err, "");
    std::string const head = "Example:\n  veld ";
    auto const at = help.out.find(head);
    EXPECT_NE(at, std::string::npos) << command;
    if (at == std::string::npos)
    {
        return "";
    }
    auto const begin = at + head.size();
    return help.out.substr(begin, help.out.find('\n', begin) - begin);
}

TEST(CommonOptions, EveryHelpHasAnExampleThatRuns)
{
    for (auto const& command : COMMANDS)
    {
        TempDir const dir;
        write_file(dir.file("scan.ply"), ply_text(grid_with_hole(2)));
        write_file(dir.file("seeds.txt"), "0 0 0 6 15.5\n");
        std::filesystem::create_directory(dir.file("photos"));
        write_file(dir.file("photos/cameras.json"),
                   R"({"views": [{"image": "a.jpg", "width": 2, "height": 1, "fx": 1, "fy": 1,
                       "cx": 0, "cy": 0, "R": [[1, 0, 0], [0, 1, 0], [0, 0, 1]],
                       "t": [0, 0, 0]}]})");
        std::string const example = example_of(command);
        EXPECT_EQ(example.rfind(command + " ", 0), 0U) << example;
        if (command == "demo" && IS_SANITIZED)
        {
            continue; // The whole demonstration has tests of its own, and takes a minute here.
        }
        std::string const smaller = command == "demo" ? " --width 240" : "";
        Outcome const run = run_veld_in(dir.path(), example + smaller);
        EXPECT_EQ(run.status, 0) << example << "\n" << run.err;
        EXPECT_NE(run.out, "") << example;
    }
}

TEST(CommonOptions, EveryHelpNamesTheSharedOptions)
{
    for (auto const& command : COMMANDS)
    {
        Outcome const help = run_veld({command, "--help"});
        for (char const* option :
             {"--json", "--quiet", "--verbose", "--no-overwrite", "--threads", "--timings"})
        {
            EXPECT_THAT(help.out, HasSubstr(option)) << command;
        }
    }
}

TEST(CommonOptions, ProgramHelpListsTheCommands)
{
    Outcome const help = run_veld({"--help"});
    EXPECT_EQ(help.status, 0);
    for (auto const& command : COMMANDS)
    {
        EXPECT_THAT(help.out, HasSubstr(command));
    }
}

TEST(CommonOptions, VersionIsPrintedWithTheSolver)
{
    Outcome const run = run_veld({"--version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    auto const end = run.out.find('\n');
    ASSERT_NE(end, std::string::npos);
    EXPECT_THAT(run.out.substr(0, end), testing::MatchesRegex("veld [0-9]+\\.[0-9]+\\.[0-9]+"));
    EXPECT_EQ(run.out.substr(end + 1),
              std::string("direct solver: ") + OrvaneAlgorithm::solver_name() + "\n");
}

TEST(CommonOptions, LogGoesToStandardErrorAndOnlyIfAsked)
{
    MeshDir const dir(grid_with_hole(2));
    Outcome const quiet = run_veld({"holes", dir.mesh(), "--json"});
    EXPECT_EQ(quiet.err, "");
    Outcome const verbose = run_veld({"holes", dir.mesh(), "--json", "--verbose"});
    EXPECT_THAT(verbose.err, HasSubstr("find_holes() : all holes ..\n"));
    EXPECT_EQ(verbose.out, quiet.out);
}

TEST(CommonOptions, TimingsAreAStepTree)
{
    MeshDir const dir(grid_with_hole(2));
    Outcome const run = run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--timings",
                                  dir.file("times.json"), "--method", "trim"});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const steps = nlohmann::json::parse(file_content(dir.file("times.json")));
    std::vector<std::string> names;
    for (auto const& step : steps)
    {
        names.push_back(step["name"]);
        EXPECT_EQ(step["running"], 0);
        EXPECT_GE(step["seconds"].get<double>(), 0.0);
    }
    EXPECT_THAT(names, testing::IsSupersetOf({"read-mesh", "fill-holes", "write-mesh"}));
}

TEST(CommonOptions, ThreadsHaveToBeAPositiveNumber)
{
    MeshDir const dir(tetrahedron());
    for (std::string const threads : {"0", "-1", "two", "1.5", "999999999999", "0x2", "1_0", "2 "})
    {
        Outcome const run = run_veld({"info", dir.mesh(), "--threads", threads});
        EXPECT_EQ(run.status, 1) << threads;
        EXPECT_EQ(run.error_lines(), 1) << run.err;
    }
}

TEST(CommonOptions, NoProgressWithoutATerminal)
{
    MeshDir const dir(grid_with_hole(2));
    EXPECT_EQ(run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply")}).err, "");
}

TEST(CommonOptions, QuietLeavesErrorsOnly)
{
    TempDir const dir;
    // Two faces and a third one at their edge, of which a warning tells.
    write_file(dir.file("fan.ply"), "ply\nformat ascii 1.0\nelement vertex 5\nproperty float x\n"
                                    "property float y\nproperty float z\nelement face 3\n"
                                    "property list uchar int vertex_indices\nend_header\n0 0 0\n"
                                    "1 0 0\n0 1 0\n0 -1 0\n0 0 1\n3 0 1 2\n3 1 0 3\n3 0 1 4\n");
    Outcome const run = run_veld({"info", dir.file("fan.ply"), "--quiet"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    Outcome const failed = run_veld({"info", dir.file("none.ply"), "--quiet"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_EQ(failed.error_lines(), 1);
    for (std::string const other : {"--json", "--verbose"})
    {
        EXPECT_EQ(run_veld({"info", dir.file("fan.ply"), "--quiet", other}).status, 1);
    }
}

TEST(CommonOptions, NoOverwriteKeepsWhatIsThere)
{
    MeshDir const dir(grid_with_hole(2));
    write_file(dir.file("old.ply"), "earlier result");
    write_file(dir.file("old.json"), "earlier times");
    std::vector<std::vector<std::string>> const calls{
        {"fill", dir.mesh(), "-o", dir.file("old.ply")},
        {"clean", dir.mesh(), "-o", dir.file("old.ply"), "--non-manifold"},
        {"info", dir.mesh(), "--timings", dir.file("old.json")}};
    for (auto call : calls)
    {
        call.emplace_back("--no-overwrite");
        Outcome const run = run_veld(call);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_THAT(run.err, HasSubstr("is there already (see --no-overwrite)"));
    }
    EXPECT_EQ(file_content(dir.file("old.ply")), "earlier result");
    EXPECT_EQ(file_content(dir.file("old.json")), "earlier times");
    EXPECT_EQ(run_veld({"fill", dir.mesh(), "-o", dir.file("new.ply"), "--no-overwrite"}).status,
              0);
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply", "new.ply", "old.json", "old.ply"));
}

TEST(CommonOptions, OutIsAnotherNameOfOutput)
{
    MeshDir const dir(grid_with_hole(2));
    for (std::string const name : {"-o", "--out", "--output"})
    {
        EXPECT_EQ(run_veld({"fill", dir.mesh(), name, dir.file(name + ".ply")}).status, 0) << name;
    }
    EXPECT_EQ(file_content(dir.file("--out.ply")), file_content(dir.file("--output.ply")));
}

TEST(CommonOptions, NamesOfFilesMayBeAnything)
{
    MeshDir const dir(grid_with_hole(2));
    std::string const blanks = "two words \xC3\xA4\xE2\x82\xAC.ply";
    std::filesystem::copy_file(dir.mesh(), dir.file("-dash.ply"));
    std::filesystem::copy_file(dir.mesh(), dir.file(blanks));
    EXPECT_EQ(run_veld_in(dir.path(), "info -- -dash.ply").status, 0);
    EXPECT_EQ(run_veld_in(dir.path(), "fill -o -out.ply -- -dash.ply").status, 0);
    Outcome const run =
        run_veld_in(dir.path(), "fill " + quoted(blanks) + " -o " + quoted("filled " + blanks));
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("filled " + blanks + ": 2 holes before"));
    EXPECT_EQ(file_content(dir.file("-out.ply")), file_content(dir.file("filled " + blanks)));
}

TEST(CommonOptions, LeadingZeroIsStillDecimal)
{
    // A hole of ten edges, which 010 would exclude as an octal number.
    MeshDir const dir(grid_without(12, 12, {{5, 5}, {5, 6}, {6, 5}, {6, 6}, {7, 5}, {7, 6}}));
    Outcome const run =
        run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--max-edges", "010", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["holes_before"], 2);
    EXPECT_EQ(run.json()["holes_after"], 1);
}

TEST(CommonOptions, SignsAndExponentsArePartOfANumber)
{
    MeshDir const dir(grid_with_hole(2));
    EXPECT_EQ(run_veld({"holes", dir.mesh(), "--max-perimeter", "+1.2e1", "--json"})
                  .json()["holes"]
                  .size(),
              1U);
    EXPECT_EQ(run_veld({"holes", dir.mesh(), "--max-perimeter", "+-12"}).status, 1);
}

#if defined(__linux__)
TEST(CommonOptions, FullStandardOutputIsAFailure)
{
    MeshDir const dir(tetrahedron());
    std::vector<std::vector<std::string>> const calls{{"info", dir.mesh()},
                                                      {"info", dir.mesh(), "--json"},
                                                      {"--help"},
                                                      {"fill", "--help"},
                                                      {"--version"}};
    for (auto const& call : calls)
    {
        Outcome const run = run_veld(call, "/dev/full");
        EXPECT_EQ(run.status, 2) << call.front();
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_THAT(run.err, HasSubstr("standard output"));
    }
}

TEST(CommonOptions, NoOutputAppearsWhereTheReportIsLost)
{
    MeshDir const dir(grid_with_hole(2));
    write_file(dir.file("old.ply"), "earlier result");
    for (std::string const name : {"new.ply", "old.ply"})
    {
        Outcome const run = run_veld(
            {"fill", dir.mesh(), "-o", dir.file(name), "--timings", dir.file("times.json")},
            "/dev/full");
        EXPECT_EQ(run.status, 2);
    }
    if (!IS_SANITIZED)
    {
        EXPECT_EQ(run_veld({"demo", "-o", dir.file("demo"), "--width", "240"}, "/dev/full").status,
                  2);
    }
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply", "old.ply"));
    EXPECT_EQ(file_content(dir.file("old.ply")), "earlier result");
}
#endif

} // namespace
