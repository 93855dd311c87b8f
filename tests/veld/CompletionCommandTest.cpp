#include "run_script.h"

#include <gmock/gmock.h>

#include <sstream>

#if !defined(_WIN32)

namespace
{

using namespace veld_test;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;

/// What bash offers for the last of some words behind `veld`.
std::vector<std::string> completions(std::vector<std::string> const& words)
{
    std::string line = "source <(\"$veld\" completion bash) || exit 98\nCOMP_WORDS=(veld";
    for (auto const& word : words)
    {
        line += " '" + word + "'";
    }
    TempDir const dir;
    Outcome const run =
        run_script_in(dir.path(), line + ")\nCOMP_CWORD=" + std::to_string(words.size()) +
                                      "\n_veld veld\n"
                                      "printf '%s\\n' \"${COMPREPLY[@]}\"");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    std::istringstream stream(run.out);
    std::vector<std::string> offered;
    for (std::string word; std::getline(stream, word);)
    {
        if (!word.empty())
        {
            offered.push_back(word);
        }
    }
    return offered;
}

TEST(CompletionCommand, BashCompletesCommands)
{
    EXPECT_THAT(completions({"f"}), ElementsAre("fill", "frames"));
    EXPECT_THAT(completions({""}), testing::IsSupersetOf({"info", "demo", "--help"}));
}

TEST(CompletionCommand, BashCompletesOptionsOfTheCommand)
{
    EXPECT_THAT(completions({"fill", "a.ply", "--m"}),
                testing::UnorderedElementsAre("--method", "--max-perimeter", "--max-edges",
                                              "--markers", "--marker-radius"));
    EXPECT_THAT(completions({"render", "--m"}), testing::IsEmpty());
    EXPECT_THAT(completions({"info", "-"}), Contains("--no-overwrite"));
    EXPECT_THAT(completions({"info", "-"}), Not(Contains("--method")));
}

TEST(CompletionCommand, BashCompletesValues)
{
    EXPECT_THAT(completions({"fill", "a.ply", "--smooth", ""}), ElementsAre("c0", "c1", "c2"));
    EXPECT_THAT(completions({"fill", "a.ply", "--smooth", "=", "c1"}), ElementsAre("c1"));
    EXPECT_THAT(completions({"fill", "a.ply", "--smooth", "="}), ElementsAre("c0", "c1", "c2"));
    EXPECT_THAT(completions({"render", "a.ply", "--view", "b"}), ElementsAre("back", "bottom"));
    EXPECT_THAT(completions({"completion", ""}), ElementsAre("bash", "zsh"));
    // Nothing of its own for files and numbers.
    EXPECT_THAT(completions({"fill", "a.ply", "-o", ""}), testing::IsEmpty());
    EXPECT_THAT(completions({"fill", "a.ply", "--rings", ""}), testing::IsEmpty());
}

TEST(CompletionCommand, BashTakesTheScriptForTheProgram)
{
    TempDir const dir;
    Outcome const run =
        run_script_in(dir.path(), "source <(\"$veld\" completion bash); complete -p veld");
    EXPECT_EQ(run.out, "complete -o default -F _veld veld\n");
}

TEST(CompletionCommand, EveryOptionOfHelpIsInBothScripts)
{
    for (std::string const shell : {"bash", "zsh"})
    {
        std::string const script = run_veld({"completion", shell}).out;
        for (std::string const option :
             {"--max-perimeter", "--near", "--strong", "--seeds", "--frame-map", "--azimuth",
              "--scale", "--sensor", "--width", "--format", "--timings", "--out"})
        {
            EXPECT_NE(script.find(option), std::string::npos) << shell << option;
        }
    }
}

TEST(CompletionCommand, ZshTakesTheScript)
{
    TempDir const dir;
    if (run_script_in(dir.path(), "command -v zsh").status != 0)
    {
        GTEST_SKIP() << "there is no zsh";
    }
    ASSERT_EQ(run_veld({"completion", "zsh", "-o", dir.file("_veld")}).status, 0);
    Outcome const run = run_script_in(
        dir.path(),
        "zsh -n _veld && zsh -f -c 'fpath=($PWD $fpath); autoload -U compinit; compinit "
        "-D -u; print ${_comps[veld]}; autoload +X _veld'");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "_veld\n");
}

TEST(CompletionCommand, OtherShellsAreRefused)
{
    EXPECT_EQ(run_veld({"completion", "fish"}).status, 1);
}

} // namespace

#endif
