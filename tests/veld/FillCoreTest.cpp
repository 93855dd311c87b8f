#include "run_veld.h"

#include "algorithmVeld/common/mesh_io.h"

#include <gmock/gmock.h>

#include <array>

namespace
{

using namespace veld_test;
using OrvaneAlgorithm::MeshReadReport;
using testing::HasSubstr;

TriMesh load(std::string const& path)
{
    TriMesh mesh;
    MeshReadReport report;
    EXPECT_TRUE(OrvaneAlgorithm::read_mesh(path, mesh, report)) << report.error;
    EXPECT_EQ(report.faces_left_out, 0U);
    return mesh;
}

/// A sphere of radius 1 without what lies above a height.
TriMesh cut_ball(float height)
{
    TriMesh const ball = sphere(4);
    std::vector<int> number(ball.n_vertices(), -1);
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (auto const f : ball.faces())
    {
        Triangle triangle{};
        std::size_t i = 0;
        bool below = true;
        for (auto const v : ball.fv_range(f))
        {
            below = below && ball.point(v).z() < height;
        }
        for (auto const v : ball.fv_range(f))
        {
            int& index = number[static_cast<std::size_t>(v.idx())];
            if (below && index < 0)
            {
                index = static_cast<int>(points.size());
                points.push_back(ball.point(v));
            }
            triangle[i++] = index;
        }
        if (below)
        {
            triangles.push_back(triangle);
        }
    }
    return make_mesh(points, triangles);
}

/// A ball whose hole is short enough for the limit that holds by default.
TriMesh open_ball()
{
    return cut_ball(0.92F);
}

/// A careful filling and its files.
class FillCore : public testing::Test
{
protected:
    nlohmann::json fill(TriMesh const& mesh, std::vector<std::string> const& options = {})
    {
        write_file(dir_.file("mesh.ply"), ply_text(mesh));
        return fill_file("mesh.ply", options);
    }

    nlohmann::json fill_file(std::string const& name, std::vector<std::string> const& options = {})
    {
        std::vector<std::string> arguments{"fill",   dir_.file(name), "-o",  dir_.file("out.ply"),
                                           "--json", "--method",      "core"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Outcome const run = run_veld(arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        auto const json = run.json();
        check_counts(name, json);
        return json;
    }

    TriMesh result() const { return load(dir_.file("out.ply")); }
    std::string result_bytes() const { return file_content(dir_.file("out.ply")); }

    /// How many of the old vertices have another place now.
    std::size_t moved(TriMesh const& mesh) const
    {
        TriMesh const after = result();
        std::size_t count = 0;
        for (auto const v : mesh.vertices())
        {
            count += mesh.point(v) != after.point(v) ? 1 : 0;
        }
        return count;
    }

    TempDir dir_;

private:
    void check_counts(std::string const& name, nlohmann::json const& json)
    {
        TriMesh const before = load(dir_.file(name));
        TriMesh const after = result();
        EXPECT_EQ(after.n_vertices(),
                  before.n_vertices() + json["new_vertices"].get<std::size_t>());
        EXPECT_EQ(after.n_faces(), before.n_faces() + json["new_faces"].get<std::size_t>());
        auto const holes = run_veld({"holes", dir_.file("out.ply"), "--json"}).json()["holes"];
        EXPECT_EQ(json["holes_after"], json["open"].size());
        EXPECT_EQ(json["holes_after"], holes.size());
        for (auto const& open : json["open"])
        {
            EXPECT_EQ(holes.at(open["hole"].get<std::size_t>())["edges"], open["edges"]);
        }
    }
};

TEST_F(FillCore, RoundsOffABall)
{
    TriMesh const mesh = open_ball();
    auto const json = fill(mesh);
    EXPECT_EQ(json["holes_before"], 1);
    EXPECT_EQ(json["holes_after"], 0);
    EXPECT_GT(json["new_vertices"].get<int>(), 0);
    // A flat lid would stay below 0.92; so coarse a ball has too few rings for more than this.
    float top = 0.0F;
    TriMesh const after = result();
    for (auto const v : after.vertices())
    {
        EXPECT_NEAR(after.point(v).norm(), 1.0F, 0.1F);
        top = std::max(top, after.point(v).z());
    }
    EXPECT_GT(top, 0.93F);
}

TEST_F(FillCore, OnlyTheRegionAroundTheHoleMoves)
{
    TriMesh const mesh = open_ball();
    fill(mesh, {"--rings", "1"});
    std::size_t const few = moved(mesh);
    fill(mesh, {"--rings", "4"});
    std::size_t const more = moved(mesh);
    EXPECT_GT(few, 0U);
    EXPECT_GT(more, few);
    EXPECT_LT(more, mesh.n_vertices());
    fill(mesh);
    std::string const by_default = result_bytes();
    fill(mesh, {"--rings", "3", "--smooth", "c2"});
    EXPECT_TRUE(result_bytes() == by_default);
}

TEST_F(FillCore, EachSmoothnessIsAnotherSurface)
{
    TriMesh const mesh = open_ball();
    std::vector<std::string> results;
    for (std::string const smooth : {"c0", "c1", "c2"})
    {
        EXPECT_EQ(fill(mesh, {"--smooth", smooth})["holes_after"], 0);
        results.push_back(result_bytes());
    }
    EXPECT_TRUE(results[0] != results[1]);
    EXPECT_TRUE(results[1] != results[2]);
}

TEST_F(FillCore, FlatSheetStaysFlatAndItsBorderOpen)
{
    TriMesh const mesh = grid_without(12, 12, {{5, 5}, {6, 5}, {5, 6}, {6, 6}});
    auto const json = fill(mesh);
    EXPECT_EQ(json["holes_before"], 2);
    ASSERT_EQ(json["open"].size(), 1U);
    EXPECT_EQ(json["open"][0]["edges"], 48);
    EXPECT_THAT(json["open"][0]["reason"].get<std::string>(), HasSubstr("perimeter"));
    TriMesh const after = result();
    for (auto const v : after.vertices())
    {
        EXPECT_NEAR(after.point(v).z(), 0.0F, 1e-5F);
    }
}

TEST_F(FillCore, PerimeterOfExactlyTheLimitStaysOpen)
{
    TriMesh const mesh = grid_without(12, 12, {{5, 5}, {6, 5}, {5, 6}, {6, 6}});
    auto const json = fill(mesh, {"--max-perimeter", "8"});
    EXPECT_EQ(json["holes_after"], 2);
    EXPECT_EQ(json["new_faces"], 0);
    EXPECT_EQ(moved(mesh), 0U);
    EXPECT_EQ(fill(mesh, {"--max-perimeter", "8.001"})["holes_after"], 1);
}

TEST_F(FillCore, PerimeterZeroTakesTheLimitAway)
{
    TriMesh const mesh = cut_ball(0.0F);
    EXPECT_EQ(fill(mesh)["holes_after"], 1);
    EXPECT_EQ(fill(mesh, {"--max-perimeter", "0"})["holes_after"], 0);
}

TEST_F(FillCore, TooManyEdgesIsToldAsTheReason)
{
    TriMesh const mesh = grid_without(12, 12, {{5, 5}, {6, 5}, {5, 6}, {6, 6}});
    auto const json = fill(mesh, {"--max-edges", "7"});
    ASSERT_EQ(json["open"].size(), 2U);
    auto const& hole = json["open"][0]["edges"] == 8 ? json["open"][0] : json["open"][1];
    EXPECT_THAT(hole["reason"].get<std::string>(), HasSubstr("more edges"));
    EXPECT_EQ(fill(mesh, {"--max-edges", "8"})["holes_after"], 1);
}

TEST_F(FillCore, ClosedMeshIsWrittenAsItIs)
{
    auto const json = fill(tetrahedron());
    EXPECT_EQ(json["holes_before"], 0);
    EXPECT_EQ(json["new_faces"], 0);
    EXPECT_EQ(moved(tetrahedron()), 0U);
}

TEST_F(FillCore, MeshWithoutNormalsGetsNone)
{
    fill(open_ball());
    EXPECT_FALSE(result().has_vertex_normals());
}

TEST_F(FillCore, NormalsAndColoursOfTheFileAreCarriedOn)
{
    TriMesh mesh = open_ball();
    Vector3f const colour(1.0F, 0.2F, 0.0F);
    Vector3f const normal(0.0F, 0.6F, 0.8F); // of the file, whatever the surface says
    mesh.request_vertex_normals();
    mesh.request_vertex_colors();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, normal);
        mesh.set_color(v, colour);
    }
    std::string error;
    ASSERT_TRUE(OrvaneAlgorithm::write_mesh(dir_.file("rich.ply"), mesh, error)) << error;
    auto const json = fill_file("rich.ply");
    EXPECT_EQ(json["holes_after"], 0);

    TriMesh const after = result();
    ASSERT_TRUE(after.has_vertex_normals());
    ASSERT_TRUE(after.has_vertex_colors());
    for (auto const v : after.vertices())
    {
        EXPECT_TRUE(after.color(v).isApprox(colour, 1e-6F));
        bool const is_new = static_cast<std::size_t>(v.idx()) >= mesh.n_vertices();
        bool const far = after.point(v).z() < 0.0F;
        if (far)
        {
            EXPECT_EQ(after.normal(v), normal);
        }
        if (is_new)
        {
            EXPECT_GT(after.normal(v).dot(after.point(v)), 0.9F);
        }
    }
}

TEST_F(FillCore, TextCountsTheNewVertices)
{
    write_file(dir_.file("mesh.ply"), ply_text(open_ball()));
    Outcome const run =
        run_veld({"fill", dir_.file("mesh.ply"), "-o", dir_.file("out.ply"), "--method", "core"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, testing::ContainsRegex(
                             "1 hole before, 0 after, [0-9]+ faces and [0-9]+ vertices added"));
}

TEST_F(FillCore, SameBytesForAnyNumberOfThreads)
{
    TriMesh const mesh = grid_without(12, 12, {{2, 2}, {3, 3}, {4, 4}, {8, 8}, {8, 3}, {3, 8}});
    std::array<std::string, 2> results;
    for (std::size_t i = 0; i < results.size(); ++i)
    {
        fill(mesh, {"--threads", std::to_string(i + 1)});
        results[i] = result_bytes();
    }
    EXPECT_TRUE(results[0] == results[1]);
}

} // namespace
