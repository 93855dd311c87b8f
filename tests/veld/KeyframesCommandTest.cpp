#include "run_veld.h"

#include "tests/support/real_data.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

/// A folder with the list of three photographs: 0 and 1 near each other, 2 far along x.
class PhotoFolder : public TempDir
{
public:
    PhotoFolder()
    {
        write_file(file("cameras.json"), R"({"views": [)" + view("a.jpg", 0.0) + "," +
                                             view("b.jpg", 7.5) + "," +
                                             view("c \\u001b.jpg", 50.0) + "]}");
    }

private:
    static std::string view(std::string const& image, double x)
    {
        return R"({"image": ")" + image +
               R"(", "width": 640, "height": 480, "fx": 500, "fy": 500, "cx": 320, "cy": 240,)"
               R"( "R": [[1, 0, 0], [0, 1, 0], [0, 0, 1]], "t": [)" +
               std::to_string(-x) + ", 0, 0]}";
    }
};

TEST(KeyframesCommand, ListsTheChosenViewsOneALine)
{
    PhotoFolder const photos;
    Outcome const run = run_veld({"keyframes", photos.path().string()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "1 b.jpg\n2 c ?.jpg\n"); // No name of a file can colour a terminal.
    EXPECT_EQ(run_veld({"keyframes", photos.file("cameras.json")}).out, run.out);
    EXPECT_EQ(run_veld({"keyframes", photos.path().string(), "--quiet"}).out, "");
}

TEST(KeyframesCommand, SortsAllViews)
{
    PhotoFolder const photos;
    Outcome const run = run_veld({"keyframes", photos.path().string(), "--sort"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "0 a.jpg\n2 c ?.jpg\n1 b.jpg\n");
}

TEST(KeyframesCommand, JsonHasViewsAndNames)
{
    PhotoFolder const photos;
    auto const json = run_veld({"keyframes", photos.path().string(), "--json"}).json();
    EXPECT_THAT(keys_of(json), ElementsAre("frames", "views"));
    EXPECT_EQ(json["views"], 3);
    ASSERT_EQ(json["frames"].size(), 2U);
    EXPECT_EQ(json["frames"][0], nlohmann::json::parse(R"({"view": 1, "image": "b.jpg"})"));
    EXPECT_EQ(json["frames"][1]["image"], "c \x1b.jpg");
}

TEST(KeyframesCommand, CellsAreSet)
{
    PhotoFolder const photos;
    std::string const folder = photos.path().string();
    // Cells of 2.5, and the whole line as one: its end has one of its own.
    EXPECT_EQ(run_veld({"keyframes", folder, "--cells", "20"}).out,
              "0 a.jpg\n1 b.jpg\n2 c ?.jpg\n");
    EXPECT_EQ(run_veld({"keyframes", folder, "--cells", "1"}).out, "1 b.jpg\n2 c ?.jpg\n");
    for (std::string const cells : {"0", "-1", "1.5", "1048577", "many"})
    {
        Outcome const run = run_veld({"keyframes", folder, "--cells", cells});
        EXPECT_EQ(run.status, 1) << cells;
        EXPECT_THAT(run.err, HasSubstr("is not a whole number from 1 to 1048576")) << cells;
    }
}

TEST(KeyframesCommand, AModelOfColmapIsReadToo)
{
    TempDir const dir;
    write_file(dir.file("cameras.txt"), "1 PINHOLE 640 480 500 500 320 240\n");
    write_file(dir.file("images.txt"), "1 1 0 0 0 0 0 0 1 a.jpg\n\n2 1 0 0 0 -7.5 0 0 1 b.jpg\n\n"
                                       "3 1 0 0 0 -50 0 0 1 c.jpg\n\n");
    Outcome const run = run_veld({"keyframes", dir.path().string()});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "1 b.jpg\n2 c.jpg\n");
}

TEST(KeyframesCommand, WrongListsAreRefusedAndInputsNeverWritten)
{
    PhotoFolder const photos;
    TempDir const empty;
    std::vector<std::vector<std::string>> const calls{
        {"keyframes"},
        {"keyframes", empty.path().string()},
        {"keyframes", empty.file("none.json")},
        {"keyframes", photos.path().string(), "--timings", photos.file("cameras.json")}};
    std::string const before = file_content(photos.file("cameras.json"));
    for (auto const& call : calls)
    {
        Outcome const run = run_veld(call);
        EXPECT_EQ(run.status, 1) << call.back();
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.error_lines(), 1) << run.err;
    }
    EXPECT_EQ(file_content(photos.file("cameras.json")), before);
    // Cameras without a finite place are the list's, whose name is told.
    write_file(photos.file("far.json"),
               R"({"views": [{"image": "a.jpg", "width": 1, "height": 1, "fx": 1, "fy": 1,
                   "cx": 0, "cy": 0, "R": [[1, 0, 0], [0, 1, 0], [0, 0, 1]],
                   "t": [1e200, 0, 0]}]})");
    Outcome const far = run_veld({"keyframes", photos.file("far.json")});
    EXPECT_EQ(far.status, 1);
    EXPECT_THAT(far.err, HasSubstr("far.json: view 0 (a.jpg): the translation t is 1e+200 long"));
}

using KeyframesRealData = RealData;

TEST_F(KeyframesRealData, ViewsOfTheCastleAreThoseThatAScriptFinds)
{
    std::string const castle = real_data("photos_castle");
    auto const views = [&](std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"keyframes", castle, "--json"});
        std::vector<int> numbers;
        auto const json = run_veld(arguments).json();
        for (auto const& frame : json["frames"])
        {
            numbers.push_back(frame["view"]);
        }
        return numbers;
    };
    EXPECT_THAT(views({"--cells", "2"}), ElementsAre(3, 4, 6, 9));
    EXPECT_THAT(views({"--cells", "2", "--sort"}), ElementsAre(3, 4, 5, 9, 2, 6, 1, 7, 0, 8));
}

} // namespace
