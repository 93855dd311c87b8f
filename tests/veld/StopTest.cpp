#include "run_veld.h"

#include <gmock/gmock.h>

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
    run.out = read_file(dir.file("streams/out"));
    run.err = read_file(dir.file("streams/err"));
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
    EXPECT_EQ(read_file(dir.file("out.png")), "old");
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

} // namespace

#endif
