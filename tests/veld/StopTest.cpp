#include "run_script.h"

#include <gmock/gmock.h>

#include <csignal>

#if !defined(_WIN32)

namespace
{

using namespace veld_test;
using testing::ElementsAre;

/// Runs `veld` and sends it a signal once it works. The shell's background jobs ignore Ctrl-C,
/// which the program does not.
Outcome stop_veld(std::string const& arguments, std::string const& signal, TempDir const& dir)
{
    std::string const script = quoted(VELD_PROGRAM) + " " + arguments + " > " +
                               quoted(dir.file("streams/out")) + " 2> " +
                               quoted(dir.file("streams/err")) + " & pid=$!; sleep 0.25; kill -" +
                               signal + " $pid; wait $pid";
    std::filesystem::create_directories(dir.file("streams"));
    int const result = std::system(script.c_str());
    Outcome run;
    run.status = WIFEXITED(result) ? WEXITSTATUS(result) : -1;
    run.out = file_content(dir.file("streams/out"));
    run.err = file_content(dir.file("streams/err"));
    std::filesystem::remove_all(dir.file("streams"));
    return run;
}

/// A picture of this size takes many seconds.
std::string long_work(MeshDir const& dir)
{
    return "render " + quoted(dir.mesh()) + " -o " + quoted(dir.file("out.png")) +
           " --width 16384 --height 16384";
}

class Stop : public testing::TestWithParam<std::pair<char const*, int>>
{
};

TEST_P(Stop, EndsWithOneLineAndTheSignalsStatusAndLeavesNoFile)
{
    auto const [signal, status] = GetParam();
    MeshDir const dir(sphere(3));
    Outcome const run = stop_veld(long_work(dir), signal, dir);
    EXPECT_EQ(run.status, status) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.error_lines(), 1) << run.err;
    EXPECT_THAT(run.err, testing::StartsWith("stopped"));
    EXPECT_THAT(files_in(dir.file("")), ElementsAre("mesh.ply"));
}

TEST_P(Stop, LeavesTheOldOutputAsItWas)
{
    auto const [signal, status] = GetParam();
    MeshDir const dir(sphere(3));
    write_file(dir.file("out.png"), "old");
    EXPECT_EQ(stop_veld(long_work(dir), signal, dir).status, status);
    EXPECT_EQ(file_content(dir.file("out.png")), "old");
    EXPECT_THAT(files_in(dir.file("")), ElementsAre("mesh.ply", "out.png"));
}

TEST_P(Stop, TakesTheDirectoriesBackThatItMade)
{
    auto const [signal, status] = GetParam();
    MeshDir const dir(lone_triangle());
    Outcome const run =
        stop_veld("demo --width 16384 -o " + quoted(dir.file("deep/demo")), signal, dir);
    EXPECT_EQ(run.status, status) << run.err;
    EXPECT_THAT(files_in(dir.file("")), ElementsAre("mesh.ply"));
}

INSTANTIATE_TEST_SUITE_P(Signals, Stop,
                         testing::Values(std::make_pair("INT", 130), std::make_pair("TERM", 143)));

/// A command whose file is complete but not in its place: it waits for somebody to read its report.
class StopAtTheReport : public testing::Test
{
protected:
    StopAtTheReport()
    {
        std::signal(SIGPIPE, SIG_DFL); // as a shell has it
        write_file(dir_.file("out.ply"), "old");
    }

    /// \param then what happens in that state; `$pid` is the program, `$reader` reads nothing
    /// \return its status, and what the shell prints
    Outcome run(std::string const& then)
    {
        return run_script_in(dir_.path(),
                             "chmod 600 out.ply; mkfifo pipe\n"
                             "sleep 60 < pipe & reader=$!\n"
                             "exec 3> pipe; head -c 65536 /dev/zero >&3; rm pipe\n"
                             "\"$veld\" fill mesh.ply -o out.ply >&3 & pid=$!\n"
                             "exec 3>&-\n"
                             "until [ -s .veld-*.part/out.ply ]; do sleep 0.02; done\n" +
                                 then +
                                 "\nwait $pid; status=$?; kill $reader 2>/dev/null; exit $status");
    }

    MeshDir dir_{grid_with_hole(2)};
};

TEST_F(StopAtTheReport, LeavesNoFileWhateverTheSignal)
{
    std::vector<std::pair<std::string, int>> const ends{{"kill -TERM $pid", 143},
                                                        {"kill -INT $pid", 130},
                                                        {"kill -HUP $pid", 129},
                                                        {"kill $reader", 141}};
    for (auto const& [end, status] : ends)
    {
        EXPECT_EQ(run(end).status, status) << end;
        EXPECT_EQ(file_content(dir_.file("out.ply")), "old");
        EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply", "out.ply")) << end;
    }
}

TEST_F(StopAtTheReport, WhatAKilledOneLeftTheNextOneRemoves)
{
    EXPECT_EQ(run("kill -KILL $pid").status, 137);
    EXPECT_EQ(files_in(dir_.path()).size(), 3U);
    EXPECT_EQ(file_content(dir_.file("out.ply")), "old");
    ASSERT_EQ(run_veld({"fill", dir_.mesh(), "-o", dir_.file("out.ply")}).status, 0);
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply", "out.ply"));
}

TEST_F(StopAtTheReport, AnotherOneForTheSameFileLeavesItAlone)
{
    Outcome const both = run("\"$veld\" fill mesh.ply -o out.ply --quiet; echo $?\n"
                             "ls -d .veld-*.part/out.ply | wc -l; kill -TERM $pid");
    EXPECT_EQ(both.out, "0\n1\n");
    EXPECT_EQ(both.status, 143);
    EXPECT_NE(file_content(dir_.file("out.ply")), "old");
}

TEST_F(StopAtTheReport, NobodyElseMayReadTheFileMeanwhile)
{
    Outcome const modes = run("stat -c %a .veld-*.part .veld-*.part/out.ply; kill -TERM $pid");
    EXPECT_EQ(modes.out, "700\n600\n");
}

} // namespace

#endif
