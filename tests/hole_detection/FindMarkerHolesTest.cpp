#include "algorithmVeld/hole_detection/FindHolesEx.h"
#include "tests/support/holes.h"
#include "tests/support/log_capture.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"
#include "tests/support/threads.h"

#include <limits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

constexpr double PI = 3.141592653589793;

/// A sheet in the plane z = 0, its normals up, with unit holes around (1.5, 1.5) and (4.5, 1.5).
TriMesh two_holes()
{
    return grid_without(6, 3, {{1, 1}, {4, 1}});
}

Vector3f const LEFT(1.5F, 1.5F, 0.0F);
Vector3f const RIGHT(4.5F, 1.5F, 0.0F);

/// The holes near some markers of radius 1, which a hole of perimeter 4 fits, without normals.
Holes find(TriMesh& mesh, std::vector<Vector3f> const& markers, double distance,
           RetVal expected = RET_SUCCESS)
{
    Holes holes;
    EXPECT_EQ(
        FindHolesEx::find_marker_holes(mesh, markers, {}, distance, 1.0, false, 0.0, holes, false),
        expected);
    return holes;
}

/// How many holes match a marker at the left hole with this normal.
std::size_t count_matching(TriMesh& mesh, Vector3f const& normal, double limit)
{
    Holes holes;
    FindHolesEx::find_marker_holes(mesh, {LEFT}, {normal}, 0.5, 1.0, true, limit, holes, false);
    return holes.size();
}

} // namespace

TEST(FindMarkerHoles, LogsWhatItWasGiven)
{
    LogCapture const log;
    TriMesh mesh = two_holes();
    Holes holes;
    EXPECT_EQ(
        FindHolesEx::find_marker_holes(mesh, {LEFT, RIGHT}, {}, 0.25, 1.0, false, 0.5, holes, true),
        RET_SUCCESS);
    EXPECT_EQ(log.text(), "find_marker_holes() ..\n"
                          "  input: vert num                     2\n"
                          "  param: hole_match_thr               0.250000\n"
                          "  param: marker_radius                1.000000\n"
                          "find_holes() : perimeter < 6.283185\n"
                          "find_holes() : all holes ..\n");
}

TEST(FindMarkerHoles, UnequalNumbersOfPointsAndNormalsAreRefused)
{
    LogCapture const log;
    TriMesh mesh = two_holes();
    Holes holes{{vh(3)}};
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {LEFT}, {}, 0.25, 1.0, true, 0.5, holes, true),
              RET_INVALID_INPUT);
    EXPECT_EQ(indices(holes), (std::vector<std::vector<int>>{{3}}));
    EXPECT_EQ(log.text(), "find_marker_holes() ..\n"
                          "  input: vert num                     1\n"
                          "  param: hole_match_thr               0.250000\n"
                          "  param: marker_radius                1.000000\n"
                          "  !!!error: unmatched vert and norm size.\n");
    EXPECT_FALSE(mesh.has_vertex_normals());
}

TEST(FindMarkerHoles, WithoutNormalsAnyNumberOfThemIsFine)
{
    TriMesh mesh = two_holes();
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {LEFT}, {{0, 0, 1}, {0, 0, 1}, {1, 0, 0}}, 0.25,
                                             1.0, false, 0.5, holes, false),
              RET_SUCCESS);
    EXPECT_EQ(holes.size(), 1U);
    EXPECT_FALSE(mesh.has_vertex_normals());
    EXPECT_FALSE(mesh.has_face_normals());
}

TEST(FindMarkerHoles, NoMarkersSearchTheHolesAndFindNone)
{
    LogCapture const log;
    TriMesh mesh = two_holes();
    Holes holes{{vh(3)}};
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {}, {}, 0.25, 1.0, true, 0.5, holes, true),
              RET_INVALID_INPUT);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(log.count("find_holes() : all holes ..\n"), 1);
    EXPECT_EQ(log.count("  fail to find corresponding markerss.\n"), 1);
}

TEST(FindMarkerHoles, AClosedMeshLeavesTheHolesAlone)
{
    LogCapture const log;
    TriMesh mesh = tetrahedron();
    Holes holes{{vh(3)}};
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {LEFT}, {{0, 0, 1}}, 0.25, 1.0, true, 0.5, holes,
                                             true),
              RET_INVALID_INPUT);
    EXPECT_EQ(indices(holes), (std::vector<std::vector<int>>{{3}}));
    EXPECT_EQ(log.count("  fail to find any holes.\n"), 1);
    EXPECT_EQ(log.count("markerss"), 0);
    EXPECT_FALSE(mesh.has_vertex_normals());
    TriMesh empty;
    EXPECT_EQ(
        FindHolesEx::find_marker_holes(empty, {LEFT}, {}, 0.25, 1.0, false, 0.5, holes, false),
        RET_INVALID_INPUT);
}

TEST(FindMarkerHoles, OnlyHolesShorterThanTheMarkersCircleCount)
{
    TriMesh mesh = two_holes();
    Holes holes{{vh(3)}};
    // A circle of 4 mm is as long as the holes are.
    double const radius = 4.0 / (2.0 * PI);
    ASSERT_LE(radius * 2.0 * PI, 4.0);
    EXPECT_EQ(
        FindHolesEx::find_marker_holes(mesh, {LEFT}, {}, 0.25, radius, false, 0.5, holes, false),
        RET_INVALID_INPUT);
    EXPECT_TRUE(holes.empty());
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {LEFT}, {}, 0.25, radius * 1.000001, false, 0.5,
                                             holes, false),
              RET_SUCCESS);
    EXPECT_EQ(holes.size(), 1U);
}

TEST(FindMarkerHoles, ACentreAtTheLimitDoesNotMatch)
{
    TriMesh mesh = two_holes();
    Vector3f const above = LEFT + Vector3f(0, 0, 0.5F);
    EXPECT_EQ(find(mesh, {above}, 0.5, RET_INVALID_INPUT).size(), 0U);
    EXPECT_EQ(find(mesh, {above}, 0.500001).size(), 1U);
}

TEST(FindMarkerHoles, CentresFarFromTheOriginAreSummedInDouble)
{
    TriMesh mesh = disc_far_away();
    Holes all;
    FindHolesEx::find_holes(mesh, all, false);
    ASSERT_EQ(all.size(), 1U);
    Vector3f const centre = exact_mean(mesh, all[0]);
    ASSERT_GT((mean_in_float(mesh, all[0]) - centre).norm(), 0.1F);
    Holes holes;
    EXPECT_EQ(
        FindHolesEx::find_marker_holes(mesh, {centre}, {}, 0.002, 9.0, false, 0.0, holes, false),
        RET_SUCCESS);
    EXPECT_EQ(indices(holes), indices(all));
}

TEST(FindMarkerHoles, LoopsOfABoundaryThatTouchesItselfHaveACentreEach)
{
    TriMesh mesh = lopsided_bow_tie();
    Holes all;
    FindHolesEx::find_holes(mesh, all, false);
    ASSERT_EQ(indices(all), (std::vector<std::vector<int>>{{0, 4, 3}, {1, 0, 2}}));
    Holes holes;
    // The longer loop has a perimeter of 20.5, the circle one of 25.1.
    auto const near = [&](Vector3f const& marker)
    {
        FindHolesEx::find_marker_holes(mesh, {marker}, {}, 0.05, 4.0, false, 0.0, holes, false);
        return indices(holes);
    };
    EXPECT_EQ(near({-4, -2, 0}), (std::vector<std::vector<int>>{{0, 4, 3}}));
    EXPECT_EQ(near({2, 1, 0}), (std::vector<std::vector<int>>{{1, 0, 2}}));
    EXPECT_TRUE(near({-1, -0.5F, 0}).empty());
}

TEST(FindMarkerHoles, HolesComeInTheirOwnOrderAndOnce)
{
    TriMesh mesh = two_holes();
    Holes all;
    FindHolesEx::find_holes(mesh, 5.0, all, false);
    ASSERT_EQ(all.size(), 2U);
    Vector3f const near_left = LEFT + Vector3f(0.1F, 0, 0);
    EXPECT_EQ(indices(find(mesh, {RIGHT, near_left, LEFT, RIGHT}, 0.25)), indices(all));
    EXPECT_EQ(indices(find(mesh, {RIGHT}, 0.25)), indices(Holes{all[1]}));
}

TEST(FindMarkerHoles, TheNormalHasToAgreeByMoreThanTheLimit)
{
    TriMesh mesh = two_holes();
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 1.0), 0U); // the same direction: exactly 1
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.999), 1U);
    EXPECT_EQ(count_matching(mesh, {0, 0, -1}, 0.0), 0U);
    EXPECT_EQ(count_matching(mesh, {0, 0, -1}, -1.5), 1U);
    EXPECT_EQ(count_matching(mesh, {1, 0, 0}, 0.0), 0U); // square to it: exactly 0
    EXPECT_EQ(count_matching(mesh, {NOT_A_NUMBER, 0, 0}, -2.0), 0U);
}

TEST(FindMarkerHoles, TheLimitOfTheProductOfNormalsIsComparedInDouble)
{
    // The product is exactly 1 in float, and so would be this limit.
    TriMesh mesh = two_holes();
    double const limit = 1.0 - 1e-12;
    ASSERT_EQ(static_cast<float>(limit), 1.0F);
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, limit), 1U);
}

TEST(FindMarkerHoles, AHoleThatOneMarkerRefusesMayBeAnothers)
{
    TriMesh mesh = two_holes();
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {LEFT, LEFT, RIGHT},
                                             {{0, 0, -1}, {0, 0, 1}, {0, 0, -1}}, 0.25, 1.0, true,
                                             0.5, holes, false),
              RET_SUCCESS);
    EXPECT_EQ(holes.size(), 1U);
}

TEST(FindMarkerHoles, MissingNormalsAreRequestedAndStay)
{
    TriMesh mesh = two_holes();
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.5), 1U);
    EXPECT_TRUE(mesh.has_vertex_normals());
    EXPECT_TRUE(mesh.has_face_normals());
    EXPECT_EQ(mesh.normal(vh(0)), Vector3f(0, 0, 1));
    // Once is enough: the host can let go of them.
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.5), 1U);
    mesh.release_vertex_normals();
    mesh.release_face_normals();
    EXPECT_FALSE(mesh.has_vertex_normals());
    EXPECT_FALSE(mesh.has_face_normals());
}

TEST(FindMarkerHoles, NormalsThatTheHostBroughtAreUsed)
{
    TriMesh mesh = two_holes();
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, {1, 0, 0});
    }
    EXPECT_EQ(count_matching(mesh, {1, 0, 0}, 0.9), 1U);
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.1), 0U);
    EXPECT_EQ(mesh.normal(vh(0)), Vector3f(1, 0, 0));
}

TEST(FindMarkerHoles, NormalsThatTheHostBroughtAreUsedAsTheyAre)
{
    TriMesh mesh = two_holes();
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    mesh.update_face_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, {1, 0, 0});
    }
    EXPECT_EQ(count_matching(mesh, {1, 0, 0}, 0.9), 1U);
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.1), 0U);
    for (auto const v : mesh.vertices())
    {
        ASSERT_EQ(mesh.normal(v), Vector3f(1, 0, 0));
    }
}

TEST(FindMarkerHoles, BothKindsOfNormalsAreComputedWhereOneIsMissing)
{
    // So that they agree, whichever kind the host brought.
    TriMesh mesh = two_holes();
    mesh.request_vertex_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, {1, 0, 0});
    }
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.9), 1U);
    ASSERT_TRUE(mesh.has_face_normals());
    EXPECT_EQ(mesh.normal(OpenMesh::FaceHandle(0)), Vector3f(0, 0, 1));
    EXPECT_EQ(mesh.normal(OpenMesh::VertexHandle(0)), Vector3f(0, 0, 1));
}

TEST(FindMarkerHoles, NormalsThatCancelOutAgreeWithNothing)
{
    TriMesh mesh = two_holes();
    mesh.request_face_normals();
    mesh.request_vertex_normals();
    for (auto const v : mesh.vertices())
    {
        mesh.set_normal(v, {0, 0, mesh.point(v).x() == 1.0F ? 1.0F : -1.0F});
    }
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, 0.0), 0U);
    EXPECT_EQ(count_matching(mesh, {0, 0, 1}, -0.1), 1U);
}

TEST(FindMarkerHoles, CoordinatesThatAreNoNumbersAreNeverNear)
{
    TriMesh mesh = two_holes();
    EXPECT_EQ(find(mesh, {{NOT_A_NUMBER, 0, 0}}, 9.0, RET_INVALID_INPUT).size(), 0U);
    EXPECT_EQ(find(mesh, {LEFT}, NOT_A_NUMBER, RET_INVALID_INPUT).size(), 0U);
    EXPECT_EQ(find(mesh, {LEFT}, -1.0, RET_INVALID_INPUT).size(), 0U);
    Holes holes;
    EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, {LEFT}, {}, 9.0, NOT_A_NUMBER, false, 0.0, holes,
                                             false),
              RET_INVALID_INPUT);
    mesh.set_point(vh(8), {NOT_A_NUMBER, 1, 0}); // a corner of the left hole
    EXPECT_EQ(find(mesh, {LEFT, RIGHT}, 9.0).size(), 1U);
}

TEST(FindMarkerHoles, TheNumberOfThreadsChangesNothing)
{
    std::vector<Cell> missing;
    std::vector<Vector3f> markers;
    std::vector<Vector3f> normals;
    for (int i = 0; i < 200; ++i)
    {
        int const x = 1 + i % 20 * 2;
        int const y = 1 + i / 20 * 2;
        missing.emplace_back(x, y);
        if (i % 3 != 0)
        {
            markers.emplace_back(static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F, 0.1F);
            normals.emplace_back(0.0F, 0.0F, i % 5 == 0 ? -1.0F : 1.0F);
        }
    }
    std::vector<std::vector<std::vector<int>>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const scope(n);
        TriMesh mesh = grid_without(41, 21, missing);
        Holes holes;
        EXPECT_EQ(FindHolesEx::find_marker_holes(mesh, markers, normals, 0.25, 1.0, true, 0.9,
                                                 holes, false),
                  RET_SUCCESS);
        results.push_back(indices(holes));
    }
    EXPECT_EQ(results[1], results[0]);
    EXPECT_EQ(results[2], results[0]);
    // Of 0 to 199, 133 are no multiples of 3; 26 of these are multiples of 5.
    EXPECT_EQ(results[0].size(), 133U - 26U);
}
