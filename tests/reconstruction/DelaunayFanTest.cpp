#include "algorithmVeld/reconstruction/stitch/DelaunayFan.h"
#include "algorithmVeld/common/geometry/LocalFrame.h"
#include "tests/support/mesh_arrays.h"
#include "tests/support/meshes.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <random>

using namespace OrvaneAlgorithm;
using namespace veld_test;
using detail::DelaunayFan;
using detail::FanSettings;
using detail::FanTriangle;
using detail::is_can_see_point;
using detail::is_in_circle;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace
{

constexpr double DEGREE = 3.141592653589793 / 180.0;

/// Small whole numbers, which floats hold exactly.
struct Point
{
    std::int64_t x, y;
    Vector2f as_float() const { return {static_cast<float>(x), static_cast<float>(y)}; }
};

std::int64_t cross(Point const& a, Point const& b)
{
    return a.x * b.y - a.y * b.x;
}

Point minus(Point const& a, Point const& b)
{
    return {a.x - b.x, a.y - b.y};
}

class RandomPoints
{
public:
    RandomPoints(unsigned seed, int limit) : random_(seed), coordinate_(-limit, limit) {}
    Point operator()() { return {coordinate_(random_), coordinate_(random_)}; }

private:
    std::mt19937 random_;
    std::uniform_int_distribution<std::int64_t> coordinate_;
};

// ------------------------------------------------------------------------------ tests in the plane

// The exact answer: the sign of the determinant of the points lifted to the paraboloid, from d.
TEST(DelaunayFan, CircleTestIsExactOnWholeNumbers)
{
    int on_circle = 0;
    for (int const limit : {3, 60})
    {
        RandomPoints next(1, limit);
        for (int i = 0; i < 100000; ++i)
        {
            Point const a = next();
            Point b = next();
            Point c = next();
            Point const d = next();
            auto const turn = cross(minus(b, a), minus(c, a));
            if (turn == 0)
            {
                continue;
            }
            if (turn < 0)
            {
                std::swap(b, c);
            }
            auto const [ax, ay] = minus(a, d);
            auto const [bx, by] = minus(b, d);
            auto const [cx, cy] = minus(c, d);
            auto const inside = (ax * ax + ay * ay) * (bx * cy - by * cx) -
                                (bx * bx + by * by) * (ax * cy - ay * cx) +
                                (cx * cx + cy * cy) * (ax * by - ay * bx);
            on_circle += inside == 0 ? 1 : 0;
            ASSERT_EQ(is_in_circle(a.as_float(), b.as_float(), c.as_float(), d.as_float()),
                      inside >= 0);
        }
    }
    EXPECT_GT(on_circle, 1000) << "points on the circle count as inside, and have to be met";
}

// c = t a + s b with s and t as fractions: c is hidden if both are positive and their sum is at
// least 1. Where a sum or sign is exactly on the limit, floats may fall to either side.
TEST(DelaunayFan, SightTestIsExactOnWholeNumbers)
{
    RandomPoints next(2, 60);
    int hidden = 0;
    for (int i = 0; i < 200000; ++i)
    {
        Point const a = next();
        Point const b = next();
        Point const c = next();
        auto const d = cross(b, a) > 0 ? 1 : -1;
        auto const whole = cross(b, a) * d;
        auto const s = cross(c, a) * d;
        auto const t = cross(b, c) * d;
        bool const on_limit = s == 0 || t == 0 || s + t == whole;
        if (whole == 0 || on_limit)
        {
            continue;
        }
        bool const is_hidden = s > 0 && t > 0 && s + t > whole;
        hidden += is_hidden ? 1 : 0;
        ASSERT_EQ(is_can_see_point(a.as_float(), b.as_float(), c.as_float()), !is_hidden)
            << a.x << ' ' << a.y << ", " << b.x << ' ' << b.y << ", " << c.x << ' ' << c.y;
    }
    EXPECT_GT(hidden, 10000);
}

// Where points lie on one circle, the rounding of their squares decides: they are float.
TEST(DelaunayFan, SquaresOfTheCircleTestAreFloat)
{
    std::mt19937 random(4);
    std::uniform_real_distribution<double> uniform(0.0, 360.0);
    int told_apart = 0;
    for (int i = 0; i < 20000; ++i)
    {
        // On the unit circle about (1, 0), which passes through the origin.
        double angles[3] = {uniform(random), uniform(random), uniform(random)};
        std::sort(angles, angles + 3);
        std::array<Vector2f, 3> p;
        for (std::size_t k = 0; k < 3; ++k)
        {
            double const angle = (angles[k] + 180.0) * DEGREE;
            p[k] = {static_cast<float>(1.0 + std::cos(angle)), static_cast<float>(std::sin(angle))};
        }
        auto const determinant = [&](auto const& square)
        {
            auto const minor = [&](std::size_t a, std::size_t b)
            {
                return static_cast<long double>(p[a].x()) * static_cast<long double>(p[b].y()) -
                       static_cast<long double>(p[a].y()) * static_cast<long double>(p[b].x());
            };
            return square(p[0]) * minor(1, 2) - square(p[1]) * minor(0, 2) +
                   square(p[2]) * minor(0, 1);
        };
        auto const in_float = determinant(
            [](Vector2f const& q)
            {
                float const square = q.x() * q.x() + q.y() * q.y();
                return static_cast<long double>(square);
            });
        auto const exact = determinant(
            [](Vector2f const& q)
            {
                auto const x = static_cast<long double>(q.x());
                auto const y = static_cast<long double>(q.y());
                return x * x + y * y;
            });
        if (std::abs(in_float) < 1e-12L || std::abs(exact) < 1e-12L)
        {
            continue;
        }
        ASSERT_EQ(is_in_circle({0, 0}, p[0], p[1], p[2]), in_float < 0.0L) << i;
        told_apart += (in_float < 0.0L) != (exact < 0.0L) ? 1 : 0;
    }
    EXPECT_GT(told_apart, 100);
}

// An end whose x is small, but not too small, is divided by x all the same, however coarse that is.
TEST(DelaunayFan, EndIsDividedByItsFirstCoordinateUnlessThatIsNone)
{
    std::mt19937 random(8);
    std::uniform_real_distribution<float> uniform(0.1F, 2.0F);
    int told_apart = 0;
    for (int i = 0; i < 200000; ++i)
    {
        Vector2f const a(2e-5F * uniform(random) + 1e-5F, uniform(random));
        Vector2f const b(uniform(random), uniform(random) - 1.0F);
        Vector2f const c(uniform(random), uniform(random));
        float const d = b.x() * a.y() - a.x() * b.y();
        float const s = (c.x() * a.y() - c.y() * a.x()) / d;
        float const by_x = (c.x() - b.x() * s) / a.x();
        float const by_y = (c.y() - b.y() * s) / a.y();
        bool const seen = by_x <= 0.0F || s + by_x < 1.0F;
        ASSERT_GT(s, 0.0F);
        ASSERT_EQ(is_can_see_point(a, b, c), seen) << i;
        told_apart += seen != (by_y <= 0.0F || s + by_y < 1.0F) ? 1 : 0;
    }
    EXPECT_GT(told_apart, 10);
}

TEST(DelaunayFan, LimitOfTheProductIsComparedInDouble)
{
    // The float nearest to 1e-5 is less than 1e-5.
    float const limit = 1e-5F;
    EXPECT_TRUE(is_can_see_point({1, 0}, {0, limit}, {1, 1}));
    EXPECT_FALSE(is_can_see_point({1, 0}, {0, std::nextafter(limit, 1.0F)}, {1, 1}));
}

TEST(DelaunayFan, PointOnTheSegmentIsHidden)
{
    // Visible means strictly in front: s + t < 1.
    EXPECT_FALSE(is_can_see_point({2, 0}, {0, 2}, {1, 1}));
    EXPECT_TRUE(is_can_see_point({2, 0}, {0, 2}, {0.99F, 1}));
    EXPECT_FALSE(is_can_see_point({2, 0}, {0, 2}, {1.01F, 1}));
    EXPECT_FALSE(is_can_see_point({0, 2}, {2, 0}, {1, 1}));
}

TEST(DelaunayFan, PointOnTheLineToAnEndIsSeen)
{
    EXPECT_TRUE(is_can_see_point({2, 0}, {0, 2}, {5, 0}));
    EXPECT_TRUE(is_can_see_point({2, 0}, {0, 2}, {0, 5}));
    EXPECT_TRUE(is_can_see_point({2, 0}, {0, 2}, {-3, -3}));
}

TEST(DelaunayFan, SegmentThatPointsAtTheOriginHidesNothing)
{
    EXPECT_TRUE(is_can_see_point({1, 1}, {2, 2}, {3, 3}));
    EXPECT_TRUE(is_can_see_point({0, 0}, {1, 0}, {2, 0}));
    // The limit of 1e-5 is on the product of lengths: such a small segment hides nothing either.
    EXPECT_TRUE(is_can_see_point({0.003F, 0}, {0, 0.003F}, {1, 1}));
    EXPECT_FALSE(is_can_see_point({0.004F, 0}, {0, 0.004F}, {1, 1}));
}

TEST(DelaunayFan, EndOnAnAxisIsDividedByItsOtherCoordinate)
{
    EXPECT_FALSE(is_can_see_point({0, 2}, {-2, 0}, {-2, 2}));
    EXPECT_TRUE(is_can_see_point({0, 2}, {-2, 0}, {-0.5F, 0.5F}));
    // Neither coordinate of the first end can be divided by.
    EXPECT_TRUE(is_can_see_point({1e-5F, 1e-5F}, {-100, 1000}, {-1, 1}));
}

TEST(DelaunayFan, TestsOfPointsThatAreNoNumbersEnd)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(is_in_circle({0, 0}, {1, 0}, {0, 1}, {nan, 0}));
    EXPECT_FALSE(is_can_see_point({2, 0}, {0, 2}, {nan, nan}));
    EXPECT_TRUE(is_can_see_point({nan, nan}, {0, 2}, {1, 1}));
}

// ----------------------------------------------------------------------------------- local frame

TEST(DelaunayFan, LocalFrameIsRightHandedAndStandsOnTheSurface)
{
    std::mt19937 random(3);
    std::normal_distribution<float> normal(0.0F, 1.0F);
    for (int i = 0; i < 50; ++i)
    {
        Vector3f const up = Vector3f(normal(random), normal(random), normal(random)).normalized();
        Vector3f const side = up.unitOrthogonal();
        Vector3f const third = up.cross(side);
        std::vector<Vector3f> points;
        for (int p = 0; p < 40; ++p)
        {
            points.push_back(Vector3f(Vector3f(5, 6, 7) + 3.0F * normal(random) * side +
                                      1.0F * normal(random) * third + 0.01F * normal(random) * up));
        }
        auto const lrf = detail::compute_lrf(points, up);
        EXPECT_GT(lrf.col(2).dot(up), 0.99F);
        EXPECT_NEAR(lrf.determinant(), 1.0F, 1e-4F);
        EXPECT_TRUE((lrf.transpose() * lrf).isIdentity(1e-4F));
        auto const turned = detail::compute_lrf(points, -up);
        EXPECT_LT(turned.col(2).dot(up), -0.99F);
        EXPECT_NEAR(turned.determinant(), 1.0F, 1e-4F);
    }
}

// ---------------------------------------------------------------------------------------- the fan

/// A mesh in the plane with vertex 0, the centre, at the origin.
class Scene
{
public:
    explicit Scene(std::vector<Vector3f> const& points, std::vector<Triangle> const& faces = {})
    {
        mesh = make_mesh({Vector3f(0, 0, 0)}, {});
        for (auto const& p : points)
        {
            mesh.add_vertex(p);
        }
        for (auto const& [a, b, c] : faces)
        {
            EXPECT_TRUE(mesh.add_face(vh(a), vh(b), vh(c)).is_valid());
        }
        mesh.request_vertex_normals();
        for (auto const v : mesh.vertices())
        {
            mesh.set_normal(v, Vector3f(0, 0, 1));
        }
        settings.start_radius = 2.0F;
        settings.largest_radius = 8.0;
        settings.longest_edge = 8.0;
        settings.cos_normal_angle = std::cos(static_cast<float>(30.0 * DEGREE));
    }

    std::vector<FanTriangle> plan(int centre = 0) const
    {
        KdTree3f tree;
        tree.set_sorted(false);
        tree.build_kdtree(std::vector<Vector3f>(mesh.points(), mesh.points() + mesh.n_vertices()));
        std::vector<FanTriangle> triangles;
        DelaunayFan(mesh, tree, settings).plan(vh(centre), triangles);
        return triangles;
    }

    /// The corners across from the centre.
    std::vector<std::pair<int, int>> edges(int centre = 0) const
    {
        std::vector<std::pair<int, int>> result;
        for (auto const& triangle : plan(centre))
        {
            result.emplace_back(triangle.a.idx(), triangle.b.idx());
        }
        return result;
    }

    TriMesh mesh;
    FanSettings settings;
};

Vector3f polar(double angle, double distance)
{
    return {static_cast<float>(distance * std::cos(angle * DEGREE)),
            static_cast<float>(distance * std::sin(angle * DEGREE)), 0.0F};
}

std::vector<Vector3f> ring(std::vector<double> const& angles, double distance = 1.0)
{
    std::vector<Vector3f> points;
    for (double const angle : angles)
    {
        points.push_back(polar(angle, distance));
    }
    return points;
}

using Edge = std::pair<int, int>;

TEST(DelaunayFan, IsolatedCentreHasOneGapAllAround)
{
    Scene const scene(ring({10, 70, 130, 190, 250, 310}));
    EXPECT_THAT(scene.edges(), UnorderedElementsAre(Edge(1, 2), Edge(2, 3), Edge(3, 4), Edge(4, 5),
                                                    Edge(5, 6), Edge(6, 1)));
}

TEST(DelaunayFan, FewerThanTwoBorderVerticesNearbyMakeNoFace)
{
    EXPECT_THAT(Scene(ring({10})).edges(), IsEmpty());
    EXPECT_THAT(Scene({}).edges(), IsEmpty());
    EXPECT_THAT(Scene(ring({10, 70})).edges(), UnorderedElementsAre(Edge(1, 2)));
}

TEST(DelaunayFan, InnerVertexIsNoCentre)
{
    Scene const closed({{1, 0, 0}, {0, 1, 0}, {-1, -1, 0}}, {{0, 1, 2}, {0, 2, 3}, {0, 3, 1}});
    EXPECT_THAT(closed.edges(), IsEmpty());
}

TEST(DelaunayFan, CornerOf18DegreesOrLessIsDroppedAndTheFanGoesOn)
{
    Scene const narrow(ring({0, 60, 77.9, 140, 200, 260, 320}));
    EXPECT_THAT(narrow.edges(), UnorderedElementsAre(Edge(1, 2), Edge(3, 4), Edge(4, 5), Edge(5, 6),
                                                     Edge(6, 7), Edge(7, 1)));
    Scene const wider(ring({0, 60, 78.1, 140, 200, 260, 320}));
    EXPECT_THAT(wider.edges(), SizeIs(7));
}

TEST(DelaunayFan, CornerOf144DegreesOrMoreIsDroppedAndTheFanGoesOn)
{
    Scene const wide(ring({0, 144.1, 200, 280}));
    EXPECT_THAT(wide.edges(), UnorderedElementsAre(Edge(2, 3), Edge(3, 4), Edge(4, 1)));
    Scene const narrower(ring({0, 143.9, 200, 280}));
    EXPECT_THAT(narrower.edges(), SizeIs(4));
}

TEST(DelaunayFan, CornerWhoseCircleHoldsTheNextOneIsLeftOut)
{
    // The corner in the middle is so far off that the circle through its neighbour holds the next.
    auto points = ring({0, 100, 230});
    points.push_back(polar(50, 1.9));
    Scene const scene(points);
    EXPECT_THAT(scene.edges(), UnorderedElementsAre(Edge(1, 2), Edge(2, 3), Edge(3, 1)));
    // Nearer it is a corner like the others.
    points.back() = polar(50, 0.9);
    EXPECT_THAT(Scene(points).edges(),
                UnorderedElementsAre(Edge(1, 4), Edge(4, 2), Edge(2, 3), Edge(3, 1)));
}

TEST(DelaunayFan, OnlyTheGapBetweenFacesIsFilled)
{
    // Faces at the centre cover the angles from 0 to 120.
    Scene const scene(ring({0, 60, 120, 180, 240, 300}), {{0, 1, 2}, {0, 2, 3}});
    EXPECT_THAT(scene.edges(),
                UnorderedElementsAre(Edge(3, 4), Edge(4, 5), Edge(5, 6), Edge(6, 1)));
}

TEST(DelaunayFan, BothGapsOfAVertexThatTwoFansShareAreFilled)
{
    Scene const scene(ring({0, 60, 120, 180, 240, 300}), {{0, 1, 2}, {0, 4, 5}});
    EXPECT_THAT(scene.edges(),
                UnorderedElementsAre(Edge(2, 3), Edge(3, 4), Edge(5, 6), Edge(6, 1)));
}

// Two faces at the centre that overlap: going round, two gaps begin before one ends.
TEST(DelaunayFan, MarksThatDoNotAlternateMakeNoFace)
{
    std::vector<Vector3f> points{polar(0, 1),     polar(60, 0.7),  polar(30, 0.7), polar(90, 1),
                                 polar(150, 0.9), polar(210, 0.9), polar(270, 0.9)};
    Scene const overlapping(points, {{0, 1, 2}, {0, 3, 4}});
    EXPECT_THAT(overlapping.edges(), IsEmpty());
    // Turned away from each other the same two faces leave two gaps.
    points[2] = polar(100, 0.7);
    points[3] = polar(150, 1);
    points[4] = polar(180, 1);
    Scene const apart(points, {{0, 1, 2}, {0, 3, 4}});
    EXPECT_THAT(apart.edges(), testing::Not(IsEmpty()));
}

TEST(DelaunayFan, BorderNeighbourThatCannotBeSeenMakesNoFace)
{
    // The edge between 5 and 6 stands between the centre and its neighbour 1.
    auto points = ring({0, 60, 150, 250});
    Scene const open(points, {{0, 1, 2}});
    EXPECT_THAT(open.edges(), SizeIs(3));
    points.insert(points.end(), {{0.5F, -0.2F, 0}, {0.5F, 0.2F, 0}, {0.6F, 0, 0}});
    Scene const hidden(points, {{0, 1, 2}, {5, 7, 6}});
    EXPECT_THAT(hidden.edges(), IsEmpty());
}

TEST(DelaunayFan, VertexBehindAnEdgeGetsNoFaceEvenIfItIsTheNearest)
{
    // The edge from 3 to 4 passes before vertex 1; its ends are farther off than vertex 1.
    std::vector<Vector3f> const points{
        polar(45, 0.8), polar(200, 1.0), {0.7F, -0.6F, 0}, {-0.2F, 1.2F, 0}, {1.5F, 1.5F, 0}};
    Scene const scene(points, {{3, 5, 4}});
    for (auto const& [a, b] : scene.edges())
    {
        EXPECT_NE(a, 1);
        EXPECT_NE(b, 1);
    }
    EXPECT_THAT(scene.edges(), testing::Contains(Edge(3, 4)));
    // Without the face it is a corner.
    EXPECT_THAT(Scene(points).edges(), testing::Contains(Edge(1, 4)));
}

TEST(DelaunayFan, EdgeThatLeavesTheNeighbourhoodHidesToo)
{
    // The edge from 2 to 3 starts within reach and ends beyond it, in front of vertex 1.
    std::vector<Vector3f> const points{
        polar(60, 1.5), {-0.4F, 1.0F, 0}, {2.4F, 0.2F, 0}, {2.4F, 2.0F, 0}, polar(-30, 1.2)};
    Scene const hidden(points, {{2, 3, 4}});
    for (auto const& [a, b] : hidden.edges())
    {
        EXPECT_TRUE(a != 1 && b != 1);
    }
    EXPECT_THAT(Scene(points).edges(), testing::Contains(Edge(1, 2)));
}

TEST(DelaunayFan, SearchReachesJustBeyondTheLongestBorderEdge)
{
    // The neighbour across a border edge as long as the radius is found, though the search is
    // strict: without it there would be no marks, and no faces.
    Scene scene(ring({0, 90, 180, 270}), {{0, 1, 2}});
    scene.settings.start_radius = 1.0F;
    EXPECT_THAT(scene.edges(), UnorderedElementsAre(Edge(2, 3), Edge(3, 4), Edge(4, 1)));
    scene.settings.start_radius = 0.01F;
    EXPECT_THAT(scene.edges(), UnorderedElementsAre(Edge(2, 3), Edge(3, 4), Edge(4, 1)));
}

TEST(DelaunayFan, CentreWithABorderEdgeTooLongIsSkippedHoweverNearOthersAre)
{
    Scene scene({{3, 0, 0}, {0, 3, 0}, {-0.1F, 0, 0}, {0, -0.1F, 0}}, {{0, 1, 2}});
    scene.settings.largest_radius = 3.1;
    EXPECT_THAT(scene.edges(), testing::Not(IsEmpty()));
    scene.settings.largest_radius = 3.0;
    EXPECT_THAT(scene.edges(), IsEmpty());
}

TEST(DelaunayFan, SearchAsWideAsTheLimitIsNotTooWide)
{
    Scene scene(ring({0, 60}));
    scene.settings.largest_radius = 2.0; // where the search starts
    EXPECT_THAT(scene.edges(), SizeIs(1));
    scene.settings.largest_radius = 1.9999999;
    EXPECT_THAT(scene.edges(), IsEmpty());
}

TEST(DelaunayFan, EdgeAcrossOfTheLimitStaysAndIsComparedInDouble)
{
    Scene one({{1, 0, 0}, {1, 1, 0}});
    one.settings.longest_edge = 1.0;
    EXPECT_THAT(one.edges(), SizeIs(1));
    // The float nearest to 0.1 is longer than 0.1.
    Scene tenth({{0.125F, 0, 0}, {0.125F, 0.1F, 0}});
    tenth.settings.longest_edge = 0.1;
    EXPECT_THAT(tenth.edges(), IsEmpty());
    tenth.settings.longest_edge = static_cast<double>(0.1F);
    EXPECT_THAT(tenth.edges(), SizeIs(1));
}

TEST(DelaunayFan, OnlyTheEdgeAcrossFromTheCentreIsTooLong)
{
    // Two sides of 1.5 at the centre, 1.5 across.
    Scene scene(ring({0, 60}, 1.5));
    scene.settings.longest_edge = 1.51;
    EXPECT_THAT(scene.edges(), SizeIs(1));
    scene.settings.longest_edge = 1.49;
    EXPECT_THAT(scene.edges(), IsEmpty());
    // Two sides of 1.5, and 0.6 across.
    Scene slim(ring({0, 23}, 1.5));
    slim.settings.longest_edge = 0.7;
    EXPECT_THAT(slim.edges(), SizeIs(1));
}

TEST(DelaunayFan, FaceThatLooksAwayFromACornersNormalIsDropped)
{
    for (int corner = 0; corner < 3; ++corner)
    {
        Scene scene(ring({0, 60}));
        scene.mesh.set_normal(vh(corner), Vector3f(0.5F, 0, -0.1F));
        EXPECT_THAT(scene.edges(), IsEmpty()) << "corner " << corner;
        // Square to the normal is still in order.
        scene.mesh.set_normal(vh(corner), Vector3f(1, 0, 0));
        EXPECT_THAT(scene.edges(), SizeIs(1)) << "corner " << corner;
    }
}

TEST(DelaunayFan, FaceThatTurnsAwayFromTheFacesAroundItsCornersIsDropped)
{
    // Vertex 1 has a face that stands at an angle on its far side.
    auto const scene_with = [](double angle)
    {
        auto points = ring({0, 60});
        auto const z = static_cast<float>(std::tan(angle * DEGREE));
        points.emplace_back(1.0F, -1.0F, 0.0F);
        points.emplace_back(2.0F, 0.0F, z);
        return Scene(points, {{1, 3, 4}});
    };
    EXPECT_THAT(scene_with(25).edges(), testing::Contains(Edge(1, 2)));
    EXPECT_THAT(scene_with(38).edges(), testing::Not(testing::Contains(Edge(1, 2))));
}

TEST(DelaunayFan, FacesAtTheCentreCountToo)
{
    // A face on the far side of the centre rises away from it.
    auto const scene_with = [](double angle)
    {
        auto const z = static_cast<float>(std::tan(angle * DEGREE));
        auto points = ring({0, 60});
        points.emplace_back(-1.0F, 0.5F, z);
        points.emplace_back(-1.0F, -0.5F, z);
        return Scene(points, {{0, 3, 4}});
    };
    EXPECT_THAT(scene_with(25).edges(), testing::Contains(Edge(1, 2)));
    EXPECT_THAT(scene_with(38).edges(), testing::Not(testing::Contains(Edge(1, 2))));
}

// What a fan adds is a face around its centre for its next triangles.
TEST(DelaunayFan, TrianglesOfAFanHaveToAgreeWithEachOther)
{
    TriMesh mesh = make_mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 1}, {-1, -1, 1}}, {});
    auto const normal = [&](int a, int b)
    {
        Vector3f n = mesh.point(vh(a)).cross(mesh.point(vh(b)));
        return Vector3f(n.normalized());
    };
    std::vector<FanTriangle> const fan{
        {vh(1), vh(2), normal(1, 2)}, {vh(2), vh(3), normal(2, 3)}, {vh(3), vh(4), normal(3, 4)}};
    detail::AppendedElements elements(mesh);
    auto const none = [](FanTriangle const&) { FAIL() << "nothing is refused"; };
    TriMesh strict = mesh;
    detail::AppendedElements strict_elements(strict);
    // The second is 45 degrees off the first, the third is 55 degrees off.
    detail::add_fan(strict, vh(0), fan, std::cos(static_cast<float>(40 * DEGREE)), strict_elements,
                    none);
    EXPECT_EQ(strict.n_faces(), 1U);
    detail::add_fan(mesh, vh(0), fan, std::cos(static_cast<float>(60 * DEGREE)), elements, none);
    EXPECT_EQ(mesh.n_faces(), 3U);
}

TEST(DelaunayFan, TriangleThatTheMeshCannotTakeIsTold)
{
    TriMesh mesh = lone_triangle();
    std::vector<FanTriangle> const fan{{vh(1), vh(2), Vector3f(0, 0, 1)}};
    std::vector<int> refused;
    detail::AppendedElements elements(mesh);
    detail::add_fan(mesh, vh(0), fan, 0.0F, elements,
                    [&](FanTriangle const& triangle) { refused.push_back(triangle.a.idx()); });
    EXPECT_THAT(refused, testing::ElementsAre(1));
    EXPECT_EQ(mesh.n_faces(), 1U);
}

TEST(DelaunayFan, SameFanForAnyTurnOfTheScene)
{
    std::mt19937 random(9);
    std::uniform_real_distribution<float> uniform(-1.0F, 1.0F);
    for (int i = 0; i < 200; ++i)
    {
        std::vector<Vector3f> points;
        for (int p = 0; p < 9; ++p)
        {
            points.emplace_back(uniform(random), uniform(random), 0.0F);
        }
        Scene const scene(points);
        Scene turned(points);
        Eigen::Matrix3f const rotation(
            Eigen::AngleAxisf(3.0F * uniform(random), Vector3f(1, 2, 3).normalized()));
        for (auto const v : turned.mesh.vertices())
        {
            turned.mesh.set_point(v, Vector3f(rotation * turned.mesh.point(v)));
            turned.mesh.set_normal(v, Vector3f(rotation * turned.mesh.normal(v)));
        }
        EXPECT_THAT(turned.edges(), testing::UnorderedElementsAreArray(scene.edges())) << i;
    }
}

// ------------------------------------------------------------------ the fan in exact arithmetic

/// The fan around the origin over again, on whole numbers and without angles: directions are
/// compared by the signs of products. What is on a limit, where the rounding of the local frame may
/// decide either way, makes the scene unclear.
class ExactFan
{
public:
    /// \param points[0] the centre, at the origin
    ExactFan(std::vector<Point> const& points, std::vector<Triangle> const& faces)
        : points_(points), faces_(faces)
    {
        find_visible();
        if (!visible_.empty() && mark_gaps())
        {
            for (auto const& [from, to] : gaps_)
            {
                fill(from, to);
            }
        }
    }

    bool is_clear() const { return clear_; }
    std::vector<Edge> const& edges() const { return edges_; }
    std::size_t gaps() const { return gaps_.size(); }
    std::size_t n_hidden() const { return points_.size() - 1 - visible_.size(); }
    bool has_popped() const { return popped_; }

private:
    Point const& at(int i) const { return points_[static_cast<std::size_t>(i)]; }

    /// \return the sign, after taking note of a zero
    int sign(std::int64_t value)
    {
        clear_ = clear_ && value != 0;
        return value > 0 ? 1 : -1;
    }

    void find_visible()
    {
        for (int w = 1; w < static_cast<int>(points_.size()); ++w)
        {
            bool seen = true;
            for (auto const& [a, b, c] : faces_)
            {
                seen = seen && !hides(a, b, w) && !hides(b, c, w) && !hides(c, a, w);
            }
            if (seen)
            {
                visible_.push_back(w);
            }
        }
        std::sort(visible_.begin(), visible_.end(),
                  [this](int a, int b)
                  {
                      bool const a_below = at(a).y < 0 || (at(a).y == 0 && at(a).x < 0);
                      bool const b_below = at(b).y < 0 || (at(b).y == 0 && at(b).x < 0);
                      return a_below != b_below ? b_below : cross(at(a), at(b)) > 0;
                  });
        for (std::size_t i = 0; i < visible_.size(); ++i)
        {
            for (std::size_t j = 0; j < i; ++j)
            {
                sign(cross(at(visible_[i]), at(visible_[j])));
            }
        }
    }

    bool hides(int a, int b, int w)
    {
        if (a == 0 || b == 0 || w == a || w == b)
        {
            return false;
        }
        int const d = sign(cross(at(b), at(a)));
        auto const s = cross(at(w), at(a)) * d;
        auto const t = cross(at(b), at(w)) * d;
        return sign(s) > 0 && sign(t) > 0 && sign(s + t - cross(at(b), at(a)) * d) > 0;
    }

    int rank(int vertex) const
    {
        auto const found = std::find(visible_.begin(), visible_.end(), vertex);
        return found == visible_.end() ? -1 : static_cast<int>(found - visible_.begin());
    }

    /// A gap begins behind the last corner of a face at the centre and ends at the first of the
    /// next, unless a second face shares that edge.
    bool mark_gaps()
    {
        std::map<int, int> marks; // 1 begins, -1 ends
        for (auto const& [a, b, c] : faces_)
        {
            if (a == 0)
            {
                marks[b] -= 1;
                marks[c] += 1;
            }
        }
        std::vector<std::pair<int, int>> ranked;
        for (auto const& [vertex, mark] : marks)
        {
            if (mark != 0)
            {
                ranked.emplace_back(rank(vertex), mark);
            }
        }
        if (marks.empty())
        {
            gaps_.emplace_back(nearest(), nearest());
            return true;
        }
        std::sort(ranked.begin(), ranked.end());
        for (std::size_t i = 0; i < ranked.size(); ++i)
        {
            auto const& next = ranked[(i + 1) % ranked.size()];
            if (ranked[i].first < 0 || ranked[i].second == next.second)
            {
                gaps_.clear();
                return false;
            }
            if (ranked[i].second > 0)
            {
                gaps_.emplace_back(ranked[i].first, next.first);
            }
        }
        return true;
    }

    int nearest()
    {
        auto const distance = [this](int rank)
        {
            Point const& p = at(visible_[static_cast<std::size_t>(rank)]);
            return p.x * p.x + p.y * p.y;
        };
        int best = 0;
        for (int i = 1; i < static_cast<int>(visible_.size()); ++i)
        {
            best = sign(distance(best) - distance(i)) > 0 ? i : best;
        }
        return best;
    }

    bool turns_left(int from, int to) { return sign(cross(at(from), at(to))) > 0; }

    /// Whether the circle through the centre, a and b, against the clock, has c in it: the
    /// determinant of the three lifted to the paraboloid, with its sign for the centre coming
    /// first.
    bool circle_holds(int a, int b, int c)
    {
        auto const square = [this](int i) { return at(i).x * at(i).x + at(i).y * at(i).y; };
        return sign(square(a) * cross(at(b), at(c)) - square(b) * cross(at(a), at(c)) +
                    square(c) * cross(at(a), at(b))) < 0;
    }

    void fill(int from, int to)
    {
        auto const n = static_cast<int>(visible_.size());
        std::vector<int> stack{visible_[static_cast<std::size_t>(from)]};
        for (int k = (from + 1) % n;; k = (k + 1) % n)
        {
            int const v = visible_[static_cast<std::size_t>(k)];
            while (stack.size() >= 2 && v != stack[stack.size() - 2] &&
                   turns_left(stack.back(), v) && turns_left(stack[stack.size() - 2], v) &&
                   circle_holds(stack[stack.size() - 2], stack.back(), v))
            {
                stack.pop_back();
                popped_ = true;
            }
            if (stack.size() >= 2 && v == stack[stack.size() - 2] && turns_left(stack.back(), v))
            {
                clear_ = false; // a circle through one point twice
            }
            stack.push_back(v);
            if (k == to)
            {
                break;
            }
        }
        for (std::size_t q = 1; q < stack.size(); ++q)
        {
            add(stack[q - 1], stack[q]);
        }
    }

    void add(int a, int b)
    {
        auto const dot = at(a).x * at(b).x + at(a).y * at(b).y;
        double const angle =
            std::atan2(static_cast<double>(cross(at(a), at(b))), static_cast<double>(dot)) / DEGREE;
        clear_ = clear_ && std::abs(angle - 18.0) > 0.01 && std::abs(angle - 144.0) > 0.01;
        if (angle > 18.0 && angle < 144.0)
        {
            edges_.emplace_back(a, b);
        }
    }

    std::vector<Point> points_;
    std::vector<Triangle> faces_;
    std::vector<int> visible_;
    std::vector<std::pair<int, int>> gaps_; // Ranks.
    std::vector<Edge> edges_;
    bool clear_ = true;
    bool popped_ = false;
};

/// How often each thing that makes scenes differ was met.
struct Met
{
    int scenes = 0, pops = 0, hidden = 0, given_up = 0, isolated = 0, several_gaps = 0;
};

/// Points around a centre, and faces between some of them: at the centre and elsewhere, over each
/// other as they come.
void compare_with_exact_fan(RandomPoints& next, std::mt19937& random, int faces_wanted, Met& met)
{
    std::vector<Point> points{{0, 0}};
    std::vector<Vector3f> positions;
    auto const n = static_cast<std::size_t>(4 + static_cast<int>(random() % 8));
    while (points.size() <= n)
    {
        points.push_back(next());
        Vector2f const p = points.back().as_float();
        positions.emplace_back(p.x(), p.y(), 0.0F);
    }
    TriMesh trial = make_mesh({Vector3f(0, 0, 0)}, {});
    for (auto const& p : positions)
    {
        trial.add_vertex(p);
    }
    std::vector<Triangle> faces;
    for (int i = 0; i < faces_wanted; ++i)
    {
        auto const pick = [&] { return 1 + static_cast<int>(random() % n); };
        Triangle face{random() % 3 == 0 ? pick() : 0, pick(), pick()};
        auto const& [a, b, c] = face;
        auto const at = [&](int v) { return points[static_cast<std::size_t>(v)]; };
        if (cross(minus(at(b), at(a)), minus(at(c), at(a))) > 0 &&
            detail::add_face_checked(trial, vh(a), vh(b), vh(c)).is_valid())
        {
            faces.push_back(face);
        }
    }
    if (!trial.is_boundary(vh(0)))
    {
        return;
    }
    for (auto const v : trial.vertices())
    {
        if (!trial.is_boundary(v))
        {
            return; // inner vertices are none that can be seen
        }
    }
    ExactFan const exact(points, faces);
    if (!exact.is_clear())
    {
        return;
    }
    Scene scene(positions, faces);
    scene.settings = {1000.0F, 1e4, 1e4, -1.0F};
    ASSERT_THAT(scene.edges(), testing::UnorderedElementsAreArray(exact.edges()));
    ++met.scenes;
    met.pops += exact.has_popped() ? 1 : 0;
    met.hidden += exact.n_hidden() > 0 ? 1 : 0;
    met.given_up += exact.gaps() == 0 ? 1 : 0;
    met.isolated += trial.is_isolated(vh(0)) ? 1 : 0;
    met.several_gaps += exact.gaps() > 1 ? 1 : 0;
}

TEST(DelaunayFan, FanIsTheOneOfExactArithmetic)
{
    RandomPoints next(5, 20);
    std::mt19937 random(6);
    Met met;
    for (int i = 0; i < 20000; ++i)
    {
        ASSERT_NO_FATAL_FAILURE(compare_with_exact_fan(next, random, i % 7, met)) << i;
    }
    EXPECT_GT(met.scenes, 5000);
    EXPECT_GT(met.pops, 1000);
    EXPECT_GT(met.hidden, 500);
    EXPECT_GT(met.given_up, 100);
    EXPECT_GT(met.isolated, 500);
    EXPECT_GT(met.several_gaps, 100);
}

} // namespace
