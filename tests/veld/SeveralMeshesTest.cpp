#include "run_veld.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// Two meshes that are good and one that is none.
class SeveralMeshes : public testing::Test
{
protected:
    SeveralMeshes()
    {
        write_file(file("one.ply"), ply_text(grid_with_hole(2)));
        write_file(file("two.ply"), ply_text(grid_with_hole(3)));
        write_file(file("bad.ply"), "no mesh");
    }

    std::string file(std::string const& name) const { return dir_.file(name); }
    Outcome run(std::string const& arguments) const { return run_veld_in(dir_.path(), arguments); }

    TempDir dir_;
};

TEST_F(SeveralMeshes, EachGoesToTheDirectoryUnderItsOwnName)
{
    ASSERT_EQ(run("fill one.ply -o filled-one.ply").status, 0);
    ASSERT_EQ(run("fill two.ply -o filled-two.ply").status, 0);
    Outcome const both = run("fill one.ply two.ply -o new/out/");
    EXPECT_EQ(both.status, 0) << both.err;
    EXPECT_THAT(both.out, StartsWith("new/out/one.ply: 2 holes before"));
    EXPECT_THAT(both.out, HasSubstr("\nnew/out/two.ply: 2 holes before"));
    EXPECT_THAT(files_in(file("new/out")), ElementsAre("one.ply", "two.ply"));
    EXPECT_EQ(file_content(file("new/out/one.ply")), file_content(file("filled-one.ply")));
    EXPECT_EQ(file_content(file("new/out/two.ply")), file_content(file("filled-two.ply")));

    EXPECT_EQ(run("clean one.ply -o single/ --non-manifold").status, 0);
    EXPECT_THAT(files_in(file("single")), ElementsAre("one.ply"));
}

TEST_F(SeveralMeshes, OneThatFailsDoesNotStopTheOthers)
{
    for (std::string const command :
         {"fill", "clean --non-manifold", "render --width 16 --height 16"})
    {
        std::filesystem::remove_all(file("out"));
        Outcome const mixed = run(command + " one.ply bad.ply none.ply two.ply -o out/");
        EXPECT_EQ(mixed.status, 1) << command;
        EXPECT_EQ(mixed.error_lines(), 2) << mixed.err;
        EXPECT_THAT(mixed.err, HasSubstr("error: bad.ply: "));
        EXPECT_THAT(mixed.err, HasSubstr("error: none.ply: no such file"));
        std::string const extension = command.substr(0, 6) == "render" ? ".png" : ".ply";
        EXPECT_THAT(files_in(file("out")), ElementsAre("one" + extension, "two" + extension));
    }
}

TEST_F(SeveralMeshes, JsonIsOneObjectWithAnEntryForEach)
{
    Outcome const mixed = run("info one.ply bad.ply two.ply --json");
    EXPECT_EQ(mixed.status, 1);
    auto const meshes = mixed.json()["meshes"];
    ASSERT_EQ(meshes.size(), 3U);
    EXPECT_EQ(meshes[0]["file"], "one.ply");
    EXPECT_EQ(meshes[0]["faces"], run("info one.ply --json").json()["faces"]);
    EXPECT_EQ("error: " + meshes[1]["error"].get<std::string>() + "\n", mixed.err);
    EXPECT_EQ(meshes[2]["holes"], 2);
}

TEST_F(SeveralMeshes, CommandsThatOnlyTellTellOfEach)
{
    Outcome const info = run("info one.ply two.ply");
    EXPECT_EQ(info.status, 0);
    EXPECT_EQ(info.out, run("info one.ply").out + run("info two.ply").out);
    Outcome const holes = run("holes one.ply two.ply");
    EXPECT_EQ(holes.out, run("holes one.ply").out + run("holes two.ply").out);
}

TEST_F(SeveralMeshes, DirectoryHasToBeNamedAsOne)
{
    std::filesystem::create_directory(file("there"));
    EXPECT_EQ(run("fill one.ply two.ply -o there").status, 0);
    Outcome const refused = run("fill one.ply two.ply -o out.ply");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.error_lines(), 1);
    EXPECT_THAT(refused.err, HasSubstr("several meshes need a directory"));
    EXPECT_FALSE(std::filesystem::exists(file("out.ply")));
    EXPECT_THAT(run("fill - -o there/ < one.ply").err, HasSubstr("standard input has no name"));
}

TEST_F(SeveralMeshes, TwoOfOneNameAndInputsAsOutputsAreRefusedBeforeTheWork)
{
    std::filesystem::create_directory(file("sub"));
    std::filesystem::copy_file(file("two.ply"), file("sub/one.ply"));
    Outcome const twice = run("fill one.ply sub/one.ply -o out/");
    EXPECT_EQ(twice.status, 1);
    EXPECT_THAT(twice.err, HasSubstr("out/one.ply: is named for two outputs"));
    Outcome const input = run("fill one.ply two.ply -o ./");
    EXPECT_EQ(input.status, 1);
    EXPECT_THAT(input.err, HasSubstr("one.ply: is an input"));
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("bad.ply", "one.ply", "sub", "two.ply"));
    EXPECT_EQ(file_content(file("one.ply")), ply_text(grid_with_hole(2)));
}

} // namespace
