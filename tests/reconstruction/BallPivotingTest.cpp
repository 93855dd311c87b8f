#include "algorithmVeld/reconstruction/BallPivoting.h"
#include "algorithmVeld/reconstruction/ball_pivoting/BallRadii.h"
#include "algorithmVeld/reconstruction/ball_pivoting/FaceFans.h"
#include "algorithmVeld/reconstruction/ball_pivoting/PivotBall.h"
#include "tests/support/files.h"
#include "tests/support/log_capture.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"
#include "tests/support/print_capture.h"
#include "tests/support/special_floats.h"
#include "tests/support/steps.h"
#include "tests/support/temp_dir.h"
#include "tests/support/threads.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <random>
#include <set>
#include <stdexcept>
#include <type_traits>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

/// Keeps quiet, and runs one pass.
struct Pass
{
    int added = -1;
    int boundary = -1;
    bool result = false;

    Pass(BallPivoting& ball, TriMesh& mesh, float radius, int level = 0)
    {
        LogCapture const log;
        PrintCapture const printed;
        result = ball.repair_mesh(mesh, radius, added, boundary, level);
    }
};

bool repair(BallPivoting& ball, TriMesh& mesh, std::vector<float> const& radii)
{
    LogCapture const log;
    PrintCapture const printed;
    return ball.repair_mesh(mesh, radii);
}

/// The vertices of a face, in the order of the face from its smallest one.
Triangle corners_of(TriMesh const& mesh, int face)
{
    Triangle corners{};
    std::size_t n = 0;
    for (auto const v : mesh.fv_range(OpenMesh::FaceHandle(face)))
    {
        corners.at(n++) = v.idx();
    }
    std::rotate(corners.begin(), std::min_element(corners.begin(), corners.end()), corners.end());
    return corners;
}

std::size_t count_boundary_edges(TriMesh const& mesh)
{
    std::size_t n = 0;
    for (auto const e : mesh.edges())
    {
        n += e.is_boundary() ? 1U : 0U;
    }
    return n;
}

/// A flat hexagon of six triangles around vertex 0 without the last of them, (0, 6, 1).
TriMesh notched_hexagon()
{
    std::vector<Vector3f> points{{0, 0, 0}};
    std::vector<Triangle> triangles;
    for (int i = 0; i < 6; ++i)
    {
        double const angle = detail::PI / 3.0 * i;
        points.emplace_back(static_cast<float>(std::cos(angle)),
                            static_cast<float>(std::sin(angle)), 0.0F);
        if (i > 0)
        {
            triangles.push_back({0, i, i + 1});
        }
    }
    return make_mesh(points, triangles);
}

/// The same with a face below that hangs on vertex 0 alone, so that the notch cannot be closed: the
/// boundary would pass that face no more.
TriMesh hexagon_with_a_tag()
{
    TriMesh mesh = notched_hexagon();
    auto const a = mesh.add_vertex({-1, 0, -8});
    auto const b = mesh.add_vertex({1, 0, -8});
    mesh.add_face(vh(0), a, b);
    return mesh;
}

/// A face below the edge from vertex 0 to vertex 1, and loose points above that edge. All normals
/// point up. The halfedge along the edge is the first one of the boundary.
TriMesh edge_and_points(std::vector<Vector3f> const& loose)
{
    std::vector<Vector3f> points{{0, 0, 0}, {1, 0, 0}, {0.5F, -1, 0}};
    points.insert(points.end(), loose.begin(), loose.end());
    TriMesh mesh = make_mesh(points, {{1, 0, 2}});
    set_normals(mesh, Vector3f::UnitZ());
    return mesh;
}

// The ball of radius 1 on the near point is empty. The one on the far point holds the near one, but
// has turned further, which counts as the smaller angle.
Vector3f const NEAR_POINT(0.5F, 0.8F, 0);
Vector3f const FAR_POINT(0.5F, 1.4F, 0);

/// A sphere that has lost about a tenth of its faces.
TriMesh torn_sphere(int level)
{
    TriMesh mesh = sphere(level);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_vertex_status();
    std::mt19937 random(7);
    for (int i = 0; i < static_cast<int>(mesh.n_faces()); ++i)
    {
        if (random() % 10 == 0)
        {
            mesh.delete_face(OpenMesh::FaceHandle(i), false);
        }
    }
    mesh.garbage_collection(true, true, true);
    mesh.release_face_status();
    mesh.release_edge_status();
    mesh.release_halfedge_status();
    mesh.release_vertex_status();
    return mesh;
}

Vector3f random_point(std::mt19937& random)
{
    std::uniform_real_distribution<float> coordinate(-1.0F, 1.0F);
    float const x = coordinate(random);
    float const y = coordinate(random);
    return {x, y, coordinate(random)};
}

} // namespace

TEST(FindSphere, CentreLiesOnTheSideThatThePointsRunAgainstTheClockOn)
{
    // The circumcircle has the centre (3, 4, 0) and the radius 5; 5, 12 and 13 make a right angle.
    Vector3f const a(0, 0, 0);
    Vector3f const b(6, 0, 0);
    Vector3f const c(0, 8, 0);
    Vector3f centre;
    ASSERT_TRUE(detail::find_sphere(a, b, c, 13.0F, centre));
    EXPECT_EQ(centre, Vector3f(3, 4, 12));
    ASSERT_TRUE(detail::find_sphere(a, c, b, 13.0F, centre));
    EXPECT_EQ(centre, Vector3f(3, 4, -12));
}

TEST(FindSphere, BallHasToBeAsLargeAsTheCircumcircle)
{
    Vector3f const a(0, 0, 0);
    Vector3f const b(6, 0, 0);
    Vector3f const c(0, 8, 0);
    Vector3f centre(7, 7, 7);
    EXPECT_FALSE(detail::find_sphere(a, b, c, std::nextafter(5.0F, 0.0F), centre));
    EXPECT_EQ(centre, Vector3f(7, 7, 7)) << "left alone";
    ASSERT_TRUE(detail::find_sphere(a, b, c, 5.0F, centre));
    EXPECT_EQ(centre, Vector3f(3, 4, 0));
}

TEST(FindSphere, TouchesRandomTriangles)
{
    std::mt19937 random(1);
    int found = 0;
    for (int i = 0; i < 2000; ++i)
    {
        std::array<Vector3f, 3> const p{random_point(random), random_point(random),
                                        random_point(random)};
        Vector3f centre;
        constexpr float RADIUS = 1.5F;
        if (!detail::find_sphere(p[0], p[1], p[2], RADIUS, centre))
        {
            continue;
        }
        ++found;
        // In double precision, by the formula with cross products instead.
        Vector3d const a = p[0].cast<double>();
        Vector3d const u = p[1].cast<double>() - a;
        Vector3d const w = p[2].cast<double>() - a;
        Vector3d const n = u.cross(w);
        Vector3d const c =
            (u.squaredNorm() * w.cross(n) + w.squaredNorm() * n.cross(u)) / (2.0 * n.squaredNorm());
        Vector3d const exact =
            a + c + n.normalized() * std::sqrt(RADIUS * RADIUS - c.squaredNorm());
        // Thin triangles lose digits in single precision.
        double const slack = 2e-5 * u.norm() * w.norm() / n.norm();
        if (RADIUS * RADIUS - c.squaredNorm() > 0.05)
        {
            EXPECT_LT((centre.cast<double>() - exact).norm(), slack * (1.0 + slack * 1e4)) << i;
        }
    }
    EXPECT_GT(found, 1000);
}

TEST(FindSphere, PointsNearlyOnALineHaveNone)
{
    Vector3f const a(0, 0, 0);
    Vector3f const b(1, 0, 0);
    Vector3f centre;
    EXPECT_FALSE(detail::find_sphere(a, b, {2, 0, 0}, 100.0F, centre));
    // A right angle at b: the sine at a is 0.0009 or 0.0011, the circumcircle has radius 0.5.
    EXPECT_FALSE(detail::find_sphere(a, b, {1, 0.0009F, 0}, 1.0F, centre));
    EXPECT_TRUE(detail::find_sphere(a, b, {1, 0.0011F, 0}, 1.0F, centre));
}

TEST(FindEnlargedSphere, DoublesTheBallFiveTimes)
{
    std::array<Vector3f, 3> const corners{Vector3f(0, 0, 0), Vector3f(6, 0, 0), Vector3f(0, 8, 0)};
    float const smallest = 5.0F / 32.0F;
    Vector3f centre;
    ASSERT_TRUE(detail::find_enlarged_sphere(corners, smallest, 5, 2.0F, centre));
    EXPECT_EQ(centre, Vector3f(3, 4, 0));
    EXPECT_FALSE(
        detail::find_enlarged_sphere(corners, std::nextafter(smallest, 0.0F), 5, 2.0F, centre));
    EXPECT_FALSE(detail::find_enlarged_sphere(corners, smallest, 4, 2.0F, centre));
    ASSERT_TRUE(detail::find_enlarged_sphere(corners, 13.0F, 5, 2.0F, centre));
    EXPECT_EQ(centre, Vector3f(3, 4, 12)) << "not larger than needed";
}

TEST(PivotAngle, TurnsByTheRightHandAlongTheEdge)
{
    std::mt19937 random(2);
    std::uniform_real_distribution<double> angle(0.0, 2.0 * detail::PI);
    for (int i = 0; i < 1000; ++i)
    {
        detail::PivotEdge const edge{random_point(random), random_point(random)};
        // A frame of the plane across the edge, in which centres are points of a circle.
        Vector3d const axis = (edge.to - edge.from).cast<double>().normalized();
        Vector3d const x = axis.unitOrthogonal();
        Vector3d const y = axis.cross(x);
        auto const centre = [&](double turn) -> Vector3f
        {
            Vector3d const middle = (edge.from + edge.to).cast<double>() / 2.0;
            return (middle + 2.0 * (std::cos(turn) * x + std::sin(turn) * y)).cast<float>();
        };
        double const start = angle(random);
        double const turn = 0.01 + (2.0 * detail::PI - 0.02) * angle(random) / (2.0 * detail::PI);
        float const measured = detail::pivot_angle(edge, centre(start), centre(start + turn));
        EXPECT_NEAR(static_cast<double>(measured), turn, 1e-3) << i;
    }
}

TEST(PivotAngle, OfAQuarterTurnEitherWay)
{
    detail::PivotEdge const along_x{{-1, 0, 0}, {1, 0, 0}};
    float const quarter = std::acos(0.0F);
    EXPECT_EQ(detail::pivot_angle(along_x, {0, 1, 0}, {0, 0, 1}), quarter);
    EXPECT_EQ(detail::pivot_angle(along_x, {0, 0, 1}, {0, 1, 0}), 6.2831855F - quarter);
    EXPECT_EQ(detail::pivot_angle(along_x, {0, 1, 0}, {0, 2, 0}), 0.0F);
    EXPECT_TRUE(std::isnan(detail::pivot_angle(along_x, {0, NOT_A_NUMBER, 0}, {0, 1, 0})));
}

TEST(FindFaceNormal, SliversHaveNone)
{
    detail::PivotEdge const edge{{0, 0, 0}, {1, 0, 0}};
    Vector3f normal(7, 7, 7);
    EXPECT_FALSE(detail::find_face_normal(edge, {3, 0, 0}, normal));
    EXPECT_FALSE(detail::find_face_normal(edge, {3, 0.0019F, 0}, normal));
    EXPECT_EQ(normal, Vector3f(7, 7, 7));
    ASSERT_TRUE(detail::find_face_normal(edge, {3, 0.0021F, 0}, normal));
    EXPECT_EQ(normal, Vector3f(0, 0, 1));
}

TEST(BallRadii, RiseFromAThirdOfTheMeanSideToTwoThirds)
{
    TriMesh const mesh = lone_triangle();
    float const mean = (1.0F + std::sqrt(2.0F) + 1.0F) / 3.0F;
    std::vector<float> radii{1, 2, 3, 4, 5};
    ASSERT_TRUE(detail::create_ball_radius(mesh, 2000, radii, 1.414F));
    ASSERT_EQ(radii.size(), 3U);
    EXPECT_NEAR(radii[0], 0.33333334F * mean, 1e-6F);
    EXPECT_NEAR(radii[1], 0.47133335F * mean, 1e-6F);
    EXPECT_NEAR(radii[2], 0.6664654F * mean, 1e-6F);
}

TEST(BallRadii, AreMeasuredOnTheFirstFacesThatAreThere)
{
    // Equilateral triangles with sides of 1, 2 and 4.
    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;
    for (int i = 0; i < 3; ++i)
    {
        float const side = static_cast<float>(1 << i);
        float const x = 10.0F * static_cast<float>(i);
        points.insert(points.end(),
                      {{x, 0, 0}, {x + side, 0, 0}, {x + side / 2.0F, side * std::sqrt(0.75F), 0}});
        triangles.push_back({3 * i, 3 * i + 1, 3 * i + 2});
    }
    TriMesh mesh = make_mesh(points, triangles);
    std::vector<float> radii;
    ASSERT_TRUE(detail::create_ball_radius(mesh, 2, radii, 1.414F));
    EXPECT_NEAR(radii[0], 0.5F, 1e-5F);
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_vertex_status();
    mesh.delete_face(OpenMesh::FaceHandle(0), false);
    ASSERT_TRUE(detail::create_ball_radius(mesh, 2, radii, 1.414F));
    EXPECT_NEAR(radii[0], 1.0F, 1e-5F);
}

TEST(BallRadii, AMeshWithoutFacesHasNone)
{
    std::vector<float> radii{1};
    EXPECT_FALSE(detail::create_ball_radius(make_mesh({{0, 0, 0}}, {}), 2000, radii, 1.414F));
    EXPECT_TRUE(radii.empty());
}

namespace
{

/// Fans of so many faces each around vertex 0, apart from each other.
TriMesh fans_of(std::vector<int> const& sizes)
{
    std::vector<Vector3f> points{{0, 0, 0}};
    std::vector<Triangle> triangles;
    int direction = 0;
    for (int const size : sizes)
    {
        for (int i = 0; i <= size; ++i)
        {
            double const angle = 0.3 * direction++;
            int const v = static_cast<int>(points.size());
            points.emplace_back(static_cast<float>(std::cos(angle)),
                                static_cast<float>(std::sin(angle)), 0.0F);
            if (i > 0)
            {
                triangles.push_back({0, v - 1, v});
            }
        }
    }
    return make_mesh(points, triangles);
}

/// How many faces around a vertex others are reached from, and which are minor.
std::pair<std::vector<int>, std::vector<int>> reach_and_minor(TriMesh const& mesh)
{
    detail::FaceFans const fans(mesh, vh(0));
    EXPECT_TRUE(fans.is_consistent());
    std::pair<std::vector<int>, std::vector<int>> result;
    for (auto const& [face, reach] : fans.reach())
    {
        result.first.push_back(reach);
        if (fans.is_minor(reach))
        {
            result.second.push_back(face.idx());
        }
    }
    return result;
}

} // namespace

TEST(FaceFans, TheLargerOfTwoFansStays)
{
    auto const [reach, minor] = reach_and_minor(fans_of({3, 6}));
    EXPECT_EQ(reach, (std::vector<int>{2, 2, 2, 5, 5, 5, 5, 5, 5}));
    EXPECT_EQ(minor, (std::vector<int>{0, 1, 2}));
}

TEST(FaceFans, OfTwoEqualFansNoneStays)
{
    auto const [reach, minor] = reach_and_minor(fans_of({3, 3}));
    EXPECT_EQ(reach, (std::vector<int>{2, 2, 2, 2, 2, 2}));
    EXPECT_EQ(minor, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST(FaceFans, HalfIsRoundedDown)
{
    // Half of 5 is 2, which the faces of the fan of 3 reach and those of the fan of 2 do not.
    EXPECT_EQ(reach_and_minor(fans_of({2, 3})).second, (std::vector<int>{0, 1}));
    EXPECT_TRUE(reach_and_minor(fans_of({1})).second.empty());
    EXPECT_TRUE(reach_and_minor(fans_of({4})).second.empty());
}

TEST(FaceFans, AVertexInsideTheSurfaceLosesNothing)
{
    auto const [reach, minor] = reach_and_minor(open_cone(6));
    ASSERT_EQ(reach.size(), 6U);
    EXPECT_GT(*std::min_element(reach.begin(), reach.end()), 6);
    EXPECT_TRUE(minor.empty());
}

TEST(FaceFans, AVertexWithoutFacesHasNone)
{
    EXPECT_TRUE(reach_and_minor(make_mesh({{0, 0, 0}}, {})).first.empty());
}

static_assert(std::is_constructible_v<BallPivoting, BallPivoting&>);
static_assert(!std::is_constructible_v<BallPivoting, BallPivoting const&>);

TEST(BallPivoting, SettingsHaveTheirDefaultsAndAreCopied)
{
    BallPivoting ball;
    ball.initialize();
    EXPECT_EQ(ball.get_NormConsistencyThr(), 0.5F);
    EXPECT_FALSE(ball.get_norm_mode());
    EXPECT_TRUE(ball.get_node_in_sphere_restrain());
    EXPECT_TRUE(ball.rangeData_to_triMesh());

    ball.set_NormConsistencyThr(0.25F);
    ball.set_norm_mode(true);
    ball.set_node_in_sphere_restrain(false);
    BallPivoting copy(ball);
    BallPivoting assigned;
    assigned = ball;
    for (auto* const other : {&copy, &assigned})
    {
        EXPECT_EQ(other->get_NormConsistencyThr(), 0.25F);
        EXPECT_TRUE(other->get_norm_mode());
        EXPECT_FALSE(other->get_node_in_sphere_restrain());
    }
}

TEST(BallPivoting, NarrowPathsArePrintedAndWideOnesRead)
{
    BallPivoting ball;
    PrintCapture const printed;
    EXPECT_TRUE(ball.load_data(std::vector<std::string>{"scans/left.rge"}));
    EXPECT_EQ(printed.text(), "       dir = scans\n  filename = left\n   extname = .rge\n\n");
    EXPECT_TRUE(ball.load_data(std::vector<std::wstring>{L"missing.rge"}));
    EXPECT_EQ(printed.count("missing"), 0);
}

TEST(BallPivoting, MeanDistanceOfAFrame)
{
    BallPivoting const ball;
    RangeData frame;
    float mean = 5.0F;
    EXPECT_FALSE(ball.get_mean_dis(frame, mean));
    EXPECT_EQ(mean, -1.0F);

    // Neighbours in a row are 2 apart, the others 4.
    frame.set_grid_size(2, 2);
    for (int r = 0; r < 2; ++r)
    {
        for (int c = 0; c < 2; ++c)
        {
            frame.add_vCoord_and_vUV(
                {2.0F * static_cast<float>(c), 4.0F * static_cast<float>(r), 0.0F}, {r, c});
        }
    }
    EXPECT_TRUE(ball.get_mean_dis(frame, mean));
    EXPECT_EQ(mean, 3.0F);
}

TEST(BallPivoting, AClosedMeshIsLeftAlone)
{
    BallPivoting ball;
    TriMesh mesh = tetrahedron();
    auto const before = fingerprint(mesh);
    Pass const pass(ball, mesh, 1.0F);
    EXPECT_FALSE(pass.result);
    EXPECT_EQ(pass.added, 0);
    EXPECT_EQ(pass.boundary, 0);
    EXPECT_EQ(fingerprint(mesh), before);
}

TEST(BallPivoting, NormalsGoWithThePassButStayWhereThereWasNone)
{
    BallPivoting ball;
    ball.set_norm_mode(true);
    TriMesh open = notched_hexagon();
    EXPECT_TRUE(Pass(ball, open, 0.6F).result);
    EXPECT_FALSE(open.has_vertex_normals());
    EXPECT_FALSE(open.has_face_normals());

    TriMesh closed = tetrahedron();
    EXPECT_FALSE(Pass(ball, closed, 0.6F).result);
    EXPECT_TRUE(closed.has_vertex_normals());
    EXPECT_TRUE(closed.has_face_normals());
}

TEST(BallPivoting, ATriangularNotchIsFilled)
{
    BallPivoting ball;
    ball.set_norm_mode(true);
    TriMesh mesh = notched_hexagon();
    Pass const pass(ball, mesh, 0.6F);
    EXPECT_TRUE(pass.result);
    EXPECT_EQ(pass.boundary, 7);
    EXPECT_EQ(pass.added, 1);
    ASSERT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(corners_of(mesh, 5), (Triangle{0, 6, 1}));
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
}

TEST(BallPivoting, ABallThatIsTooSmallForTheGapFillsNothing)
{
    // The circumcircle of an equilateral triangle with sides of 1 has the radius 0.577.
    BallPivoting ball;
    ball.set_norm_mode(true);
    TriMesh mesh = notched_hexagon();
    EXPECT_EQ(Pass(ball, mesh, 0.57F).added, 0);
    EXPECT_EQ(Pass(ball, mesh, 0.58F).added, 1);
}

TEST(BallPivoting, NormalsOfVerticesVetoAFaceButZeroNormalsDoNot)
{
    auto const added = [](Vector3f const& all, Vector3f const& apex, float cosine)
    {
        BallPivoting ball;
        ball.set_NormConsistencyThr(cosine);
        TriMesh mesh = notched_hexagon();
        set_normals(mesh, all);
        mesh.set_normal(vh(0), apex);
        return Pass(ball, mesh, 0.6F).added;
    };
    Vector3f const up(0, 0, 1);
    Vector3f const zero(9e-6F, -9e-6F, 9e-6F);
    EXPECT_EQ(added(up, up, 0.5F), 1);
    EXPECT_EQ(added(up, -up, 0.5F), 0);
    EXPECT_EQ(added(up, zero, 0.5F), 1);
    EXPECT_EQ(added(up, {0, 0, -1.1e-5F}, 0.5F), 0) << "no zero any more";
    EXPECT_EQ(added(zero, zero, 0.5F), 1);
    // The threshold is the cosine, and itself agrees.
    EXPECT_EQ(added(up, {0.8F, 0, 0.6F}, 0.6F), 1);
    EXPECT_EQ(added(up, {0.8F, 0, 0.6F}, 0.61F), 0);
}

TEST(BallPivoting, AVertexBehindAThinPartIsStoppedByItsNormal)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points({NEAR_POINT});
    mesh.set_normal(vh(3), -Vector3f::UnitZ());
    EXPECT_EQ(Pass(ball, mesh, 1.0F).added, 0);
    mesh.set_normal(vh(3), Vector3f::UnitZ());
    EXPECT_EQ(Pass(ball, mesh, 1.0F).added, 1);
}

TEST(BallPivoting, TheBallHasToBeEmpty)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points({FAR_POINT, NEAR_POINT});
    EXPECT_TRUE(repair(ball, mesh, {1.0F}));
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 4})) << "the near point";
}

TEST(BallPivoting, AHugeBallHasToBeEmptyAsWell)
{
    constexpr float HUGE_LENGTH = 1073741824.0F; // 2 to the power of 30
    BallPivoting ball;
    TriMesh mesh = edge_and_points({FAR_POINT, NEAR_POINT});
    for (auto const vertex : mesh.vertices())
    {
        mesh.set_point(vertex, HUGE_LENGTH * mesh.point(vertex));
    }
    EXPECT_TRUE(repair(ball, mesh, {HUGE_LENGTH}));
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 4})) << "the near point";
}

TEST(BallPivoting, OnlyWhatIsInsideTheBallByMoreThanTheMarginIsInTheWay)
{
    for (auto const& [depth, faces] : {std::pair(0.0005F, 2U), std::pair(0.002F, 1U)})
    {
        TriMesh mesh = edge_and_points({NEAR_POINT});
        Vector3f centre;
        ASSERT_TRUE(
            detail::find_sphere(mesh.point(vh(0)), mesh.point(vh(1)), NEAR_POINT, 1.0F, centre));
        // A face with it would look away from its normal.
        auto const above = mesh.add_vertex(centre + (1.0F - depth) * Vector3f::UnitZ());
        mesh.set_normal(above, -Vector3f::UnitZ());
        BallPivoting ball;
        EXPECT_TRUE(repair(ball, mesh, {1.0F}));
        EXPECT_EQ(mesh.n_faces(), faces) << depth;
    }
}

TEST(BallPivoting, WithoutTheRestraintTheSmallestAngleCounts)
{
    BallPivoting ball;
    ball.set_node_in_sphere_restrain(false);
    TriMesh mesh = edge_and_points({FAR_POINT, NEAR_POINT});
    EXPECT_TRUE(repair(ball, mesh, {1.0F}));
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 3})) << "the far point";
}

TEST(BallPivoting, ASinglePassKnowsNoVerticesAndTakesEveryBallForEmpty)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points({FAR_POINT, NEAR_POINT});
    EXPECT_EQ(Pass(ball, mesh, 1.0F).added, 1);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 3}));
}

TEST(BallPivoting, ASinglePassAsksTheVerticesOfTheSeriesBefore)
{
    TriMesh const known = edge_and_points({FAR_POINT, NEAR_POINT});
    TriMesh moved = known;
    moved.set_point(vh(4), {0.0F, 9.0F, 0.0F});
    TriMesh more = known;
    more.set_normal(more.add_vertex({0.0F, -9.0F, 0.0F}), Vector3f::UnitZ());
    for (TriMesh const* const before : std::vector<TriMesh const*>{&known, &moved, &more})
    {
        BallPivoting ball;
        TriMesh mesh = *before;
        EXPECT_TRUE(repair(ball, mesh, {0.01F})); // no ball fits
        ASSERT_EQ(mesh.n_faces(), 1U);
        mesh = known;
        EXPECT_EQ(Pass(ball, mesh, 1.0F).added, 1);
        // Where the near point was elsewhere then, the ball on the far one is taken for empty.
        EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, before == &moved ? 3 : 4}));
    }
}

TEST(BallPivoting, SinglePassesGoOnWithASeries)
{
    TriMesh const torn = torn_sphere(5);
    BallPivoting whole;
    TriMesh expected = torn;
    EXPECT_TRUE(repair(whole, expected, {0.035F, 0.04F, 0.05F}));
    EXPECT_GT(expected.n_faces(), torn.n_faces());
    BallPivoting ball;
    TriMesh mesh = torn;
    EXPECT_TRUE(repair(ball, mesh, {0.035F}));
    EXPECT_TRUE(Pass(ball, mesh, 0.04F).result);
    Pass(ball, mesh, 0.05F);
    EXPECT_EQ(fingerprint(mesh), fingerprint(expected));
}

// Both points lie on the ball around (0, 0, 12), which is found without a rounding for both.
TEST(BallPivoting, OfEqualAnglesTheNearerPointIsTaken)
{
    std::vector<Vector3f> const loose{{3, 4, 24}, {-3, 4, 0}};
    for (bool const is_swapped : {false, true})
    {
        std::vector<Vector3f> points{{-3, -4, 0}, {3, -4, 0}, {0, -9, 0}};
        points.push_back(loose[is_swapped ? 1 : 0]);
        points.push_back(loose[is_swapped ? 0 : 1]);
        TriMesh mesh = make_mesh(points, {{1, 0, 2}});
        set_normals(mesh, Vector3f::UnitZ());
        BallPivoting ball;
        ball.set_NormConsistencyThr(0.0F); // One of the faces is steep.
        ASSERT_GE(Pass(ball, mesh, 13.0F).added, 1);
        EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, is_swapped ? 3 : 4}));
    }
}

// The ball starts at no place where a corner of the face is no number, and angles are none.
TEST(BallPivoting, WithoutAngleTheNearestPointIsTaken)
{
    BallPivoting ball;
    ball.set_node_in_sphere_restrain(false);
    TriMesh mesh = edge_and_points({FAR_POINT, NEAR_POINT});
    mesh.set_point(vh(2), {0.5F, NOT_A_NUMBER, 0});
    EXPECT_EQ(Pass(ball, mesh, 1.0F).added, 1);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 4}));
}

TEST(BallPivoting, PointsThatAreNoNumbersOrTwiceThereDoNoHarm)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points(
        {{NOT_A_NUMBER, 0, 0}, {INFINITE, 0, 0}, NEAR_POINT, NEAR_POINT, {0, 0, 0}, {1, 0, 0}});
    EXPECT_TRUE(repair(ball, mesh, {1.0F, NOT_A_NUMBER, -1.0F, INFINITE, 0.0F}));
    ASSERT_GE(mesh.n_faces(), 2U);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 5})) << "equally near ones go by index";
}

TEST(BallPivoting, DeletedVerticesAreNeitherMetNorInTheWay)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points({FAR_POINT, NEAR_POINT});
    mesh.request_vertex_status();
    mesh.status(vh(4)).set_deleted(true);
    EXPECT_TRUE(repair(ball, mesh, {1.0F}));
    ASSERT_EQ(mesh.n_faces(), 2U);
    EXPECT_EQ(corners_of(mesh, 1), (Triangle{0, 1, 3}));
}

// A strip of loose points, of which the first three have a face: what each face brings is reached
// by the same walk.
TEST(BallPivoting, OnePassGrowsAlongAStrip)
{
    constexpr int N = 40;
    std::vector<Vector3f> points;
    for (int i = 0; i < N; ++i)
    {
        points.emplace_back(0.5F * static_cast<float>(i), i % 2 == 0 ? 0.0F : std::sqrt(0.75F),
                            0.0F);
    }
    TriMesh mesh = make_mesh(points, {{0, 2, 1}});
    set_normals(mesh, Vector3f::UnitZ());
    BallPivoting ball;
    Pass const pass(ball, mesh, 0.6F);
    EXPECT_EQ(pass.boundary, N);
    EXPECT_EQ(pass.added, N - 3);
    EXPECT_EQ(count_boundary_edges(mesh), static_cast<std::size_t>(N));
    for (int i = 0; i < N; ++i)
    {
        EXPECT_EQ(mesh.point(vh(i)), points[static_cast<std::size_t>(i)]);
    }
}

// The circumcircle of half a cell has the radius 0.707, and passes the fourth corner as well.
TEST(BallPivoting, AHoleWithALoosePointIsFilledWithIt)
{
    BallPivoting ball;
    ball.set_norm_mode(true);
    TriMesh mesh = grid_with_hole(2);
    std::size_t const before = mesh.n_faces();
    EXPECT_TRUE(repair(ball, mesh, {0.75F}));
    EXPECT_EQ(mesh.n_faces(), before + 8);
    EXPECT_EQ(count_boundary_edges(mesh), 16U) << "the outer border";
}

TEST(BallPivoting, AnEdgeWithoutFacesIsAnErrorOfTheData)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points({NEAR_POINT});
    add_lone_edge(mesh, {50, 0, 0}, {51, 0, 0});
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {1.0F}));
    EXPECT_EQ(printed.count("Data Error - opposite halfedge.\n"), 2) << "one for each side";
    EXPECT_EQ(log.count("  [Data Error - opposite halfedge.  ]:  2\n"), 1);
    EXPECT_EQ(mesh.n_faces(), 2U) << "the others are worked on";
}

TEST(BallPivoting, ADeletedEdgeCountsAsOneWithoutFaces)
{
    BallPivoting ball;
    TriMesh mesh = lone_triangle();
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_halfedge_status();
    mesh.request_vertex_status();
    mesh.delete_face(OpenMesh::FaceHandle(0), false);
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {1.0F}));
    EXPECT_EQ(log.count("  [Data Error - opposite halfedge.  ]:  6\n"), 1);
}

// The circumcircle has the radius 0.70711, which is 32 times 0.022097.
TEST(BallPivoting, AFaceThatNoEnlargedBallFitsIsAnErrorOfTheData)
{
    BallPivoting ball;
    TriMesh mesh = lone_triangle();
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.0220F, 0.0222F}));
    EXPECT_EQ(printed.count("Data Error - find origial sphere.\n"), 3);
    EXPECT_EQ(log.count("  [Data Error - find origial sphere.]:  3\n"), 1);
    EXPECT_EQ(log.count("  [Data Error - find origial sphere.]:  0\n"), 1) << "of the second";
}

TEST(BallPivoting, ARefusedFaceIsShownAndTheMeshStaysAsItIs)
{
    TempDir const folder;
    BallPivoting ball;
    ball.set_norm_mode(true);
    ball.set_debug_save_path(folder.path().string());
    TriMesh mesh = hexagon_with_a_tag();
    auto const before = fingerprint(mesh);
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.6F}));
    EXPECT_EQ(fingerprint(mesh), before);

    // Both edges of the notch find the third one's end, and each shows it for both files.
    EXPECT_EQ(printed.count("\ninvalid face:\n"), 4);
    EXPECT_EQ(printed.count("  [vertex idx:]    1 0 6\n"), 2);
    EXPECT_EQ(printed.count("  [vertex idx:]    0 6 1\n"), 2);
    EXPECT_EQ(printed.count("Faces around vertex [0]:\n"), 4);
    EXPECT_EQ(printed.count("mEnableDeleteIsolatedFaces"), 0);

    std::set<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder.path()))
    {
        names.insert(entry.path().filename().string());
    }
    EXPECT_EQ(names, (std::set<std::string>{
                         "patch_radius-0.600000_[1-0-6]_level-0.obj",
                         "patch_radius-0.600000_[1-0-6]_level-0_with-failed-face.obj",
                         "patch_radius-0.600000_[0-6-1]_level-0.obj",
                         "patch_radius-0.600000_[0-6-1]_level-0_with-failed-face.obj"}));
}

TEST(BallPivoting, ThePatchOfARefusedFaceBeginsWithItsCorners)
{
    TempDir const folder;
    BallPivoting ball;
    ball.set_norm_mode(true);
    ball.set_debug_save_path(folder.path().string());
    TriMesh mesh = hexagon_with_a_tag();
    repair(ball, mesh, {0.6F});
    auto const with =
        file_content(folder.file("patch_radius-0.600000_[1-0-6]_level-0_with-failed-face.obj"));
    auto const without = file_content(folder.file("patch_radius-0.600000_[1-0-6]_level-0.obj"));
    auto const point = [&](int v)
    {
        char line[512];
        auto const p = mesh.point(vh(v)).cast<double>();
        format_line(line, "v %f %f %f\n", p.x(), p.y(), p.z());
        return std::string(line);
    };
    EXPECT_EQ(without.find(point(1) + point(0) + point(6)), 0U);
    auto const failed = with.find("f 1 2 3\n");
    ASSERT_NE(failed, std::string::npos);
    EXPECT_EQ(failed, with.find("f ")) << "the first face";
    std::string rest = with;
    rest.erase(failed, 8);
    EXPECT_EQ(rest, without);
    // Around vertices 1, 0 and 6: all five faces of the hexagon and the tag, with nine vertices.
    EXPECT_EQ(std::count(without.begin(), without.end(), 'f'), 6);
    EXPECT_EQ(std::count(without.begin(), without.end(), 'v'), 9);
}

TEST(BallPivoting, APatchThatCannotBeWrittenIsToldAndTheRepairGoesOn)
{
    TempDir const folder;
    BallPivoting ball;
    ball.set_norm_mode(true);
    ball.set_debug_save_path(folder.file("missing"));
    TriMesh mesh = hexagon_with_a_tag();
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.6F}));
    EXPECT_EQ(printed.count("fail to write '"), 4);
}

TEST(BallPivoting, WhatIsInTheWayOfARefusedFaceIsDeletedAndTheBallRunsAgain)
{
    BallPivoting ball;
    ball.set_norm_mode(true);
    ball.set_enable_delete_isolated_faces(true);
    TriMesh mesh = hexagon_with_a_tag();
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.6F}));

    ASSERT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(corners_of(mesh, 5), (Triangle{0, 6, 1}));
    EXPECT_FALSE(mesh.is_boundary(vh(0)));
    EXPECT_EQ(mesh.n_vertices(), 9U) << "those of the tag are loose now";
    EXPECT_FALSE(mesh.has_face_status());

    EXPECT_EQ(printed.count("\nmEnableDeleteIsolatedFaces = 1\n"), 1);
    EXPECT_EQ(log.count("  fail to add [2] faces.\n"), 1);
    EXPECT_EQ(printed.count("  fail to add [2] faces.\n"), 1);
    EXPECT_EQ(printed.count("analysis triangle (1,0,6)\n"), 1);
    EXPECT_EQ(printed.count("analysis triangle (0,6,1)\n"), 1);
    EXPECT_EQ(log.count("-->delete [6] triangles.\n"), 1) << "all that were looked at";
    auto const first = log.text().find("ball of radius [0.600000] add [0] triangles.\n");
    auto const second = log.text().find("ball of radius [0.600000] add [1] triangles.\n");
    ASSERT_NE(first, std::string::npos);
    ASSERT_NE(second, std::string::npos);
    EXPECT_LT(first, second);
    EXPECT_EQ(log.count("ball of radius ["), 2);
}

TEST(BallPivoting, ErrorsOfBothPassesOfARadiusAreCountedTogether)
{
    BallPivoting ball;
    ball.set_enable_delete_isolated_faces(true);
    TriMesh mesh = hexagon_with_a_tag();
    add_lone_edge(mesh, {50, 0, 0}, {51, 0, 0});
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.6F, 0.6F}));
    EXPECT_EQ(log.count("  [Data Error - opposite halfedge.  ]:  2\n"), 1) << "of the first pass";
    EXPECT_EQ(log.count("  [Data Error - opposite halfedge.  ]:  4\n"), 2) << "of each radius";
}

TEST(BallPivoting, OneReportWhereNoFaceWasRefused)
{
    BallPivoting ball;
    ball.set_norm_mode(true);
    ball.set_enable_delete_isolated_faces(true);
    TriMesh mesh = notched_hexagon();
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.6F}));
    EXPECT_EQ(mesh.n_faces(), 6U);
    EXPECT_EQ(log.count("  fail to add [0] faces.\n"), 1);
    EXPECT_EQ(log.count("ball of radius ["), 1);
}

TEST(BallPivoting, FewerThanThreeVerticesAreNoMesh)
{
    BallPivoting ball;
    TriMesh mesh = make_mesh({{0, 0, 0}, {1, 0, 0}}, {});
    PrintCapture const printed;
    EXPECT_FALSE(ball.repair_mesh(mesh, {}));
    EXPECT_EQ(printed.text(), "Error: Invalid TriMesh.\n");
}

TEST(BallPivoting, PointsWithoutFacesAreReportedAndStay)
{
    BallPivoting ball;
    TriMesh mesh = make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {});
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {}));
    EXPECT_EQ(mesh.n_faces(), 0U);
    std::string const report = "\n--------------------------------\n"
                               "radius of ball:\n"
                               "--------------------------------\n\n"
                               "\n--------------------------------\n"
                               "Mesh info:\n"
                               "  Vertex: \t 3\n"
                               "  Face: \t 0\n"
                               "  HalfEdge: \t 0\n"
                               "  Edge: \t 0\n"
                               "--------------------------------\n\n";
    EXPECT_EQ(printed.text(), report);
    EXPECT_EQ(log.text(), report + "\nUse OpenMesh norm: 0\n\n");
}

TEST(BallPivoting, TheHostsRadiiAreUsedAsTheyAre)
{
    BallPivoting ball;
    TriMesh mesh = lone_triangle();
    set_normals(mesh, Vector3f::UnitZ());
    LogCapture const log;
    PrintCapture const printed;
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.75F, 0.25F}));
    EXPECT_EQ(log.count("radius of ball"), 0);
    EXPECT_EQ(log.count("ball of radius ["), 2);
    EXPECT_LT(log.text().find("ball of radius [0.750000]"),
              log.text().find("ball of radius [0.250000]"));
}

TEST(BallPivoting, TheSeriesEndsWithThePassThatFindsTheMeshClosed)
{
    BallPivoting ball;
    ball.set_norm_mode(true);
    TriMesh mesh = sphere(1);
    std::size_t const n_faces = mesh.n_faces();
    mesh.request_face_status();
    mesh.request_edge_status();
    mesh.request_vertex_status();
    mesh.delete_face(OpenMesh::FaceHandle(0), false);
    mesh.garbage_collection(true, true, true);
    LogCapture const log;
    PrintCapture const printed;
    int told_in_the_step = -1;
    gLH.set_step_observer(
        [&](StepEvent const& event)
        {
            if (!event.started && event.step == "Ball-Pivoting-Radius:0.700000")
            {
                told_in_the_step = printed.count("isolated vertices");
            }
        });
    EXPECT_TRUE(ball.repair_mesh(mesh, {0.6F, 0.7F, 0.8F}));
    gLH.set_step_observer({});
    EXPECT_EQ(told_in_the_step, 0) << "it is told behind the step";
    EXPECT_EQ(mesh.n_faces(), n_faces);
    EXPECT_EQ(log.count("ball of radius [0.600000] add [1] triangles.\n"), 1);
    EXPECT_EQ(log.count("ball of radius [0.700000] add [0] triangles.\n"), 1);
    EXPECT_EQ(log.count("ball of radius ["), 2);
    EXPECT_EQ(printed.count("isolated vertices: 0\n"), 1);
}

TEST(BallPivoting, StepsAreTimedUnderTheirParents)
{
    BallPivoting ball;
    TriMesh mesh = edge_and_points({NEAR_POINT});
    LogCapture const log;
    PrintCapture const printed;
    StepsHeard const heard;
    EXPECT_TRUE(ball.repair_mesh(mesh, {1.0F}));
    std::vector<std::string> const expected{"+Repair-Mesh/Ball-Pivoting",
                                            "+Ball-Pivoting-Radius:1.000000/Ball-Pivoting",
                                            "+Build-Kd-Tree/Repair-Mesh",
                                            "-Build-Kd-Tree/Repair-Mesh",
                                            "+Kd-Tree Search Third Node/Repair-Mesh",
                                            "-Kd-Tree Search Third Node/Repair-Mesh",
                                            "+Kd-Tree Search Node in Sphere/Repair-Mesh",
                                            "-Kd-Tree Search Node in Sphere/Repair-Mesh"};
    ASSERT_GE(heard.events().size(), expected.size());
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), heard.events().begin()));
    EXPECT_EQ(heard.events().back(), "-Repair-Mesh/Ball-Pivoting");
}

TEST(BallPivoting, WhatTheHostThrowsAtTheEndOfAStepReachesIt)
{
    LogCapture const log;
    PrintCapture const printed;
    for (std::string const step :
         {"Build-Kd-Tree", "Kd-Tree Search Third Node", "Kd-Tree Search Node in Sphere",
          "Ball-Pivoting-Radius:1.000000", "Repair-Mesh"})
    {
        BallPivoting ball;
        ball.set_norm_mode(true);
        TriMesh mesh = edge_and_points({NEAR_POINT});
        gLH.set_step_observer(
            [&](StepEvent const& event)
            {
                if (!event.started && event.step == step)
                {
                    throw std::runtime_error("at the end");
                }
            });
        EXPECT_THROW(ball.repair_mesh(mesh, {1.0F}), std::runtime_error) << step;
        gLH.set_step_observer({});
    }
}

TEST(BallPivoting, ASeriesThatEndsBeforeItsSecondPassLeavesTheStepRunning)
{
    BallPivoting ball;
    ball.set_enable_delete_isolated_faces(true);
    TriMesh mesh = tetrahedron();
    LogCapture const log;
    PrintCapture const printed;
    StepsHeard const heard;
    EXPECT_TRUE(ball.repair_mesh(mesh, {1.0F, 2.0F}));
    EXPECT_EQ(printed.count("isolated vertices: 0\n"), 1);
    EXPECT_EQ(log.count("ball of radius ["), 0);
    EXPECT_EQ(heard.events(),
              (std::vector<std::string>{"+Repair-Mesh/Ball-Pivoting",
                                        "+Ball-Pivoting-Radius:1.000000/Ball-Pivoting",
                                        "+Build-Kd-Tree/Repair-Mesh", "-Build-Kd-Tree/Repair-Mesh",
                                        "-Repair-Mesh/Ball-Pivoting"}));
}

TEST(BallPivoting, ATornSphereIsMendedTheSameForAnyNumberOfThreads)
{
    TriMesh const torn = torn_sphere(5);
    std::vector<std::vector<int>> results;
    for (int const n : {1, 2, 8})
    {
        Threads const threads(n);
        BallPivoting ball;
        ball.set_norm_mode(true);
        TriMesh mesh = torn;
        EXPECT_TRUE(repair(ball, mesh, {0.05F})); // Edges are 0.04 to 0.07 long.
        results.push_back(fingerprint(mesh));
        EXPECT_EQ(count_boundary_edges(mesh), 0U);
        EXPECT_EQ(mesh.n_faces(), sphere(5).n_faces());
        EXPECT_EQ(mesh.n_vertices(), torn.n_vertices());
        for (auto const f : mesh.faces())
        {
            EXPECT_GT(mesh.calc_face_normal(f).dot(mesh.calc_face_centroid(f)), 0.5F) << "outwards";
        }
    }
    EXPECT_EQ(results[1], results[0]);
    EXPECT_EQ(results[2], results[0]);
}
