#include "run_veld.h"

#include "algorithmVeld/common/mesh_io.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gmock/gmock.h>

#include <random>

namespace
{

using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;

/// Two sheets of 6 x 6 cells with a gap of one cell between them, and a point in the gap.
TriMesh torn_sheet()
{
    std::vector<Cell> gap;
    for (int i = 0; i < 6; ++i)
    {
        gap.emplace_back(6, i);
    }
    return grid_without(13, 6, gap);
}

/// A rough sphere that lacks a third of its faces.
TriMesh torn_at_random(unsigned seed)
{
    TriMesh whole = sphere(4);
    std::mt19937 random(seed);
    for (auto const vertex : whole.vertices())
    {
        Vector3f shift;
        for (int axis = 0; axis < 3; ++axis)
        {
            shift[axis] = (static_cast<float>(random() % 1000) / 1000.0F - 0.5F) * 0.07F;
        }
        whole.set_point(vertex, whole.point(vertex) + shift);
    }
    std::vector<Vector3f> const points(whole.points(), whole.points() + whole.n_vertices());
    std::vector<Triangle> triangles;
    for (auto const& t : corners_of(whole))
    {
        if (random() % 100 >= 35)
        {
            triangles.push_back(t);
        }
    }
    return make_mesh(points, triangles);
}

/// A cloud as lines of text, with normals or without.
std::string points_text(TriMesh const& mesh, bool with_normals)
{
    std::ostringstream text;
    text.precision(9);
    for (auto const vertex : mesh.vertices())
    {
        auto const p = mesh.point(vertex); // on the unit sphere, so that it is its normal
        text << p.x() << " " << p.y() << " " << p.z();
        if (with_normals)
        {
            text << " " << p.x() << " " << p.y() << " " << p.z();
        }
        text << "\n";
    }
    return text.str();
}

/// The same as a text PLY file.
std::string cloud_text(TriMesh const& mesh, bool with_normals)
{
    return "ply\nformat ascii 1.0\nelement vertex " + std::to_string(mesh.n_vertices()) +
           "\nproperty float x\nproperty float y\nproperty float z\n" +
           (with_normals ? "property float nx\nproperty float ny\nproperty float nz\n" : "") +
           "end_header\n" + points_text(mesh, with_normals);
}

class RepairCommand : public testing::Test
{
protected:
    /// `veld repair` on a file, with the result in `out.ply`.
    Outcome run(std::string const& text, std::vector<std::string> options = {"--json"})
    {
        write_file(dir_.file("mesh.ply"), text);
        options.insert(options.begin(),
                       {"repair", dir_.file("mesh.ply"), "-o", dir_.file("out.ply")});
        return run_veld(options);
    }

    void expect_error(Outcome const& outcome, int status, std::string const& text) const
    {
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(outcome.error_lines(), 1) << outcome.err;
        EXPECT_THAT(outcome.err, HasSubstr(text));
        EXPECT_FALSE(fs::exists(dir_.file("out.ply")));
    }

    TempDir dir_;
};

TEST_F(RepairCommand, HasTheDocumentedKeys)
{
    for (std::string const method : {"ball", "project"})
    {
        Outcome const outcome = run(ply_text(torn_sheet()), {"--json", "--method", method});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        auto const json = outcome.json();
        EXPECT_THAT(keys_of(json),
                    testing::UnorderedElementsAre("method", "before", "after", "new_faces",
                                                  "refused_faces", "dropped_faces", "lost_faces",
                                                  "spacing", "ear_perimeter", "passes", "seconds"));
        EXPECT_THAT(keys_of(json["after"]),
                    testing::UnorderedElementsAre("vertices", "faces", "holes", "components",
                                                  "non_manifold_vertices", "isolated_vertices",
                                                  "boundary_edges"));
        EXPECT_THAT(keys_of(json["passes"][0]),
                    testing::UnorderedElementsAre("radius", "new_faces"));
        EXPECT_EQ(json["method"], method);
        EXPECT_EQ(json["before"]["components"], 2);
        EXPECT_EQ(json["after"]["components"], 1);
        EXPECT_EQ(json["spacing"], 1.0);
    }
}

TEST_F(RepairCommand, WhatIsReportedIsWhatTheFileHolds)
{
    auto const json = run(ply_text(torn_sheet())).json();
    auto const info = run_veld({"info", dir_.file("out.ply"), "--json"}).json();
    for (char const* key : {"vertices", "faces", "holes", "components", "boundary_edges",
                            "non_manifold_vertices", "isolated_vertices"})
    {
        EXPECT_EQ(json["after"][key], info[key]) << key;
    }
    EXPECT_EQ(info["faces"], json["before"]["faces"].get<int>() + json["new_faces"].get<int>());
}

TEST_F(RepairCommand, TextTellsTheLengthsThatWereMeasured)
{
    Outcome const outcome = run(ply_text(torn_sheet()), {});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.out, HasSubstr("out.ply: 2 holes before, 1 after, "));
    EXPECT_THAT(outcome.out, HasSubstr("ball: spacing 1 mm, balls of 0.5, 0.75, 1, 1.5, 2, 3, 4 "
                                       "mm, holes up to 25 mm\n"));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("components +2 +1\n"));
    EXPECT_THAT(run(ply_text(torn_sheet()), {"--method", "project"}).out,
                HasSubstr("project: spacing 1 mm, searches of 1.5, 2, 3, 4 mm"));
}

TEST_F(RepairCommand, WhatIsGivenIsTaken)
{
    auto const json = run(ply_text(torn_sheet()), {"--json", "--radius", "2", "--radius", "0.9",
                                                   "--spacing", "0.8", "--ear-perimeter", "0"})
                          .json();
    EXPECT_EQ(json["spacing"], 0.8);
    EXPECT_EQ(json["ear_perimeter"], 0.0);
    ASSERT_EQ(json["passes"].size(), 2U);
    EXPECT_EQ(json["passes"][0]["radius"], 2.0);
    EXPECT_EQ(json["passes"][1]["radius"], 0.9);
    // A ball of half a gap does not reach the other side.
    EXPECT_EQ(run(ply_text(torn_sheet()), {"--json", "--radius", "0.45"}).json()["new_faces"], 0);
}

TEST_F(RepairCommand, PointsWithNormalsBecomeAMesh)
{
    Outcome const outcome = run(cloud_text(sphere(3), true));
    ASSERT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_EQ(outcome.json()["before"]["faces"], 0);
    EXPECT_EQ(outcome.json()["after"]["holes"], 0);
    EXPECT_EQ(outcome.json()["after"]["faces"], sphere(3).n_faces());
}

TEST_F(RepairCommand, PointsAsTextBecomeAMeshAndInADirectoryAPlyFile)
{
    for (std::string const extension : {".xyz", ".txt", ".asc"})
    {
        std::string const cloud = dir_.file("scan" + extension);
        write_file(cloud, points_text(sphere(3), true));
        Outcome const outcome =
            run_veld({"repair", cloud, "-o", dir_.file("out" + extension + "/")});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        EXPECT_EQ(outcome.err, "");
        ASSERT_THAT(files_in(dir_.file("out" + extension)), ElementsAre("scan.ply"));
        auto const info =
            run_veld({"info", dir_.file("out" + extension + "/scan.ply"), "--json"}).json();
        EXPECT_EQ(info["holes"], 0);
        EXPECT_EQ(info["faces"], sphere(3).n_faces());

        write_file(cloud, points_text(sphere(3), false));
        expect_error(run_veld({"repair", cloud, "-o", dir_.file("out.ply")}), 1,
                     "scan" + extension + ": points without faces need normals");
    }
}

TEST_F(RepairCommand, PointsThatGiveNoMeshAreAnErrorThatNamesTheWayOut)
{
    expect_error(run(cloud_text(sphere(3), false)), 1,
                 "mesh.ply: points without faces need normals");
    expect_error(run(cloud_text(sphere(3), false)), 1, "'veld normals'");
    expect_error(run(cloud_text(sphere(3), true), {"--method", "project"}), 1, "--method");
    expect_error(run(cloud_text(sphere(3), true), {"--radius", "0.002"}), 2, "--radius");
    expect_error(run(cloud_text(sphere(3), true), {"--renew-normals"}), 1, "--renew-normals");
}

TEST_F(RepairCommand, ThatNothingIsClosedIsAWarningWithTheReason)
{
    Outcome const outcome = run(ply_text(grid(9, 9)));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error_lines(), 1);
    EXPECT_THAT(outcome.err, HasSubstr("warning: ball: nothing is closed: "));
    EXPECT_EQ(outcome.json()["new_faces"], 0);
}

TEST_F(RepairCommand, OptionsOfTheOtherMethodAreRefusedWithTheReason)
{
    std::map<std::string, std::vector<std::string>> const calls{
        {"--method project does not use it: it knows no ball",
         {"--method", "project", "--any-ball"}},
        {"--method project does not use it: it takes the normals once",
         {"--method", "project", "--renew-normals"}},
        {"--method project does not use it: the mesh takes what fits",
         {"--method", "project", "--delete-fans"}},
        {"--method project does not use it: of each triangle",
         {"--method", "project", "--refused-faces", dir_.file("refused")}},
        {"--method ball does not use it: it knows no planes", {"--normal-z", "0.5"}}};
    for (auto const& [text, options] : calls)
    {
        expect_error(run(ply_text(torn_sheet()), options), 1, text);
    }
    EXPECT_THAT(files_in(dir_.path()), ElementsAre("mesh.ply"));
}

TEST_F(RepairCommand, WrongNumbersAreRefused)
{
    for (std::vector<std::string> const& options :
         std::vector<std::vector<std::string>>{{"--radius", "0"},
                                               {"--radius", "x"},
                                               {"--spacing", "-1"},
                                               {"--normal-angle", "200"},
                                               {"--ear-perimeter", "nan"},
                                               {"--method", "glue"},
                                               {"--method", "project", "--normal-z", "2"}})
    {
        expect_error(run(ply_text(torn_sheet()), options), 1, options[options.size() > 2 ? 2 : 0]);
    }
}

TEST_F(RepairCommand, RefusedFacesGetADirectoryOfTheirOwn)
{
    std::string const folder = dir_.file("refused");
    std::size_t refused = 0;
    for (unsigned seed = 0; seed < 60 && refused == 0; ++seed)
    {
        EXPECT_FALSE(fs::exists(folder)) << "made for nothing";
        Outcome const outcome =
            run(ply_text(torn_at_random(seed)), {"--json", "--refused-faces", folder + "/"});
        ASSERT_EQ(outcome.status, 0) << outcome.err;
        refused = outcome.json()["refused_faces"].get<std::size_t>();
    }
    ASSERT_GT(refused, 0U) << "none of the meshes refused a face";
    // Two files each, with the face and without it; faces of one corner may share a name.
    EXPECT_THAT(files_in(folder), testing::Each(testing::EndsWith(".obj")));
    EXPECT_FALSE(files_in(folder).empty());
    EXPECT_LE(files_in(folder).size(), 2 * refused);
    write_file(dir_.file("other.ply"), ply_text(torn_sheet()));
    Outcome const two = run_veld({"repair", dir_.file("mesh.ply"), dir_.file("other.ply"), "-o",
                                  dir_.file("both/"), "--refused-faces", folder});
    EXPECT_EQ(two.status, 1);
    EXPECT_THAT(two.err, HasSubstr("--refused-faces: is for one mesh"));
}

TEST_F(RepairCommand, DirectoryOfRefusedFacesThatCannotBeMadeIsRefusedBeforeTheWork)
{
    expect_error(run(ply_text(torn_sheet()), {"--refused-faces", dir_.file("no/refused")}), 1,
                 "no/refused");
    EXPECT_FALSE(fs::exists(dir_.file("no")));
    write_file(dir_.file("file"), "");
    expect_error(run(ply_text(torn_sheet()), {"--refused-faces", dir_.file("file")}), 1,
                 "file: cannot be made a directory");
}

TEST_F(RepairCommand, StandardStreamsAndSeveralMeshesWork)
{
    write_file(dir_.file("mesh.ply"), ply_text(torn_sheet()));
    write_file(dir_.file("other.ply"), ply_text(torn_sheet()));
    ASSERT_EQ(run_veld_in(dir_.path(), "repair mesh.ply other.ply -o out/").status, 0);
    ASSERT_EQ(
        run_veld_in(dir_.path(), "repair - -o - --quiet < mesh.ply", dir_.file("piped.ply")).status,
        0);
    EXPECT_EQ(file_content(dir_.file("piped.ply")), file_content(dir_.file("out/mesh.ply")));
    EXPECT_EQ(file_content(dir_.file("out/mesh.ply")), file_content(dir_.file("out/other.ply")));
}

TEST_F(RepairCommand, SameBytesForAnyNumberOfThreadsAndWithTheLog)
{
    std::string expected;
    for (std::vector<std::string> const& options : std::vector<std::vector<std::string>>{
             {"--threads", "1"}, {"--threads", "3"}, {"--verbose", "--threads", "2"}})
    {
        ASSERT_EQ(run(ply_text(torn_sheet()), options).status, 0);
        std::string const bytes = file_content(dir_.file("out.ply"));
        expected = expected.empty() ? bytes : expected;
        EXPECT_EQ(bytes, expected);
    }
}

} // namespace
