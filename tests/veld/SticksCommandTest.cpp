#include "run_veld.h"

#include "algorithmVeld/common/mesh_io.h"

#include <gmock/gmock.h>

#include <map>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// A cone of radius 1 around z, its tip at `height`: a stick with six faces and seven vertices.
TriMesh cone(float height)
{
    return open_cone(6, height);
}

class SticksCommand : public testing::Test
{
protected:
    Outcome run(TriMesh const& mesh, std::string const& seeds,
                std::vector<std::string> const& options = {"--json"})
    {
        write_file(dir_.file("mesh.ply"), ply_text(mesh));
        write_file(dir_.file("seeds.txt"), seeds);
        std::vector<std::string> arguments{"sticks",  dir_.file("mesh.ply"),
                                           "--seeds", dir_.file("seeds.txt"),
                                           "-o",      dir_.file("sticks")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Outcome outcome = run_veld(arguments);
        EXPECT_EQ(file_content(dir_.file("mesh.ply")), ply_text(mesh));
        EXPECT_EQ(file_content(dir_.file("seeds.txt")), seeds);
        return outcome;
    }

    TriMesh stick(std::string const& name) const
    {
        TriMesh mesh;
        OrvaneAlgorithm::MeshReadReport report;
        EXPECT_TRUE(OrvaneAlgorithm::read_mesh(dir_.file("sticks/" + name), mesh, report))
            << report.error;
        return mesh;
    }

    TempDir dir_;
};

TEST_F(SticksCommand, EachSeedGetsItsStick)
{
    // The reach of 4 x 3 is sqrt(13), which is more than from tip to rim; that of 1 x 1 is not.
    Outcome const run = this->run(cone(3), "# seeds\n1 0 0 4 3\n\n0.9 0 0.1 4 3 # again\n");
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    auto const json = run.json();
    EXPECT_THAT(keys_of(json), ElementsAre("sticks"));
    ASSERT_EQ(json["sticks"].size(), 2U);
    EXPECT_THAT(files_in(dir_.file("sticks")), ElementsAre("stick-0.ply", "stick-1.ply"));
    for (std::size_t i = 0; i < 2; ++i)
    {
        auto const& entry = json["sticks"][i];
        EXPECT_THAT(keys_of(entry), UnorderedElementsAre("file", "vertices", "faces"));
        std::string const name = "stick-" + std::to_string(i) + ".ply";
        EXPECT_EQ(entry["file"], dir_.file("sticks/" + name));
        EXPECT_EQ(entry["vertices"], 7);
        EXPECT_EQ(entry["faces"], 6);
        EXPECT_EQ(stick(name).n_faces(), 6U);
    }
}

TEST_F(SticksCommand, TipsLieDownwardsIfAsked)
{
    // Seen upwards, the seed on the rim stays the tip: the reach of 1 x 1 takes no face there.
    EXPECT_EQ(run(cone(-3), "1 0 0 4 3\n", {"--json", "--down"}).json()["sticks"][0]["faces"], 6);
    EXPECT_EQ(run(cone(-3), "1 0 0 1 1\n").json()["sticks"][0]["faces"], 0);
}

TEST_F(SticksCommand, EmptyStickIsAWarningAndAFile)
{
    Outcome const run = this->run(cone(3), "1 0 0 1 1\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.error_lines(), 1);
    EXPECT_THAT(run.err, testing::StartsWith("warning: stick 0: empty"));
    EXPECT_EQ(run.json()["sticks"][0]["vertices"], 0);
    EXPECT_THAT(files_in(dir_.file("sticks")), ElementsAre("stick-0.ply"));
}

TEST_F(SticksCommand, SticksKeepNormalsAndColours)
{
    write_file(dir_.file("mesh.ply"),
               "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
               "property float z\nproperty float nx\nproperty float ny\nproperty float nz\n"
               "property uchar red\nproperty uchar green\nproperty uchar blue\nelement face 1\n"
               "property list uchar int vertex_indices\nend_header\n0 0 0 0 1 0 9 8 7\n"
               "1 0 0 0 1 0 9 8 7\n0 0 1 0 1 0 9 8 7\n3 0 1 2\n");
    write_file(dir_.file("seeds.txt"), "0 0 0 9 9\n");
    Outcome const run = run_veld({"sticks", dir_.file("mesh.ply"), "--seeds",
                                  dir_.file("seeds.txt"), "-o", dir_.file("sticks")});
    ASSERT_EQ(run.status, 0) << run.err;
    TriMesh const cut = stick("stick-0.ply");
    ASSERT_EQ(cut.n_vertices(), 3U);
    ASSERT_TRUE(cut.has_vertex_normals());
    ASSERT_TRUE(cut.has_vertex_colors());
    for (auto const v : cut.vertices())
    {
        EXPECT_EQ(cut.normal(v), Vector3f(0, 1, 0));
        EXPECT_LT((cut.color(v) * 255.0F - Vector3f(9, 8, 7)).norm(), 0.01F);
    }
}

TEST_F(SticksCommand, LogIsNotOnStandardOutput)
{
    // The library prints the same there, where nothing but the result may be.
    std::string const quiet = run(cone(3), "1 0 0 4 3\n").out;
    Outcome const verbose = run(cone(3), "1 0 0 4 3\n", {"--json", "--verbose"});
    EXPECT_EQ(verbose.out, quiet);
    EXPECT_THAT(verbose.err, HasSubstr("Mesh info:\n"));
    EXPECT_THAT(verbose.err, HasSubstr("located vertex = "));
    Outcome const text = run(cone(3), "1 0 0 4 3\n", {"--verbose"});
    EXPECT_EQ(text.out, dir_.file("sticks/stick-0.ply") + ": a stick of 6 faces and 7 vertices\n");
}

TEST_F(SticksCommand, SegmentationIsAStepOfTheTimings)
{
    run(cone(3), "1 0 0 4 3\n", {"--timings", dir_.file("times.json")});
    EXPECT_THAT(file_content(dir_.file("times.json")), HasSubstr("segment-stick"));
}

TEST_F(SticksCommand, WrongSeedFilesAreNamed)
{
    std::map<std::string, std::string> const files{
        {"1 2 3\n", "line 1: a seed is 'x y z diameter height'"},
        {"0 0 0 1 1\n1 2 3 4\n", "line 2: a seed is"},
        {"1 2 3 4 5 6\n", "line 1: a seed is"},
        {"1 2 3 4 x\n", "line 1: is not a list of numbers"},
        {"1 2 nan 4 5\n", "line 1: is not a list of numbers"},
        {"1 2 3 0 5\n", "line 1: diameter and height"},
        {"1 2 3 4 -5\n", "line 1: diameter and height"},
        {"# none\n", "holds no seed"},
        {"", "holds no seed"}};
    for (auto const& [text, named] : files)
    {
        Outcome const run = this->run(cone(3), text);
        EXPECT_EQ(run.status, 1) << text;
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_THAT(run.err, HasSubstr("error: " + dir_.file("seeds.txt") + ": " + named));
    }
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply", "seeds.txt"));
}

TEST_F(SticksCommand, SeedWithoutANearestVertexIsAFailureWithoutFiles)
{
    // The square of such a coordinate is no float.
    Outcome const run = this->run(
        make_mesh({{1e20F, 0, 0}, {2e20F, 0, 0}, {1e20F, 1e20F, 0}}, {{0, 1, 2}}), "0 0 0 4 3\n");
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.error_lines(), 1) << run.err;
    EXPECT_THAT(run.err, HasSubstr("mesh.ply: no vertex is nearest to a seed"));
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply", "seeds.txt"));
}

TEST_F(SticksCommand, InputsAreNoOutputs)
{
    TempDir const dir;
    write_file(dir.file("stick-0.ply"), ply_text(cone(3)));
    write_file(dir.file("seeds.txt"), "1 0 0 4 3\n");
    Outcome const run = run_veld({"sticks", dir.file("stick-0.ply"), "--seeds",
                                  dir.file("seeds.txt"), "-o", dir.path().string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr("is an input"));
    EXPECT_EQ(file_content(dir.file("stick-0.ply")), ply_text(cone(3)));
}

TEST_F(SticksCommand, FileInTheDirectorysPlaceIsRefused)
{
    write_file(dir_.file("sticks"), "mine");
    EXPECT_EQ(run(cone(3), "1 0 0 4 3\n").status, 1);
    EXPECT_EQ(file_content(dir_.file("sticks")), "mine");
}

} // namespace
