#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"

#include <limits>
#include <numeric>
#include <random>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

using Lists = std::vector<std::vector<int>>;

/// Loops as they are but for where they begin, and the list of them sorted.
Lists without_order(Lists loops)
{
    for (auto& loop : loops)
    {
        std::rotate(loop.begin(), std::min_element(loop.begin(), loop.end()), loop.end());
    }
    std::sort(loops.begin(), loops.end());
    return loops;
}

/// A random order of the numbers from 0 to n - 1.
std::vector<int> shuffled(std::size_t n, unsigned seed)
{
    std::vector<int> order(n);
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(seed));
    return order;
}

/// A sheet with holes of many kinds, some of which touch.
TriMesh sheet()
{
    return grid_without(9, 9, {{1, 1}, {2, 2}, {2, 4}, {3, 4}, {5, 5}, {6, 6}, {7, 5}, {0, 8}});
}

} // namespace

TEST(FindHolesEx, AClosedMeshHasNoHoles)
{
    LogCapture const log;
    TriMesh mesh = tetrahedron();
    Holes holes{{vh(0)}};
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, true), RET_INVALID_INPUT);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(log.text(), "find_holes() : all holes ..\n  fail to find any holes.\n");
}

TEST(FindHolesEx, AnEmptyMeshHasNoHoles)
{
    TriMesh mesh;
    Holes holes{{vh(0)}};
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, false), RET_INVALID_INPUT);
    EXPECT_TRUE(holes.empty());
}

TEST(FindHolesEx, AHoleIsTheFromVerticesFromTheLowestHalfedgeOn)
{
    LogCapture const log;
    TriMesh mesh = lone_triangle();
    Holes holes{{vh(9)}, {vh(9)}};
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, true), RET_SUCCESS);
    EXPECT_EQ(indices(holes), (Lists{{1, 0, 2}}));
    EXPECT_EQ(log.text(), "find_holes() : all holes ..\n");
}

TEST(FindHolesEx, TwoHolesThatTouchHoldTheirVertexOnceEach)
{
    TriMesh mesh = pinched_pair();
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, false), RET_SUCCESS);
    ASSERT_EQ(holes.size(), 3U);
    EXPECT_EQ(holes[0].size(), 16U);
    EXPECT_EQ(without_order({indices(holes[1]), indices(holes[2])}),
              (Lists{{6, 7, 12, 11}, {12, 13, 18, 17}}));
}

TEST(FindHolesEx, ABoundaryThatTouchesItselfIsCutThere)
{
    TriMesh mesh = bow_tie();
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, false), RET_SUCCESS);
    // The walk is 1 0 4 3 0 2: back at 0 the loop 0 4 3 closes, and the path goes on from 0.
    EXPECT_EQ(indices(holes), (Lists{{0, 4, 3}, {1, 0, 2}}));
}

TEST(FindHolesEx, AnIslandOnAPointIsCutOff)
{
    // A ring of cells with a single cell in the middle that hangs on one corner of the ring.
    TriMesh mesh = grid_without(5, 5, {{1, 2}, {1, 3}, {2, 1}, {3, 1}, {2, 3}, {3, 2}, {3, 3}});
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, false), RET_SUCCESS);
    EXPECT_TRUE(all_simple(holes));
    EXPECT_EQ(indices(holes), indices(plain_holes(mesh)));
    EXPECT_EQ(edges_of(holes), boundary_edges(mesh));
    EXPECT_EQ(static_cast<int>(holes.size()), count_loops(mesh));
    ASSERT_EQ(holes.size(), 3U); // the rim, the gap round the island, the island's own border
}

TEST(FindHolesEx, NothingIsPrintedAndTheSwitchIsLeftAlone)
{
    for (bool const before : {false, true})
    {
        LogCapture const log(before);
        TriMesh mesh = lone_triangle();
        TriMesh closed = tetrahedron();
        Holes holes;
        std::vector<VertexHandle> hole;
        FindHolesEx::find_holes(mesh, holes, false);
        FindHolesEx::find_holes(closed, holes, false);
        FindHolesEx::find_holes(mesh, 1.0, holes, false);
        FindHolesEx::find_hole(mesh, {0, 0, 0}, {}, 1.0, hole, false);
        FindHolesEx::find_hole(mesh, {9, 9, 9}, 1.0, hole, false);
        FindHolesEx::find_hole(closed, {0, 0, 0}, 1.0, hole, false);
        FindHolesEx::find_marker_holes(mesh, {{0, 0, 0}}, {}, 1.0, 1.0, true, 0.5, holes, false);
        FindHolesEx::find_marker_holes(mesh, {{9, 9, 9}}, {}, 1.0, 9.0, false, 0.5, holes, false);
        EXPECT_EQ(log.text(), "");
        EXPECT_EQ(gPH.log_enabled, before);
        FindHolesEx::find_holes(mesh, holes, true);
        EXPECT_EQ(log.text(), "find_holes() : all holes ..\n");
        EXPECT_EQ(gPH.log_enabled, before);
    }
}

TEST(FindHolesEx, LeavesNoPropertyBehind)
{
    TriMesh mesh = pinched_pair();
    int const before = count_properties(mesh);
    Holes holes;
    FindHolesEx::find_holes(mesh, holes, false);
    FindHolesEx::find_holes(mesh, 5.0, holes, false);
    FindHolesEx::find_marker_holes(mesh, {{0, 0, 0}}, {}, 1.0, 1.0, false, 0.0, holes, false);
    EXPECT_EQ(count_properties(mesh), before);
}

TEST(FindHolesEx, ALargeMeshIsSearchedLikeThePlainSearchDoes)
{
    std::mt19937 random(99);
    std::vector<Cell> missing;
    for (int i = 0; i < 700; ++i)
    {
        missing.emplace_back(random() % 100, random() % 100);
    }
    TriMesh mesh = grid_without(100, 100, missing);
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, false), RET_SUCCESS);
    EXPECT_EQ(indices(holes), indices(plain_holes(mesh)));
    EXPECT_GT(holes.size(), 300U);
    EXPECT_TRUE(all_simple(holes));
    EXPECT_EQ(edges_of(holes), boundary_edges(mesh));
}

TEST(FindHolesEx, TurningAndScalingTheMeshChangesNothing)
{
    TriMesh mesh = sheet();
    Holes before;
    FindHolesEx::find_holes(mesh, 6.5, before, false);
    ASSERT_FALSE(before.empty());
    for (auto const v : mesh.vertices())
    {
        Vector3f const p = mesh.point(v);
        mesh.set_point(v, Vector3f(-p.y(), p.x(), p.z()) * 4.0F);
    }
    Holes after;
    FindHolesEx::find_holes(mesh, 26.0, after, false);
    EXPECT_EQ(indices(after), indices(before));
}

TEST(FindHolesEx, RenumberingVerticesRenumbersTheHoles)
{
    TriMesh mesh = sheet();
    auto const new_index = shuffled(mesh.n_vertices(), 5);
    std::vector<Vector3f> points(mesh.n_vertices());
    std::vector<Triangle> triangles;
    for (auto const v : mesh.vertices())
    {
        points[static_cast<std::size_t>(new_index[static_cast<std::size_t>(v.idx())])] =
            mesh.point(v);
    }
    for (auto const f : mesh.faces())
    {
        Triangle triangle{};
        std::size_t i = 0;
        for (auto const v : f.vertices())
        {
            triangle[i++] = new_index[static_cast<std::size_t>(v.idx())];
        }
        triangles.push_back(triangle);
    }
    TriMesh renumbered = make_mesh(points, triangles);
    Holes before;
    Holes after;
    FindHolesEx::find_holes(mesh, before, false);
    FindHolesEx::find_holes(renumbered, after, false);
    for (auto& hole : before)
    {
        for (auto& v : hole)
        {
            v = vh(new_index[static_cast<std::size_t>(v.idx())]);
        }
    }
    EXPECT_EQ(without_order(indices(after)), without_order(indices(before)));
}

TEST(FindHolesEx, RenumberingFacesChangesTheOrderOfHolesOnly)
{
    TriMesh mesh = sheet();
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles(mesh.n_faces());
    for (auto const v : mesh.vertices())
    {
        points.push_back(mesh.point(v));
    }
    auto const new_index = shuffled(mesh.n_faces(), 6);
    for (auto const f : mesh.faces())
    {
        std::size_t i = 0;
        for (auto const v : f.vertices())
        {
            triangles[static_cast<std::size_t>(new_index[static_cast<std::size_t>(f.idx())])][i++] =
                v.idx();
        }
    }
    TriMesh renumbered;
    for (auto const& p : points)
    {
        renumbered.add_vertex(p);
    }
    for (auto const& t : triangles)
    {
        ASSERT_TRUE(renumbered.add_face(vh(t[0]), vh(t[1]), vh(t[2])).is_valid());
    }
    Holes before;
    Holes after;
    FindHolesEx::find_holes(mesh, before, false);
    FindHolesEx::find_holes(renumbered, after, false);
    EXPECT_EQ(edges_of(after), edges_of(before));
    EXPECT_EQ(after.size(), before.size());
    EXPECT_TRUE(all_simple(after));
}

TEST(FindHolesPerimeter, AHoleOfExactlyTheLimitIsNotKept)
{
    LogCapture const log;
    TriMesh mesh = grid_with_hole(1); // a hole of perimeter 4 in a sheet of perimeter 12
    Holes holes{{vh(3)}};
    EXPECT_EQ(FindHolesEx::find_holes(mesh, 4.0, holes, true), RET_SUCCESS);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(log.text(), "find_holes() : perimeter < 4.000000\nfind_holes() : all holes ..\n");
    EXPECT_EQ(FindHolesEx::find_holes(mesh, std::nextafter(4.0, 5.0), holes, false), RET_SUCCESS);
    EXPECT_EQ(holes.size(), 1U);
    EXPECT_EQ(FindHolesEx::find_holes(mesh, 12.5, holes, false), RET_SUCCESS);
    EXPECT_EQ(holes.size(), 2U);
}

TEST(FindHolesPerimeter, EdgesAreMeasuredInFloatAndSummedInDouble)
{
    // Sides of 1, 1 and the float nearest to the square root of two.
    TriMesh mesh = lone_triangle();
    double const perimeter = 2.0 + static_cast<double>(std::sqrt(2.0F));
    Holes holes;
    FindHolesEx::find_holes(mesh, perimeter, holes, false);
    EXPECT_TRUE(holes.empty());
    FindHolesEx::find_holes(mesh, std::nextafter(perimeter, 9.0), holes, false);
    EXPECT_EQ(holes.size(), 1U);
}

TEST(FindHolesPerimeter, AClosedMeshLeavesTheHolesAlone)
{
    LogCapture const log;
    TriMesh mesh = tetrahedron();
    Holes holes{{vh(3)}};
    EXPECT_EQ(FindHolesEx::find_holes(mesh, 4.0, holes, true), RET_INVALID_INPUT);
    EXPECT_EQ(indices(holes), (Lists{{3}}));
    EXPECT_EQ(log.text(), "find_holes() : perimeter < 4.000000\nfind_holes() : all holes ..\n"
                          "  fail to find any holes.\n");
}

TEST(FindHolesPerimeter, LimitsAndCoordinatesThatAreNoNumbersKeepNothing)
{
    TriMesh mesh = grid_with_hole(1);
    Holes holes{{vh(3)}};
    EXPECT_EQ(FindHolesEx::find_holes(mesh, NOT_A_NUMBER, holes, false), RET_SUCCESS);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(FindHolesEx::find_holes(mesh, -1.0, holes, false), RET_SUCCESS);
    EXPECT_TRUE(holes.empty());
    mesh.set_point(vh(5), {NOT_A_NUMBER, 1, 0}); // a corner of the inner hole
    EXPECT_EQ(FindHolesEx::find_holes(mesh, INFINITE, holes, false), RET_SUCCESS);
    ASSERT_EQ(holes.size(), 1U);
    EXPECT_EQ(holes[0].size(), 12U);
}

TEST(FindHoleKnown, WithoutKnownHolesTheHoleIsLeftAlone)
{
    LogCapture const log;
    TriMesh const mesh = lone_triangle();
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, {}, 9.0, hole, true), RET_INVALID_INPUT);
    EXPECT_EQ(indices(hole), std::vector<int>{2});
    EXPECT_EQ(log.text(), "find_hole() with all holes info known.\n  !!!empty known holes.\n");
}

TEST(FindHoleKnown, AVertexAtTheLimitIsNotNearEnough)
{
    LogCapture const log;
    TriMesh const mesh = lone_triangle();
    Holes const known{{vh(0), vh(1), vh(2)}};
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 2}, known, 2.0, hole, true), RET_FAILED);
    EXPECT_TRUE(hole.empty());
    EXPECT_EQ(log.text(), "find_hole() with all holes info known.\n");
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 2}, known, std::nextafter(2.0, 3.0), hole, false),
              RET_SUCCESS);
    EXPECT_EQ(indices(hole), (std::vector<int>{0, 1, 2}));
}

TEST(FindHoleKnown, OfEquallyNearHolesTheFirstIsTaken)
{
    TriMesh const mesh = grid(4, 1);
    Holes const known{{vh(0), vh(1)}, {vh(3), vh(4)}, {vh(1), vh(3)}};
    std::vector<VertexHandle> hole;
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {2, 0, 0}, known, 5.0, hole, false), RET_SUCCESS);
    EXPECT_EQ(indices(hole), (std::vector<int>{0, 1}));
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {2.25F, 0, 0}, known, 5.0, hole, false), RET_SUCCESS);
    EXPECT_EQ(indices(hole), (std::vector<int>{3, 4}));
}

TEST(FindHoleKnown, HandlesThatAreNotValidAreSkipped)
{
    TriMesh const mesh = lone_triangle();
    std::vector<VertexHandle> hole{vh(2)};
    Holes const known{{VertexHandle(), vh(1000), vh(-7)}, {vh(1000), vh(2)}, {}};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, known, 5.0, hole, false), RET_SUCCESS);
    EXPECT_EQ(indices(hole), (std::vector<int>{1000, 2}));
    Holes const none{{VertexHandle(), vh(1000)}, {}};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, none, INFINITE, hole, false), RET_FAILED);
    EXPECT_TRUE(hole.empty());
}

TEST(FindHoleKnown, CoordinatesThatAreNoNumbersAreNeverNear)
{
    TriMesh mesh = lone_triangle();
    Holes const known{{vh(0), vh(1), vh(2)}};
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {NOT_A_NUMBER, 0, 0}, known, INFINITE, hole, false),
              RET_FAILED);
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, known, NOT_A_NUMBER, hole, false),
              RET_FAILED);
    mesh.set_point(vh(0), {NOT_A_NUMBER, 0, 0});
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, known, 1.5, hole, false), RET_SUCCESS);
}

TEST(FindHoleNear, NoVertexNearEmptiesTheHole)
{
    LogCapture const log;
    TriMesh const mesh = lone_triangle();
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 2}, 2.0, hole, true), RET_INVALID_INPUT);
    EXPECT_TRUE(hole.empty());
    EXPECT_EQ(log.text(), "find_hole() : dis from vert < 2.000000 ..\n"
                          "  !!! wrong vert coord or distance threshold.\n");
}

TEST(FindHoleNear, OnlyInnerVerticesNearLeaveTheHoleAlone)
{
    LogCapture const log;
    TriMesh const mesh = grid(4, 4);
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {2, 2, 0}, 1.5, hole, true), RET_FAILED);
    EXPECT_EQ(indices(hole), std::vector<int>{2});
    EXPECT_EQ(log.text(), "find_hole() : dis from vert < 1.500000 ..\n"
                          "  !!! fail to find halfedge satisfy the criteria.\n");
}

TEST(FindHoleNear, IsolatedVerticesAreNearButOnNoBoundary)
{
    TriMesh mesh = tetrahedron();
    mesh.add_vertex({5, 5, 5});
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {5, 5, 5}, 1.0, hole, false), RET_FAILED);
    EXPECT_EQ(indices(hole), std::vector<int>{2});
}

TEST(FindHoleNear, TheNearestBoundaryVertexGivesTheHole)
{
    TriMesh const mesh = grid_without(6, 3, {{1, 1}, {4, 1}});
    std::vector<VertexHandle> hole;
    // (4.5, 1.5, 0) is the middle of the right hole, with the corners 11, 12, 18 and 19.
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {4.25F, 1.25F, 0}, 9.0, hole, false), RET_SUCCESS);
    ASSERT_EQ(hole.size(), 4U);
    EXPECT_EQ(hole[0].idx(), 11);
    EXPECT_EQ(without_order({indices(hole)}), (Lists{{11, 12, 19, 18}}));
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {-1, 1.4F, 0}, 9.0, hole, false), RET_SUCCESS);
    EXPECT_EQ(hole.size(), 18U);
}

TEST(FindHoleNear, OfASplitBoundaryTheLoopNearestToThePointIsTaken)
{
    TriMesh const mesh = bow_tie();
    std::vector<VertexHandle> hole;
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0.9F, 0, 0}, 9.0, hole, false), RET_SUCCESS);
    EXPECT_EQ(without_order({indices(hole)}), (Lists{{0, 2, 1}}));
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {-0.9F, 0, 0}, 9.0, hole, false), RET_SUCCESS);
    EXPECT_EQ(without_order({indices(hole)}), (Lists{{0, 4, 3}}));
}

TEST(FindHoleNear, AtTheVertexThatTwoLoopsShareTheFirstLoopIsTaken)
{
    TriMesh const mesh = bow_tie();
    // The walk begins at the halfedge that the mesh keeps for vertex 0; the loop that closes first
    // is the one that this halfedge is on.
    auto const first = mesh.to_vertex_handle(mesh.halfedge_handle(vh(0)));
    std::vector<VertexHandle> hole;
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, 0.5, hole, false), RET_SUCCESS);
    ASSERT_EQ(hole.size(), 3U);
    EXPECT_EQ(hole[0].idx(), 0);
    EXPECT_EQ(hole[1], first);
}

TEST(FindHoleNear, DeletedElementsAreNotFound)
{
    TriMesh mesh = bow_tie();
    mesh.request_vertex_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_face_status();
    mesh.delete_face(OpenMesh::FaceHandle(1), true);
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {-1, 0, 0}, 0.5, hole, false), RET_FAILED);
    EXPECT_EQ(indices(hole), std::vector<int>{2});
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, 0.5, hole, false), RET_SUCCESS);
    EXPECT_EQ(without_order({indices(hole)}), (Lists{{0, 2, 1}}));
}

TEST(FindHoleNear, CoordinatesThatAreNoNumbersAreNeverNear)
{
    TriMesh mesh = lone_triangle();
    std::vector<VertexHandle> hole{vh(2)};
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {NOT_A_NUMBER, 0, 0}, 9.0, hole, false),
              RET_INVALID_INPUT);
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, NOT_A_NUMBER, hole, false),
              RET_INVALID_INPUT);
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {0, 0, 0}, -1.0, hole, false), RET_INVALID_INPUT);
    EXPECT_EQ(FindHolesEx::find_hole(TriMesh(), {0, 0, 0}, 9.0, hole, false), RET_INVALID_INPUT);
    mesh.set_point(vh(0), {NOT_A_NUMBER, 0, 0});
    EXPECT_EQ(FindHolesEx::find_hole(mesh, {1, 0, 0}, 0.5, hole, false), RET_SUCCESS);
    EXPECT_EQ(hole.size(), 3U);
}
