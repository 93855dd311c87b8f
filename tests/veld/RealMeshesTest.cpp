#include "run_veld.h"

#include "tests/support/markers.h"
#include "tests/support/real_data.h"

#include "algorithmVeld/common/mesh_io.h"

#include <array>
#include <cmath>
#include <map>

namespace
{

using namespace veld_test;

TriMesh mesh_in(std::string const& path)
{
    TriMesh mesh;
    OrvaneAlgorithm::MeshFileContents contents;
    EXPECT_TRUE(OrvaneAlgorithm::read_and_mend_mesh(path, mesh, contents)) << contents.error;
    return mesh;
}

/// Edges that only one face uses, counted from the faces' corners alone.
std::size_t edges_with_one_face(TriMesh const& mesh)
{
    std::map<std::pair<int, int>, int> faces;
    for (auto const face : mesh.faces())
    {
        std::vector<int> corners;
        for (auto const v : mesh.fv_range(face))
        {
            corners.push_back(v.idx());
        }
        for (std::size_t i = 0; i < 3; ++i)
        {
            ++faces[std::minmax(corners[i], corners[(i + 1) % 3])];
        }
    }
    std::size_t count = 0;
    for (auto const& edge : faces)
    {
        count += edge.second == 1 ? 1 : 0;
    }
    return count;
}

using MeshesRealData = RealData;

TEST_F(MeshesRealData, HolesAreTheWholeBoundary)
{
    for (auto const& file : real_meshes())
    {
        std::string const path = file.string();
        Outcome const run = run_veld({"holes", path, "--json"});
        ASSERT_EQ(run.status, 0) << path << run.err;
        std::size_t edges = 0;
        auto const json = run.json();
        for (auto const& hole : json["holes"])
        {
            edges += hole["edges"].get<std::size_t>();
        }
        EXPECT_EQ(edges, edges_with_one_face(mesh_in(path))) << path;
    }
}

TEST_F(MeshesRealData, FillKeepsWhatIsThereAndNamesWhatStaysOpen)
{
    for (auto const& file : real_meshes())
    {
        std::string const path = file.string();
        for (std::string const method : {"clip", "trim"})
        {
            TempDir const dir;
            Outcome const run =
                run_veld({"fill", path, "-o", dir.file("out.ply"), "--method", method, "--json"});
            ASSERT_EQ(run.status, 0) << path << run.err;
            auto const json = run.json();
            TriMesh const before = mesh_in(path);
            TriMesh const after = mesh_in(dir.file("out.ply"));
            ASSERT_EQ(after.n_faces(), before.n_faces() + json["new_faces"].get<std::size_t>())
                << path;
            ASSERT_EQ(after.n_vertices(), before.n_vertices()) << path;
            for (auto const v : before.vertices())
            {
                ASSERT_EQ(after.point(v), before.point(v)) << path;
            }
            ASSERT_EQ(json["holes_after"].get<std::size_t>(), json["open"].size()) << path;
            auto const found = run_veld({"holes", dir.file("out.ply"), "--json"}).json();
            auto const& holes = found["holes"];
            EXPECT_EQ(holes.size(), json["open"].size()) << path << method;
            for (auto const& open : json["open"])
            {
                EXPECT_EQ(holes[open["hole"].get<std::size_t>()]["edges"], open["edges"])
                    << path << method;
            }
        }
    }
}

TEST_F(MeshesRealData, CarefulFillingIsTheSameForAnyNumberOfThreadsAndNamesWhatStaysOpen)
{
    for (auto const& file : real_meshes())
    {
        std::string const path = file.string();
        TempDir const dir;
        std::array<std::string, 2> const outputs{dir.file("1.ply"), dir.file("2.ply")};
        nlohmann::json json;
        for (std::size_t i = 0; i < outputs.size(); ++i)
        {
            Outcome const run = run_veld({"fill", path, "-o", outputs[i], "--method", "core",
                                          "--threads", std::to_string(i + 1), "--json"});
            ASSERT_EQ(run.status, 0) << path << run.err;
            json = run.json();
        }
        ASSERT_EQ(file_content(outputs[0]), file_content(outputs[1])) << path;
        TriMesh const before = mesh_in(path);
        TriMesh const after = mesh_in(outputs[0]);
        EXPECT_EQ(after.n_faces(), before.n_faces() + json["new_faces"].get<std::size_t>()) << path;
        EXPECT_EQ(after.n_vertices(), before.n_vertices() + json["new_vertices"].get<std::size_t>())
            << path;
        for (auto const v : after.vertices())
        {
            ASSERT_TRUE(after.point(v).allFinite()) << path;
        }
        EXPECT_EQ(json["holes_after"].get<std::size_t>(), json["open"].size()) << path;
        auto const holes = run_veld({"holes", outputs[0], "--json"}).json()["holes"];
        EXPECT_EQ(holes.size(), json["open"].size()) << path;
        for (auto const& open : json["open"])
        {
            EXPECT_EQ(holes.at(open["hole"].get<std::size_t>())["edges"], open["edges"]) << path;
        }
    }
}

TEST_F(MeshesRealData, FiveHolesOfTheFullRangeScanAreClosed)
{
    TempDir const dir;
    Outcome const run = run_veld({"fill", real_data("meshes_holes/bun_zipper.ply"), "-o",
                                  dir.file("out.ply"), "--method", "trim", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    auto const json = run.json();
    EXPECT_EQ(json["holes_before"], 5);
    EXPECT_EQ(json["holes_after"], 0);
    // A loop of n edges takes n - 2 triangles; these have 80, 42, 40, 39 and 22 edges.
    EXPECT_EQ(json["new_faces"], 80 + 42 + 40 + 39 + 22 - 2 * 5);
}

TEST_F(MeshesRealData, CleaningLeavesNoSpeckAndNoVertexWhereFansMeet)
{
    for (auto const& file : real_meshes())
    {
        std::string const path = file.string();
        TempDir const dir;
        // Fans that come apart may leave specks, so these go last.
        Outcome const run = run_veld({"clean", path, "-o", dir.file("out.ply"), "--non-manifold",
                                      "--min-faces", "50", "--min-vertices", "1", "--json"});
        ASSERT_EQ(run.status, 0) << path << run.err;
        auto const json = run.json();
        EXPECT_EQ(json["after"]["non_manifold_vertices"], 0) << path;
        EXPECT_EQ(json["after"]["isolated_vertices"], 0) << path;
        EXPECT_LE(json["after"]["components"], json["before"]["components"]) << path;
        // Nothing is left to do.
        auto const again = run_veld({"clean", dir.file("out.ply"), "-o", dir.file("again.ply"),
                                     "--min-faces", "50", "--non-manifold", "--json"})
                               .json();
        EXPECT_EQ(again["after"], again["before"]) << path;
        EXPECT_EQ(again["before"], json["after"]) << path;
    }
}

/// How many points are nearer to one of the others than a limit.
std::size_t count_near(TriMesh const& points, std::vector<Vector3f> const& others, double limit)
{
    std::size_t count = 0;
    for (auto const v : points.vertices())
    {
        Vector3d const point = points.point(v).cast<double>();
        count += std::any_of(others.begin(), others.end(),
                             [&](Vector3f const& other)
                             { return (point - other.cast<double>()).norm() < limit; })
                     ? 1
                     : 0;
    }
    return count;
}

TEST_F(MeshesRealData, PointsNearMarkersGoFromTheCloudOfAScanner)
{
    std::string const path = real_data("range_bunny/bun000.ply");
    TriMesh const cloud = mesh_in(path);
    ASSERT_GT(cloud.n_vertices(), 0U);
    ASSERT_EQ(cloud.n_faces(), 0U);
    std::vector<Vector3f> markers;
    std::ostringstream text;
    text.precision(9);
    for (int const i : spread_vertices(cloud, 20))
    {
        markers.push_back(cloud.point(vh(i)));
        text << markers.back().transpose() << "\n";
    }
    TempDir const dir;
    write_file(dir.file("markers.txt"), text.str());
    Outcome const run = run_veld({"clean", path, "-o", dir.file("out.ply"), "--markers",
                                  dir.file("markers.txt"), "--marker-radius", "0.004", "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    std::size_t const gone = cloud.n_vertices() - mesh_in(dir.file("out.ply")).n_vertices();
    // Distances are compared in single precision.
    EXPECT_GE(gone, count_near(cloud, markers, 0.004 * (1.0 - 1e-6)));
    EXPECT_LE(gone, count_near(cloud, markers, 0.004 * (1.0 + 1e-6)));
    EXPECT_GT(gone, 20U);
}

TEST_F(MeshesRealData, SticksOfAScanAreAroundTheirSeeds)
{
    // The ears of the figure.
    TempDir const dir;
    write_file(dir.file("seeds.txt"), "-2.2 -4.4 21.7 2 2.5\n3.0 -3.4 22.0 2 2.5\n");
    Outcome const run =
        run_veld({"sticks", real_data("meshes_holes/squirrel_noholes.ply"), "--seeds",
                  dir.file("seeds.txt"), "-o", dir.path().string(), "--json"});
    ASSERT_EQ(run.status, 0) << run.err;
    for (std::string const name : {"stick-0.ply", "stick-1.ply"})
    {
        auto const info = run_veld({"info", dir.file(name), "--json"}).json();
        EXPECT_GT(info["faces"], 100) << name;
        EXPECT_EQ(info["components"], 1) << name;
        EXPECT_EQ(info["holes"], 1) << name;
        // Not farther from the tip than the far rim of such a cylinder.
        double const reach = std::sqrt(2.0 * 2.0 / 4.0 + 2.5 * 2.5) + 1e-5;
        EXPECT_LE(info["bounding_box"]["max"][2].get<double>() -
                      info["bounding_box"]["min"][2].get<double>(),
                  reach)
            << name;
    }
}

} // namespace
