#include "run_script.h"

#include <gmock/gmock.h>

#include <csignal>
#include <thread>

#if !defined(_WIN32)

#include <fcntl.h>
#include <unistd.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// A folder with a mesh and an empty one for temporary files.
class StandardStreams : public testing::Test
{
protected:
    StandardStreams()
    {
        std::signal(SIGPIPE, SIG_DFL); // as a shell has it
        std::filesystem::create_directory(dir_.file("tmp"));
    }

    /// Runs a script. It leaves no temporary file behind, here or there.
    Outcome run(std::string const& script)
    {
        Outcome const outcome = run_script_in(dir_.path(), "export TMPDIR=tmp\n" + script);
        EXPECT_TRUE(files_in(dir_.file("tmp")).empty());
        for (auto const& name : files_in(dir_.path()))
        {
            EXPECT_NE(name.substr(0, 5), ".veld") << name;
        }
        return outcome;
    }

    std::string content(std::string const& name) const { return file_content(dir_.file(name)); }

    MeshDir dir_{grid_with_hole(2)};
};

TEST_F(StandardStreams, PipeCarriesAMeshFromCommandToCommand)
{
    Outcome const files = run("\"$veld\" clean mesh.ply -o cleaned.ply --min-faces 1 &&"
                              " \"$veld\" fill cleaned.ply -o filled.ply");
    ASSERT_EQ(files.status, 0) << files.err;
    Outcome const pipe = run("set -o pipefail\n\"$veld\" clean mesh.ply -o - --min-faces 1 |"
                             " \"$veld\" fill - -o piped.ply");
    EXPECT_EQ(pipe.status, 0) << pipe.err;
    EXPECT_EQ(content("piped.ply"), content("filled.ply"));
    EXPECT_THAT(pipe.out, StartsWith("piped.ply: 2 holes before"));
    EXPECT_THAT(pipe.err, StartsWith("standard output: cleaned"));
}

TEST_F(StandardStreams, NothingButTheMeshGoesToStandardOutput)
{
    ASSERT_EQ(run("\"$veld\" fill mesh.ply -o filled.ply").status, 0);
    for (std::string const options : {"", "--json", "--verbose", "--quiet"})
    {
        Outcome const piped = run("\"$veld\" fill mesh.ply -o - " + options);
        EXPECT_EQ(piped.status, 0);
        EXPECT_TRUE(piped.out == content("filled.ply")) << options;
        EXPECT_EQ(piped.err.empty(), options == "--quiet") << options;
        if (options == "--json")
        {
            EXPECT_EQ(nlohmann::json::parse(piped.err)["holes_before"], 2);
        }
    }
}

TEST_F(StandardStreams, FormatIsTold)
{
    for (std::string const format : {"ply", "stl", "obj", "off", "om"})
    {
        ASSERT_EQ(run("\"$veld\" fill mesh.ply -o filled." + format).status, 0);
        Outcome const piped = run("\"$veld\" fill mesh.ply -o - --format " + format);
        EXPECT_TRUE(piped.out == content("filled." + format)) << format;
        Outcome const back =
            run("\"$veld\" info - --json --format " + format + " < filled." + format);
        ASSERT_EQ(back.status, 0) << back.err;
        EXPECT_EQ(back.json()["faces"],
                  run("\"$veld\" info --json filled." + format).json()["faces"]);
    }
}

TEST_F(StandardStreams, FormatWithoutAStreamIsRefused)
{
    for (std::string const call :
         {"info mesh.ply --format stl", "fill mesh.ply -o out.ply --format stl",
          "render mesh.ply -o - --format stl", "merge mesh.ply -o out.ply --format stl"})
    {
        Outcome const refused = run("\"$veld\" " + call);
        EXPECT_EQ(refused.status, 1) << call;
        EXPECT_THAT(refused.err, StartsWith("error: --format"));
    }
    EXPECT_EQ(run("\"$veld\" info - - < mesh.ply").status, 1);
}

TEST_F(StandardStreams, ErrorsNameTheStream)
{
    for (std::string const script :
         {"printf nonsense | \"$veld\" info -", "\"$veld\" fill - -o out.ply < /dev/null",
          "head -c 100 mesh.ply | \"$veld\" render - -o out.png"})
    {
        Outcome const refused = run(script);
        EXPECT_EQ(refused.status, 1) << script;
        EXPECT_EQ(refused.out, "");
        EXPECT_EQ(refused.error_lines(), 1) << refused.err;
        EXPECT_THAT(refused.err, StartsWith("error: standard input: "));
    }
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply", "tmp"));
}

TEST_F(StandardStreams, FailureWritesNothing)
{
    Outcome const refused = run("\"$veld\" fill none.ply -o -");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.out, "");
}

TEST_F(StandardStreams, PictureIsAPng)
{
    Outcome const piped = run("\"$veld\" render - -o - --width 16 --height 16 < mesh.ply");
    EXPECT_EQ(piped.status, 0) << piped.err;
    EXPECT_THAT(piped.out, StartsWith("\x89PNG\r\n"));
    EXPECT_THAT(piped.err, StartsWith("standard output: 16 x 16 pixels"));
}

TEST_F(StandardStreams, ReaderThatGoesAwayEndsTheProgramWithoutAWord)
{
    write_file(dir_.file("large.ply"), ply_text(sphere(6))); // larger than a pipe
    Outcome const cut = run("\"$veld\" fill large.ply -o - --quiet | head -c 3\n"
                            "echo \" ${PIPESTATUS[0]}\"");
    EXPECT_EQ(cut.out, "ply 141\n");
    EXPECT_EQ(cut.err, "");
}

TEST_F(StandardStreams, StreamThatTakesNothingIsAFailure)
{
    Outcome const full = run("\"$veld\" fill mesh.ply -o - --quiet > /dev/full");
    EXPECT_EQ(full.status, 2);
    EXPECT_EQ(full.err, "error: standard output: cannot be written: the disk is full\n");
    // What would be told beside the mesh did not happen.
    EXPECT_EQ(run("\"$veld\" fill mesh.ply -o - > /dev/full").err, full.err);
}

TEST_F(StandardStreams, WaitingForInputCanBeStopped)
{
    Outcome const stopped = run("mkfifo pipe; sleep 60 > pipe & writer=$!\n"
                                "\"$veld\" info - < pipe & pid=$!\n"
                                "until [ -n \"$(ls -A tmp)\" ]; do sleep 0.02; done\n"
                                "kill -TERM $pid; wait $pid; status=$?\n"
                                "kill $writer; rm pipe; exit $status");
    EXPECT_EQ(stopped.status, 143);
    EXPECT_THAT(stopped.err, HasSubstr("stopped"));
}

/// A terminal that keeps what is written to it.
class Terminal
{
public:
    Terminal() : host_(posix_openpt(O_RDWR | O_NOCTTY))
    {
        if (host_ >= 0 && grantpt(host_) == 0 && unlockpt(host_) == 0)
        {
            name_ = ptsname(host_);
            held_ = open(name_.c_str(), O_RDWR | O_NOCTTY);
            reader_ = std::thread([this] { read_all(); });
        }
    }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;
    ~Terminal()
    {
        if (reader_.joinable())
        {
            content();
        }
        close(host_);
    }

    /// Its device; empty where the system has none left.
    std::string const& name() const { return name_; }

    /// Hangs it up. What was written until then comes first.
    std::string const& content()
    {
        if (reader_.joinable())
        {
            close(held_);
            reader_.join();
        }
        return content_;
    }

private:
    /// Ends with an error when no program has it open any more.
    void read_all()
    {
        char bytes[1024];
        for (auto n = read(host_, bytes, sizeof(bytes)); n > 0;
             n = read(host_, bytes, sizeof(bytes)))
        {
            content_.append(bytes, static_cast<std::size_t>(n));
        }
    }

    int host_;
    int held_ = -1;
    std::string name_;
    std::string content_;
    std::thread reader_;
};

TEST_F(StandardStreams, ATerminalIsToldTheProgressOnOneLineThatIsClearedInTheEnd)
{
    Terminal terminal;
    ASSERT_FALSE(terminal.name().empty());
    ASSERT_EQ(run("\"$veld\" fill mesh.ply -o filled.ply 2> " + terminal.name()).status, 0);
    EXPECT_THAT(terminal.content(),
                testing::AllOf(StartsWith("["), HasSubstr(" % "), HasSubstr("\r\033[K["),
                               testing::EndsWith("\r\033[K")));
    EXPECT_EQ(terminal.content().find('\n'), std::string::npos);
}

TEST_F(StandardStreams, ATerminalIsToldNoProgressWhereItIsToBeQuiet)
{
    Terminal terminal;
    ASSERT_FALSE(terminal.name().empty());
    ASSERT_EQ(run("\"$veld\" fill mesh.ply -o filled.ply --quiet 2> " + terminal.name()).status, 0);
    EXPECT_EQ(terminal.content(), "");
}

} // namespace

#endif
