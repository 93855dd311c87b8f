#include "run_veld.h"

#include <gmock/gmock.h>

#include <array>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

std::string const HEADER = "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\n"
                           "property float y\nproperty float z\nelement face 1\n"
                           "property list uchar int vertex_indices\nend_header\n";
std::string const POINTS = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

/// A mesh file that has to be refused.
struct BadFile
{
    std::string name;
    std::string extension;
    std::string text;
};

std::ostream& operator<<(std::ostream& stream, BadFile const& file)
{
    return stream << file.name;
}

std::vector<BadFile> bad_files()
{
    std::string const good = ply_text(tetrahedron());
    return {{"Empty", ".ply", ""},
            {"CutOffInTheHeader", ".ply", good.substr(0, 40)},
            {"CutOffInTheVertices", ".ply", good.substr(0, good.find("end_header") + 15)},
            {"CutOffInTheFaces", ".ply", good.substr(0, good.size() - 8)},
            {"PictureNamedPly", ".ply", std::string("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16)},
            {"TextNamedStl", ".stl", "no mesh at all\n"},
            {"EmptyObj", ".obj", ""},
            {"EmptyStl", ".stl", ""},
            {"EmptyOff", ".off", ""},
            {"UnknownExtension", ".xyz", good},
            {"IndexTooLarge", ".ply", HEADER + POINTS + "3 0 1 4\n"},
            {"IndexNegative", ".ply", HEADER + POINTS + "3 0 1 -1\n"},
            {"QuadWithIndexTooLarge", ".ply", HEADER + POINTS + "4 0 1 2 4\n"}};
}

class BadInput : public testing::TestWithParam<BadFile>
{
};

/// Checks a run that had to fail on its input: one line that names what is wrong.
void expect_refused(Outcome const& run, std::string const& named)
{
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.error_lines(), 1) << run.err;
    EXPECT_EQ(run.err.rfind("error: ", 0), 0U) << run.err;
    EXPECT_THAT(run.err, HasSubstr(named));
}

TEST_P(BadInput, IsRefusedByEveryCommandAndNothingIsLeftBehind)
{
    TempDir const dir;
    std::string const bad = "bad" + GetParam().extension;
    write_file(dir.file(bad), GetParam().text);
    expect_refused(run_veld({"info", dir.file(bad), "--json"}), dir.file(bad));
    expect_refused(run_veld({"holes", dir.file(bad)}), dir.file(bad));
    expect_refused(run_veld({"fill", dir.file(bad), "-o", dir.file("out.ply"), "--timings",
                             dir.file("times.json")}),
                   dir.file(bad));
    expect_refused(run_veld({"render", dir.file(bad), "-o", dir.file("out.png")}), dir.file(bad));
    EXPECT_THAT(files_in(dir.path()), ElementsAre(bad));
}

INSTANTIATE_TEST_SUITE_P(Files, BadInput, testing::ValuesIn(bad_files()),
                         [](auto const& file) { return file.param.name; });

TEST(BadArguments, MissingFileIsNamed)
{
    TempDir const dir;
    expect_refused(run_veld({"info", dir.file("none.ply")}), dir.file("none.ply"));
    expect_refused(run_veld({"fill", dir.file("none.ply"), "-o", dir.file("out.ply")}),
                   dir.file("none.ply"));
    EXPECT_TRUE(files_in(dir.path()).empty());
}

TEST(BadArguments, DirectoryIsNoMeshFile)
{
    TempDir const dir;
    std::filesystem::create_directory(dir.file("folder.ply"));
    expect_refused(run_veld({"info", dir.file("folder.ply")}), dir.file("folder.ply"));
}

TEST(BadArguments, FileNameWithALineBreakStaysOnOneLine)
{
    expect_refused(run_veld({"info", "no\nsuch.ply"}), "such.ply");
}

TEST(BadArguments, OutputThatCannotBeWrittenIsToldBeforeTheWork)
{
    MeshDir const dir(grid_with_hole(2));
    std::filesystem::create_directory(dir.file("folder.ply"));
    std::vector<std::pair<std::string, std::string>> const reasons{
        {"none/out.ply", "there is no directory " + dir.file("none")},
        {"folder.ply", "is a directory"},
        {"mesh.ply/out.ply", dir.mesh() + " is no directory"}};
    for (auto const& [name, reason] : reasons)
    {
        Outcome const run = run_veld({"fill", dir.mesh(), "-o", dir.file(name)});
        expect_refused(run, dir.file(name));
        EXPECT_THAT(run.err, HasSubstr(reason));
    }
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("mesh.ply/deep/")}),
                   dir.mesh() + " is a file");
    expect_refused(run_veld({"render", dir.mesh(), "-o", dir.file("none/out.png")}),
                   dir.file("none/out.png"));
    expect_refused(run_veld({"info", dir.mesh(), "--timings", dir.file("none/t.json")}),
                   dir.file("none/t.json"));
    EXPECT_THAT(files_in(dir.path()), ElementsAre("folder.ply", "mesh.ply"));
}

#if !defined(_WIN32)
TEST(BadArguments, DeviceIsNoOutput)
{
    MeshDir const dir(grid_with_hole(2));
    expect_refused(run_veld({"info", dir.mesh(), "--timings", "/dev/null"}), "/dev/null");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}
#endif

TEST(BadArguments, OutputOfUnknownFormatIsRefused)
{
    MeshDir const dir(grid_with_hole(2));
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("out.xyz")}), dir.file("out.xyz"));
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply"));
}

TEST(BadArguments, InputIsNeverTheOutput)
{
    MeshDir const dir(grid_with_hole(2));
    std::string const before = file_content(dir.mesh());
    std::filesystem::create_hard_link(dir.mesh(), dir.file("hard.ply"));
    std::filesystem::create_symlink(dir.mesh(), dir.file("soft.ply"));
    for (std::string const& out :
         {dir.mesh(), dir.file("./mesh.ply"), dir.file("hard.ply"), dir.file("soft.ply")})
    {
        expect_refused(run_veld({"fill", dir.mesh(), "-o", out}), out);
        expect_refused(run_veld({"info", dir.mesh(), "--timings", out}), out);
    }
    EXPECT_EQ(file_content(dir.mesh()), before);
    EXPECT_EQ(file_content(dir.file("hard.ply")), before);
}

TEST(BadArguments, TwoOutputsOfOneNameAreRefused)
{
    MeshDir const dir(grid_with_hole(2));
    expect_refused(
        run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--timings", dir.file("out.ply")}),
        dir.file("out.ply"));
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply"));
}

TEST(BadArguments, ExistingOutputSurvivesAFailure)
{
    TempDir const dir;
    write_file(dir.file("bad.ply"), HEADER);
    write_file(dir.file("out.ply"), "earlier result");
    expect_refused(run_veld({"fill", dir.file("bad.ply"), "-o", dir.file("out.ply")}),
                   dir.file("bad.ply"));
    EXPECT_EQ(file_content(dir.file("out.ply")), "earlier result");
}

TEST(BadArguments, WrongOptionsAreOneLine)
{
    MeshDir const dir(grid_with_hole(2));
    std::string const mesh = dir.mesh();
    std::vector<std::vector<std::string>> const calls{
        {},
        {"nonsense"},
        {"info"},
        {"info", mesh, "--colour"},
        {"fill", mesh},
        {"fill", mesh, "-o", dir.file("out.ply"), "--method", "magic"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-perimeter", "-1"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-perimeter", "nan"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-perimeter", "inf"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-perimeter", "12mm"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-edges", "2.5"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--normal-angle", "181"},
        {"holes", mesh, "--near", "1,2,3"},
        {"holes", mesh, "--near", "1,2", "--distance", "1"},
        {"holes", mesh, "--near", "1,2,x", "--distance", "1"},
        {"holes", mesh, "--near", "1,2,3,", "--distance", "1"},
        {"holes", mesh, "--near", "1,2,3,4", "--distance", "1"},
        {"holes", mesh, "--near", "1,2,1e39", "--distance", "1"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-edges", "0x10"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-perimeter", "0x10"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--max-perimeter", "1e999"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--method", "core", "--rings", "-1"},
        {"fill", mesh, "-o", dir.file("out.ply"), "--method", "core", "--smooth", "c3"},
        {"clean", mesh, "-o", dir.file("out.ply")},
        {"clean", mesh, "--min-faces", "1"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--min-faces", "0"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--min-faces", "1", "2"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--min-faces", "1", "--min-faces", "x"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--min-vertices", "0x2"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--strong", "5"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--rings", "5", "--peel", "1"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--strong", "5", "--rings", "0"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--strong", "0", "--rings", "1"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--peel", "-1"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--non-manifold=false"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--markers", mesh},
        {"clean", mesh, "-o", dir.file("out.ply"), "--peel", "1", "--marker-radius", "2"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--peel", "1", "--normals"},
        {"clean", mesh, "-o", dir.file("out.ply"), "--markers", mesh, "--marker-radius", "2",
         "--normal-dot", "0.5"},
        {"sticks", mesh, "-o", dir.file("out")},
        {"sticks", mesh, "--seeds", mesh},
        {"sticks", mesh, "--seeds", mesh, "-o", "-"},
        {"holes", mesh, "--distance", "1"},
        {"holes", mesh, "--markers", mesh},
        {"holes", mesh, "--normals"},
        {"render", mesh, "-o", dir.file("out.png"), "--view", "sideways"},
        {"render", mesh, "-o", dir.file("out.png"), "--view", "top", "--azimuth", "3"},
        {"render", mesh, "-o", dir.file("out.png"), "--width", "0"},
        {"render", mesh, "-o", dir.file("out.png"), "--width", "100000"}};
    for (auto const& call : calls)
    {
        expect_refused(run_veld(call), "--help");
    }
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply"));
}

TEST(BadArguments, UnknownCommandIsNamed)
{
    for (std::vector<std::string> const& call : std::vector<std::vector<std::string>>{
             {"bogus"}, {"bogus", "mesh.ply"}, {"bogus", "--json"}, {"--json", "bogus"}})
    {
        expect_refused(run_veld(call), "unknown command 'bogus'");
    }
}

TEST(BadArguments, OptionThatTheMethodDoesNotUseIsNamed)
{
    MeshDir const dir(grid_with_hole(2));
    std::vector<std::array<std::string, 3>> const calls{
        {"trim", "--rings", "2"},           {"clip", "--rings", "2"},
        {"trim", "--smooth", "c2"},         {"core", "--edge-length", "1"},
        {"core", "--normal-angle", "90"},   {"core", "--region", "none"},
        {"core", "--markers", dir.mesh()},  {"whole", "--rings", "2"},
        {"whole", "--markers", dir.mesh()}, {"whole", "--small-edges", "2"},
        {"auto", "--region", "delete"},     {"auto", "--edge-length", "1"}};
    for (auto const& [method, option, value] : calls)
    {
        expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--method", method,
                                 option, value}),
                       option + ": --method " + method + " does not use it");
    }
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--edge-length", "2"}),
                   "--edge-length: --method auto does not use it");
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--method", "markers"}),
                   "--method: markers needs --markers");
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply"));
}

TEST(BadArguments, EmptyValueIsRefusedAndItsOptionNamed)
{
    MeshDir const dir(grid_with_hole(2));
    std::string const mesh = dir.mesh();
    std::string const out = dir.file("out.png");
    expect_refused(run_veld({"info", mesh, "--timings", ""}), "--timings");
    expect_refused(
        run_veld({"holes", mesh, "--markers", "", "--match", "1", "--marker-radius", "1"}),
        "--markers");
    expect_refused(run_veld({"render", mesh, "-o", out, "--compare", ""}), "--compare");
    expect_refused(run_veld({"render", mesh, "-o", out, "--view", ""}), "--view");
    expect_refused(run_veld({"fill", mesh, "-o", ""}), "--output");
    expect_refused(run_veld({"demo", "-o", ""}), "--output");
    expect_refused(run_veld({"clean", mesh, "-o", out, "--markers", "", "--marker-radius", "1"}),
                   "--markers");
    expect_refused(run_veld({"clean", mesh, "-o", out, "--min-faces", ""}), "--min-faces");
    expect_refused(run_veld({"sticks", mesh, "-o", out, "--seeds", ""}), "--seeds");
    expect_refused(run_veld({"info", ""}), "MESH");
    // The argument behind it is not its value.
    expect_refused(run_veld({"info", "--timings=", dir.file("times.json"), mesh}), "--timings");
    EXPECT_THAT(files_in(dir.path()), ElementsAre("mesh.ply"));
}

#if !defined(_WIN32)
TEST(Outputs, PermissionsOfTheEarlierFileStay)
{
    namespace fs = std::filesystem;
    MeshDir const dir(grid_with_hole(2));
    auto const mode = fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read;
    write_file(dir.file("out.ply"), "earlier result");
    fs::permissions(dir.file("out.ply"), mode);
    ASSERT_EQ(run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply")}).status, 0);
    EXPECT_NE(file_content(dir.file("out.ply")), "earlier result");
    EXPECT_EQ(fs::status(dir.file("out.ply")).permissions(), mode);
}

TEST(Outputs, SymbolicLinkStaysOneAndItsFileIsReplaced)
{
    namespace fs = std::filesystem;
    MeshDir const dir(grid_with_hole(2));
    fs::create_directory(dir.file("real"));
    write_file(dir.file("real/there.ply"), "earlier result");
    fs::create_symlink("real/there.ply", dir.file("first.ply"));
    fs::create_symlink("first.ply", dir.file("second.ply"));
    fs::create_symlink("real/not_yet.ply", dir.file("dangling.ply"));
    ASSERT_EQ(run_veld({"fill", dir.mesh(), "-o", dir.file("plain.ply")}).status, 0);
    for (std::string const name : {"second.ply", "dangling.ply"})
    {
        ASSERT_EQ(run_veld({"fill", dir.mesh(), "-o", dir.file(name)}).status, 0);
        EXPECT_TRUE(fs::is_symlink(dir.file(name)));
    }
    EXPECT_THAT(files_in(dir.file("real")), ElementsAre("not_yet.ply", "there.ply"));
    EXPECT_EQ(file_content(dir.file("real/there.ply")), file_content(dir.file("plain.ply")));
    EXPECT_EQ(file_content(dir.file("real/not_yet.ply")), file_content(dir.file("plain.ply")));
}

TEST(Outputs, LinkToNothingYetIsTheSameFileAsItsTarget)
{
    MeshDir const dir(grid_with_hole(2));
    std::filesystem::create_symlink("out.ply", dir.file("link.ply"));
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("link.ply"), "--timings",
                             dir.file("out.ply")}),
                   "two outputs");
    EXPECT_THAT(files_in(dir.path()), ElementsAre("link.ply", "mesh.ply"));
}

TEST(Outputs, LinkInACircleIsRefused)
{
    MeshDir const dir(grid_with_hole(2));
    std::filesystem::create_symlink("b.ply", dir.file("a.ply"));
    std::filesystem::create_symlink("a.ply", dir.file("b.ply"));
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file("a.ply")}), dir.file("a.ply"));
}

TEST(Outputs, NameMayBeAsLongAsTheSystemAllows)
{
    MeshDir const dir(grid_with_hole(2));
    std::string const longest(251, 'n');
    for (std::string const extension : {".ply", ".stl", ".obj", ".off"})
    {
        Outcome const run =
            run_veld({"fill", dir.mesh(), "-o", dir.file(longest + extension), "--json"});
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run_veld({"info", dir.file(longest + extension)}).status, 0);
    }
    Outcome const picture =
        run_veld({"render", dir.mesh(), "-o", dir.file(longest + ".png"), "--width", "8",
                  "--height", "8", "--timings", dir.file(longest + "json")});
    EXPECT_EQ(picture.status, 0) << picture.err;
    EXPECT_EQ(files_in(dir.path()).size(), 7U);
    expect_refused(run_veld({"fill", dir.mesh(), "-o", dir.file(longest + "n.ply")}), "n.ply");
}
#endif

} // namespace
