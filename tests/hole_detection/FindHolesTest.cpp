#include "algorithmVeld/hole_detection/FindHoles.h"
#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"
#include "tests/support/steps.h"

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

TEST(FindHoles, AClosedMeshIsASuccessWithoutHoles)
{
    LogCapture const log;
    TriMesh mesh = tetrahedron();
    Holes holes{{vh(0)}};
    EXPECT_EQ(FindHoles::find_holes(mesh, holes, true), RET_SUCCESS);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(log.text(), "find_holes() [for hole verts] ..\n found holes:          0\n");
}

TEST(FindHoles, HolesAreMadeOfToVertices)
{
    // The boundary of a lone triangle runs 1 -> 0, 0 -> 2, 2 -> 1, from its lowest halfedge.
    TriMesh mesh = lone_triangle();
    Holes holes;
    EXPECT_EQ(FindHoles::find_holes(mesh, holes, false), RET_SUCCESS);
    EXPECT_EQ(indices(holes), (std::vector<std::vector<int>>{{0, 2, 1}}));
}

TEST(FindHoles, ABoundaryThatTouchesItselfIsOneHoleWithThatVertexTwice)
{
    LogCapture const log;
    TriMesh mesh = bow_tie();
    Holes holes;
    EXPECT_EQ(FindHoles::find_holes(mesh, holes, true), RET_SUCCESS);
    ASSERT_EQ(holes.size(), 1U);
    EXPECT_EQ(holes[0].size(), 6U);
    EXPECT_EQ(std::count(holes[0].begin(), holes[0].end(), vh(0)), 2);
    EXPECT_EQ(log.text(), "find_holes() [for hole verts] ..\n found holes:          1\n");

    FindHoles finder;
    EXPECT_EQ(finder.find_simple_holes(mesh, holes, false), RET_SUCCESS);
    ASSERT_EQ(holes.size(), 2U);
    for (auto const& hole : holes)
    {
        EXPECT_EQ(hole.size(), 3U);
        EXPECT_EQ(std::count(hole.begin(), hole.end(), vh(0)), 1);
    }
}

TEST(FindHoles, TwoHolesThatTouchAreTwo)
{
    TriMesh mesh = pinched_pair();
    Holes holes;
    EXPECT_EQ(FindHoles::find_holes(mesh, holes, false), RET_SUCCESS);
    ASSERT_EQ(holes.size(), 3U);
    EXPECT_EQ(holes[0].size(), 16U);
    EXPECT_EQ(holes[1].size(), 4U);
    EXPECT_EQ(holes[2].size(), 4U);
}

TEST(FindHoles, ToVerticesAreFromVerticesOneStepOn)
{
    TriMesh mesh = grid_without(6, 6, {{1, 1}, {2, 2}, {4, 4}, {4, 3}, {0, 5}});
    Holes holes;
    FindHoles::find_holes(mesh, holes, false);
    auto const walks = plain_walks(mesh);
    ASSERT_EQ(holes.size(), walks.size());
    for (std::size_t i = 0; i < walks.size(); ++i)
    {
        ASSERT_EQ(holes[i].size(), walks[i].size());
        for (std::size_t k = 0; k < walks[i].size(); ++k)
        {
            EXPECT_EQ(holes[i][k], mesh.to_vertex_handle(walks[i][k]));
        }
    }
}

TEST(FindHoles, TheLogSwitchStaysAsTheLastCallLeftIt)
{
    LogCapture const log(false);
    TriMesh mesh = lone_triangle();
    Holes holes;
    std::vector<VertexHandle> starts;
    FindHoles::find_holes(mesh, holes, true);
    EXPECT_TRUE(gPH.log_enabled);
    FindHoles::find_holes(mesh, holes, false);
    EXPECT_FALSE(gPH.log_enabled);
    FindHoles::find_holes(mesh, {}, 1.0, starts, true);
    EXPECT_TRUE(gPH.log_enabled);
    FindHoles::find_holes(mesh, {}, 1.0, starts, false);
    EXPECT_FALSE(gPH.log_enabled);
}

TEST(FindHoles, NothingIsLoggedUnlessVerbose)
{
    LogCapture const log(true);
    TriMesh mesh = lone_triangle();
    Holes holes;
    std::vector<VertexHandle> starts;
    FindHoles::find_holes(mesh, holes, false);
    FindHoles::find_holes(mesh, {}, 1.0, starts, false);
    FindHoles::find_holes(mesh, {{9, 9, 9}}, 1.0, starts, false);
    FindHoles().find_simple_holes(mesh, holes, false);
    EXPECT_EQ(log.text(), "");
}

TEST(FindHolesStart, WithoutCentresTheStartsAreLeftAlone)
{
    LogCapture const log;
    TriMesh mesh = lone_triangle();
    std::vector<VertexHandle> starts{vh(7)};
    EXPECT_EQ(FindHoles::find_holes(mesh, {}, 1.0, starts, true), RET_INVALID_INPUT);
    EXPECT_EQ(indices(starts), std::vector<int>{7});
    EXPECT_EQ(log.text(), "find_holes() [for starting point] ..\n!!!empty verts.\n");
}

TEST(FindHolesStart, GivesTheToVertexOfEachLoopsFirstHalfedgeInTheOrderOfTheLoops)
{
    LogCapture const log;
    TriMesh mesh = grid_without(6, 3, {{1, 1}, {4, 1}});
    Holes all;
    FindHoles::find_holes(mesh, all, false);
    ASSERT_EQ(all.size(), 3U);
    std::vector<VertexHandle> starts{vh(7)};
    // The centres are (1.5, 1.5, 0) and (4.5, 1.5, 0): asked for in the other order, one twice.
    std::vector<Vector3f> const centres{{4.5F, 1.5F, 0.0F}, {1.5F, 1.5F, 0.1F}, {4.4F, 1.5F, 0}};
    EXPECT_EQ(FindHoles::find_holes(mesh, centres, 0.25, starts, true), RET_SUCCESS);
    EXPECT_EQ(indices(starts), (std::vector<int>{all[1][0].idx(), all[2][0].idx()}));
    EXPECT_EQ(log.text(), "find_holes() [for starting point] ..\n"
                          "  input hole center num:            3\n"
                          "  hole match distance thr:          0.25 mm\n\n");
}

TEST(FindHolesStart, ALoopAtTheLimitIsNotNear)
{
    LogCapture const log;
    TriMesh mesh = grid_with_hole(1);
    std::vector<VertexHandle> starts{vh(7)};
    // The middle of the hole is (1.5, 1.5, 0), so is the middle of the outer boundary: 0.5 away.
    EXPECT_EQ(FindHoles::find_holes(mesh, {{1.5F, 1.5F, 0.5F}}, 0.5, starts, true),
              RET_INVALID_INPUT);
    EXPECT_TRUE(starts.empty());
    EXPECT_EQ(log.text(), "find_holes() [for starting point] ..\n"
                          "  input hole center num:            1\n"
                          "  hole match distance thr:          0.50 mm\n\n"
                          "!!!fail to find corresponding holes.\n");
    EXPECT_EQ(FindHoles::find_holes(mesh, {{1.5F, 1.5F, 0.5F}}, 0.51, starts, false), RET_SUCCESS);
    EXPECT_EQ(starts.size(), 2U);
}

TEST(FindHolesStart, ABoundaryThatTouchesItselfHasOneCentre)
{
    // Its walk is 1 0 4 3 0 2: the vertex 0 counts twice, and the mean of the six is (-1, -0.5, 0).
    // The five vertices have their mean at (-1.2, -0.6, 0).
    TriMesh mesh = lopsided_bow_tie();
    std::vector<VertexHandle> starts;
    EXPECT_EQ(FindHoles::find_holes(mesh, {{-1, -0.5F, 0}}, 0.05, starts, false), RET_SUCCESS);
    EXPECT_EQ(indices(starts), std::vector<int>{0});
    // The middles of its two loops are nothing to it.
    EXPECT_EQ(FindHoles::find_holes(mesh, {{2, 1, 0}, {-4, -2, 0}, {-1.2F, -0.6F, 0}}, 0.05, starts,
                                    false),
              RET_INVALID_INPUT);
    EXPECT_TRUE(starts.empty());
}

TEST(FindHolesStart, CentresFarFromTheOriginAreSummedInDouble)
{
    TriMesh mesh = disc_far_away();
    Holes holes;
    FindHoles::find_holes(mesh, holes, false);
    ASSERT_EQ(holes.size(), 1U);
    Vector3f const centre = exact_mean(mesh, holes[0]);
    ASSERT_GT((mean_in_float(mesh, holes[0]) - centre).norm(), 0.1F);
    std::vector<VertexHandle> starts;
    EXPECT_EQ(FindHoles::find_holes(mesh, {centre}, 0.002, starts, false), RET_SUCCESS);
}

TEST(FindHolesStart, AClosedOrEmptyMeshHasNoLoopNearAnything)
{
    for (TriMesh mesh : {tetrahedron(), TriMesh()})
    {
        std::vector<VertexHandle> starts{vh(7)};
        EXPECT_EQ(FindHoles::find_holes(mesh, {{0, 0, 0}}, 100.0, starts, false),
                  RET_INVALID_INPUT);
        EXPECT_TRUE(starts.empty());
    }
}

TEST(FindHolesStart, CoordinatesThatAreNoNumbersAreNeverNear)
{
    TriMesh mesh = grid_without(6, 3, {{1, 1}, {4, 1}});
    std::vector<VertexHandle> starts;
    EXPECT_EQ(FindHoles::find_holes(mesh, {{NOT_A_NUMBER, 0, 0}}, 100.0, starts, false),
              RET_INVALID_INPUT);
    EXPECT_EQ(FindHoles::find_holes(mesh, {{0, 0, 0}}, NOT_A_NUMBER, starts, false),
              RET_INVALID_INPUT);
    mesh.set_point(vh(8), {NOT_A_NUMBER, 1, 0}); // a corner of the first hole only
    EXPECT_EQ(FindHoles::find_holes(mesh, {{1.5F, 1.5F, 0}, {4.5F, 1.5F, 0}}, 0.5, starts, false),
              RET_SUCCESS);
    EXPECT_EQ(starts.size(), 1U);
}

TEST(FindSimpleHoles, GivesTheHolesOfFindHolesExAndLeavesTheSwitchAlone)
{
    LogCapture const log(false);
    TriMesh mesh = pinched_pair();
    Holes simple{{vh(0)}};
    Holes holes;
    FindHoles finder;
    EXPECT_EQ(finder.find_simple_holes(mesh, simple, true), RET_SUCCESS);
    EXPECT_FALSE(gPH.log_enabled);
    EXPECT_EQ(log.text(), "find_simple_holes() ..\n\n---------- mesh info ----------\n"
                          "  vertices:            25\n  faces:               28\n");
    EXPECT_EQ(FindHolesEx::find_holes(mesh, holes, false), RET_SUCCESS);
    EXPECT_EQ(indices(simple), indices(holes));
}

TEST(FindSimpleHoles, NoHoleIsASuccess)
{
    LogCapture const log;
    TriMesh mesh = tetrahedron();
    Holes holes{{vh(0)}};
    EXPECT_EQ(FindHoles().find_simple_holes(mesh, holes, true), RET_SUCCESS);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(log.count("fail"), 0);
}

TEST(FindHoles, LeavesNoPropertyBehind)
{
    TriMesh mesh = pinched_pair();
    int const before = count_properties(mesh);
    Holes holes;
    std::vector<VertexHandle> starts;
    FindHoles::find_holes(mesh, holes, false);
    FindHoles::find_holes(mesh, {{0, 0, 0}}, 10.0, starts, false);
    FindHoles().find_simple_holes(mesh, holes, false);
    EXPECT_EQ(count_properties(mesh), before);
}

TEST(FindHoles, TimesNoSteps)
{
    TriMesh mesh = pinched_pair();
    Holes holes;
    std::vector<VertexHandle> starts;
    StepsHeard const steps;
    FindHoles::find_holes(mesh, holes, false);
    FindHoles::find_holes(mesh, {{0, 0, 0}}, 10.0, starts, false);
    FindHoles().find_simple_holes(mesh, holes, false);
    FindHolesEx::find_holes(mesh, holes, false);
    FindHolesEx::find_holes(mesh, 5.0, holes, false);
    FindHolesEx::find_marker_holes(mesh, {{0, 0, 0}}, {}, 1.0, 1.0, false, 0.0, holes, false);
    EXPECT_TRUE(steps.events().empty());
    EXPECT_EQ(outline(gLH), "");
}

TEST(FindHoles, CopiesFindTheSameHoles)
{
    FindHoles const finder;
    FindHoles copy(finder);
    copy = finder;
    TriMesh mesh = lone_triangle();
    Holes holes;
    EXPECT_EQ(copy.find_simple_holes(mesh, holes, false), RET_SUCCESS);
    EXPECT_EQ(holes.size(), 1U);
}
