#include "run_veld.h"

#include "algorithmVeld/common/mesh_io.h"

#include <gmock/gmock.h>

#include <array>
#include <map>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

/// Two meshes as one, the second moved aside.
TriMesh side_by_side(TriMesh const& first, TriMesh const& second)
{
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (auto const* mesh : {&first, &second})
    {
        auto const offset = static_cast<int>(points.size());
        for (auto const v : mesh->vertices())
        {
            points.push_back(mesh->point(v) + Vector3f(static_cast<float>(2 * offset), 0, 0));
        }
        for (auto const f : mesh->faces())
        {
            Triangle triangle{};
            std::size_t i = 0;
            for (auto const v : mesh->fv_range(f))
            {
                triangle[i++] = v.idx() + offset;
            }
            triangles.push_back(triangle);
        }
    }
    return make_mesh(points, triangles);
}

/// A flat grid and beside it a square of two faces.
TriMesh grid_and_square()
{
    return side_by_side(grid(4, 4), grid(1, 1));
}

class CleanCommand : public testing::Test
{
protected:
    Outcome run(std::string const& mesh_text, std::vector<std::string> const& options,
                std::string const& out = "out.ply")
    {
        write_file(dir_.file("mesh.ply"), mesh_text);
        std::vector<std::string> arguments{"clean", dir_.file("mesh.ply"), "-o", dir_.file(out),
                                           "--json"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        Outcome outcome = run_veld(arguments);
        EXPECT_EQ(file_content(dir_.file("mesh.ply")), mesh_text);
        return outcome;
    }

    nlohmann::json clean(TriMesh const& mesh, std::vector<std::string> const& options)
    {
        Outcome const outcome = run(ply_text(mesh), options);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        auto json = outcome.json();
        EXPECT_EQ(json["before"]["faces"], mesh.n_faces());
        EXPECT_EQ(json["before"]["vertices"], mesh.n_vertices());
        TriMesh const cleaned = result();
        EXPECT_EQ(json["after"]["faces"], cleaned.n_faces());
        EXPECT_EQ(json["after"]["vertices"], cleaned.n_vertices());
        return json;
    }

    /// How many faces stay.
    std::size_t faces_left(TriMesh const& mesh, std::vector<std::string> const& options)
    {
        return clean(mesh, options)["after"]["faces"];
    }

    TriMesh result(std::string const& name = "out.ply") const
    {
        TriMesh mesh;
        OrvaneAlgorithm::MeshReadReport report;
        EXPECT_TRUE(OrvaneAlgorithm::read_mesh(dir_.file(name), mesh, report)) << report.error;
        return mesh;
    }

    std::string marker_file(std::string const& text) const
    {
        write_file(dir_.file("markers.txt"), text);
        return dir_.file("markers.txt");
    }

    TempDir dir_;
};

TEST_F(CleanCommand, HasTheDocumentedKeys)
{
    auto const json = clean(grid_and_square(), {"--min-faces", "2"});
    EXPECT_THAT(keys_of(json), UnorderedElementsAre("before", "after", "steps", "seconds"));
    for (std::string const when : {"before", "after"})
    {
        EXPECT_THAT(keys_of(json[when]),
                    UnorderedElementsAre("vertices", "faces", "holes", "components",
                                         "non_manifold_vertices", "isolated_vertices"));
    }
    ASSERT_EQ(json["steps"].size(), 1U);
    EXPECT_EQ(
        json["steps"][0],
        (nlohmann::json{{"step", "min-faces"}, {"removed_vertices", 4}, {"removed_faces", 2}}));
    EXPECT_EQ(json["before"]["components"], 2);
    EXPECT_EQ(json["after"]["components"], 1);
    EXPECT_EQ(json["before"]["holes"], 2);
    EXPECT_EQ(json["after"]["holes"], 1);
    EXPECT_GE(json["seconds"].get<double>(), 0.0);
}

TEST_F(CleanCommand, PieceOfExactlySoManyFacesGoes)
{
    EXPECT_EQ(faces_left(grid_and_square(), {"--min-faces", "1"}), 34U);
    EXPECT_EQ(faces_left(grid_and_square(), {"--min-faces", "2"}), 32U);
}

TEST_F(CleanCommand, PieceOfExactlySoManyVerticesGoes)
{
    EXPECT_EQ(faces_left(grid_and_square(), {"--min-vertices", "3"}), 34U);
    EXPECT_EQ(faces_left(grid_and_square(), {"--min-vertices", "4"}), 32U);
}

TEST_F(CleanCommand, SinglePointsAreCountedAsVerticesOnly)
{
    TriMesh mesh = grid(1, 1);
    mesh.add_vertex({9, 9, 9});
    EXPECT_EQ(clean(mesh, {"--min-faces", "1"})["after"]["isolated_vertices"], 1);
    EXPECT_EQ(clean(mesh, {"--min-vertices", "1"})["after"]["isolated_vertices"], 0);
}

TEST_F(CleanCommand, BodyOfExactlySoManyFacesStaysWithTheStrongConnection)
{
    // A closed body has nothing to peel.
    EXPECT_EQ(faces_left(tetrahedron(), {"--strong", "4", "--rings", "1"}), 4U);
    EXPECT_EQ(faces_left(tetrahedron(), {"--strong", "5", "--rings", "1"}), 0U);
}

TEST_F(CleanCommand, RingsTellHowThinIsThin)
{
    // In a ribbon of one cell every face has a boundary edge. One of three cells has faces behind
    // those, but not two rows of them.
    EXPECT_EQ(faces_left(grid(10, 1), {"--strong", "1", "--rings", "1"}), 0U);
    EXPECT_GT(faces_left(grid(10, 3), {"--strong", "1", "--rings", "1"}), 0U);
    EXPECT_EQ(faces_left(grid(10, 3), {"--strong", "1", "--rings", "4"}), 0U);
}

TEST_F(CleanCommand, NoVertexIsLeftWhereFansMeet)
{
    auto const json = clean(pinched_pair(), {"--non-manifold"});
    EXPECT_EQ(json["before"]["non_manifold_vertices"], 1);
    EXPECT_EQ(json["after"]["non_manifold_vertices"], 0);
    EXPECT_EQ(json["steps"][0]["removed_vertices"], 1);
}

TEST_F(CleanCommand, OneRingMoreIsPeeledThanTheNumberSays)
{
    EXPECT_EQ(faces_left(grid(6, 6), {"--peel", "0"}), 50U);
    EXPECT_EQ(faces_left(grid(6, 6), {"--peel", "1"}), 32U);
    EXPECT_EQ(faces_left(grid(6, 6), {"--peel", "2"}), 18U);
    EXPECT_EQ(faces_left(tetrahedron(), {"--peel", "2"}), 4U);
}

TEST_F(CleanCommand, VerticesNearMarkersGoWithTheirFaces)
{
    // The four neighbours along the axes are exactly as far away as the radius, and stay.
    std::string const markers = marker_file("# the middle\n2 2 0\n");
    auto const json = clean(grid(4, 4), {"--markers", markers, "--marker-radius", "1"});
    EXPECT_EQ(json["after"]["vertices"], 24);
    EXPECT_EQ(json["after"]["faces"], 26);
    EXPECT_EQ(faces_left(grid(4, 4), {"--markers", markers, "--marker-radius", "0.001"}), 26U);
    EXPECT_LT(faces_left(grid(4, 4), {"--markers", markers, "--marker-radius", "1.001"}), 26U);
}

TEST_F(CleanCommand, PiecesThatFaceLikeTheMarkerGoIfAsked)
{
    std::vector<std::string> const options{"--marker-radius", "1", "--normals"};
    auto const with = [&](std::string const& markers, std::vector<std::string> more = {})
    {
        more.insert(more.end(), options.begin(), options.end());
        more.insert(more.end(), {"--markers", marker_file(markers)});
        return clean(grid(4, 4), more)["after"];
    };
    auto const gone = with("2 2 0 0 0 7\n");
    EXPECT_EQ(gone["faces"], 26);
    EXPECT_EQ(gone["vertices"], 25);
    EXPECT_EQ(gone["isolated_vertices"], 1);
    EXPECT_EQ(with("2 2 0 0 0 -1\n")["faces"], 32);
    EXPECT_EQ(with("2 2 0 0 0 -1\n", {"--normal-dot", "-1"})["faces"], 32);
    EXPECT_EQ(with("2 2 0 1 0 0\n", {"--normal-dot", "-0.5"})["faces"], 26);
    EXPECT_EQ(with("2 2 0 1 0 0\n", {"--normal-dot", "0.5"})["faces"], 32);
}

TEST_F(CleanCommand, RunsInTheOrderOfTheCommandLine)
{
    auto const json = clean(grid(4, 4), {"--min-faces", "31", "--peel", "0"});
    EXPECT_GT(json["after"]["faces"], 0);
    EXPECT_EQ(json["steps"][0]["step"], "min-faces");
    EXPECT_EQ(json["steps"][0]["removed_faces"], 0);
    EXPECT_EQ(json["steps"][1]["step"], "peel");
    EXPECT_EQ(faces_left(grid(4, 4), {"--peel", "0", "--min-faces", "31"}), 0U);
}

TEST_F(CleanCommand, RunsACleanUpAsOftenAsItIsNamed)
{
    auto const json = clean(grid_and_square(), {"--min-faces", "1", "--peel", "0", "--non-manifold",
                                                "--min-faces=2", "--peel", "1", "--non-manifold"});
    std::vector<std::string> names;
    for (auto const& step : json["steps"])
    {
        names.push_back(step["step"]);
    }
    EXPECT_THAT(names, ElementsAre("min-faces", "peel", "non-manifold", "min-faces", "peel",
                                   "non-manifold"));
    // Each time with its own number.
    EXPECT_EQ(faces_left(grid_and_square(), {"--min-faces", "1", "--min-faces", "40"}), 0U);
    EXPECT_EQ(faces_left(grid(6, 6), {"--peel", "0", "--peel", "0"}), 32U);
}

TEST_F(CleanCommand, SeveralMarkerFilesAreRunOneAfterTheOther)
{
    write_file(dir_.file("a.txt"), "2 2 0\n");
    write_file(dir_.file("b.txt"), "4 4 0\n");
    EXPECT_EQ(clean(grid(6, 6), {"--markers", dir_.file("a.txt"), "--markers", dir_.file("b.txt"),
                                 "--marker-radius", "0.5"})["after"]["vertices"],
              47);
}

TEST_F(CleanCommand, AllMayGo)
{
    auto const json = clean(grid(4, 4), {"--min-faces", "100"});
    EXPECT_EQ(json["after"]["vertices"], 0);
    EXPECT_EQ(json["after"]["faces"], 0);
}

TEST_F(CleanCommand, TextTellsWhatEachTook)
{
    MeshDir const dir(grid_and_square());
    Outcome const run =
        run_veld({"clean", dir.mesh(), "-o", dir.file("out.ply"), "--min-faces", "2"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("min-faces took 2 faces and 4 vertices\n"));
    EXPECT_THAT(run.out, testing::ContainsRegex("faces +34 +32\n"));
}

TEST_F(CleanCommand, LogGoesToStandardErrorIfAsked)
{
    Outcome const run =
        this->run(ply_text(grid_and_square()), {"--verbose", "--min-faces", "2", "--peel", "0"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("remove_patch_by_face() with thr = 2 ..\n"));
    EXPECT_THAT(run.err, HasSubstr("remove_n_rings( 0-rings ) ..\n"));
    EXPECT_EQ(run.json()["before"]["components"], 2);
}

TEST_F(CleanCommand, EachCleanUpIsAStepOfTheTimings)
{
    run(ply_text(grid(4, 4)), {"--timings", dir_.file("times.json"), "--peel", "0"});
    EXPECT_THAT(file_content(dir_.file("times.json")), HasSubstr("clean-up peel"));
}

TEST_F(CleanCommand, OutputIsTheSameForAnyNumberOfThreads)
{
    std::string const markers = marker_file("2 2 0 0 0 1\n5 5 0 0 0 1\n");
    std::string first;
    for (std::string const threads : {"1", "2", "8"})
    {
        clean(grid(12, 12), {"--threads", threads, "--markers", markers, "--marker-radius", "1.5",
                             "--normals", "--peel", "0", "--strong", "3", "--rings", "1"});
        first = first.empty() ? file_content(dir_.file("out.ply")) : first;
        EXPECT_EQ(file_content(dir_.file("out.ply")), first) << threads;
    }
}

// ------------------------------------------------------------------------------------- attributes

int red_of(Vector3f const& place)
{
    return static_cast<int>(place.x()) % 50 * 5;
}

/// A PLY file with normals and colours that a vertex's place tells.
std::string dressed_ply(TriMesh const& mesh, bool with_faces)
{
    std::string text = "ply\nformat ascii 1.0\nelement vertex " +
                       std::to_string(mesh.n_vertices()) +
                       "\nproperty float x\nproperty float y\nproperty float z\n"
                       "property float nx\nproperty float ny\nproperty float nz\n"
                       "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    text += with_faces ? "element face " + std::to_string(mesh.n_faces()) +
                             "\nproperty list uchar int vertex_indices\nend_header\n"
                       : "end_header\n";
    for (auto const v : mesh.vertices())
    {
        auto const p = mesh.point(v);
        // Not the surface's own, so that a normal that is computed anew is noticed.
        std::string const normal = static_cast<int>(p.x()) % 2 == 0 ? " 0.6 0 0.8 " : " 0 1 0 ";
        std::ostringstream line;
        line << p.x() << " " << p.y() << " " << p.z() << normal << red_of(p) << " " << 20 * p.y()
             << " 77\n";
        text += line.str();
    }
    for (auto const f : mesh.faces())
    {
        text += with_faces ? "3" : "";
        for (auto const v : mesh.fv_range(f))
        {
            text += with_faces ? " " + std::to_string(v.idx()) : "";
        }
        text += with_faces ? "\n" : "";
    }
    return text;
}

void expect_dressed(TriMesh const& mesh)
{
    ASSERT_TRUE(mesh.has_vertex_normals());
    ASSERT_TRUE(mesh.has_vertex_colors());
    for (auto const v : mesh.vertices())
    {
        auto const p = mesh.point(v);
        Vector3f const normal =
            static_cast<int>(p.x()) % 2 == 0 ? Vector3f(0.6F, 0, 0.8F) : Vector3f(0, 1, 0);
        EXPECT_EQ(mesh.normal(v), normal);
        Vector3f const bytes(static_cast<float>(red_of(p)), 20 * p.y(), 77);
        EXPECT_LT((mesh.color(v) * 255.0F - bytes).norm(), 0.01F);
    }
}

TEST_F(CleanCommand, MeshKeepsNormalsAndColours)
{
    std::string const markers = marker_file("2 2 0 0 0 1\n");
    std::vector<std::vector<std::string>> const calls{
        {"--min-faces", "2"},
        {"--min-vertices", "4"},
        {"--strong", "5", "--rings", "1"},
        {"--peel", "0", "--min-vertices", "1"},
        {"--markers", markers, "--marker-radius", "1"},
        {"--markers", markers, "--marker-radius", "1", "--normals"}};
    for (auto const& options : calls)
    {
        Outcome const outcome = run(dressed_ply(grid_and_square(), true), options);
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_LT(outcome.json()["after"]["faces"], 34);
        expect_dressed(result());
    }
}

TEST_F(CleanCommand, MeshWithoutNormalsGetsNone)
{
    clean(grid(4, 4),
          {"--markers", marker_file("2 2 0 0 0 1\n"), "--marker-radius", "1", "--normals"});
    EXPECT_FALSE(result().has_vertex_normals());
}

// ----------------------------------------------------------------------------------------- clouds

/// The places of the points in their order.
std::vector<std::array<float, 2>> places(TriMesh const& mesh)
{
    std::vector<std::array<float, 2>> list;
    for (auto const v : mesh.vertices())
    {
        list.push_back({mesh.point(v).x(), mesh.point(v).y()});
    }
    return list;
}

TEST_F(CleanCommand, CloudLosesThePointsNearMarkersAndKeepsOrderAndAttributes)
{
    std::string const markers = marker_file("1 1 0\n");
    Outcome const outcome =
        run(dressed_ply(grid(2, 2), false), {"--markers", markers, "--marker-radius", "1"});
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["before"]["vertices"], 9);
    EXPECT_EQ(outcome.json()["after"]["vertices"], 8);
    EXPECT_EQ(outcome.json()["after"]["faces"], 0);
    TriMesh const cloud = result();
    expect_dressed(cloud);
    auto expected = places(grid(2, 2));
    expected.erase(std::find(expected.begin(), expected.end(), std::array<float, 2>{1, 1}));
    EXPECT_EQ(places(cloud), expected);
}

TEST_F(CleanCommand, PointsOfACloudHaveToFaceLikeTheMarkerIfAsked)
{
    // In the column of x = 1 the normals are 0 1 0.
    std::string const text = dressed_ply(grid(2, 2), false);
    std::vector<std::string> const options{"--marker-radius", "9", "--normals", "--markers"};
    auto const left = [&](std::string const& markers, std::vector<std::string> more)
    {
        more.insert(more.end(), options.begin(), options.end());
        more.push_back(marker_file(markers));
        Outcome const outcome = run(text, more);
        EXPECT_EQ(outcome.status, 0) << outcome.err;
        return outcome.json()["after"]["vertices"].get<int>();
    };
    EXPECT_EQ(left("1 1 0 0 1 0\n", {}), 6);
    EXPECT_EQ(left("1 1 0 0 0 1\n", {}), 3);
    EXPECT_EQ(left("1 1 0 0 0 1\n", {"--normal-dot", "0.9"}), 9);
}

TEST_F(CleanCommand, CloudWithoutAttributesGetsNone)
{
    TriMesh points;
    points.add_vertex({0, 0, 0});
    points.add_vertex({5, 0, 0});
    clean(points, {"--markers", marker_file("0 0 0\n"), "--marker-radius", "1"});
    EXPECT_EQ(places(result()), places(make_mesh({{5, 0, 0}}, {})));
    EXPECT_FALSE(result().has_vertex_normals());
    EXPECT_FALSE(result().has_vertex_colors());
}

TEST_F(CleanCommand, CloudIsCleanedByMarkersOnly)
{
    std::string const markers = marker_file("1 1 0 0 0 1\n");
    std::string const text = ply_text(make_mesh({{0, 0, 0}, {1, 0, 0}}, {}));
    std::vector<std::vector<std::string>> const calls{{"--min-faces", "1"},
                                                      {"--min-vertices", "1"},
                                                      {"--strong", "1", "--rings", "1"},
                                                      {"--non-manifold"},
                                                      {"--peel", "0"}};
    for (auto options : calls)
    {
        std::string const option = options[0];
        options.insert(options.end(), {"--markers", markers, "--marker-radius", "1"});
        Outcome const outcome = run(text, options);
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.error_lines(), 1);
        EXPECT_THAT(outcome.err,
                    HasSubstr("mesh.ply: the mesh has no faces, which " + option.substr(2)));
    }
    Outcome const normals = run(text, {"--markers", markers, "--marker-radius", "1", "--normals"});
    EXPECT_EQ(normals.status, 1);
    EXPECT_THAT(normals.err, HasSubstr("mesh.ply: the points have no normals"));
    Outcome const stl = run(text, {"--markers", markers, "--marker-radius", "1"}, "out.stl");
    EXPECT_EQ(stl.status, 1);
    EXPECT_THAT(stl.err, HasSubstr("out.stl: "));
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("markers.txt", "mesh.ply"));
}

// ----------------------------------------------------------------------------------------- errors

TEST_F(CleanCommand, WrongMarkerFilesAreNamed)
{
    std::map<std::string, std::string> const files{{"1 2\n", "line 1"},
                                                   {"0 0 0\n1 2 x\n", "line 2"},
                                                   {"1 2 nan\n", "line 1"},
                                                   {"1 2 3 4\n", "line 1"},
                                                   {"# none\n", "holds no marker"}};
    for (auto const& [text, named] : files)
    {
        Outcome const outcome =
            run(ply_text(grid(1, 1)), {"--markers", marker_file(text), "--marker-radius", "1"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.error_lines(), 1);
        EXPECT_THAT(outcome.err, HasSubstr("markers.txt: " + named));
    }
    Outcome const bare = run(ply_text(grid(1, 1)), {"--markers", marker_file("1 2 3\n"),
                                                    "--marker-radius", "1", "--normals"});
    EXPECT_EQ(bare.status, 1);
    EXPECT_THAT(bare.err, HasSubstr("markers.txt: line 1"));
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("markers.txt", "mesh.ply"));
}

TEST_F(CleanCommand, InputsAreNoOutputs)
{
    std::string const markers = marker_file("1 1 0\n");
    std::vector<std::string> const options{"--markers", markers, "--marker-radius", "1"};
    EXPECT_EQ(run(ply_text(grid(1, 1)), options, "mesh.ply").status, 1);
    EXPECT_EQ(run(ply_text(grid(1, 1)),
                  {"--timings", markers, options[0], options[1], options[2], options[3]})
                  .status,
              1);
    EXPECT_EQ(file_content(markers), "1 1 0\n");
}

TEST_F(CleanCommand, NothingToDoIsAnError)
{
    Outcome const outcome = run(ply_text(grid(1, 1)), {});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error_lines(), 1);
    EXPECT_THAT(outcome.err, HasSubstr("nothing to do"));
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply"));
}

} // namespace
