#include "run_veld.h"

#include "tests/support/real_data.h"

#include "algorithmVeld/common/mesh_io.h"

#include <array>
#include <cstdio>
#include <map>
#include <set>

namespace
{

using namespace veld_test;

std::vector<std::string> real_meshes()
{
    std::vector<std::string> paths;
    if (real_data_dir().empty())
    {
        std::printf("VELD_TEST_DATA is not set: real meshes are left out\n");
        return paths;
    }
    for (auto const& entry : std::filesystem::directory_iterator(real_data("meshes_holes")))
    {
        if (entry.path().extension() == ".ply")
        {
            paths.push_back(entry.path().string());
        }
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

TriMesh load(std::string const& path)
{
    TriMesh mesh;
    OrvaneAlgorithm::MeshReadReport report;
    EXPECT_TRUE(OrvaneAlgorithm::read_mesh(path, mesh, report)) << report.error;
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

TEST(RealMeshes, HolesAreTheWholeBoundary)
{
    for (auto const& path : real_meshes())
    {
        Outcome const run = run_veld({"holes", path, "--json"});
        ASSERT_EQ(run.status, 0) << path << run.err;
        std::size_t edges = 0;
        auto const json = run.json();
        for (auto const& hole : json["holes"])
        {
            edges += hole["edges"].get<std::size_t>();
        }
        EXPECT_EQ(edges, edges_with_one_face(load(path))) << path;
    }
}

TEST(RealMeshes, FillKeepsWhatIsThereAndNamesWhatStaysOpen)
{
    for (auto const& path : real_meshes())
    {
        for (std::string const method : {"clip", "trim"})
        {
            TempDir const dir;
            Outcome const run =
                run_veld({"fill", path, "-o", dir.file("out.ply"), "--method", method, "--json"});
            ASSERT_EQ(run.status, 0) << path << run.err;
            auto const json = run.json();
            TriMesh const before = load(path);
            TriMesh const after = load(dir.file("out.ply"));
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

TEST(RealMeshes, CarefulFillingIsTheSameForAnyNumberOfThreadsAndNamesWhatStaysOpen)
{
    for (auto const& path : real_meshes())
    {
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
        ASSERT_EQ(read_file(outputs[0]), read_file(outputs[1])) << path;
        TriMesh const before = load(path);
        TriMesh const after = load(outputs[0]);
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

TEST(RealMeshes, FiveHolesOfTheFullRangeScanAreClosed)
{
    if (real_data_dir().empty())
    {
        std::printf("VELD_TEST_DATA is not set: left out\n");
        return;
    }
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

} // namespace
