#include "algorithmVeld/HoleFilling/EarClipping.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"

#include <gmock/gmock.h>

#include <fstream>
#include <iterator>
#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ContainsRegex;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace
{

using Faces = std::vector<Triangle>;

/// The cell in the middle of a flat grid is missing; its corners are 5 6 10 9.
TriMesh square_hole()
{
    return grid_with_hole(1);
}

/// Fills holes that are shorter than the border of `square_hole`.
EarClipping holes_only()
{
    EarClipping clipping;
    clipping.set_max_perimeter(11.0);
    return clipping;
}

std::vector<OpenMesh::VertexHandle> handles(std::vector<int> const& indices)
{
    std::vector<OpenMesh::VertexHandle> result;
    for (int const i : indices)
    {
        result.push_back(vh(i));
    }
    return result;
}

/// A mesh with its settings that makes each kind of failure happen.
struct Failure
{
    char const* name;
    TriMesh mesh;
    EarClipping clipping;
};

/// The cell in the middle of a grid whose rim falls off by at least atan(3) = 71.6 degrees.
TriMesh square_hole_on_a_table()
{
    TriMesh mesh = square_hole();
    for (int const v : {0, 1, 2, 3, 4, 7, 8, 11, 12, 13, 14, 15})
    {
        mesh.point(vh(v)).z() = -3.0F;
    }
    return mesh;
}

/// Two triangles on one vertex, where the first walk begins: it comes back after three corners.
/// Its face would leave the other triangle hanging on an inner vertex.
TriMesh two_triangles_from_their_vertex()
{
    return make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}},
                     {{1, 0, 2}, {0, 4, 3}});
}

std::vector<Failure> failures()
{
    auto too_long = holes_only();
    too_long.set_edge_length_constraint(true);
    too_long.set_edge_length_thr(1.0);
    auto against_normals = holes_only();
    against_normals.set_angle_thr(70.0);
    return {{"wide corner", open_cone(8), EarClipping()},
            {"long edge", square_hole(), too_long},
            {"normals", square_hole_on_a_table(), against_normals},
            {"refused ear", half_covered_tube(), EarClipping()},
            {"refused loop of three", two_triangles_from_their_vertex(), EarClipping()},
            {"refused last face", gap_between_three_fans(), EarClipping()}};
}

std::string counters(int partial, int full, int failed, int succeeded)
{
    char text[512];
    format_line(text,
                "partial loop closure: %d\nfull loop closure:    %d\n"
                "add face failed:      %d\nadd face succeed:     %d\n",
                partial, full, failed, succeeded);
    return text;
}

/// Takes what a run logs, and its dumps in a directory of their own.
class RunCapture : public LogCapture
{
public:
    RunCapture() { gPH.debug_dir = dumps_.path().string(); }

private:
    TempDir dumps_;
};

std::string const PLACE = " \\[[^ ]*HoleFilling/EarClipping\\.cpp \\([0-9]+\\)\\]\n";

} // namespace

TEST(EarClipping, TriangularHoleIsClosedByOneFaceWithoutAnyTest)
{
    TriMesh const closed = sphere(1);
    auto triangles = faces_from(closed, 0);
    triangles.pop_back();
    TriMesh mesh = mesh_as_far_as_it_goes(
        std::vector<Vector3f>(closed.points(), closed.points() + closed.n_vertices()), triangles);
    EarClipping clipping;
    RunCapture const log;
    clipping.fill_hole(mesh, true, true, true, 1, 1e-9, 0.0);
    EXPECT_EQ(faces_from(mesh, triangles.size()), (Faces{faces_from(closed, 0).back()}));
    EXPECT_THAT(log.text(), EndsWith(counters(0, 1, 0, 1)));
}

TEST(EarClipping, LoneTriangleGetsItsMirrorImage)
{
    // Its border is a hole of three corners, and such a hole is closed untested.
    TriMesh mesh = lone_triangle();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_EQ(faces_from(mesh, 1), (Faces{{0, 2, 1}}));
    EXPECT_THAT(clipping.open_holes(), IsEmpty());
}

TEST(EarClipping, SquareHoleIsCutAtTheFirstOfEqualCorners)
{
    TriMesh mesh = square_hole();
    auto const before = mesh.n_faces();
    auto clipping = holes_only();
    clipping.fill_hole(mesh);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarClipping, OnlyTheNormalsAreTestedByDefault)
{
    TriMesh mesh = open_cone(30, 0.0F); // more than 20 corners, longer closing edges than 0.6
    std::vector<OpenMesh::VertexHandle> nodes;
    EarClipping clipping;
    clipping.fill_hole(mesh);
    // All corners of the border of a disc are reflex.
    EXPECT_EQ(clipping.open_holes().at(0).reason, OpenReason::CORNER_TOO_WIDE);
    TriMesh hole = grid_with_hole(6);
    auto const before = hole.n_faces();
    clipping.set_max_perimeter(25.0);
    clipping.fill_hole(hole);
    EXPECT_EQ(hole.n_faces(), before + 22);
    TriMesh border = grid(1, 1);
    clipping.fill_hole(border);
    EXPECT_EQ(clipping.open_holes().at(0).reason, OpenReason::CORNER_TOO_WIDE);
}

TEST(EarClipping, LimitOfCornersIsInclusiveAndCountsAsSuccess)
{
    // Holes of 20 and 24 edges.
    for (auto const& [n, filled] : {std::pair(5, true), std::pair(6, false)})
    {
        TriMesh mesh = grid_with_hole(n);
        auto const before = mesh.n_faces();
        EarClipping clipping;
        clipping.set_node_num_constraint(true);
        RunCapture const log;
        clipping.fill_hole(mesh);
        EXPECT_EQ(mesh.n_faces() > before, filled);
        // The border of the grid is left alone too. An untouched loop is met twice.
        EXPECT_THAT(log.text(), EndsWith(counters(0, filled ? 3 : 4, 0, filled ? 18 : 0)));
        EXPECT_EQ(log.count("["), 0);
        EXPECT_EQ(clipping.open_holes().back().reason, OpenReason::TOO_MANY_EDGES);
    }
}

TEST(EarClipping, TwentyCornersAreFilledAndTwentyOneLeftAlone)
{
    // The limit moves and the hole stays.
    TriMesh mesh = grid_with_hole(5);
    auto nodes = std::vector<OpenMesh::VertexHandle>();
    auto const loops = loops_of(mesh);
    for (auto const h : loops.at(1))
    {
        nodes.push_back(mesh.from_vertex_handle(h));
    }
    ASSERT_EQ(nodes.size(), 20U);
    EarClipping clipping;
    clipping.set_node_num_constraint(true);
    clipping.set_node_num_thr(19);
    auto const before = mesh.n_faces();
    EXPECT_TRUE(clipping.fill_polygon_hole(mesh, nodes));
    EXPECT_EQ(mesh.n_faces(), before);
    clipping.set_node_num_thr(20);
    EXPECT_TRUE(clipping.fill_polygon_hole(mesh, nodes));
    EXPECT_EQ(mesh.n_faces(), before + 18);
}

TEST(EarClipping, HoleWithoutAConvexCornerIsTriedTwiceAndLeftAlone)
{
    // From the faces of the cone every corner measures 1.25 pi. The last halfedge of a walk is not
    // marked, so the loop is met once more.
    TempDir const directory;
    TriMesh mesh = open_cone(8);
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(log.count("current min angle: 1.250000 PI\n"), 2);
    EXPECT_EQ(log.count("remaining nodes:   8\n"), 2);
    EXPECT_THAT(log.text(), ContainsRegex("unusual angle" + PLACE));
    EXPECT_THAT(log.text(), EndsWith(counters(0, 2, 0, 0)));
    // The second walk begins one corner later.
    EXPECT_THAT(files_in(directory.path()),
                UnorderedElementsAre("hole-with-wrong-angle-node_008-start-node-2.obj",
                                     "failed_simple_loop_closure_hole-start-node-2.obj",
                                     "hole-with-wrong-angle-node_008-start-node-3.obj",
                                     "failed_simple_loop_closure_hole-start-node-3.obj"));
    ASSERT_EQ(clipping.open_holes().size(), 1U);
    EXPECT_EQ(clipping.open_holes()[0].reason, OpenReason::CORNER_TOO_WIDE);
    EXPECT_EQ(clipping.open_holes()[0].corners.size(), 8U);
}

TEST(EarClipping, LoopBehindALongEdgeIsTriedOnce)
{
    TempDir const directory;
    TriMesh mesh = square_hole();
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    auto clipping = holes_only();
    clipping.set_edge_length_constraint(true);
    clipping.set_edge_length_thr(1.0);
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), EndsWith(counters(0, 1, 0, 0)));
    EXPECT_THAT(
        log.text(),
        ContainsRegex("long edge occur:\n  edge thr = 1\\.000000\n  edge len = 1\\.414214\n "
                      "\\([^ ]*HoleFilling/EarClipping\\.cpp \\[[0-9]+\\]\\)\n"));
    EXPECT_THAT(files_in(directory.path()),
                UnorderedElementsAre("failed_simple_loop_5_long_edge_position-start-node-5.obj",
                                     "failed_simple_loop_closure_hole-start-node-5.obj"));
    EXPECT_EQ(clipping.open_holes().back().reason, OpenReason::EDGE_TOO_LONG);
}

TEST(EarClipping, ClosingEdgeMayBeAsLongAsTheLimitInFloat)
{
    // The closing edge is the float nearest to the root of 2, which lies above 1.4142135. As
    // floats they are the same number, so that the edge is no longer than the limit.
    static_assert(static_cast<double>(1.4142135F) > 1.4142135, "nothing is tested otherwise");
    for (auto const& [limit, filled] : {std::pair(1.4142135, true), std::pair(1.4142134, false)})
    {
        SCOPED_TRACE(limit);
        TriMesh mesh = square_hole();
        auto const before = mesh.n_faces();
        auto clipping = holes_only();
        clipping.set_edge_length_constraint(true);
        clipping.set_edge_length_thr(limit);
        clipping.fill_hole(mesh);
        EXPECT_EQ(mesh.n_faces(), filled ? before + 2 : before);
    }
}

TEST(EarClipping, LastTriangleIsAddedWithoutAnyTest)
{
    TriMesh mesh = square_hole_with_a_steep_half();
    auto const before = mesh.n_faces();
    EarClipping clipping;
    clipping.set_max_perimeter(11.0);
    EXPECT_FALSE(clipping.consistency_normal(mesh, vh(9), vh(6), vh(10), 60.0F));
    clipping.fill_hole(mesh, false, true, true, 20, 1.5, 60.0);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarClipping, RestOfALoopBehindALongEdgeIsNotMetAgain)
{
    // A hole of 2 x 2 cells loses two corners; then the middle of the side between them is the
    // narrowest, with a closing edge of 2. The edges that the two ears made have halfedges that the
    // scan has yet to pass.
    TriMesh mesh = grid_with_hole(2);
    auto const before = mesh.n_faces();
    RunCapture const log;
    EarClipping clipping;
    clipping.set_max_perimeter(12.0);
    clipping.set_edge_length_constraint(true);
    clipping.set_edge_length_thr(1.5);
    clipping.fill_hole(mesh);
    EXPECT_EQ(mesh.n_faces(), before + 2);
    EXPECT_THAT(log.text(), EndsWith(counters(0, 1, 0, 2)));
}

TEST(EarClipping, EarAgainstTheNormalsEndsTheAttempt)
{
    // The faces around the hole fall off by at least atan(3) = 71.6 degrees, the ears are level.
    TempDir const directory;
    TriMesh mesh = square_hole_on_a_table();
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    auto clipping = holes_only();
    clipping.set_angle_thr(70.0);
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), ContainsRegex("norm inconformity" + PLACE));
    EXPECT_THAT(log.text(), EndsWith(counters(0, 2, 0, 0)));
    EXPECT_THAT(
        files_in(directory.path()),
        testing::IsSupersetOf(
            {"hole-filling_normal-consistency-fail-patch_radius-0.000000_[9-5-6].obj",
             "hole-filling_normal-consistency-fail-patch_radius-0.000000_[9-5-6]_with-failed-face."
             "obj"}));
    EXPECT_EQ(clipping.open_holes().back().reason, OpenReason::NORMALS_DISAGREE);
    // At the corners of the grid it is 76.7 degrees.
    clipping.set_angle_thr(80.0);
    clipping.fill_hole(mesh);
    EXPECT_EQ(clipping.open_holes().size(), 1U);
}

TEST(EarClipping, RefusedTriangleEndsTheAttempt)
{
    // The ear at 1 would close with the edge 2 0, which has faces on both sides.
    TempDir const directory;
    TriMesh mesh = half_covered_tube();
    auto const before = mesh.n_faces();
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_EQ(mesh.n_faces(), before);
    EXPECT_THAT(log.text(), ContainsRegex("fail to add triangle" + PLACE));
    EXPECT_THAT(log.text(), EndsWith(counters(0, 2, 2, 0)));
    EXPECT_THAT(files_in(directory.path()),
                testing::IsSupersetOf(
                    {"hole-filling_fail-to-add-triangle-patch_radius-0.000000_[0-1-2].obj",
                     "hole-filling_fail-to-add-triangle-patch_radius-0.000000_[0-1-2]_with-failed-"
                     "face.obj"}));
    EXPECT_EQ(clipping.open_holes().at(0).reason, OpenReason::FACE_REFUSED);
}

TEST(EarClipping, BoundaryThatTouchesItselfLeavesALoopBehindItsTouchingCorner)
{
    // The narrow ear in the gap closes a loop at the touching corner 0. What is left is the border
    // of the flap; its mirror image is refused, because the flap would hang on an inner corner.
    TempDir const directory;
    TriMesh mesh = gap_between_three_fans();
    auto const h = mesh.find_halfedge(vh(1), vh(2));
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    clipping.fill_nest_polygon_hole(mesh, TriMesh::HalfedgeIter(mesh, h));
    EXPECT_EQ(faces_from(mesh, 4), (Faces{{0, 1, 2}}));
    EXPECT_EQ(broken_link(mesh), "");
    EXPECT_THAT(log.text(), testing::MatchesRegex("fail to add the last face of hole" + PLACE));
    EXPECT_THAT(
        files_in(directory.path()),
        UnorderedElementsAre(
            "fill-hole-add-last-triangle-patch_radius-0.000000_[0-7-6].obj",
            "fill-hole-add-last-triangle-patch_radius-0.000000_[0-7-6]_with-failed-face.obj",
            "failed_simple_loop_closure_hole-start-node-1.obj"));
}

TEST(EarClipping, ScanTakesABoundaryThatTouchesItselfAsANest)
{
    TriMesh mesh = gap_between_three_fans();
    EarClipping clipping;
    clipping.set_max_perimeter(20.0); // the outer boundary is longer
    RunCapture const log;
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), HasSubstr("partial loop closure: 1\n"));
    EXPECT_EQ(faces_from(mesh, 4), (Faces{{0, 1, 2}}));
    // With two fans left at that corner, the borders of the flap and of the rest are one walk.
    ASSERT_EQ(clipping.open_holes().size(), 1U);
    EXPECT_EQ(clipping.open_holes()[0].corners.size(), 9U);
}

TEST(EarClipping, LoopOfThreeThatTheMeshRefusesIsDumped)
{
    TempDir const directory;
    TriMesh mesh = two_triangles_from_their_vertex();
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), HasSubstr("add face failed:      1\n"));
    EXPECT_THAT(files_in(directory.path()),
                testing::IsSupersetOf(
                    {"try-add-final-triangle-patch_radius-0.000000_[0-1-2].obj",
                     "try-add-final-triangle-patch_radius-0.000000_[0-1-2]_with-failed-face.obj"}));
}

TEST(EarClipping, TwoTrianglesThatHangOnOneVertexAreJoinedByTheirNarrowGaps)
{
    // Between the two triangles the boundary turns by a right angle on both sides; both gaps are
    // cut, and a square border without convex corners is left. It is tried twice again, because
    // two of its edges are new.
    TriMesh mesh = bow_tie();
    EarClipping clipping;
    RunCapture const log;
    clipping.fill_hole(mesh);
    EXPECT_EQ(faces_from(mesh, 2), (Faces{{0, 4, 1}, {0, 2, 3}}));
    EXPECT_THAT(log.text(), EndsWith(counters(1, 2, 0, 2)));
    ASSERT_EQ(clipping.open_holes().size(), 1U);
    EXPECT_EQ(clipping.open_holes()[0].corners.size(), 4U);
    EXPECT_EQ(clipping.open_holes()[0].reason, OpenReason::CORNER_TOO_WIDE);
}

TEST(EarClipping, CoincidingCornersFailBeforeAnyFaceIsAdded)
{
    TriMesh mesh = square_hole();
    mesh.set_point(vh(6), mesh.point(vh(5)) + Vector3f(0.000005F, 0, 0));
    auto const before = mesh.n_faces();
    RunCapture const log;
    auto clipping = holes_only();
    clipping.fill_hole(mesh);
    EXPECT_EQ(mesh.n_faces(), before);
    EXPECT_THAT(log.text(), ContainsRegex("wrong edge length" + PLACE +
                                          "fail to compute and edge length" + PLACE));
    EXPECT_EQ(clipping.open_holes().back().reason, OpenReason::DEGENERATE_CORNER);
}

TEST(EarClipping, NeighbourThatCannotBeMeasuredAnewEndsTheAttempt)
{
    // 5 and 10 all but coincide. The ear at 6, narrow because it opens onto nothing, leaves 5
    // beside 10. The rest has three corners and is closed untested when the scan meets it.
    TriMesh mesh = square_hole();
    mesh.set_point(vh(10), mesh.point(vh(5)) + Vector3f(0, 0, 0.000001F));
    auto const before = mesh.n_faces();
    RunCapture const log;
    auto clipping = holes_only();
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), ContainsRegex("\nwrong edge length" + PLACE +
                                          "fail to update angle and edge length" + PLACE));
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 10}, {5, 10, 9}}));
    EXPECT_THAT(log.text(), EndsWith(counters(0, 2, 0, 2)));
}

TEST(EarClipping, PolygonThatGoesRoundTwiceIsAnUnexpectedHole)
{
    // The ear at the first 5 leaves 6 10 9 5 6 10 9. The next one, at the first 6, closes a loop;
    // each of the seven nodes has two corners at least among its 9, 6 and 10.
    TempDir const directory;
    TriMesh mesh = square_hole();
    auto const before = mesh.n_faces();
    auto nodes = handles({5, 6, 10, 9, 5, 6, 10, 9});
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    EXPECT_FALSE(clipping.fill_polygon_hole(mesh, nodes));
    EXPECT_THAT(log.text(), testing::MatchesRegex("  key_node_arr\\.size\\(\\) = 7\n"
                                                  "   circle_list\\.size\\(\\) = 7\n"
                                                  "\\$\\$\\$: unexpected hole type" +
                                                  PLACE));
    EXPECT_THAT(files_in(directory.path()),
                UnorderedElementsAre("unexpected-hole-start-node-6.obj"));
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarClipping, WaysOutOfTwoVerticesAreNoTouchingVertex)
{
    // The list passes 0 three times and 2 twice. The ear at 1 closes the gap 0 1 2; of the nodes
    // beside it, the one that comes in from outside stands at 2 and the one that goes out at 0.
    TriMesh mesh = gap_between_three_fans();
    auto nodes = handles({1, 2, 0, 7, 6, 0, 4, 2, 5});
    RunCapture const log;
    EarClipping clipping;
    EXPECT_FALSE(clipping.fill_polygon_hole(mesh, nodes));
    EXPECT_THAT(log.text(), testing::MatchesRegex("unmatched hole type" + PLACE));
}

TEST(EarClipping, FaceBesideWithCoincidingCornersHasAMessageWithoutAPlace)
{
    // The face beside 9 -> 5 is (4, 5, 9).
    TriMesh mesh = square_hole();
    mesh.set_point(vh(4), mesh.point(vh(5)));
    RunCapture const log;
    auto clipping = holes_only();
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(),
                ContainsRegex("\nwrong edge length\\.\nfail to compute and edge length" + PLACE));
}

TEST(EarClipping, CoordinatesThatAreNoNumbersEndTheAttempt)
{
    TriMesh mesh = square_hole();
    mesh.point(vh(5)).x() = std::numeric_limits<float>::quiet_NaN();
    mesh.point(vh(10)).x() = std::numeric_limits<float>::quiet_NaN();
    auto const before = mesh.n_faces();
    EarClipping clipping;
    clipping.set_node_num_constraint(true);
    clipping.set_node_num_thr(4);
    clipping.fill_hole(mesh);
    EXPECT_EQ(mesh.n_faces(), before);
    EXPECT_EQ(clipping.open_holes().back().reason, OpenReason::DEGENERATE_CORNER);
}

TEST(EarClipping, PolygonOfTooFewOrUnknownVerticesIsRefused)
{
    TriMesh mesh = square_hole();
    auto const before = fingerprint(mesh);
    EarClipping clipping;
    for (auto const& indices :
         std::vector<std::vector<int>>{{}, {5}, {5, 6}, {5, 6, 99}, {5, 6, -1, 9}, {5, 10, 6, 9}})
    {
        auto nodes = handles(indices);
        EXPECT_FALSE(clipping.fill_polygon_hole(mesh, nodes));
    }
    EXPECT_EQ(fingerprint(mesh), before);
}

TEST(EarClipping, PolygonAgainstTheBoundaryHasNoTriangleBeside)
{
    TriMesh mesh = square_hole();
    auto nodes = handles({9, 10, 6, 5});
    EarClipping clipping;
    RunCapture const log;
    EXPECT_FALSE(clipping.fill_polygon_hole(mesh, nodes));
    EXPECT_THAT(log.text(), ContainsRegex("unexpected ploygon" + PLACE));
    auto strangers = handles({5, 10, 6, 9});
    EXPECT_FALSE(clipping.fill_polygon_hole(mesh, strangers));
    EXPECT_THAT(log.text(), ContainsRegex("unmatched halfedge" + PLACE));
}

TEST(EarClipping, PolygonCanBeFilledOutsideARun)
{
    // Without a run there are no marks to set, also behind a long edge.
    TriMesh mesh = square_hole();
    auto nodes = handles({5, 6, 10, 9});
    EarClipping clipping;
    clipping.fill_hole(mesh, true, false, true, 1, 0.6, 150.0);
    clipping.set_node_num_constraint(false);
    clipping.set_edge_length_constraint(true);
    EXPECT_FALSE(clipping.fill_polygon_hole(mesh, nodes));
    clipping.set_edge_length_thr(2.0);
    auto const before = mesh.n_faces();
    EXPECT_TRUE(clipping.fill_polygon_hole(mesh, nodes));
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarClipping, NestIsFilledFromAnyHalfedge)
{
    TriMesh mesh = square_hole();
    auto const h = mesh.find_halfedge(vh(6), vh(10));
    ASSERT_TRUE(mesh.is_boundary(h));
    auto const before = mesh.n_faces();
    EarClipping clipping;
    EXPECT_TRUE(clipping.fill_nest_polygon_hole(mesh, TriMesh::HalfedgeIter(mesh, h)));
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 10}, {5, 10, 9}}));
}

TEST(EarClipping, NestWithoutAHalfedgeOrAWayBackIsRefused)
{
    TriMesh mesh = square_hole();
    EarClipping clipping;
    EXPECT_FALSE(clipping.fill_nest_polygon_hole(mesh, mesh.halfedges_end()));
    EXPECT_FALSE(clipping.fill_nest_polygon_hole(mesh, TriMesh::HalfedgeIter()));
    // 10 -> 9 is followed by itself: the walk from 5 -> 6 never comes back to 5.
    auto const stuck = mesh.find_halfedge(vh(10), vh(9));
    mesh.set_next_halfedge_handle(stuck, stuck);
    auto const before = mesh.n_faces();
    auto const h = mesh.find_halfedge(vh(5), vh(6));
    EXPECT_FALSE(clipping.fill_nest_polygon_hole(mesh, TriMesh::HalfedgeIter(mesh, h)));
    EXPECT_EQ(mesh.n_faces(), before);
}

TEST(EarClipping, DeletedEdgesStartNoWalkWithoutAStatusOfHalfedges)
{
    TriMesh mesh = grid(3, 3);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_vertex_status();
    mesh.delete_face(OpenMesh::FaceHandle(0), false);
    mesh.delete_face(OpenMesh::FaceHandle(1), false);
    EarClipping clipping;
    clipping.set_max_perimeter(0.5); // whatever is met is reported and left alone
    clipping.fill_hole(mesh);
    ASSERT_EQ(clipping.open_holes().size(), 1U); // the border; the deleted corner is none
    EXPECT_EQ(clipping.open_holes()[0].corners.size(), 12U);
}

TEST(EarClipping, NestThatFailsIsDumpedAndStillATrue)
{
    TempDir const directory;
    TriMesh mesh = open_cone(8);
    auto const h = loops_of(mesh).at(0).at(0);
    RunCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    EXPECT_TRUE(clipping.fill_nest_polygon_hole(mesh, TriMesh::HalfedgeIter(mesh, h)));
    EXPECT_THAT(files_in(directory.path()),
                testing::Contains(StartsWith("failed_simple_loop_closure_hole-start-node-")));
}

TEST(EarClipping, EdgeWithoutFacesIsAWrongLoop)
{
    TriMesh mesh;
    add_lone_edge(mesh, {0, 0, 0}, {1, 0, 0});
    RunCapture const log;
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), ContainsRegex("wrong loop closure" + PLACE));
    EXPECT_EQ(mesh.n_faces(), 0U);
}

TEST(EarClipping, LongLoopsAreLeftAloneAndNotMetAgain)
{
    TriMesh mesh = square_hole();
    RunCapture const log;
    EarClipping clipping;
    clipping.set_max_perimeter(4.0); // the hole is 4 long, which is not below
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(), EndsWith(counters(0, 0, 0, 0)));
    ASSERT_EQ(clipping.open_holes().size(), 2U);
    EXPECT_EQ(clipping.open_holes()[0].corners.size(), 12U);
    EXPECT_EQ(clipping.open_holes()[1].corners.size(), 4U);
    EXPECT_EQ(clipping.open_holes()[1].reason, OpenReason::PERIMETER_TOO_LONG);
    clipping.set_max_perimeter(4.001);
    clipping.fill_hole(mesh);
    EXPECT_EQ(clipping.open_holes().size(), 1U);
}

TEST(EarClipping, DeletedElementsAreNoHoles)
{
    TriMesh mesh = grid(3, 3);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_vertex_status();
    mesh.delete_face(OpenMesh::FaceHandle(8), false);
    mesh.delete_face(OpenMesh::FaceHandle(9), false);
    auto clipping = holes_only();
    clipping.fill_hole(mesh);
    EXPECT_EQ(faces_from(mesh, 18).size(), 2U);
    EXPECT_EQ(clipping.open_holes().size(), 1U);
}

TEST(EarClipping, SettingsAreShownLineByLine)
{
    RunCapture const log;
    EarClipping clipping;
    clipping.set_node_num_constraint(true);
    clipping.set_node_num_thr(33);
    clipping.set_edge_length_thr(1.25);
    clipping.set_angle_thr(75.5);
    clipping.show_param();
    EXPECT_EQ(log.text(), "====================< Ear Clipping Param >====================\n"
                          "use node num constraint:    1\n"
                          "node num thr:               33\n\n"
                          "use edge length constraint: 0\n"
                          "edge length thr:            1.250000\n\n"
                          "use norm constraint:        1\n"
                          "norm thr:                   75.500000\n"
                          "====================</Ear Clipping Param >====================\n");
}

TEST(EarClipping, NewOneTestsTheNormalsOnly)
{
    RunCapture const log;
    EarClipping().show_param();
    EXPECT_EQ(log.text(), "====================< Ear Clipping Param >====================\n"
                          "use node num constraint:    0\n"
                          "node num thr:               20\n\n"
                          "use edge length constraint: 0\n"
                          "edge length thr:            0.600000\n\n"
                          "use norm constraint:        1\n"
                          "norm thr:                   150.000000\n"
                          "====================</Ear Clipping Param >====================\n");
}

TEST(EarClipping, SixSettingsOfARunAreStoredAndShown)
{
    TriMesh mesh = sphere(0);
    EarClipping clipping;
    clipping.fill_hole(mesh, true, true, false, 7, 0.25, 30.5);
    RunCapture const log;
    clipping.fill_hole(mesh);
    EXPECT_EQ(log.text(), "fill_hole() ..\n"
                          "====================< Ear Clipping Param >====================\n"
                          "use node num constraint:    1\n"
                          "node num thr:               7\n\n"
                          "use edge length constraint: 1\n"
                          "edge length thr:            0.250000\n\n"
                          "use norm constraint:        0\n"
                          "norm thr:                   30.500000\n"
                          "====================</Ear Clipping Param >====================\n" +
                              counters(0, 0, 0, 0));
}

TEST(EarClipping, RunBeginsWithItsNameAndSettings)
{
    TriMesh mesh = sphere(1);
    RunCapture const log;
    gLH.clear_steps();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_THAT(log.text(),
                StartsWith("fill_hole() ..\n"
                           "====================< Ear Clipping Param >====================\n"));
    EXPECT_THAT(gLH.report_steps(), HasSubstr("Plane-Type-Hole"));
}

TEST(EarClipping, ItsOneStepStandsAtTheTop)
{
    // Also where the caller is in a step of its own.
    TriMesh mesh = open_cone(8);
    StepsHeard const steps;
    EarClipping clipping;
    gLH.startSpecStepTimer("caller", "");
    clipping.fill_hole(mesh);
    clipping.fill_hole(mesh, true, false, true, 3, 0.6, 150.0);
    gLH.lapSpecStepTimer("caller");
    EXPECT_EQ(outline(gLH), "caller Plane-Type-Hole");
    EXPECT_THAT(steps.events(),
                testing::ElementsAre("+caller/", "+Plane-Type-Hole/", "-Plane-Type-Hole/",
                                     "+Plane-Type-Hole/", "-Plane-Type-Hole/", "-caller/"));
}

TEST(EarClipping, NothingIsPrintedOrDumpedWhileLoggingIsOff)
{
    for (auto& failure : failures())
    {
        SCOPED_TRACE(failure.name);
        TriMesh with_dumps = failure.mesh;
        {
            TempDir const directory;
            LogCapture const log;
            gPH.debug_dir = directory.path().string();
            failure.clipping.fill_hole(with_dumps);
            EXPECT_THAT(files_in(directory.path()), testing::Not(IsEmpty()));
        }
        TempDir const directory;
        LogCapture const log(false);
        gPH.debug_dir = directory.path().string();
        failure.clipping.fill_hole(failure.mesh);
        EXPECT_EQ(log.text(), "");
        EXPECT_THAT(files_in(directory.path()), IsEmpty());
        EXPECT_EQ(fingerprint(failure.mesh), fingerprint(with_dumps));
    }
}

TEST(EarClipping, EachDumpThatCannotBeWrittenIsLoggedAndChangesNothing)
{
    for (auto& failure : failures())
    {
        SCOPED_TRACE(failure.name);
        TempDir const directory;
        TriMesh with_dumps = failure.mesh;
        std::vector<std::string> names;
        {
            LogCapture const log;
            gPH.debug_dir = directory.path().string();
            failure.clipping.fill_hole(with_dumps);
            names = files_in(directory.path());
        }
        LogCapture const log;
        gPH.debug_dir = directory.file("missing");
        failure.clipping.fill_hole(failure.mesh);
        for (auto const& name : names)
        {
            EXPECT_GE(log.count("fail to write '" + gPH.debug_dir + "/" + name + "'.\n"), 1);
        }
        EXPECT_EQ(fingerprint(failure.mesh), fingerprint(with_dumps));
    }
}

TEST(EarClipping, DumpsOfATriangleHoldItAndItsSurroundings)
{
    // All of the tube lies within two rings of the refused triangle. Its corners come first, in
    // the order previous, corner, next; the triangle is the first face.
    TempDir const directory;
    TriMesh mesh = half_covered_tube();
    LogCapture const log;
    gPH.debug_dir = directory.path().string();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    std::string const stem = "hole-filling_fail-to-add-triangle-patch_radius-0.000000_[0-1-2]";
    auto const text = file_content(directory.file(stem + ".obj"));
    EXPECT_THAT(text, StartsWith("v 0.000000 0.000000 0.000000\n"
                                 "v 1.000000 0.000000 0.000000\n"
                                 "v 0.500000 0.900000 0.000000\n"
                                 "v 0.000000 0.000000 -1.000000\n"
                                 "v 1.000000 0.000000 -1.000000\n"
                                 "v 0.500000 0.900000 -1.000000\n"
                                 "v 0.500000 0.300000 2.000000\n"
                                 "f 1 2 3\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), 'f'), 1 + 8);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 7 + 1 + 8);
    EXPECT_EQ(file_content(directory.file(stem + "_with-failed-face.obj")), text);
}

TEST(EarClipping, DumpsOfCornersHoldTheirSurroundings)
{
    // Two rings around a side of the hole in a grid of 3 x 3 cells are all of its 8 cells. No
    // triangle is added to them.
    TempDir const directory;
    TriMesh mesh = square_hole();
    LogCapture const log;
    gPH.debug_dir = directory.path().string();
    auto clipping = holes_only();
    clipping.set_edge_length_constraint(true);
    clipping.fill_hole(mesh);
    auto const text =
        file_content(directory.file("failed_simple_loop_closure_hole-start-node-5.obj"));
    EXPECT_EQ(std::count(text.begin(), text.end(), 'v'), 16);
    EXPECT_EQ(std::count(text.begin(), text.end(), 'f'), 16);
}

TEST(EarClipping, MeshKeepsNoPropertyOfTheRun)
{
    TriMesh mesh = square_hole();
    auto const live = [&]
    {
        return std::count_if(mesh.hprops_begin(), mesh.hprops_end(),
                             [](auto* p) { return p != nullptr; });
    };
    auto const before = live();
    EarClipping clipping;
    clipping.fill_hole(mesh);
    EXPECT_EQ(live(), before);
}

TEST(EarClipping, CopyTakesTheSettingsAlong)
{
    EarClipping clipping;
    clipping.set_node_num_thr(77);
    EarClipping const copy(clipping);
    EarClipping assigned;
    assigned = copy;
    RunCapture const log;
    assigned.show_param();
    EXPECT_THAT(log.text(), HasSubstr("node num thr:               77\n"));
}

TEST(EarClipping, CountersStartAnewWithEachRun)
{
    EarClipping clipping;
    for (int run = 0; run < 2; ++run)
    {
        TriMesh mesh = lone_triangle();
        RunCapture const log;
        clipping.fill_hole(mesh);
        EXPECT_THAT(log.text(), EndsWith(counters(0, 1, 0, 1)));
    }
}

TEST(EarClipping, NormalThresholdIsTakenInDegrees)
{
    EarClipping const clipping;
    TriMesh const mesh = grid(1, 1);
    EXPECT_FALSE(clipping.consistency_normal(mesh, vh(3), vh(1), vh(0), 150.0F));
    EXPECT_TRUE(clipping.consistency_normal(mesh, vh(3), vh(1), vh(0), 180.0F));
}
