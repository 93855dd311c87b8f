#include "algorithmVeld/common/KdTree3f.h"
#include "tests/reconstruction/random_gaps.h"
#include "tests/reconstruction/reference_ball.h"
#include "tests/reconstruction/reference_projection.h"
#include "tests/support/count_of.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/special_floats.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>
#include <string>
#include <vector>

/// \file
/// Whether the references for the repairs do what they should, on cases that are known by hand.

namespace
{

using namespace veld_test;
using reference::BallCandidate;
using reference::BallRepair;
using reference::BallSettings;
using reference::Circle;
using reference::find_sphere;
using reference::PlanePoint;
using reference::ProjectionRepair;
using reference::Sweep;

Vector3f const UPWARDS(0, 0, 1);

void expect_near(Vector3f const& value, Vector3f const& expected)
{
    EXPECT_NEAR((value - expected).norm(), 0.0F, 1e-5F) << value.transpose();
}

TriMesh triangle_and(Vector3f const& loose_point)
{
    TriMesh mesh = lone_triangle();
    mesh.add_vertex(loose_point);
    set_normals(mesh, UPWARDS);
    return mesh;
}

/// A triangle, and a loose point with which it makes a unit square.
TriMesh half_square()
{
    return triangle_and({1, 1, 0});
}

/// The number of faces that one ball adds.
int added_by(float radius, TriMesh& mesh)
{
    return BallRepair().pass(mesh, radius, 0).added_faces;
}

/// All but one of `petals` triangles around the origin, and below them, between the first and the
/// last, `flaps` more around it: the gap can only be closed where these go. The triangle that
/// closes it is 0, `petals`, 1.
TriMesh flower(int petals, int flaps)
{
    TriMesh mesh;
    mesh.add_vertex({0, 0, 0});
    auto const on_circle = [&](double angle, double radius, double z)
    {
        mesh.add_vertex({static_cast<float>(radius * std::cos(angle)),
                         static_cast<float>(radius * std::sin(angle)), static_cast<float>(z)});
    };
    for (int i = 0; i < petals; ++i)
    {
        on_circle(2.0 * OrvaneAlgorithm::detail::PI * i / petals, 1.0, 0.0);
    }
    for (int i = 0; i <= flaps; ++i)
    {
        on_circle(0.7 * i, 3.0, -3.0);
    }
    for (int i = 1; i < petals; ++i)
    {
        mesh.add_face(vh(0), vh(i), vh(i + 1));
    }
    for (int i = 1; i <= flaps; ++i)
    {
        mesh.add_face(vh(0), vh(petals + i), vh(petals + i + 1));
    }
    return mesh;
}

std::set<int> corner_set(TriMesh const& mesh, int face)
{
    std::set<int> corners;
    for (auto const v : mesh.fv_range(OpenMesh::FaceHandle(face)))
    {
        corners.insert(v.idx());
    }
    return corners;
}

} // namespace

TEST(BallReference, PointsComeByDistanceAndThenByIndexAndTheLimitIsNone)
{
    std::vector<Vector3f> const points{{2, 0, 0},  {0, 1, 0}, {0, 0, 0},
                                       {-1, 0, 0}, {3, 0, 0}, {NOT_A_NUMBER, 0, 0}};
    EXPECT_EQ(reference::points_within(points, Vector3f::Zero(), 3.0F),
              (std::vector<int>{2, 1, 3, 0}));
    EXPECT_TRUE(reference::points_within(points, Vector3f::Zero(), 0.0F).empty());
    EXPECT_TRUE(reference::points_within(points, Vector3f::Zero(), -3.0F).empty());
    EXPECT_TRUE(reference::points_within(points, Vector3f(0, NOT_A_NUMBER, 0), 3.0F).empty());
}

// Both round squares of distances in the same order, or they would differ in which points are just
// in reach, and in which of two is nearer.
TEST(BallReference, TreeFindsTheSamePointsInTheSameOrder)
{
    Lot lot(1);
    std::vector<Vector3f> points;
    for (int i = 0; i < 2000; ++i)
    {
        points.push_back(lot.vector());
    }
    OrvaneAlgorithm::KdTree3f tree;
    tree.build_kdtree(points);
    for (int i = 0; i < 300; ++i)
    {
        // So that another point is exactly as far away as the search reaches.
        Vector3f const centre = lot.vector();
        float const radius = (lot.of(points) - centre).norm();
        std::vector<int> hits;
        std::vector<float> distances;
        tree.radius_search(centre, radius, hits, distances, 0);
        EXPECT_EQ(reference::points_within(points, centre, radius), hits);
    }
}

// The circumcircle of a triangle of 6, 8 and 10 has its centre on the longest side.
TEST(BallReference, BallLiesOnTheSideToWhichTheTriangleLooks)
{
    Vector3f centre;
    ASSERT_TRUE(find_sphere({0, 0, 0}, {6, 0, 0}, {0, 8, 0}, 13.0F, centre));
    expect_near(centre, {3, 4, 12});
    ASSERT_TRUE(find_sphere({0, 0, 0}, {0, 8, 0}, {6, 0, 0}, 13.0F, centre));
    expect_near(centre, {3, 4, -12});
}

TEST(BallReference, BallOfTheCircumcircleIsTheSmallest)
{
    Vector3f centre;
    ASSERT_TRUE(find_sphere({0, 0, 0}, {6, 0, 0}, {0, 8, 0}, 5.0F, centre));
    expect_near(centre, {3, 4, 0});
    EXPECT_FALSE(find_sphere({0, 0, 0}, {6, 0, 0}, {0, 8, 0}, 4.999F, centre));
}

TEST(BallReference, SliverHasNoBall)
{
    Vector3f centre;
    EXPECT_FALSE(find_sphere({0, 0, 0}, {1, 0, 0}, {2, 0, 0}, 10.0F, centre));
    EXPECT_FALSE(find_sphere({0, 0, 0}, {1, 0, 0}, {1, 0.0009F, 0}, 10.0F, centre));
    EXPECT_TRUE(find_sphere({0, 0, 0}, {1, 0, 0}, {1, 0.0011F, 0}, 10.0F, centre));
}

TEST(BallReference, RepeatedPointHasABallThatIsNowhere)
{
    Vector3f centre;
    EXPECT_TRUE(find_sphere({0, 0, 0}, {0, 0, 0}, {1, 0, 0}, 1.0F, centre));
    EXPECT_FALSE(centre.allFinite());
}

// Looking along the edge, from x = 0 to x = 2, the ball comes from +z.
TEST(BallReference, AngleRunsOnceAroundTheEdge)
{
    auto const angle = [](Vector3f const& end) {
        return reference::pivot_angle({0, 0, 0}, {2, 0, 0}, {1, 0, 1}, end);
    };
    EXPECT_FLOAT_EQ(angle({1, 0, 1}), 0.0F);
    EXPECT_FLOAT_EQ(angle({1, -1, 0}), 1.5707964F);
    EXPECT_FLOAT_EQ(angle({1, 0, -1}), 3.1415927F);
    EXPECT_FLOAT_EQ(angle({1, 1, 0}), 4.712389F);
    EXPECT_TRUE(std::isnan(angle({1, NOT_A_NUMBER, 0})));
}

TEST(BallReference, SmallestAngleComesFirstThenTheNearestAndNoNumberLast)
{
    std::vector<BallCandidate> candidates(5);
    std::array<float, 5> const angles{NOT_A_NUMBER, 2.0F, 1.0F, 2.0F, NOT_A_NUMBER};
    for (std::size_t i = 0; i < 5; ++i)
    {
        candidates[i].angle = angles[i];
        candidates[i].rank = static_cast<int>(4 - i);
    }
    std::sort(candidates.begin(), candidates.end(), reference::comes_before);
    std::vector<int> ranks;
    for (auto const& candidate : candidates)
    {
        ranks.push_back(candidate.rank);
    }
    EXPECT_EQ(ranks, (std::vector<int>{2, 1, 3, 0, 4}));
}

TEST(BallReference, ClosedMeshEndsThePassAndKeepsTheNormalsRequested)
{
    TriMesh mesh = tetrahedron();
    BallSettings settings;
    settings.norm_mode = true;
    auto const pass = BallRepair(settings).pass(mesh, 1.0F, 0);
    EXPECT_FALSE(pass.grew);
    EXPECT_EQ(pass.added_faces, 0);
    EXPECT_EQ(pass.boundary_vertices, 0);
    EXPECT_TRUE(mesh.has_vertex_normals());
    EXPECT_TRUE(mesh.has_face_normals());
}

TEST(BallReference, PassGivesTheNormalsBack)
{
    TriMesh mesh = lone_triangle();
    BallSettings settings;
    settings.norm_mode = true;
    EXPECT_TRUE(BallRepair(settings).pass(mesh, 1.0F, 0).grew);
    EXPECT_FALSE(mesh.has_vertex_normals());
    EXPECT_FALSE(mesh.has_face_normals());
}

// Triangles on the unit circle alone are too large for this ball.
TEST(BallReference, NotchBetweenTwoFreeEdgesIsFilled)
{
    TriMesh mesh = flower(6, 0);
    auto const pass = BallRepair().pass(mesh, 0.6F, 0);
    EXPECT_TRUE(pass.grew);
    EXPECT_EQ(pass.boundary_vertices, 8);
    EXPECT_EQ(pass.added_faces, 1);
    ASSERT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(corner_set(mesh, 5), (std::set<int>{0, 1, 6}));
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
}

TEST(BallReference, EdgeWithoutFacesIsAnErrorOnBothSides)
{
    TriMesh mesh = tetrahedron();
    add_lone_edge(mesh, {9, 0, 0}, {9, 1, 0});
    mesh.add_vertex({9, 0, 1});
    BallRepair ball;
    auto const pass = ball.pass(mesh, 1.0F, 0);
    EXPECT_TRUE(pass.grew);
    EXPECT_EQ(pass.added_faces, 0);
    EXPECT_EQ(ball.opposite_halfedge_errors(), 2);
    EXPECT_EQ(ball.original_sphere_errors(), 0);
    EXPECT_EQ(ball.printed(), "Data Error - opposite halfedge.\nData Error - opposite halfedge.\n");
}

// The circumradius is the root of a half: 0.70711.
TEST(BallReference, StartBallIsDoubledFiveTimes)
{
    TriMesh mesh = lone_triangle();
    BallRepair too_small;
    EXPECT_EQ(too_small.pass(mesh, 0.7070F / 32.0F, 0).added_faces, 0);
    EXPECT_EQ(too_small.original_sphere_errors(), 3);
    EXPECT_EQ(count_of(too_small.printed(), "Data Error - find origial sphere.\n"), 3);
    BallRepair large_enough;
    large_enough.pass(mesh, 0.7072F / 32.0F, 0);
    EXPECT_EQ(large_enough.original_sphere_errors(), 0);
}

TEST(BallReference, LoosePointIsTiedIn)
{
    TriMesh mesh = half_square();
    EXPECT_EQ(added_by(0.75F, mesh), 1);
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corner_set(mesh, 1), (std::set<int>{1, 2, 3}));
    EXPECT_GT(mesh.calc_face_normal(OpenMesh::FaceHandle(1)).z(), 0.9F);
}

TEST(BallReference, PointInLineWithAnEdgeIsNot)
{
    TriMesh mesh = triangle_and({1.5F, 0, 0});
    EXPECT_EQ(added_by(0.8F, mesh), 0);
}

TEST(BallReference, LoneTriangleWithoutNormalsIsClosedFromBehind)
{
    TriMesh mesh = lone_triangle();
    EXPECT_EQ(added_by(0.75F, mesh), 1);
    EXPECT_EQ(corner_set(mesh, 1), (std::set<int>{0, 1, 2}));
    EXPECT_EQ(mesh.n_edges(), 3U);
}

// Such a face has no ball, but no test finds fault with it.
TEST(BallReference, EdgeWithoutLengthTakesTheNearestVertex)
{
    TriMesh mesh =
        make_mesh({{0, 0, 0}, {0, 0, 0}, {0, 1, 0}, {0.3F, 0, 0}, {0.2F, 0, 0}}, {{0, 1, 2}});
    set_normals(mesh, UPWARDS);
    BallRepair ball;
    ball.set_obstacles(reference::positions_of(mesh));
    EXPECT_GT(ball.pass(mesh, 0.6F, 0).added_faces, 0);
    EXPECT_EQ(corner_set(mesh, 1), (std::set<int>{0, 1, 4}));
}

TEST(BallReference, VertexInThePlaceOfAnotherIsNotJoinedToIt)
{
    TriMesh mesh = triangle_and({1, 0, 0});
    EXPECT_EQ(added_by(0.75F, mesh), 0);
}

TEST(BallReference, NormalThatLooksBackForbidsAFaceAndNoneDoesNot)
{
    auto const added = [](Vector3f const& normal)
    {
        TriMesh mesh = half_square();
        mesh.set_normal(vh(3), normal);
        return added_by(0.75F, mesh);
    };
    EXPECT_EQ(added(-UPWARDS), 0);
    EXPECT_EQ(added(0.49F * UPWARDS), 0);
    EXPECT_EQ(added(0.51F * UPWARDS), 1);
    EXPECT_EQ(added(Vector3f::Zero()), 1);
    EXPECT_EQ(added(Vector3f(-0.9e-5F, 0.9e-5F, -0.9e-5F)), 1);
    EXPECT_EQ(added(Vector3f(0, 0, -1.1e-5F)), 0);
}

// The ball has its centre a quarter above the middle of the square.
TEST(BallReference, PointInTheBallForbidsAFaceUnlessThatIsSwitchedOff)
{
    auto const added = [](float height, bool restrain)
    {
        TriMesh mesh = half_square();
        BallSettings settings;
        settings.node_in_sphere_restrain = restrain;
        BallRepair ball(settings);
        ball.set_obstacles({{0.5F, 0.5F, 0.25F + height}});
        return ball.pass(mesh, 0.75F, 0).added_faces;
    };
    EXPECT_EQ(added(0.7485F, true), 0);
    EXPECT_EQ(added(0.7495F, true), 1);
    EXPECT_EQ(added(0.0F, true), 0);
    EXPECT_EQ(added(0.0F, false), 1);
}

TEST(BallReference, EdgesThatComeOnTheWayAreReachedByTheSameWalk)
{
    TriMesh mesh = half_square();
    for (int i = 2; i < 6; ++i)
    {
        mesh.add_vertex({static_cast<float>(i), 0, 0});
        mesh.add_vertex({static_cast<float>(i), 1, 0});
    }
    set_normals(mesh, UPWARDS);
    EXPECT_EQ(BallRepair().pass(mesh, 0.75F, 0).added_faces, 9);
    for (auto const f : mesh.faces())
    {
        EXPECT_GT(mesh.calc_face_normal(f).z(), 0.9F);
    }
}

TEST(BallReference, RadiiAreMeasuredOnTheFirstFaces)
{
    TriMesh const mesh =
        make_mesh({{0, 0, 0}, {3, 0, 0}, {0, 4, 0}, {9, 0, 0}, {9, 9, 0}}, {{0, 1, 2}, {1, 3, 4}});
    auto const radii = BallRepair::radii_of(mesh, 1, 1.414F);
    ASSERT_EQ(radii.size(), 3U);
    EXPECT_FLOAT_EQ(radii[0], 4.0F * 0.33333334F);
    EXPECT_FLOAT_EQ(radii[1], 4.0F * 0.47133335F);
    EXPECT_FLOAT_EQ(radii[2], 4.0F * 0.6664654F);
    EXPECT_GT(BallRepair::radii_of(mesh, 2, 1.414F)[0], radii[0]);
    EXPECT_TRUE(BallRepair::radii_of(TriMesh(), 2000, 1.414F).empty());
}

TEST(BallReference, TwoPointsAreNoMeshAndThreeWithoutFacesStay)
{
    TriMesh mesh;
    mesh.add_vertex({0, 0, 0});
    mesh.add_vertex({1, 0, 0});
    BallRepair two;
    EXPECT_FALSE(two.repair(mesh, {1.0F}));
    EXPECT_EQ(two.printed(), "Error: Invalid TriMesh.\n");
    EXPECT_EQ(two.logged(), "");
    mesh.add_vertex({0, 1, 0});
    BallRepair three;
    EXPECT_TRUE(three.repair(mesh, {}));
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(three.logged(), "\n--------------------------------\nradius of ball:\n"
                              "--------------------------------\n\n"
                              "\n--------------------------------\nMesh info:\n"
                              "  Vertex: \t 3\n  Face: \t 0\n  HalfEdge: \t 0\n  Edge: \t 0\n"
                              "--------------------------------\n\n"
                              "\nUse OpenMesh norm: 0\n\n");
}

TEST(BallReference, SeriesEndsWithThePassThatSeesNoBoundary)
{
    TriMesh mesh =
        make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {{0, 2, 1}, {0, 1, 3}, {2, 0, 3}});
    BallRepair ball;
    EXPECT_TRUE(ball.repair(mesh, {1.0F, 1.0F, 1.0F}));
    EXPECT_EQ(mesh.n_faces(), 4U);
    EXPECT_EQ(mesh.n_edges(), 6U);
    EXPECT_EQ(count_of(ball.logged(), "ball of radius [1.000000] add [1] triangles.\n"), 1);
    EXPECT_EQ(count_of(ball.logged(), "ball of radius [1.000000] add [0] triangles.\n"), 1);
    EXPECT_EQ(count_of(ball.printed(), "isolated vertices: 0\n"), 1);
    EXPECT_EQ(count_of(ball.logged(), "isolated vertices"), 0);
}

// The series keeps balls from points anywhere, not only from those on boundaries.
TEST(BallReference, SeriesBuildsTheObstacles)
{
    TriMesh mesh = half_square();
    mesh.add_vertex({0.5F, 0.5F, 0.5F});
    set_normals(mesh, UPWARDS);
    mesh.set_normal(vh(4), -UPWARDS);
    TriMesh copy = mesh;
    EXPECT_EQ(BallRepair().pass(copy, 0.75F, 0).added_faces, 1);
    BallRepair ball;
    EXPECT_TRUE(ball.repair(mesh, {0.75F}));
    EXPECT_EQ(mesh.n_faces(), 1U);
}

TEST(BallReference, RefusedFaceLeavesTwoDrawingsOnly)
{
    TriMesh mesh = flower(6, 1);
    ASSERT_EQ(mesh.n_faces(), 6U);
    BallRepair ball;
    EXPECT_TRUE(ball.repair(mesh, {0.6F}));
    EXPECT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(count_of(ball.logged(), "triangles.\n"), 1);
    EXPECT_TRUE(ball.refused().empty());
    // Both edges of the notch were tried.
    ASSERT_EQ(ball.patches().size(), 4U);
    EXPECT_EQ(count_of(ball.printed(), "\ninvalid face:\n"), 4);
    std::set<std::string> names;
    for (auto const& patch : ball.patches())
    {
        names.insert(patch.file_name);
    }
    EXPECT_EQ(names, (std::set<std::string>{
                         "patch_radius-0.600000_[0-6-1]_level-0.obj",
                         "patch_radius-0.600000_[0-6-1]_level-0_with-failed-face.obj",
                         "patch_radius-0.600000_[1-0-6]_level-0.obj",
                         "patch_radius-0.600000_[1-0-6]_level-0_with-failed-face.obj"}));
    auto const& plain = ball.patches()[0].text;
    auto const& with_face = ball.patches()[1].text;
    EXPECT_EQ(count_of(plain, "v "), 9);
    EXPECT_EQ(count_of(plain, "f "), 6);
    EXPECT_EQ(count_of(plain, "f 1 2 3\n"), 0);
    EXPECT_EQ(count_of(with_face, "f "), 7);
    EXPECT_EQ(count_of(with_face, "f 1 2 3\n"), 1);
}

TEST(BallReference, SmallFanGoesWhereAFaceWasRefusedAndThePassRunsAgain)
{
    TriMesh mesh = flower(6, 1);
    BallSettings settings;
    settings.delete_isolated_faces = true;
    BallRepair ball(settings);
    EXPECT_TRUE(ball.repair(mesh, {0.6F}));
    EXPECT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(mesh.n_vertices(), 9U);
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
    EXPECT_TRUE(mesh.is_isolated(vh(7)));
    EXPECT_TRUE(mesh.is_isolated(vh(8)));
    EXPECT_FALSE(mesh.has_face_status());
    // All six faces around the middle were looked at, one of them went.
    EXPECT_EQ(count_of(ball.logged(), "  fail to add [2] faces.\n"), 1);
    EXPECT_EQ(count_of(ball.logged(), "-->delete [6] triangles.\n"), 1);
    EXPECT_EQ(count_of(ball.logged(), "ball of radius [0.600000] add [0] triangles.\n"), 1);
    EXPECT_EQ(count_of(ball.logged(), "ball of radius [0.600000] add [1] triangles.\n"), 1);
    EXPECT_EQ(count_of(ball.printed(), "analysis triangle (0,6,1)\n"), 1);
}

TEST(BallReference, FanOfThreeGoesBesideOneOfSix)
{
    TriMesh mesh = flower(7, 3);
    ASSERT_EQ(mesh.n_faces(), 9U);
    BallSettings settings;
    settings.delete_isolated_faces = true;
    BallRepair ball(settings);
    EXPECT_TRUE(ball.repair(mesh, {0.6F}));
    EXPECT_EQ(mesh.n_faces(), 7U);
    EXPECT_EQ(count_of(ball.logged(), "-->delete [9] triangles.\n"), 1);
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
}

TEST(BallReference, TwoFansOfThreeBothGo)
{
    TriMesh mesh = flower(4, 3);
    ASSERT_EQ(mesh.n_faces(), 6U);
    BallSettings settings;
    settings.delete_isolated_faces = true;
    BallRepair ball(settings);
    EXPECT_TRUE(ball.repair(mesh, {0.75F}));
    EXPECT_EQ(mesh.n_faces(), 0U);
    EXPECT_EQ(mesh.n_edges(), 0U);
    EXPECT_EQ(mesh.n_vertices(), 9U);
    EXPECT_EQ(count_of(ball.logged(), "-->delete [6] triangles.\n"), 1);
}

TEST(BallReference, PassRunsAgainAlsoWhereNothingWasRefused)
{
    TriMesh mesh = grid(2, 2);
    set_normals(mesh, UPWARDS);
    BallSettings settings;
    settings.delete_isolated_faces = true;
    BallRepair ball(settings);
    EXPECT_TRUE(ball.repair(mesh, {0.8F}));
    EXPECT_EQ(mesh.n_faces(), 8U);
    EXPECT_EQ(count_of(ball.logged(), "-->delete [0] triangles.\n"), 1);
    EXPECT_EQ(count_of(ball.logged(), "ball of radius [0.800000] add [0] triangles.\n"), 1);
}

TEST(ProjectionReference, PlaneNeedsNoUnitNormal)
{
    reference::Projection const projection({0, 0, 1}, {0, 0, 2}, {{3, 4, 5}, {1, 1, -1}},
                                           {{0, 0, 1}, {1, 0, 0}});
    expect_near(projection.points[0], {3, 4, 1});
    expect_near(projection.points[1], {1, 1, 1});
    EXPECT_FLOAT_EQ(projection.distances[0], 4.0F);
    EXPECT_FLOAT_EQ(projection.distances[1], 2.0F);
    EXPECT_FLOAT_EQ(projection.cosines[0], 2.0F);
    EXPECT_FLOAT_EQ(projection.cosines[1], 0.0F);
}

TEST(ProjectionReference, NormalIsTurnedOntoTheAxis)
{
    std::vector<Vector3f> points{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    reference::turn_upright(points, {1, 0, 0});
    expect_near(points[0], {0, 0, 1});
    expect_near(points[1], {0, 1, 0});
    expect_near(points[2], {-1, 0, 0});
    Vector3f const leaning = Vector3f(1, 2, -2) / 3.0F;
    std::vector<Vector3f> normal{leaning};
    reference::turn_upright(normal, leaning);
    expect_near(normal[0], UPWARDS);
}

TEST(ProjectionReference, NormalThatHardlyLeansIsNotTurnedAndOneDownTheAxisMirrors)
{
    std::vector<Vector3f> points{{1, 2, 3}};
    reference::turn_upright(points, {0.28F, 0.0F, 0.96F});
    EXPECT_EQ(points[0], Vector3f(1, 2, 3));
    reference::turn_upright(points, {0, 0, -1});
    EXPECT_EQ(points[0], Vector3f(-1, -2, -3));
}

TEST(ProjectionReference, CircleGoesThroughThreePoints)
{
    auto const expect_circle = [](Circle const& circle, float x, float y, float radius)
    {
        EXPECT_FLOAT_EQ(circle.x, x);
        EXPECT_FLOAT_EQ(circle.y, y);
        EXPECT_FLOAT_EQ(circle.radius, radius);
        EXPECT_GT(circle.wide_square, radius * radius);
    };
    expect_circle(Circle({0, 0}, {2, 0}, {0, 2}), 1, 1, std::sqrt(2.0F));
    expect_circle(Circle({0, 2}, {0, 0}, {2, 0}), 1, 1, std::sqrt(2.0F));
    expect_circle(Circle({0, 0}, {1, 1}, {2, 0}), 1, 0, 1);
    // In one line along x: around the middle of the whole, to the first.
    expect_circle(Circle({3, 1}, {1, 1}, {2, 1}), 2, 1, 1);
}

TEST(ProjectionReference, SweepLosesWhatReachesPastTheLastPoint)
{
    EXPECT_TRUE(Sweep({}).triangles().empty());
    EXPECT_TRUE(Sweep({{0, 0}, {1, 0}}).triangles().empty());
    EXPECT_TRUE(Sweep({{0, 0}, {0, 1}, {1, 0}}).triangles().empty());
    Sweep const with_one_more({{0, 0}, {0, 1}, {1, 0}, {5, 0.5F}});
    ASSERT_EQ(with_one_more.triangles().size(), 1U);
    EXPECT_EQ(with_one_more.triangles()[0].corners, (std::array<int, 3>{0, 1, 2}));
}

TEST(ProjectionReference, SquareHasTwoTriangles)
{
    Sweep const sweep({{0, 0}, {0, 1}, {1, 0}, {1, 1}, {5, 0.5F}});
    std::set<int> corners;
    ASSERT_EQ(sweep.triangles().size(), 2U);
    for (auto const& triangle : sweep.triangles())
    {
        corners.insert(triangle.corners.begin(), triangle.corners.end());
    }
    EXPECT_EQ(corners, (std::set<int>{0, 1, 2, 3}));
}

// Every triangle whose circle is empty and stays in the box has to be there, and none that is not
// empty or reaches past the last point.
TEST(ProjectionReference, SweepGivesDelaunayTriangles)
{
    int found = 0;
    for (unsigned seed = 0; seed < 50; ++seed)
    {
        Lot lot(seed);
        std::set<PlanePoint> points;
        while (points.size() < 14)
        {
            float const x = lot.unit();
            points.emplace(x, lot.unit());
        }
        std::vector<PlanePoint> const p(points.begin(), points.end());
        std::set<std::array<int, 3>> result;
        for (auto const& triangle : Sweep(points).triangles())
        {
            auto corners = triangle.corners;
            std::sort(corners.begin(), corners.end());
            EXPECT_TRUE(result.insert(corners).second);
        }
        for (int a = 0; a < 14; ++a)
        {
            for (int b = a + 1; b < 14; ++b)
            {
                for (int c = b + 1; c < 14; ++c)
                {
                    auto const at = [&](int i)
                    {
                        auto const& q = p[static_cast<std::size_t>(i)];
                        return Eigen::Vector2d(static_cast<double>(q.first),
                                               static_cast<double>(q.second));
                    };
                    Eigen::Matrix2d m;
                    m.row(0) = at(b) - at(a);
                    m.row(1) = at(c) - at(a);
                    Eigen::Vector2d const sides(m.row(0).squaredNorm(), m.row(1).squaredNorm());
                    Eigen::Vector2d const offset = 0.5 * m.inverse() * sides;
                    Eigen::Vector2d const centre = at(a) + offset;
                    double const radius = offset.norm();
                    double nearest = 10.0;
                    for (int i = 0; i < 14; ++i)
                    {
                        if (i != a && i != b && i != c)
                        {
                            nearest = std::min(nearest, (at(i) - centre).norm());
                        }
                    }
                    bool const is_in_box = centre.x() + radius < at(13).x() - 1e-4 &&
                                           centre.x() - radius > at(0).x() &&
                                           centre.y() - radius > 0.0 && centre.y() + radius < 1.0;
                    bool const is_there = result.count({a, b, c}) > 0;
                    found += is_there ? 1 : 0;
                    if (is_there)
                    {
                        EXPECT_GT(nearest, radius * (1 - 1e-4));
                        EXPECT_LT(centre.x() + radius, at(13).x() + 1e-4);
                    }
                    else if (is_in_box)
                    {
                        EXPECT_LT(nearest, radius * (1 + 1e-4));
                    }
                }
            }
        }
    }
    EXPECT_GT(found, 200);
}

namespace
{

/// A small triangle and a point far to its right, so that the triangle is completed.
TriMesh loose_triangle()
{
    TriMesh mesh;
    mesh.add_vertex({0, 0, 0});
    mesh.add_vertex({0, 0.1F, 0});
    mesh.add_vertex({0.1F, 0.05F, 0});
    mesh.add_vertex({0.4F, 0.05F, 0});
    set_normals(mesh, UPWARDS);
    return mesh;
}

} // namespace

TEST(ProjectionReference, LoosePointsGetAFaceOnBothSides)
{
    TriMesh mesh = loose_triangle();
    ProjectionRepair().repair(mesh);
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corner_set(mesh, 0), (std::set<int>{0, 1, 2}));
    EXPECT_EQ(corner_set(mesh, 1), (std::set<int>{0, 1, 2}));
    EXPECT_EQ(mesh.n_edges(), 3U);
    EXPECT_TRUE(mesh.is_isolated(vh(3)));
}

TEST(ProjectionReference, ThreePointsAreTooFew)
{
    TriMesh mesh = loose_triangle();
    mesh.set_point(vh(3), {0.6F, 0.05F, 0});
    ProjectionRepair().repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
}

// Seen from vertex 0, vertex 4 is found later than itself, and takes its place; seen from vertex 4
// it is the other way round. Vertex 1 sees it that way, too, as vertex 4 is farther from it.
TEST(ProjectionReference, OfTwoPointsAboveEachOtherTheLastOneFoundCounts)
{
    TriMesh mesh = loose_triangle();
    mesh.add_vertex({0, 0, 0.2F});
    mesh.set_normal(vh(4), UPWARDS);
    ProjectionRepair().repair(mesh);
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corner_set(mesh, 0), (std::set<int>{1, 2, 4}));
    EXPECT_EQ(corner_set(mesh, 1), (std::set<int>{1, 2, 4}));
}

TEST(ProjectionReference, VertexWithoutANormalIsPassedOver)
{
    TriMesh mesh = loose_triangle();
    set_normals(mesh, Vector3f::Zero());
    ProjectionRepair().repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 0U);
    mesh.set_normal(vh(2), UPWARDS);
    ProjectionRepair().repair(mesh);
    EXPECT_EQ(mesh.n_faces(), 2U);
}

TEST(RandomGaps, SameSeedGivesTheSameMesh)
{
    for (unsigned seed = 0; seed < 5; ++seed)
    {
        EXPECT_EQ(fingerprint(random_gap_mesh(seed, Normals::ANY)),
                  fingerprint(random_gap_mesh(seed, Normals::ANY)));
        EXPECT_EQ(fingerprint(random_cloud(seed, 1)), fingerprint(random_cloud(seed, 1)));
    }
}
