#include "algorithmVeld/MeshAssistant/MeshAssistant.h"
#include "algorithmVeld/common/mesh_files/ObjText.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <iterator>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

/// Logging on, both directories of the diagnostics in a new directory.
struct Diagnostics
{
    TempDir directory;
    LogCapture log;

    Diagnostics()
    {
        gPH.debug_dir = directory.path().string();
        gPH.result_dir = directory.path().string();
    }
};

std::vector<OpenMesh::FaceHandle> face_handles(std::vector<int> const& indices)
{
    std::vector<OpenMesh::FaceHandle> result;
    for (int const i : indices)
    {
        result.emplace_back(i);
    }
    return result;
}

} // namespace

TEST(MeshAssistant, FacesAreWrittenWithTheirVerticesInTheOrderTheyAreMet)
{
    Diagnostics diagnostics;
    // Face 1 of the square is (0, 3, 2), face 0 is (0, 1, 3); both are met from their halfedge.
    MeshAssistant::output_faces(grid(1, 1), face_handles({1, 0}), "two-faces.obj");
    EXPECT_EQ(diagnostics.log.text(), "output_faces() ..\n");
    EXPECT_EQ(file_content(diagnostics.directory.file("two-faces.obj")),
              "# Number of vertices: 4\n"
              "v 0.000000 0.000000 0.000000\n"
              "v 1.000000 1.000000 0.000000\n"
              "v 0.000000 1.000000 0.000000\n"
              "v 1.000000 0.000000 0.000000\n"
              "# Number of triangles: 2\n"
              "f 1 2 3\n"
              "f 1 4 2\n");
}

TEST(MeshAssistant, NoFacesMakeAFileWithoutAny)
{
    Diagnostics diagnostics;
    MeshAssistant::output_faces(grid(1, 1), {}, "none.obj");
    EXPECT_EQ(file_content(diagnostics.directory.file("none.obj")),
              "# Number of vertices: 0\n# Number of triangles: 0\n");
}

TEST(MeshAssistant, FacesThatAreNotThereAreLeftOut)
{
    Diagnostics diagnostics;
    TriMesh mesh = grid(1, 1);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_vertex_status();
    mesh.request_halfedge_status();
    mesh.delete_face(OpenMesh::FaceHandle(0), false);
    MeshAssistant::output_faces(mesh, face_handles({0, 1, 2, -1}), "one.obj");
    EXPECT_THAT(file_content(diagnostics.directory.file("one.obj")),
                HasSubstr("# Number of triangles: 1\n"));
}

TEST(MeshAssistant, FacesThatCannotBeWrittenAreLogged)
{
    Diagnostics diagnostics;
    gPH.result_dir = diagnostics.directory.file("missing");
    MeshAssistant::output_faces(grid(1, 1), face_handles({0}), "x.obj");
    EXPECT_EQ(diagnostics.log.text(),
              "output_faces() ..\n  !!!fail to write '" + gPH.result_dir + "/x.obj'.\n");
}

TEST(MeshAssistant, FacesAreWrittenWithoutALogLineWhileLoggingIsOff)
{
    Diagnostics diagnostics;
    gPH.log_enabled = false;
    MeshAssistant::output_faces(grid(1, 1), face_handles({0}), "quiet.obj");
    EXPECT_EQ(diagnostics.log.text(), "");
    EXPECT_THAT(files_in(diagnostics.directory.path()), ElementsAre("quiet.obj"));
}

TEST(MeshAssistant, EachPieceOfTheBoundaryGetsAFileNamedByItsFirstVertex)
{
    Diagnostics diagnostics;
    // Border and hole lie two rings apart: the hole's corners are 16 17 22 23 of a 5 x 5 grid less
    // its middle cell (2, 2), which has the corners 14 15 20 21.
    TriMesh mesh = grid_without(5, 5, {{2, 2}});
    MeshAssistant::output_hole_region(mesh, diagnostics.directory.path().string());
    EXPECT_THAT(files_in(diagnostics.directory.path()),
                ElementsAre("vertex-0-hole-region.obj", "vertex-14-hole-region.obj"));
    EXPECT_EQ(diagnostics.log.text(), "");
}

TEST(MeshAssistant, RegionOfTheBoundaryHoldsTheFacesAroundIt)
{
    Diagnostics diagnostics;
    TriMesh mesh = lone_triangle();
    MeshAssistant::output_hole_region(mesh, diagnostics.directory.path().string());
    auto const text = file_content(diagnostics.directory.file("vertex-0-hole-region.obj"));
    EXPECT_THAT(text, StartsWith("v 0.000000 0.000000 0.000000\n"
                                 "v 1.000000 0.000000 0.000000\n"
                                 "v 0.000000 1.000000 0.000000\n"
                                 "f "));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 4);
}

TEST(MeshAssistant, HoleRegionsAreNotWrittenWhileLoggingIsOff)
{
    Diagnostics diagnostics;
    gPH.log_enabled = false;
    TriMesh mesh = lone_triangle();
    MeshAssistant::output_hole_region(mesh, diagnostics.directory.path().string());
    EXPECT_THAT(files_in(diagnostics.directory.path()), IsEmpty());
}

TEST(MeshAssistant, HoleRegionThatCannotBeWrittenIsLoggedWithItsPlace)
{
    Diagnostics diagnostics;
    TriMesh mesh = lone_triangle();
    MeshAssistant::output_hole_region(mesh, diagnostics.directory.file("missing"));
    EXPECT_THAT(diagnostics.log.text(),
                testing::ContainsRegex("^fail to write '[^']*/missing/vertex-0-hole-region\\.obj' "
                                       "\\[[^ ]*MeshAssistant\\.cpp \\([0-9]+\\)\\]\\.\n$"));
}

TEST(MeshAssistant, ClosedMeshHasNoHoleRegion)
{
    Diagnostics diagnostics;
    TriMesh mesh = sphere(1);
    MeshAssistant::output_hole_region(mesh, diagnostics.directory.path().string());
    EXPECT_THAT(files_in(diagnostics.directory.path()), IsEmpty());
}

TEST(MeshAssistant, NeighbourRegionBeginsWithTheTriangle)
{
    Diagnostics diagnostics;
    TriMesh const mesh = grid(1, 1);
    for (bool const failed : {true, false})
    {
        MeshAssistant::output_neighbour_region(mesh, vh(3), vh(1), vh(0), mesh.point(vh(3)),
                                               mesh.point(vh(1)), 0.5F, failed, "ear");
    }
    EXPECT_THAT(files_in(diagnostics.directory.path()),
                ElementsAre("ear-patch_radius-0.500000_[3-1-0].obj",
                            "ear-patch_radius-0.500000_[3-1-0]_with-failed-face.obj"));
    std::string const region = "v 1.000000 1.000000 0.000000\n"
                               "v 1.000000 0.000000 0.000000\n"
                               "v 0.000000 0.000000 0.000000\n"
                               "v 0.000000 1.000000 0.000000\n"
                               "f 1 2 3\n"
                               // The faces (0, 1, 3) and (0, 3, 2), as the file numbers them.
                               "f 3 2 1\nf 3 1 4\n";
    EXPECT_EQ(file_content(diagnostics.directory.file("ear-patch_radius-0.500000_[3-1-0].obj")),
              region);
    EXPECT_EQ(file_content(diagnostics.directory.file(
                  "ear-patch_radius-0.500000_[3-1-0]_with-failed-face.obj")),
              region);
}

TEST(MeshAssistant, NeighbourRegionOfATriangleWithARepeatedCornerStillNamesThreeVertices)
{
    Diagnostics diagnostics;
    TriMesh const mesh = lone_triangle();
    MeshAssistant::output_neighbour_region(mesh, vh(0), vh(0), vh(1), mesh.point(vh(0)),
                                           mesh.point(vh(0)), 0.0F, true, "odd");
    EXPECT_EQ(file_content(diagnostics.directory.file(
                  "odd-patch_radius-0.000000_[0-0-1]_with-failed-face.obj")),
              "v 0.000000 0.000000 0.000000\n"
              "v 0.000000 0.000000 0.000000\n"
              "v 1.000000 0.000000 0.000000\n"
              "v 0.000000 1.000000 0.000000\n"
              "f 1 2 3\n"
              "f 1 3 4\n");
}

TEST(MeshAssistant, NeighbourRegionNeedsADirectory)
{
    Diagnostics diagnostics;
    gPH.debug_dir = "";
    TriMesh const mesh = lone_triangle();
    MeshAssistant::output_neighbour_region(mesh, vh(0), vh(1), vh(2), mesh.point(vh(0)),
                                           mesh.point(vh(1)), 0.0F, true, "x");
    EXPECT_EQ(diagnostics.log.text(), "");
    EXPECT_THAT(files_in(diagnostics.directory.path()), IsEmpty());
}

TEST(MeshAssistant, NeighbourRegionThatCannotBeWrittenIsLogged)
{
    Diagnostics diagnostics;
    gPH.debug_dir = diagnostics.directory.file("missing");
    TriMesh const mesh = lone_triangle();
    MeshAssistant::output_neighbour_region(mesh, vh(0), vh(1), vh(2), mesh.point(vh(0)),
                                           mesh.point(vh(1)), 0.0F, false, "x");
    EXPECT_EQ(diagnostics.log.text(),
              "fail to write '" + gPH.debug_dir + "/x-patch_radius-0.000000_[0-1-2].obj'.\n");
}

TEST(MeshAssistant, NodesRegionReachesTwoRings)
{
    Diagnostics diagnostics;
    std::string name = "region";
    // From the middle of a 9 x 9 grid two rings reach 4 x 4 cells, less the two corners across the
    // diagonals: the neighbours of the middle are (5,4) (5,5) (4,5) (3,4) (3,3) (4,3).
    MeshAssistant::output_nodes_region(grid(8, 8), {vh(40)}, name);
    auto const text = file_content(diagnostics.directory.file("region-start-node-40.obj"));
    auto const lines_with = [&](std::string const& start)
    {
        int n = 0;
        for (auto at = text.find(start); at != std::string::npos; at = text.find(start, at + 1))
        {
            ++n;
        }
        return n;
    };
    EXPECT_EQ(lines_with("v "), 19); // 1 + 6 + 12
    EXPECT_EQ(lines_with("f "), 24); // 6 + 18
}

TEST(MeshAssistant, SameMeshGivesTheSameBytes)
{
    Diagnostics diagnostics;
    TriMesh const mesh = sphere(2);
    std::string first = "first";
    std::string second = "second";
    MeshAssistant::output_nodes_region(mesh, {vh(3), vh(17), vh(9)}, first);
    MeshAssistant::output_nodes_region(mesh, {vh(3), vh(9), vh(17)}, second);
    EXPECT_EQ(file_content(diagnostics.directory.file("first-start-node-3.obj")),
              file_content(diagnostics.directory.file("second-start-node-3.obj")));
}

TEST(MeshAssistant, NodesRegionThatCannotBeWrittenIsLogged)
{
    Diagnostics diagnostics;
    gPH.debug_dir = diagnostics.directory.file("missing");
    std::string name = "50%d"; // a percent sign does no harm
    MeshAssistant::output_nodes_region(lone_triangle(), {vh(2)}, name);
    EXPECT_EQ(diagnostics.log.text(),
              "fail to write '" + gPH.debug_dir + "/50%d-start-node-2.obj'.\n");
}

TEST(MeshAssistant, RegionsOfVerticesThatAreNotThereAreLeftOut)
{
    Diagnostics diagnostics;
    std::string name = "x";
    TriMesh const mesh = lone_triangle();
    MeshAssistant::output_nodes_region(mesh, {}, name);
    MeshAssistant::output_neighbour_region(mesh, vh(0), vh(1), vh(7), mesh.point(vh(0)),
                                           mesh.point(vh(1)), 0.0F, true, "x");
    EXPECT_THAT(files_in(diagnostics.directory.path()), IsEmpty());
    MeshAssistant::output_nodes_region(mesh, {vh(-1), vh(7)}, name);
    EXPECT_EQ(file_content(diagnostics.directory.file("x-start-node--1.obj")), "");
}

TEST(ObjText, WritesColoursAndAnEndWhereAskedTo)
{
    TempDir const directory;
    detail::ObjText file(directory.file("x.obj"));
    ASSERT_TRUE(file.is_open());
    file.vertex_count(1);
    file.vertex(Vector3f(1.5F, -2.0F, 0.0000004F), 255, 0, 7);
    file.triangle_count(0);
    file.polygon({1, 2, 3, 4});
    file.end_of_file();
    EXPECT_TRUE(file.close());
    EXPECT_EQ(file_content(directory.file("x.obj")), "# Number of vertices: 1\n"
                                                     "v 1.500000 -2.000000 0.000000 255 0 7\n"
                                                     "# Number of triangles: 0\n"
                                                     "f 1 2 3 4\n"
                                                     "# end of file\n");
}

TEST(ObjText, FileThatCannotBeOpenedTakesEverythingAndFailsToClose)
{
    TempDir const directory;
    detail::ObjText file(directory.file("missing/x.obj"));
    EXPECT_FALSE(file.is_open());
    file.vertex(Vector3f(0, 0, 0));
    EXPECT_FALSE(file.close());
}
