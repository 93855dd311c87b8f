#include "run_veld.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> const commands{"info", "holes", "fill", "render", "demo"};

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
    for (auto const& command : commands)
    {
        TempDir const dir;
        write_file(dir.file("scan.ply"), ply_text(grid_with_hole(2)));
        std::string const example = example_of(command);
        EXPECT_EQ(example.rfind(command + " ", 0), 0U) << example;
        Outcome const run = run_veld_in(dir.path(), example);
        EXPECT_EQ(run.status, 0) << example << "\n" << run.err;
        EXPECT_NE(run.out, "") << example;
    }
}

TEST(CommonOptions, EveryHelpNamesTheSharedOptions)
{
    for (auto const& command : commands)
    {
        Outcome const help = run_veld({command, "--help"});
        for (char const* option : {"--json", "--verbose", "--threads", "--timings"})
        {
            EXPECT_THAT(help.out, HasSubstr(option)) << command;
        }
    }
}

TEST(CommonOptions, ProgramHelpListsTheCommands)
{
    Outcome const help = run_veld({"--help"});
    EXPECT_EQ(help.status, 0);
    for (auto const& command : commands)
    {
        EXPECT_THAT(help.out, HasSubstr(command));
    }
}

TEST(CommonOptions, VersionIsPrinted)
{
    Outcome const run = run_veld({"--version"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(run.out, testing::MatchesRegex("veld [0-9]+\\.[0-9]+\\.[0-9]+\n"));
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
    auto const steps = nlohmann::json::parse(read_file(dir.file("times.json")));
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
    for (std::string const threads : {"0", "-1", "two", "1.5", "999999999999"})
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

#if defined(__linux__)
TEST(CommonOptions, FullStandardOutputIsAFailure)
{
    MeshDir const dir(tetrahedron());
    TempDir const streams;
    std::string const line = quoted(VELD_PROGRAM) + " info " + quoted(dir.mesh()) +
                             " > /dev/full 2> " + quoted(streams.file("err"));
    int const result = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(result), 2);
    EXPECT_THAT(read_file(streams.file("err")), HasSubstr("standard output"));
}
#endif

} // namespace
