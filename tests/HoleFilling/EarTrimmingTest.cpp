#include "algorithmVeld/HoleFilling/EarTrimming.h"
#include "tests/support/ear_meshes.h"
#include "tests/support/log_capture.h"
#include "tests/support/steps.h"

#include <gmock/gmock.h>

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Faces = std::vector<Triangle>;

/// Fills without any limit but those that are set on the object.
EarTrimming without_limits()
{
    EarTrimming trimming;
    trimming.set_node_num_constraint(false);
    trimming.set_edge_length_constraint(false);
    trimming.set_norm_constraint(false);
    return trimming;
}

/// The cell in the middle of a flat grid is missing; its corners are 5 6 10 9. The border of the
/// grid has 12 edges, so that a limit of 4 edges leaves it alone.
EarTrimming small_holes_only()
{
    EarTrimming trimming = without_limits();
    trimming.set_node_num_constraint(true);
    trimming.set_node_num_thr(4);
    return trimming;
}

std::vector<int> indices(std::vector<OpenMesh::VertexHandle> const& corners)
{
    std::vector<int> result;
    for (auto const corner : corners)
    {
        result.push_back(corner.idx());
    }
    return result;
}

std::size_t live_halfedge_properties(TriMesh const& mesh)
{
    return static_cast<std::size_t>(std::count_if(mesh.hprops_begin(), mesh.hprops_end(),
                                                  [](auto* p) { return p != nullptr; }));
}

} // namespace

TEST(EarTrimming, DefaultsHaveAllThreeLimitsOn)
{
    // 20 edges at most, closing edges up to 0.6, normals within 150 degrees.
    TriMesh many = open_cone(21);
    TriMesh wide = grid_with_hole(1);
    TriMesh border = grid(1, 1);
    EarTrimming trimming;
    trimming.ear_trimming(many);
    ASSERT_EQ(trimming.open_holes().size(), 1U);
    EXPECT_EQ(trimming.open_holes()[0].reason, OpenReason::TOO_MANY_EDGES);
    trimming.ear_trimming(wide);
    EXPECT_EQ(trimming.open_holes().at(1).reason, OpenReason::EDGE_TOO_LONG);
    trimming.set_edge_length_constraint(false);
    trimming.ear_trimming(border);
    EXPECT_EQ(trimming.open_holes().at(0).reason, OpenReason::NORMALS_DISAGREE);
}

TEST(EarTrimming, SixSettingsOfARunAreStored)
{
    // Each run is stopped by one of the settings, and so is the run after it on a new mesh.
    struct Case
    {
        bool node_num;
        bool edge_length;
        bool norm;
        OpenReason reason;
    };
    for (auto const& c : {Case{true, false, false, OpenReason::TOO_MANY_EDGES},
                          Case{false, true, false, OpenReason::EDGE_TOO_LONG},
                          Case{false, false, true, OpenReason::NORMALS_DISAGREE}})
    {
        SCOPED_TRACE(to_string(c.reason));
        EarTrimming trimming;
        TriMesh mesh = open_cone(8, 2.0F);
        trimming.ear_trimming(mesh, c.node_num, c.edge_length, c.norm, 7, 0.25, 5.0);
        TriMesh next = open_cone(8, 2.0F);
        trimming.ear_trimming(next);
        ASSERT_EQ(trimming.open_holes().size(), 1U);
        EXPECT_EQ(trimming.open_holes()[0].reason, c.reason);
        EXPECT_EQ(fingerprint(next), fingerprint(mesh));
    }
}

TEST(EarTrimming, SquareHoleIsCutAtItsFirstCornerOfEqualOnes)
{
    // The loop begins at its lowest halfedge, 5 -> 6. All corners measure a right angle, so 5 goes
    // first; 6 leads the three that are left.
    TriMesh mesh = grid_with_hole(1);
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    EXPECT_EQ(trimming.ear_trimming(mesh), RET_SUCCESS);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarTrimming, SmallestAngleGoesFirst)
{
    // Corner 10 of the square is pulled outwards: its angle becomes the smallest.
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(10), Vector3f(2.5F, 2.5F, 0));
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{6, 10, 9}, {5, 6, 9}}));
}

TEST(EarTrimming, HoleOfThreeEdgesIsClosedWithoutAnyTest)
{
    TriMesh closed = sphere(1);
    auto triangles = faces_from(closed, 0);
    triangles.pop_back();
    TriMesh mesh = mesh_as_far_as_it_goes(
        std::vector<Vector3f>(closed.points(), closed.points() + closed.n_vertices()), triangles);
    EarTrimming trimming;
    trimming.ear_trimming(mesh, true, true, true, 3, 1e-9, 0.0);
    EXPECT_EQ(faces_from(mesh, triangles.size()), (Faces{faces_from(closed, 0).back()}));
}

TEST(EarTrimming, LimitOfTwoEdgesLeavesEvenAHoleOfThreeAlone)
{
    TriMesh mesh = lone_triangle();
    EarTrimming trimming;
    trimming.ear_trimming(mesh, true, false, false, 2, 0.6, 150.0);
    EXPECT_EQ(mesh.n_faces(), 1U);
    ASSERT_EQ(trimming.open_holes().size(), 1U);
    // The walk begins at the lowest boundary halfedge, 1 -> 0.
    EXPECT_EQ(indices(trimming.open_holes()[0].corners), (std::vector<int>{1, 0, 2}));
    EXPECT_EQ(trimming.open_holes()[0].reason, OpenReason::TOO_MANY_EDGES);
}

TEST(EarTrimming, LoneTriangleGetsItsMirrorImage)
{
    // Its border is a hole of three edges, and such a hole is closed untested.
    TriMesh mesh = lone_triangle();
    EarTrimming trimming;
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, 1), (Faces{{0, 2, 1}}));
    EXPECT_THAT(trimming.open_holes(), IsEmpty());
}

TEST(EarTrimming, TwentyEdgesAreFilledAndTwentyOneAreNot)
{
    TriMesh twenty = open_cone(20);
    TriMesh twenty_one = open_cone(21);
    EarTrimming trimming;
    trimming.ear_trimming(twenty, true, false, false, 20, 0.6, 150.0);
    EXPECT_EQ(twenty.n_faces(), 20U + 18U);
    trimming.ear_trimming(twenty_one, true, false, false, 20, 0.6, 150.0);
    EXPECT_EQ(twenty_one.n_faces(), 21U);
}

TEST(EarTrimming, ReflexCornersAreCutToo)
{
    // From the faces of a cone every corner of its open end measures 1.25 pi.
    TriMesh mesh = open_cone(8);
    auto trimming = without_limits();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), 8U + 6U);
    EXPECT_THAT(loops_of(mesh), IsEmpty());
}

TEST(EarTrimming, ClosingEdgeMayBeAsLongAsTheLimitInFloat)
{
    TriMesh mesh = grid_with_hole(1);
    auto trimming = small_holes_only();
    trimming.set_edge_length_constraint(true);
    // The closing edge is the float next to the root of 2; the limit is compared as float too.
    trimming.set_edge_length_thr(1.41421);
    trimming.ear_trimming(mesh);
    EXPECT_EQ(trimming.open_holes().back().reason, OpenReason::EDGE_TOO_LONG);
    EXPECT_EQ(indices(trimming.open_holes().back().corners), (std::vector<int>{5, 6, 10, 9}));
    trimming.set_edge_length_thr(1.4142135);
    trimming.ear_trimming(mesh);
    EXPECT_EQ(trimming.open_holes().size(), 1U); // the border of the grid
}

TEST(EarTrimming, LastTriangleIsAddedWithoutAnyTest)
{
    TriMesh mesh = square_hole_with_a_steep_half();
    auto const before = mesh.n_faces();
    EarTrimming trimming;
    EXPECT_FALSE(trimming.consistency_normal(mesh, vh(9), vh(6), vh(10), 60.0));
    trimming.ear_trimming(mesh, true, true, true, 4, 1.5, 60.0);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarTrimming, HoleThatRunsIntoALimitKeepsItsFacesAndTheNextCallGoesOn)
{
    // A hole of 2 x 2 cells: the ears at its corners have closing edges of the root of 2. Once the
    // first two are cut, the middle of the side between them is as narrow as the corners that are
    // left, and stands before them; its closing edge would be 2.
    TriMesh mesh = grid_with_hole(2);
    auto const before = mesh.n_faces();
    EarTrimming trimming;
    trimming.ear_trimming(mesh, true, true, true, 8, 1.5, 150.0);
    EXPECT_EQ(mesh.n_faces(), before + 2);
    ASSERT_EQ(trimming.open_holes().size(), 2U);
    EXPECT_EQ(trimming.open_holes()[1].corners.size(), 6U);
    EXPECT_EQ(trimming.open_holes()[1].reason, OpenReason::EDGE_TOO_LONG);

    trimming.ear_trimming(mesh, true, true, true, 8, 2.1, 150.0);
    EXPECT_EQ(mesh.n_faces(), before + 6);
    ASSERT_EQ(trimming.open_holes().size(), 1U);
    EXPECT_EQ(trimming.open_holes()[0].corners.size(), 16U);
}

TEST(EarTrimming, RefusedCornerIsPassedOverWhileOthersRemain)
{
    // Two triangles of a square: the ear at 1 would close with the diagonal, which has faces on
    // both sides. The corner after it goes first then, and the last triangle is at 1.
    TriMesh mesh = grid(1, 1);
    auto trimming = without_limits();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, 2), (Faces{{0, 2, 1}, {1, 2, 3}}));
    EXPECT_THAT(trimming.open_holes(), IsEmpty());

    TriMesh tube = half_covered_tube();
    trimming.ear_trimming(tube);
    EXPECT_THAT(loops_of(tube), IsEmpty());
}

TEST(EarTrimming, BoundaryThatTouchesItselfIsTakenApart)
{
    // The narrow ear in the gap closes a loop at the touching corner 0. What is left is the border
    // of the flap; its mirror image is refused, because the flap would hang on an inner corner.
    TriMesh mesh = gap_between_three_fans();
    auto trimming = without_limits();
    trimming.set_max_perimeter(20.0); // the outer boundary is longer
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, 4), (Faces{{0, 1, 2}}));
    EXPECT_EQ(broken_link(mesh), "");
    // With two fans left at that corner, the borders of the flap and of the rest are one walk.
    ASSERT_EQ(trimming.open_holes().size(), 1U);
    EXPECT_THAT(indices(trimming.open_holes()[0].corners),
                testing::UnorderedElementsAre(0, 6, 7, 0, 4, 2, 5, 1, 3));
}

TEST(EarTrimming, TwoTrianglesThatHangOnOneVertexAreJoined)
{
    // Between them the boundary turns by a right angle on both sides; both gaps are cut, and the
    // square border that is left gets a back of two triangles.
    TriMesh mesh = bow_tie();
    auto trimming = without_limits();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(faces_from(mesh, 2)[0], (Triangle{0, 4, 1}));
    EXPECT_EQ(faces_from(mesh, 2)[1], (Triangle{0, 2, 3}));
    EXPECT_THAT(trimming.open_holes(), IsEmpty());
    EXPECT_EQ(broken_link(mesh), "");
}

TEST(EarTrimming, HolesThatTouchAreBothFilled)
{
    TriMesh mesh = pinched_pair();
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), before + 4);
    EXPECT_EQ(loops_of(mesh).size(), 1U);
    EXPECT_EQ(broken_link(mesh), "");
}

TEST(EarTrimming, StrangeCornerTakesTheValuesOfTheOneBeforeIt)
{
    // 10 coincides with 6. The corner 6 cannot be measured and passes for a copy of 5; 10 neither.
    // Corner 9 measures 45 degrees and is the narrowest, its ear is 10 9 5.
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(10), mesh.point(vh(6)));
    auto const before = mesh.n_faces();
    LogCapture const log;
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(log.count("  strange hole: ["), 2);
    EXPECT_EQ(faces_from(mesh, before).front(), (Triangle{5, 10, 9}));
}

TEST(EarTrimming, StrangeFirstCornerCountsAsZero)
{
    // 6 coincides with 5, the first corner: with nothing measured before it, it enters as narrow as
    // can be and is cut first.
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(6), mesh.point(vh(5)));
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.set_edge_length_constraint(true);
    trimming.set_edge_length_thr(0.5); // its closing edge of 0 is within
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, before).front(), (Triangle{5, 6, 9}));
}

TEST(EarTrimming, NeighbourThatCannotBeMeasuredAnewStopsTheHole)
{
    // 5 and 10 coincide. The ear at 6, narrow because it opens onto nothing, leaves 5 beside 10.
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(10), mesh.point(vh(5)) + Vector3f(0, 0, 0.000001F));
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), before + 1);
    EXPECT_EQ(trimming.open_holes().back().reason, OpenReason::DEGENERATE_CORNER);
    EXPECT_EQ(trimming.open_holes().back().corners.size(), 3U);
}

TEST(EarTrimming, CornerThatIsNoNumberWaitsUntilTheOthersAreCut)
{
    // 5 and its neighbours have no angle; 10 has, and the last three corners are not tested.
    TriMesh mesh = grid_with_hole(1);
    mesh.point(vh(5)).x() = std::numeric_limits<float>::quiet_NaN();
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{6, 10, 9}, {5, 6, 9}}));
}

TEST(EarTrimming, HoleWithoutAnyAngleStaysOpen)
{
    TriMesh mesh = grid_with_hole(1);
    mesh.point(vh(5)).x() = std::numeric_limits<float>::quiet_NaN();
    mesh.point(vh(10)).x() = std::numeric_limits<float>::quiet_NaN();
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), before);
    EXPECT_EQ(trimming.open_holes().back().reason, OpenReason::DEGENERATE_CORNER);
}

TEST(EarTrimming, LimitOfThePerimeterLeavesLongLoopsAlone)
{
    // The hole is 4 long, the border 12; a loop has to be shorter than the limit.
    TriMesh const before = grid_with_hole(1);
    for (auto const& [limit, open] : std::vector<std::pair<double, std::size_t>>{
             {4.0, 2}, {4.001, 1}, {12.0, 1}, {12.001, 0}, {0.0, 0}})
    {
        SCOPED_TRACE(limit);
        TriMesh mesh = before;
        auto trimming = without_limits();
        trimming.set_max_perimeter(limit);
        trimming.ear_trimming(mesh);
        ASSERT_EQ(trimming.open_holes().size(), open);
        for (auto const& hole : trimming.open_holes())
        {
            EXPECT_EQ(hole.reason, OpenReason::PERIMETER_TOO_LONG);
        }
    }
}

TEST(EarTrimming, LoopOfAHoleThatIsSetAsideMayTouchOneThatIsFilled)
{
    // The holes touch at a corner; one of them is too long.
    TriMesh mesh = grid_without(6, 6, {{1, 1}, {2, 2}, {3, 2}, {2, 3}, {3, 3}});
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), before + 2);
    EXPECT_EQ(broken_link(mesh), "");
}

TEST(EarTrimming, BoundaryThatTouchesItselfIsTakenApartBeyondALimitIfThatIsWanted)
{
    // The walk 0 1 2 0 7 6 is the gap and the outline of the flap; the other one has six edges too.
    TriMesh mesh = gap_between_three_fans();
    auto trimming = without_limits();
    trimming.set_node_num_constraint(true);
    trimming.set_node_num_thr(5);
    trimming.ear_trimming(mesh);
    EXPECT_EQ(mesh.n_faces(), 4U);
    EXPECT_EQ(trimming.open_holes().size(), 2U);

    trimming.set_take_apart(true);
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, 4), (Faces{{0, 1, 2}}));
    EXPECT_EQ(broken_link(mesh), "");
    ASSERT_EQ(trimming.open_holes().size(), 2U);
    EXPECT_THAT(indices(trimming.open_holes()[0].corners), testing::UnorderedElementsAre(0, 6, 7));
    EXPECT_EQ(trimming.open_holes()[0].reason, OpenReason::HANGS_ON_A_VERTEX);
    EXPECT_EQ(trimming.open_holes()[1].corners.size(), 6U);
    EXPECT_EQ(trimming.open_holes()[1].reason, OpenReason::TOO_MANY_EDGES);
}

TEST(EarTrimming, HoleOnWhichATriangleHangsIsNotTakenApartToBeFilled)
{
    // A ball without one face, and a triangle that hangs on a corner of the hole.
    TriMesh mesh = sphere(1);
    std::vector<Vector3f> points(mesh.points(), mesh.points() + mesh.n_vertices());
    auto triangles = faces_from(mesh, 0);
    Triangle const hole = triangles.back();
    triangles.pop_back();
    int const n = static_cast<int>(points.size());
    Vector3f const corner = 1.1F * points[static_cast<std::size_t>(hole[0])];
    points.emplace_back(corner + Vector3f(0.1F, 0, 0));
    points.emplace_back(corner + Vector3f(0, 0.1F, 0));
    triangles.push_back({hole[0], n, n + 1});
    mesh = make_mesh(points, triangles);
    ASSERT_EQ(loops_of(mesh).size(), 1U);

    auto trimming = without_limits();
    trimming.set_node_num_constraint(true);
    trimming.set_node_num_thr(5);
    trimming.set_take_apart(true);
    trimming.ear_trimming(mesh);
    // The triangle would hang on an inner vertex then.
    std::multiset<OpenReason> reasons;
    for (auto const& open : trimming.open_holes())
    {
        reasons.insert(open.reason);
    }
    EXPECT_EQ(reasons, (std::multiset<OpenReason>{OpenReason::HANGS_ON_A_VERTEX,
                                                  OpenReason::HANGS_ON_A_VERTEX}));
}

TEST(EarTrimming, DeletedElementsAreNoHoles)
{
    // A cell is deleted and not yet collected: its inner edge is gone, its rim is the hole.
    TriMesh mesh = grid(3, 3);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_vertex_status();
    mesh.delete_face(OpenMesh::FaceHandle(8), false);
    mesh.delete_face(OpenMesh::FaceHandle(9), false);
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(trimming.open_holes().size(), 1U);
    EXPECT_EQ(faces_from(mesh, 18).size(), 2U);
    mesh.garbage_collection();
    EXPECT_EQ(loops_of(mesh).size(), 1U);
    EXPECT_EQ(broken_link(mesh), "");
}

TEST(EarTrimming, HiddenHalfedgesAreFilledLikeOthers)
{
    TriMesh mesh = grid_with_hole(1);
    mesh.request_halfedge_status();
    for (auto const h : mesh.halfedges())
    {
        mesh.status(h).set_hidden(true);
    }
    auto const before = mesh.n_faces();
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(faces_from(mesh, before), (Faces{{5, 6, 9}, {6, 10, 9}}));
}

TEST(EarTrimming, OpenHolesOfTheRunBeforeAreForgottenOnAClosedMesh)
{
    TriMesh open = grid_with_hole(6);
    TriMesh closed = sphere(1);
    EarTrimming trimming;
    trimming.ear_trimming(open);
    ASSERT_FALSE(trimming.open_holes().empty());
    trimming.ear_trimming(closed);
    EXPECT_THAT(trimming.open_holes(), IsEmpty());
}

TEST(EarTrimming, ClosedOrEmptyMeshStaysAsItIs)
{
    TriMesh closed = sphere(2);
    auto const before = fingerprint(closed);
    LogCapture const log;
    EarTrimming trimming;
    EXPECT_EQ(trimming.ear_trimming(closed), RET_SUCCESS);
    EXPECT_EQ(fingerprint(closed), before);
    TriMesh empty;
    EXPECT_EQ(trimming.ear_trimming(empty), RET_SUCCESS);
    std::string const text = "ear_trimming() ..\n"
                             "find_all_holes_ordered_halfedges() ..\n"
                             "  total holes:                 0\n"
                             "fill_holes() ..\n";
    EXPECT_EQ(log.text(), text + text);
}

TEST(EarTrimming, LogTellsTheSizesOfTheHoles)
{
    TriMesh mesh = grid_without(6, 3, {{1, 1}, {3, 1}, {4, 1}});
    LogCapture const log;
    EarTrimming trimming;
    trimming.ear_trimming(mesh, true, false, false, 1, 0.6, 150.0);
    // Holes of 4 and 6 edges and a border of 18.
    EXPECT_EQ(log.text(), "ear_trimming() ..\n"
                          "find_all_holes_ordered_halfedges() ..\n"
                          "  total holes:                 3\n"
                          "  hole edge max num:          18\n"
                          "  hole edge min num:           4\n"
                          "  hole edge total num:        28\n"
                          "  hole edge avg num:           9.333333\n"
                          "fill_holes() ..\n");
}

TEST(EarTrimming, MessagesNameTheirPlaceInTheSource)
{
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(6), mesh.point(vh(5)));
    LogCapture const log;
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_THAT(log.text(),
                ContainsRegex("wrong edge length \\[[^ ]*HoleFilling/EarTrimming\\.cpp "
                              "\\([0-9]+\\)\\]\n  strange hole: "
                              "\\[[^ ]*HoleFilling/EarTrimming\\.cpp \\([0-9]+\\)\\]\n"));
}

TEST(EarTrimming, FaceBesideWithCoincidingCornersHasAMessageWithoutAPlace)
{
    // The face beside 9 -> 5 is (4, 5, 9).
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(4), mesh.point(vh(5)));
    LogCapture const log;
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_THAT(log.text(), ContainsRegex("\nwrong edge length\\.\n  strange hole: \\["));
}

TEST(EarTrimming, EdgesWithoutFacesHaveNoTriangleBeside)
{
    // A square of edges is two loops of four corners, one on either side. None of the first can be
    // measured; its first ear stops there, and puts a face beside two sides of the other loop.
    TriMesh mesh = square_of_wire();
    LogCapture const log;
    auto trimming = without_limits();
    trimming.ear_trimming(mesh);
    EXPECT_EQ(log.count("  strange hole: ["), 4 + 2);
    EXPECT_THAT(log.text(), ContainsRegex("unexpected ploygon \\[[^ ]*HoleFilling/EarTrimming"
                                          "\\.cpp \\([0-9]+\\)\\]\n  strange hole: "));
}

TEST(EarTrimming, CornerWhoseEdgesCannotBeReachedIsAStrangeOne)
{
    // 9 has lost its way to its edges, so that none from 9 to 5 is found. The hole is passed all
    // the same, for it is walked along its halfedges.
    TriMesh mesh = grid_with_hole(1);
    mesh.set_halfedge_handle(vh(9), OpenMesh::HalfedgeHandle());
    LogCapture const log;
    auto trimming = small_holes_only();
    trimming.ear_trimming(mesh);
    EXPECT_THAT(log.text(),
                ContainsRegex("unmatched halfedge \\[[^ ]*HoleFilling/EarTrimming\\.cpp "
                              "\\([0-9]+\\)\\]\n  strange hole: "));
}

TEST(EarTrimming, NothingIsPrintedWhileLoggingIsOff)
{
    TriMesh mesh = grid_with_hole(1);
    mesh.set_point(vh(6), mesh.point(vh(5)));
    LogCapture const log(false);
    EarTrimming trimming;
    trimming.ear_trimming(mesh);
    EXPECT_EQ(log.text(), "");
}

TEST(EarTrimming, ItsTwoStepsStandAtTheTop)
{
    // Also where the caller is in a step of its own.
    TriMesh mesh = grid_with_hole(1);
    StepsHeard const steps;
    EarTrimming trimming;
    gLH.startSpecStepTimer("caller", "");
    trimming.ear_trimming(mesh);
    gLH.lapSpecStepTimer("caller");
    EXPECT_EQ(outline(gLH), "caller find-all-holes-ordered-halfedges fill-holes");
    EXPECT_THAT(steps.events(), ElementsAre("+caller/", "+find-all-holes-ordered-halfedges/",
                                            "-find-all-holes-ordered-halfedges/", "+fill-holes/",
                                            "-fill-holes/", "-caller/"));
}

TEST(EarTrimming, MeshKeepsNoPropertyOfTheRun)
{
    TriMesh mesh = grid_with_hole(1);
    auto const before = live_halfedge_properties(mesh);
    EarTrimming trimming;
    trimming.ear_trimming(mesh);
    EXPECT_EQ(live_halfedge_properties(mesh), before);
}

TEST(EarTrimming, CopyTakesTheSettingsAlong)
{
    auto trimming = without_limits();
    trimming.set_max_perimeter(5.0);
    EarTrimming const copy(trimming);
    EarTrimming assigned;
    assigned = copy;
    TriMesh mesh = grid_with_hole(1);
    assigned.ear_trimming(mesh);
    ASSERT_EQ(assigned.open_holes().size(), 1U);
    EXPECT_EQ(assigned.open_holes()[0].reason, OpenReason::PERIMETER_TOO_LONG);
}

TEST(EarTrimming, AgreementOfNormalsCanBeAskedFor)
{
    EarTrimming const trimming;
    TriMesh const mesh = grid(1, 1);
    EXPECT_FALSE(trimming.consistency_normal(mesh, vh(3), vh(1), vh(0), 150.0));
    EXPECT_TRUE(trimming.consistency_normal(mesh, vh(3), vh(1), vh(0), 180.0));
}

TEST(OpenHole, ReasonsAreShortLowerCaseText)
{
    std::set<std::string> texts;
    for (auto const reason :
         {OpenReason::TOO_MANY_EDGES, OpenReason::PERIMETER_TOO_LONG, OpenReason::CORNER_TOO_WIDE,
          OpenReason::EDGE_TOO_LONG, OpenReason::NORMALS_DISAGREE, OpenReason::FACE_REFUSED,
          OpenReason::DEGENERATE_CORNER, OpenReason::BOUNDARY_TANGLED})
    {
        std::string const text = to_string(reason);
        EXPECT_THAT(text, testing::MatchesRegex("[a-z ]+"));
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), 8U);
    EXPECT_STREQ(to_string(OpenReason::TOO_MANY_EDGES), "more edges than allowed");
}
