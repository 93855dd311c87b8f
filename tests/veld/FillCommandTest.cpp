#include "run_veld.h"

#include <gmock/gmock.h>

#include <array>

namespace
{

using namespace veld_test;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

class FillCommand : public testing::TestWithParam<char const*>
{
protected:
    /// Fills a mesh and checks what holds for every result.
    nlohmann::json fill(TriMesh const& mesh, std::vector<std::string> const& options = {})
    {
        write_file(dir_.file("mesh.ply"), ply_text(mesh));
        std::vector<std::string> arguments{
            "fill",    dir_.file("mesh.ply"), "-o", dir_.file("out.ply"), "--json", "--method",
            GetParam()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Outcome const run = run_veld(arguments);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(file_content(dir_.file("mesh.ply")), ply_text(mesh));
        auto const json = run.json();
        EXPECT_EQ(json["holes_after"], json["open"].size());
        check_result(mesh, json);
        return json;
    }

    nlohmann::json of_result(std::string const& command)
    {
        return run_veld({command, dir_.file("out.ply"), "--json"}).json();
    }

    TempDir dir_;

private:
    void check_result(TriMesh const& mesh, nlohmann::json const& json)
    {
        auto const info = of_result("info");
        EXPECT_EQ(info["vertices"], mesh.n_vertices());
        EXPECT_EQ(info["faces"], mesh.n_faces() + json["new_faces"].get<std::size_t>());
        EXPECT_EQ(info["holes"], json["holes_after"]);
        EXPECT_EQ(info["faces_left_out"], 0);
        auto const holes = of_result("holes")["holes"];
        for (auto const& open : json["open"])
        {
            auto const& hole = holes.at(open["hole"].get<std::size_t>());
            EXPECT_EQ(hole["edges"], open["edges"]);
            EXPECT_EQ(hole["perimeter"], open["perimeter"]);
            EXPECT_FALSE(open["reason"].get<std::string>().empty());
        }
    }
};

/// A flat grid of twelve by twelve cells without the one in the middle.
TriMesh sheet()
{
    return grid_without(12, 12, {{6, 6}});
}

/// A sphere without the faces round one vertex: a hole of six edges.
TriMesh ball_with_hole()
{
    TriMesh const ball = sphere(3);
    auto const middle = vh(static_cast<int>(ball.n_vertices()) - 1);
    std::vector<Vector3f> points;
    for (auto const v : ball.vertices())
    {
        points.push_back(ball.point(v));
    }
    std::vector<Triangle> triangles;
    for (auto const f : ball.faces())
    {
        Triangle triangle{};
        std::size_t i = 0;
        bool keep = true;
        for (auto const v : ball.fv_range(f))
        {
            triangle[i++] = v.idx();
            keep = keep && v != middle;
        }
        if (keep)
        {
            triangles.push_back(triangle);
        }
    }
    return make_mesh(points, triangles);
}

/// A square gap 0 1 8 2 whose boundary goes on from its last corner, 0, round a flap 0 6 7 before
/// it closes: one walk of seven edges, 6.9 long. The border of the rest, 3 0 4 2 5 1, is far away.
TriMesh gap_with_a_flap()
{
    return make_mesh({{0, 0, 0},
                      {1, 0, 0},
                      {0, 1, 0},
                      {5, -10, 0},
                      {-8, 6, 0},
                      {15, 10, 0},
                      {-0.94F, -0.34F, 0},
                      {-0.34F, -0.94F, 0},
                      {1, 1, 0}},
                     {{0, 2, 4}, {0, 6, 7}, {1, 0, 3}, {8, 1, 5}, {2, 8, 5}});
}

/// The only open hole of so many edges.
nlohmann::json open_hole(nlohmann::json const& json, int edges)
{
    nlohmann::json found;
    for (auto const& open : json["open"])
    {
        if (open["edges"] == edges)
        {
            EXPECT_TRUE(found.is_null());
            found = open;
        }
    }
    return found;
}

TEST_P(FillCommand, HasTheDocumentedKeys)
{
    auto const json = fill(sheet());
    EXPECT_THAT(keys_of(json), UnorderedElementsAre("holes_before", "holes_after", "cut_faces",
                                                    "markers_without_hole", "closed", "new_faces",
                                                    "new_vertices", "seconds", "open"));
    ASSERT_EQ(json["open"].size(), 1U);
    EXPECT_THAT(keys_of(json["open"][0]),
                UnorderedElementsAre("hole", "edges", "perimeter", "reason"));
    EXPECT_GE(json["seconds"].get<double>(), 0.0);
}

TEST_P(FillCommand, BorderOfAnOpenScanStaysOpenByDefault)
{
    auto const json = fill(sheet());
    EXPECT_EQ(json["holes_before"], 2);
    EXPECT_EQ(json["holes_after"], 1);
    EXPECT_EQ(json["new_faces"], 2);
    EXPECT_EQ(json["new_vertices"], 0);
    EXPECT_EQ(json["open"][0]["edges"], 48);
    EXPECT_DOUBLE_EQ(json["open"][0]["perimeter"].get<double>(), 48.0);
    EXPECT_THAT(json["open"][0]["reason"].get<std::string>(), HasSubstr("perimeter"));
}

TEST_P(FillCommand, PerimeterZeroTakesTheLimitAway)
{
    EXPECT_EQ(fill(ball_with_hole(), {"--max-perimeter", "0.5"})["holes_after"], 1);
    auto const json = fill(ball_with_hole(), {"--max-perimeter", "0"});
    EXPECT_EQ(json["holes_after"], 0);
    EXPECT_EQ(json["new_faces"], 4);
    EXPECT_EQ(of_result("info")["closed"], true);
}

TEST_P(FillCommand, PerimeterOfExactlyTheLimitStaysOpen)
{
    EXPECT_EQ(fill(sheet(), {"--max-perimeter", "4"})["holes_after"], 2);
    EXPECT_EQ(fill(sheet(), {"--max-perimeter", "4.001"})["holes_after"], 1);
}

TEST_P(FillCommand, TooManyEdgesIsToldAsTheReason)
{
    auto const json = fill(ball_with_hole(), {"--max-edges", "5"});
    ASSERT_EQ(json["open"].size(), 1U);
    EXPECT_THAT(json["open"][0]["reason"].get<std::string>(), HasSubstr("more edges"));
    EXPECT_EQ(fill(ball_with_hole(), {"--max-edges", "6"})["holes_after"], 0);
}

TEST_P(FillCommand, LongNewEdgeIsToldAsTheReason)
{
    // The new edge of a square hole is its diagonal, 1.41.
    auto const json = fill(sheet(), {"--max-perimeter", "5", "--edge-length", "1.4"});
    ASSERT_EQ(json["open"].size(), 2U);
    auto const& hole = json["open"][0]["edges"] == 4 ? json["open"][0] : json["open"][1];
    EXPECT_THAT(hole["reason"].get<std::string>(), HasSubstr("edge"));
    EXPECT_EQ(fill(sheet(), {"--edge-length", "1.42"})["holes_after"], 1);
}

TEST_P(FillCommand, NormalsAreToldAsTheReason)
{
    // Edges of 0.2 on a sphere of radius 1: a patch is turned by some ten degrees.
    auto const json = fill(ball_with_hole(), {"--normal-angle", "2"});
    ASSERT_EQ(json["open"].size(), 1U);
    EXPECT_THAT(json["open"][0]["reason"].get<std::string>(), HasSubstr("normals"));
    EXPECT_EQ(fill(ball_with_hole(), {"--normal-angle", "60"})["holes_after"], 0);
}

TEST_P(FillCommand, HolesThatTouchAreBothClosed)
{
    auto const json = fill(grid_without(12, 12, {{5, 5}, {6, 6}}));
    EXPECT_EQ(json["holes_before"], 3);
    EXPECT_EQ(json["holes_after"], 1);
    EXPECT_EQ(json["new_faces"], 4);
}

TEST_P(FillCommand, HoleThatAWalkJoinsWithAnotherBorderIsJudgedByItself)
{
    using Options = std::vector<std::string>;
    for (auto const& limit :
         {Options{"--max-edges", "4", "--max-perimeter", "0"}, Options{"--max-perimeter", "5"}})
    {
        SCOPED_TRACE(limit[0]);
        auto const json = fill(gap_with_a_flap(), limit);
        EXPECT_EQ(json["holes_before"], 3);
        EXPECT_EQ(json["new_faces"], 2);
        EXPECT_EQ(json["holes_after"], 2);
        EXPECT_THAT(open_hole(json, 3)["reason"].get<std::string>(), HasSubstr("hang together"));
        EXPECT_THAT(open_hole(json, 6)["reason"].get<std::string>(),
                    HasSubstr(limit[0] == "--max-edges" ? "more edges" : "perimeter"));
    }
}

TEST_P(FillCommand, HoleThatAWalkJoinsWithAnotherBorderStaysOpenForAReasonOfItsOwn)
{
    auto const json = fill(gap_with_a_flap(), {"--max-perimeter", "5", "--edge-length", "1.4"});
    EXPECT_EQ(json["new_faces"], 0);
    EXPECT_THAT(open_hole(json, 4)["reason"].get<std::string>(), HasSubstr("closing edge"));
    EXPECT_THAT(open_hole(json, 3)["reason"].get<std::string>(), HasSubstr("hang together"));
    EXPECT_THAT(open_hole(json, 6)["reason"].get<std::string>(), HasSubstr("perimeter"));
}

TEST_P(FillCommand, ScrapOnTheOuterBorderIsNoHole)
{
    // Two triangles that hang on the sheet's last vertex.
    TriMesh mesh = grid(12, 12);
    auto const corner = vh(static_cast<int>(mesh.n_vertices()) - 1);
    Vector3f const place = mesh.point(corner);
    auto const a = mesh.add_vertex(place + Vector3f(1, 0, 0));
    auto const b = mesh.add_vertex(place + Vector3f(2, 1, 0));
    auto const c = mesh.add_vertex(place + Vector3f(0, 1, 0));
    mesh.add_face(corner, a, b);
    mesh.add_face(corner, b, c);
    auto const json = fill(mesh);
    EXPECT_EQ(json["new_faces"], 0);
    EXPECT_THAT(open_hole(json, 4)["reason"].get<std::string>(), HasSubstr("hang together"));
    EXPECT_THAT(open_hole(json, 48)["reason"].get<std::string>(), HasSubstr("perimeter"));
}

TEST_P(FillCommand, ClosedMeshIsWrittenAsItIs)
{
    auto const json = fill(tetrahedron());
    EXPECT_EQ(json["holes_before"], 0);
    EXPECT_EQ(json["new_faces"], 0);
    EXPECT_TRUE(json["open"].empty());
}

TEST_P(FillCommand, MeshesWithoutFacesAreWrittenAsTheyAreWithAWarning)
{
    TriMesh const cloud = make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {});
    for (TriMesh const& mesh : {cloud, TriMesh()})
    {
        MeshDir const dir(mesh);
        Outcome const run = run_veld(
            {"fill", dir.mesh(), "-o", dir.file("out.ply"), "--method", GetParam(), "--json"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.err, "warning: " + dir.mesh() + ": has no faces, so no holes\n");
        EXPECT_EQ(run.json()["holes_before"], 0);
        auto const info = run_veld({"info", dir.file("out.ply"), "--json"}).json();
        EXPECT_EQ(info["vertices"], mesh.n_vertices());
    }
    MeshDir const closed(tetrahedron());
    EXPECT_EQ(run_veld({"fill", closed.mesh(), "-o", closed.file("out.ply")}).err, "");
}

TEST_P(FillCommand, TextSaysWhatStaysOpen)
{
    MeshDir const dir(sheet());
    Outcome const run =
        run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--method", GetParam()});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.out, HasSubstr("2 holes before, 1 after"));
    EXPECT_THAT(run.out, HasSubstr("hole 0 stays open (48 edges, 48 mm)"));
}

TEST_P(FillCommand, ManyOpenHolesAreSummedUpByReason)
{
    std::vector<Cell> cells;
    for (int i = 0; i < 12; ++i)
    {
        cells.emplace_back(2 + 5 * (i % 4), 2 + 5 * (i / 4));
    }
    MeshDir const dir(grid_without(24, 24, cells));
    auto const fill_with = [&dir](std::vector<std::string> const& more)
    {
        std::vector<std::string> arguments{
            "fill",     dir.mesh(),      "-o", dir.file("o.ply"), "--method",
            GetParam(), "--edge-length", "1.4"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return run_veld(arguments);
    };
    EXPECT_THAT(
        fill_with({}).out,
        testing::EndsWith("\n  12 holes stay open (4 edges): longer closing edge than allowed\n"
                          "  1 hole stays open (96 edges): longer perimeter than allowed\n"
                          "  --verbose lists them one by one\n"));
    EXPECT_THAT(fill_with({"--verbose"}).out, HasSubstr("hole 12 stays open ("));
    EXPECT_EQ(fill_with({"--json"}).json()["open"].size(), 13U);
}

TEST_P(FillCommand, SameBytesForAnyNumberOfThreads)
{
    MeshDir const dir(grid_without(12, 12, {{2, 2}, {3, 3}, {4, 4}, {8, 8}, {8, 3}, {3, 8}}));
    std::array<std::string, 2> results;
    for (std::size_t i = 0; i < results.size(); ++i)
    {
        std::string const out = dir.file("out.ply");
        ASSERT_EQ(run_veld({"fill", dir.mesh(), "-o", out, "--method", GetParam(), "--threads",
                            std::to_string(i + 1)})
                      .status,
                  0);
        results[i] = file_content(out);
    }
    EXPECT_EQ(results[0], results[1]);
}

INSTANTIATE_TEST_SUITE_P(Methods, FillCommand, testing::Values("clip", "trim"),
                         [](auto const& method) { return std::string(method.param); });

/// Fills a sheet with three holes, at the last of which a marker is, and leaves its border open.
std::vector<std::string> filling_with_a_marker(MeshDir const& dir)
{
    write_file(dir.file("markers.txt"), "31 31 0.5\n");
    return {"fill",
            dir.mesh(),
            "-o",
            dir.file("out.ply"),
            "--markers",
            dir.file("markers.txt"),
            "--max-perimeter",
            "100"};
}

TEST(FillAuto, IsTheDefaultAndTellsWhichHoleWentWhichWay)
{
    MeshDir const dir(sheet_with_three_holes());
    auto arguments = filling_with_a_marker(dir);
    std::string const text = run_veld(arguments).out;
    EXPECT_THAT(text, HasSubstr("4 holes before, 1 after"));
    for (std::string const way : {"markers", "trim", "core"})
    {
        EXPECT_THAT(text, HasSubstr("\n  " + way + " closed 1 hole\n"));
    }
    EXPECT_THAT(text, testing::Not(HasSubstr("whole closed")));
    EXPECT_THAT(text, testing::Not(HasSubstr("of the input")));
    arguments.emplace_back("--verbose");
    std::string const all = run_veld(arguments).out;

    // Each hole by its number in the list of the input's holes.
    auto const holes = run_veld({"holes", dir.mesh(), "--json"}).json()["holes"];
    for (std::size_t i = 0; i < holes.size(); ++i)
    {
        int const edges = holes[i]["edges"];
        double const x = holes[i]["centre"][0];
        std::string const way = edges == 4 ? "trim" : x > 25.0 ? "markers" : "core";
        EXPECT_EQ(all.find("  " + way + " closed hole " + std::to_string(i) + " of the input (" +
                           std::to_string(edges) + " edges") != std::string::npos,
                  edges < 100)
            << all;
    }
}

TEST(FillAuto, MarkersAreTheOnlyHolesThatTheirMethodCloses)
{
    MeshDir const dir(sheet_with_three_holes());
    auto arguments = filling_with_a_marker(dir);
    arguments.insert(arguments.end(), {"--method", "markers", "--json"});
    auto const json = run_veld(arguments).json();
    EXPECT_EQ(json["cut_faces"], 0);
    ASSERT_EQ(json["closed"].size(), 1U);
    EXPECT_THAT(keys_of(json["closed"][0]),
                UnorderedElementsAre("hole", "edges", "perimeter", "method"));
    EXPECT_EQ(json["closed"][0]["method"], "markers");
    EXPECT_EQ(json["holes_after"], 3);
    // Out of reach at exactly the radius.
    arguments.insert(arguments.end(), {"--marker-radius", "0.5"});
    EXPECT_EQ(run_veld(arguments).json()["closed"].size(), 0U);
}

TEST(FillAuto, WhatIsCutAwayIsTold)
{
    MeshDir const dir(sheet_with_three_holes());
    auto const fill = [&](std::string const& region)
    {
        return run_veld({"fill", dir.mesh(), "-o", dir.file("out.ply"), "--method", "whole",
                         "--region", region, "--region-rings", "2", "--max-perimeter", "100"})
            .out;
    };
    EXPECT_THAT(fill("delete"), testing::ContainsRegex("[0-9]+ faces around holes cut away first"));
    EXPECT_THAT(fill("smooth"), testing::Not(HasSubstr("cut away")));
}

} // namespace
