#include "run_veld.h"

#include "tests/reconstruction/frames.h"

#include "algorithmVeld/common/CRangeDataIO.h"
#include "algorithmVeld/common/mesh_files/Carried.h"
#include "algorithmVeld/common/mesh_io.h"

#include <gmock/gmock.h>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

/// A flat cloud as text, at z = 0.
std::string flat_text(int n, std::string const& behind = "")
{
    std::string text = "# a sheet\n";
    for (int i = 0; i < n * n; ++i)
    {
        text += std::to_string(i % n) + " " + std::to_string(i / n) + " 0" + behind + "\n";
    }
    return text;
}

TriMesh read_back(std::string const& path)
{
    TriMesh cloud;
    OrvaneAlgorithm::MeshFileContents contents;
    EXPECT_TRUE(OrvaneAlgorithm::read_and_mend_mesh(path, cloud, contents)) << contents.error;
    return cloud;
}

void expect_all_normals(TriMesh const& cloud, Vector3f const& normal)
{
    ASSERT_TRUE(cloud.has_vertex_normals());
    for (auto const v : cloud.vertices())
    {
        EXPECT_EQ(cloud.normal(v), normal);
    }
}

TEST(NormalsCommand, ACloudAsTextGetsNormalsAndKeepsItsIntensity)
{
    TempDir const dir;
    write_file(dir.file("scan.xyz"), flat_text(5, " 7.5"));
    Outcome const run =
        run_veld({"normals", dir.file("scan.xyz"), "-o", dir.file("out.ply"), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "");
    auto const json = run.json();
    EXPECT_THAT(keys_of(json), ElementsAre("neighbours", "normals", "pieces", "points", "repeated",
                                           "seconds", "turned_by", "without_normal"));
    EXPECT_EQ(json["points"], 25);
    EXPECT_EQ(json["normals"], 25);
    EXPECT_EQ(json["pieces"], 1);
    EXPECT_EQ(json["neighbours"], 16);
    EXPECT_EQ(json["turned_by"], "neighbours");
    TriMesh const cloud = read_back(dir.file("out.ply"));
    ASSERT_EQ(cloud.n_vertices(), 25U);
    EXPECT_EQ(cloud.n_faces(), 0U);
    EXPECT_EQ(cloud.point(vh(7)), Vector3f(2, 1, 0));
    expect_all_normals(cloud, Vector3f(0, 0, 1));
    auto const values = OrvaneAlgorithm::detail::carried_values(cloud);
    ASSERT_EQ(values.size(), 1U);
    EXPECT_EQ(cloud.property(values[0], vh(3)), 7.5F);
}

TEST(NormalsCommand, TheSensorMayLieAnywhere)
{
    TempDir const dir;
    write_file(dir.file("scan.txt"), flat_text(5));
    for (std::string const place : {"-3,0.5,-20", "0,0,-1e6"})
    {
        Outcome const run = run_veld({"normals", dir.file("scan.txt"), "-o", dir.file("out.ply"),
                                      "--sensor", place, "--neighbours", "8"});
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.out, HasSubstr("25 points, 25 normals by 8 neighbours"));
        EXPECT_THAT(run.out, HasSubstr("turned to the sensor"));
        expect_all_normals(read_back(dir.file("out.ply")), Vector3f(0, 0, -1));
    }
}

TEST(NormalsCommand, AMeshLosesItsFacesWithAWarning)
{
    MeshDir const dir(grid(4, 4));
    Outcome const run = run_veld({"normals", dir.mesh(), "-o", dir.file("out.ply")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.err, "warning: " + dir.mesh() + ": not kept: 32 faces\n");
    EXPECT_EQ(read_back(dir.file("out.ply")).n_faces(), 0U);
}

TEST(NormalsCommand, PointsWithoutANormalAreToldWithTheirReason)
{
    TempDir const dir;
    write_file(dir.file("scan.asc"), "0 0 0\n1 0 0\nnan 0 0\n0 1 0\n2e18 0 0\n");
    Outcome const run = run_veld({"normals", dir.file("scan.asc"), "-o", dir.file("out.ply")});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("scan.asc: 1 vertex left out that is not finite\n"));
    EXPECT_THAT(run.err, HasSubstr("scan.asc: 1 point without a normal: 1 with coordinates that "
                                   "are not finite or beyond 1e18\n"));
    TriMesh const cloud = read_back(dir.file("out.ply"));
    ASSERT_EQ(cloud.n_vertices(), 4U);
    EXPECT_EQ(cloud.normal(vh(1)), Vector3f(0, 0, 1));
    EXPECT_EQ(cloud.normal(vh(3)), Vector3f(0, 0, 0));
}

TEST(NormalsCommand, ACloudInWhichNoPointGetsANormalIsAnErrorWithItsReason)
{
    TempDir const dir;
    write_file(dir.file("line.asc"), "0 0 0\n1 1 1\n2 2 2\n3 3 3\n");
    write_file(dir.file("one.asc"), "1 2 3\n");
    for (auto const& [name, reason] :
         {std::pair("line.asc", "4 with all points around on a line"),
          std::pair("one.asc", "1 of fewer than three different points")})
    {
        Outcome const run = run_veld({"normals", dir.file(name), "-o", dir.file("out.ply")});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_THAT(run.err,
                    HasSubstr(std::string(name) + ": no point gets a normal: " + reason + "\n"));
        EXPECT_FALSE(std::filesystem::exists(dir.file("out.ply")));
    }
}

TEST(NormalsCommand, FramesBecomeOneCloudThatLooksAtTheirSensors)
{
    TempDir const dir;
    std::filesystem::create_directory(dir.file("scan"));
    for (int i = 0; i < 2; ++i)
    {
        auto const frame = flat_frame(8, 8, 1.0F, Vector3f(8.0F * static_cast<float>(i), 0, 0));
        std::string const path = dir.file("scan/frame-" + std::to_string(i) + ".rge");
        ASSERT_EQ(
            OrvaneAlgorithm::CRangeDataIO::write_rge(std::wstring(path.begin(), path.end()), frame),
            0);
    }
    Outcome const run = run_veld(
        {"normals", dir.file("scan"), "-o", dir.file("out.ply"), "--scale", "2", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.json()["turned_by"], "frames");
    TriMesh const cloud = read_back(dir.file("out.ply"));
    ASSERT_EQ(cloud.n_vertices(), 128U);
    EXPECT_EQ(cloud.point(vh(64)), Vector3f(16, 0, 0));
    expect_all_normals(cloud, Vector3f(0, 0, 1));
}

TEST(NormalsCommand, SeveralCloudsGoToADirectoryAndThoseOfTextBecomePly)
{
    TempDir const dir;
    write_file(dir.file("a.xyz"), flat_text(4));
    write_file(dir.file("b.ply"), ply_text(grid(3, 3)));
    Outcome const run =
        run_veld({"normals", dir.file("a.xyz"), dir.file("b.ply"), "-o", dir.file("out/")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(files_in(dir.path() / "out"), ElementsAre("a.ply", "b.ply"));
    expect_all_normals(read_back(dir.file("out/a.ply")), Vector3f(0, 0, 1));
}

TEST(NormalsCommand, TheSameBytesForAnyNumberOfThreadsAndThroughStreams)
{
    TempDir const dir;
    write_file(dir.file("scan.ply"), ply_text(sphere(4)));
    auto const bytes = [&](std::vector<std::string> const& options)
    {
        std::vector<std::string> call{"normals", dir.file("scan.ply"), "-o", dir.file("out.ply")};
        call.insert(call.end(), options.begin(), options.end());
        EXPECT_EQ(run_veld(call).status, 0);
        return file_content(dir.file("out.ply"));
    };
    std::string const one = bytes({"--threads", "1"});
    EXPECT_EQ(bytes({"--threads", "2"}), one);
    Outcome const streams = run_veld_in(dir.path(), "normals - -o - < scan.ply", dir.file("s.ply"));
    EXPECT_EQ(streams.status, 0);
    EXPECT_EQ(file_content(dir.file("s.ply")), one);
}

TEST(NormalsCommand, WhatDoesNotGoTogetherIsRefused)
{
    TempDir const dir;
    write_file(dir.file("scan.xyz"), flat_text(4));
    write_file(dir.file("empty.ply"), ply_text(TriMesh()));
    std::filesystem::create_directory(dir.file("frames"));
    struct Call
    {
        std::vector<std::string> arguments;
        std::string reason;
    };
    std::string const scan = dir.file("scan.xyz");
    std::string const out = dir.file("out.ply");
    for (auto const& [arguments, reason] : std::vector<Call>{
             {{scan, "-o", dir.file("out.stl")}, "out.stl: the extension has to be one of .ply"},
             {{scan, "-o", dir.file("out.xyz")}, "out.xyz: the extension has to be one of .ply"},
             {{scan, "-o", scan}, "scan.xyz"},
             {{scan, "-o", out, "--sensor", "1,2"}, "'1,2' is not a point X,Y,Z"},
             {{scan, "-o", out, "--sensor", "1,2,nan"}, "is not a point X,Y,Z"},
             {{scan, "-o", out, "--neighbours", "1"}, "from 2 to 1000"},
             {{scan, "-o", out, "--scale", "1000"}, "--scale: is for frames"},
             {{scan, "-o", out, "--format", "off"}, "--format"},
             {{scan, "-o", "-", "--format", "stl"}, "STL"},
             {{dir.file("frames"), "-o", dir.file("clouds/")}, "frames need a file"},
             {{dir.file("frames"), "-o", out}, "holds no .rge files"},
             {{dir.file("none.xyz"), "-o", out}, "none.xyz: no such file"},
             {{dir.file("empty.ply"), "-o", out}, "empty.ply: there are no points"}})
    {
        std::vector<std::string> call{"normals"};
        call.insert(call.end(), arguments.begin(), arguments.end());
        Outcome const run = run_veld(call);
        EXPECT_EQ(run.status, 1) << reason;
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.error_lines(), 1) << run.err;
        EXPECT_THAT(run.err, HasSubstr(reason));
    }
    EXPECT_THAT(files_in(dir.path()), ElementsAre("empty.ply", "frames", "scan.xyz"));
}

} // namespace
