#include "run_script.h"

#include <gmock/gmock.h>

#if !defined(_WIN32)

namespace
{

using namespace veld_test;
using testing::HasSubstr;

TEST(ManCommand, PageHasEveryCommandWithItsOptionsAndAnExample)
{
    std::string const page = run_veld({"man"}).out;
    EXPECT_THAT(page, testing::StartsWith(".TH VELD 1 "));
    for (std::string const line :
         {".SS fill", ".SS merge", ".SS completion", "\\fB\\-\\-max\\-perimeter\\fR \\fIL\\fR",
          "\\fB\\-o\\fR, \\fB\\-\\-output\\fR, \\fB\\-\\-out\\fR \\fIOUT\\fR",
          "One of auto, clip, core, markers, trim, whole.", "veld info scan.ply",
          ".SH OPTIONS OF ALL COMMANDS"})
    {
        EXPECT_THAT(page, HasSubstr(line));
    }
    // What all commands have stands there once.
    auto const first = page.find("\\fB\\-\\-timings\\fR");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(page.find("\\fB\\-\\-timings\\fR", first + 1), std::string::npos);
}

TEST(ManCommand, FileIsThePage)
{
    TempDir const dir;
    EXPECT_EQ(run_veld({"man", "-o", dir.file("veld.1")}).out, "");
    EXPECT_EQ(file_content(dir.file("veld.1")), run_veld({"man"}).out);
}

TEST(ManCommand, ManShowsItWithoutAWarning)
{
    TempDir const dir;
    ASSERT_EQ(run_veld({"man", "-o", dir.file("veld.1")}).status, 0);
    bool found = false;
    std::vector<std::pair<std::string, std::string>> const tools{
        {"groff", "groff -man -Tutf8 -ww -rLL=78n veld.1 | col -bx"},
        {"mandoc", "mandoc -Tutf8 -Werror veld.1 | col -bx"}};
    for (auto const& [tool, line] : tools)
    {
        if (run_script_in(dir.path(), "command -v " + tool).status == 0)
        {
            Outcome const shown = run_script_in(dir.path(), line);
            EXPECT_EQ(shown.err, "") << tool;
            EXPECT_THAT(shown.out, HasSubstr("--max-perimeter L")) << tool;
            found = true;
        }
    }
    if (!found)
    {
        GTEST_SKIP() << "there is neither groff nor mandoc";
    }
}

} // namespace

#endif
