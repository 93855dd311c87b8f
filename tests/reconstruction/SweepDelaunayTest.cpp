#include "algorithmVeld/reconstruction/repair/SweepDelaunay.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <random>
#include <set>

using namespace OrvaneAlgorithm;
using detail::circumcircle;
using detail::delaunay_triangulate;
using detail::DelaunayTriangle;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

using Triple = std::array<int, 3>;

struct Triangulation
{
    std::vector<DelaunayTriangle> triangles;
    std::vector<Vector2f> points;
    std::vector<Triple> triples;
};

Triangulation triangulate(std::vector<Vector2f> const& vertices)
{
    // What was there before is replaced.
    Triangulation result{{DelaunayTriangle()}, {Vector2f(7, 7)}, {Triple{7, 7, 7}}};
    delaunay_triangulate(vertices, result.triangles, result.points, result.triples);
    return result;
}

Triple sorted(Triple triple)
{
    std::sort(triple.begin(), triple.end());
    return triple;
}

std::set<Triple> as_set(std::vector<Triple> const& triples)
{
    std::set<Triple> result;
    for (auto const& triple : triples)
    {
        result.insert(sorted(triple));
    }
    return result;
}

std::vector<Vector2f> random_points(unsigned seed, std::size_t n)
{
    std::mt19937 random(seed);
    std::vector<Vector2f> points;
    for (std::size_t i = 0; i < n; ++i)
    {
        float const x = static_cast<float>(random()) / 4294967296.0F;
        float const y = static_cast<float>(random()) / 4294967296.0F;
        points.emplace_back(x, y);
    }
    return points;
}

/// A circle by Cramer's rule in double.
struct ExactCircle
{
    Eigen::Vector2d centre;
    double radius = 0.0;

    double outside(Vector2f const& point) const
    {
        return (point.cast<double>() - centre).norm() - radius;
    }
};

ExactCircle circle_through(Vector2f const& a, Vector2f const& b, Vector2f const& c)
{
    Eigen::Vector2d const u = (b - a).cast<double>();
    Eigen::Vector2d const v = (c - a).cast<double>();
    double const area = 2.0 * (u.x() * v.y() - u.y() * v.x());
    Eigen::Vector2d const from_a((v.y() * u.squaredNorm() - u.y() * v.squaredNorm()) / area,
                                 (u.x() * v.squaredNorm() - v.x() * u.squaredNorm()) / area);
    return {a.cast<double>() + from_a, from_a.norm()};
}

/// Corners of the triangle around everything, in double.
std::vector<Vector2f> corners_around(std::vector<Vector2f> const& points)
{
    Eigen::Vector2d low = points.front().cast<double>();
    Eigen::Vector2d high = low;
    for (auto const& point : points)
    {
        low = low.cwiseMin(point.cast<double>());
        high = high.cwiseMax(point.cast<double>());
    }
    Eigen::Vector2d const margin = 0.01 * (high - low);
    low -= margin;
    high += margin;
    Eigen::Vector2d const size = high - low;
    double const root = std::sqrt(3.0);
    return {Eigen::Vector2d(low.x() - size.y() * root / 3.0, low.y()).cast<float>(),
            Eigen::Vector2d(high.x() + size.y() * root / 3.0, low.y()).cast<float>(),
            Eigen::Vector2d((low.x() + high.x()) / 2.0, high.y() + size.x() * root / 2.0)
                .cast<float>()};
}

/// How far the nearest point is outside the circle; negative if one is inside.
double clearance(ExactCircle const& circle, std::vector<Vector2f> const& points,
                 Triple const& corners)
{
    double least = 1e30;
    for (int i = 0; i < static_cast<int>(points.size()); ++i)
    {
        if (std::find(corners.begin(), corners.end(), i) == corners.end())
        {
            least = std::min(least, circle.outside(points[static_cast<std::size_t>(i)]));
        }
    }
    return least;
}

ExactCircle circle_of(std::vector<Vector2f> const& points, Triple const& t)
{
    auto const point = [&](std::size_t i) { return points[static_cast<std::size_t>(t[i])]; };
    return circle_through(point(0), point(1), point(2));
}

/// All triangles that the sweep has to give out, and those of which rounding may decide, tried one
/// by one.
struct BruteForce
{
    std::set<Triple> certain;
    std::set<Triple> possible;
};

BruteForce try_all(std::vector<Vector2f> const& points)
{
    constexpr double ROUNDING = 1e-4;
    double const rim = static_cast<double>(points.back().x());
    auto const around = corners_around(points);
    int const n = static_cast<int>(points.size());
    BruteForce result;
    for (int a = 0; a < n; ++a)
    {
        for (int b = a + 1; b < n; ++b)
        {
            for (int c = b + 1; c < n; ++c)
            {
                Triple const triple{a, b, c};
                auto const circle = circle_of(points, triple);
                double const margin = std::min({clearance(circle, points, triple),
                                                clearance(circle, around, {-1, -1, -1}),
                                                rim - circle.centre.x() - circle.radius});
                double const rounding = ROUNDING * (1.0 + circle.radius * circle.radius);
                if (margin > rounding)
                {
                    result.certain.insert(triple);
                }
                if (margin > -rounding)
                {
                    result.possible.insert(triple);
                }
            }
        }
    }
    return result;
}

/// The same triangulation on ordered collections, step by step.
class PlainSweep
{
public:
    using Vertex = std::pair<float, float>;
    using Corner = Vertex const*;

    explicit PlainSweep(std::vector<Vector2f> const& vertices)
    {
        std::set<Vertex> set;
        for (auto const& vertex : vertices)
        {
            set.insert({vertex.x(), vertex.y()});
        }
        if (set.size() < 3)
        {
            return;
        }
        surround(set);
        open_.insert(make(&around_[0], &around_[1], &around_[2]));
        std::map<Corner, int> numbers;
        for (auto const& vertex : set)
        {
            int const number = static_cast<int>(numbers.size());
            numbers[&vertex] = number;
            step(&vertex);
        }
        for (auto const& triangle : done_)
        {
            triples.push_back({numbers.at(triangle.corners[0]), numbers.at(triangle.corners[1]),
                               numbers.at(triangle.corners[2])});
        }
    }

    std::vector<Triple> triples;

private:
    struct Triangle
    {
        std::array<Corner, 3> corners;
        detail::Circumcircle circle;
    };
    struct ByCentre
    {
        bool operator()(Triangle const& a, Triangle const& b) const
        {
            return std::make_pair(a.circle.cx, a.circle.cy) <
                   std::make_pair(b.circle.cx, b.circle.cy);
        }
    };
    struct ByVertices
    {
        bool operator()(std::pair<Corner, Corner> const& a,
                        std::pair<Corner, Corner> const& b) const
        {
            return std::make_pair(*a.first, *a.second) < std::make_pair(*b.first, *b.second);
        }
    };

    void surround(std::set<Vertex> const& set)
    {
        float ymin = set.begin()->second;
        float ymax = ymin;
        for (auto const& vertex : set)
        {
            ymin = std::min(ymin, vertex.second);
            ymax = std::max(ymax, vertex.second);
        }
        float xmin = set.begin()->first;
        float xmax = set.rbegin()->first;
        float dx = xmax - xmin;
        float dy = ymax - ymin;
        float const mx = dx * 0.01F;
        float const my = dy * 0.01F;
        xmin -= mx;
        xmax += mx;
        ymin -= my;
        ymax += my;
        dx += 2.0F * mx;
        dy += 2.0F * my;
        around_ = {Vertex(xmin - dy * 1.7320508F / 3.0F, ymin),
                   Vertex(xmax + dy * 1.7320508F / 3.0F, ymin),
                   Vertex((xmin + xmax) * 0.5F, ymax + dx * 1.7320508F * 0.5F)};
    }

    static Triangle make(Corner a, Corner b, Corner c)
    {
        return {{a, b, c},
                circumcircle({a->first, a->second}, {b->first, b->second}, {c->first, c->second})};
    }

    bool is_around(Corner corner) const
    {
        return corner >= around_.data() && corner < around_.data() + 3;
    }

    void step(Corner v)
    {
        for (auto it = open_.begin(); it != open_.end();)
        {
            if (v->first > it->circle.cx + it->circle.radius)
            {
                if (std::none_of(it->corners.begin(), it->corners.end(),
                                 [this](Corner corner) { return is_around(corner); }))
                {
                    done_.insert(*it);
                }
                it = open_.erase(it);
            }
            else
            {
                ++it;
            }
        }
        std::set<std::pair<Corner, Corner>, ByVertices> outline;
        for (auto it = open_.begin(); it != open_.end();)
        {
            float const dx = v->first - it->circle.cx;
            float const dy = v->second - it->circle.cy;
            if (!(dx * dx + dy * dy <= it->circle.wide_square_radius))
            {
                ++it;
                continue;
            }
            for (std::size_t i = 0; i < 3; ++i)
            {
                std::pair<Corner, Corner> edge(it->corners[i], it->corners[(i + 1) % 3]);
                if (*edge.second < *edge.first)
                {
                    std::swap(edge.first, edge.second);
                }
                auto const [old, is_new] = outline.insert(edge);
                if (!is_new)
                {
                    outline.erase(old);
                }
            }
            it = open_.erase(it);
        }
        for (auto const& edge : outline)
        {
            open_.insert(make(edge.first, edge.second, v));
        }
    }

    std::array<Vertex, 3> around_;
    std::multiset<Triangle, ByCentre> open_;
    std::multiset<Triangle, ByCentre> done_;
};

} // namespace

TEST(Circumcircle, AnEdgeAlongXAndOneAcross)
{
    for (auto const& circle : {circumcircle({0, 0}, {2, 0}, {0, 2}), // the first edge is along x
                               circumcircle({0, 2}, {0, 0}, {2, 0})})
    {
        EXPECT_EQ(circle.cx, 1.0F);
        EXPECT_EQ(circle.cy, 1.0F);
        EXPECT_EQ(circle.radius, std::sqrt(2.0F));
        EXPECT_EQ(circle.wide_square_radius, 2.0F * 1.000001F);
    }
}

TEST(Circumcircle, NoEdgeAlongX)
{
    auto const circle = circumcircle({3, 4}, {-4, 3}, {0, -5});
    EXPECT_NEAR(circle.cx, 0.0F, 1e-5F);
    EXPECT_NEAR(circle.cy, 0.0F, 1e-5F);
    EXPECT_NEAR(circle.radius, 5.0F, 1e-5F);
}

TEST(Circumcircle, AnEdgeThatRisesLessThanTheLimitIsAlongX)
{
    EXPECT_EQ(circumcircle({0, 0}, {2, 1e-7F}, {0, 2}).cx, 1.0F);
    EXPECT_NE(circumcircle({0, 0}, {2, 1e-2F}, {0, 2}).cx, 1.0F);
}

TEST(Circumcircle, OnALineAlongXItLiesRoundTheMiddleOfTheOuterCorners)
{
    auto const circle = circumcircle({0, 1}, {4, 1}, {1, 1});
    EXPECT_EQ(circle.cx, 2.0F);
    EXPECT_EQ(circle.cy, 1.0F);
    EXPECT_EQ(circle.radius, 2.0F);
    // It is the first corner that tells the radius, wherever it lies.
    EXPECT_EQ(circumcircle({1, 1}, {0, 1}, {4, 1}).radius, 1.0F);
}

TEST(Circumcircle, OnAnotherLineItIsNotFinite)
{
    EXPECT_FALSE(std::isfinite(circumcircle({0, 0}, {0, 1}, {0, 2}).cx));
}

TEST(SweepDelaunay, FewerThanThreePointsGiveNothing)
{
    auto const result = triangulate({{0, 0}, {1, 0}, {0, 0}, {1, 0}});
    EXPECT_THAT(result.triangles, IsEmpty());
    EXPECT_THAT(result.points, IsEmpty());
    EXPECT_THAT(result.triples, IsEmpty());
    EXPECT_THAT(triangulate({}).triples, IsEmpty());
}

TEST(SweepDelaunay, ThreePointsHaveNoneToTheRightOfTheirCircle)
{
    auto const result = triangulate({{0, 1}, {1, 0}, {0, 0}});
    EXPECT_THAT(result.points, ElementsAre(Vector2f(0, 0), Vector2f(0, 1), Vector2f(1, 0)));
    EXPECT_THAT(result.triangles, IsEmpty());
    EXPECT_THAT(result.triples, IsEmpty());
}

TEST(SweepDelaunay, APointToTheRightCompletesATriangle)
{
    auto const result = triangulate({{0, 0}, {0, 1}, {0.8F, 0.5F}, {10, 0.5F}});
    EXPECT_EQ(as_set(result.triples), (std::set<Triple>{{0, 1, 2}}));
    ASSERT_THAT(result.triangles, SizeIs(1));
    EXPECT_EQ(result.triangles[0].corners, result.triples[0]);
    EXPECT_NEAR(result.triangles[0].circle.cx, 0.24375F, 1e-6F);
    EXPECT_NEAR(result.triangles[0].circle.cy, 0.5F, 1e-6F);
    EXPECT_NEAR(result.triangles[0].circle.radius, 0.55625F, 1e-6F);
}

TEST(SweepDelaunay, APointAtTheRightEndOfTheCircleDoesNotCompleteIt)
{
    // The circle round (1, 1) with the radius 1 ends at 2; a point there is not past it.
    std::vector<Vector2f> const half{{0, 1}, {1, 0}, {1, 2}};
    auto with = [&](float x, float y)
    {
        auto points = half;
        points.emplace_back(x, y);
        return as_set(triangulate(points).triples);
    };
    EXPECT_THAT(with(2.0F, 4.0F), IsEmpty());
    EXPECT_EQ(with(2.01F, 4.0F), (std::set<Triple>{{0, 1, 2}}));
}

TEST(SweepDelaunay, EqualPointsCountOnce)
{
    std::vector<Vector2f> const points{{0, 0}, {0, 1}, {0.8F, 0.5F}, {10, 0.5F}};
    auto twice = points;
    twice.insert(twice.end(), points.begin(), points.end());
    EXPECT_EQ(triangulate(twice).triples, triangulate(points).triples);
    EXPECT_EQ(triangulate(twice).points, points);
}

TEST(SweepDelaunay, GivesWhatTryingAllTrianglesGivesLeftOfTheRim)
{
    for (unsigned seed = 0; seed < 60; ++seed)
    {
        SCOPED_TRACE(seed);
        auto const result = triangulate(random_points(seed, 4 + seed % 27));
        auto const given = as_set(result.triples);
        ASSERT_EQ(given.size(), result.triples.size()) << "a triangle came twice";
        auto const expected = try_all(result.points);
        EXPECT_TRUE(std::includes(given.begin(), given.end(), expected.certain.begin(),
                                  expected.certain.end()));
        EXPECT_TRUE(std::includes(expected.possible.begin(), expected.possible.end(), given.begin(),
                                  given.end()));
    }
}

TEST(SweepDelaunay, NoCircleHoldsAPointOfALargeSet)
{
    auto const result = triangulate(random_points(5, 400));
    ASSERT_GT(result.triples.size(), 300U);
    for (auto const& triple : result.triples)
    {
        EXPECT_GT(clearance(circle_of(result.points, triple), result.points, triple), -1e-3);
    }
}

TEST(SweepDelaunay, NoTriangleHasACornerAtTheRightRim)
{
    auto points = random_points(11, 50);
    for (int i = 0; i < 10; ++i)
    {
        points.emplace_back(1.0F, static_cast<float>(i) / 10.0F);
    }
    auto const result = triangulate(points);
    ASSERT_THAT(result.triples, testing::Not(IsEmpty()));
    for (auto const& triple : result.triples)
    {
        for (int const i : triple)
        {
            EXPECT_LT(result.points[static_cast<std::size_t>(i)].x(), 1.0F);
        }
    }
}

TEST(SweepDelaunay, TrianglesComeInTheOrderOfTheirCentres)
{
    auto const result = triangulate(random_points(3, 100));
    EXPECT_TRUE(std::is_sorted(result.triangles.begin(), result.triangles.end(),
                               [](DelaunayTriangle const& a, DelaunayTriangle const& b) {
                                   return std::make_pair(a.circle.cx, a.circle.cy) <
                                          std::make_pair(b.circle.cx, b.circle.cy);
                               }));
}

TEST(SweepDelaunay, TheOrderOfTheInputDoesNotMatter)
{
    auto points = random_points(8, 80);
    auto const before = triangulate(points);
    std::mt19937 random(1);
    std::shuffle(points.begin(), points.end(), random);
    auto const after = triangulate(points);
    EXPECT_EQ(before.points, after.points);
    EXPECT_EQ(before.triples, after.triples);
}

TEST(SweepDelaunay, PointsOnOneLineHaveNoTriangles)
{
    std::vector<Vector2f> along;
    std::vector<Vector2f> across;
    std::vector<Vector2f> aslant;
    for (int i = 0; i < 20; ++i)
    {
        float const t = static_cast<float>(i);
        along.emplace_back(t, 1.0F);
        across.emplace_back(1.0F, t);
        aslant.emplace_back(t, t);
    }
    EXPECT_THAT(triangulate(across).triples, IsEmpty());
    // In rounding, triangles of no height may come out of the others; no more than a strip of them.
    EXPECT_LT(triangulate(along).triples.size(), 20U);
    EXPECT_LT(triangulate(aslant).triples.size(), 20U);
}

TEST(SweepDelaunay, GivesTheSameAsOrderedCollectionsTriangleByTriangle)
{
    for (unsigned seed = 0; seed < 100; ++seed)
    {
        SCOPED_TRACE(seed);
        auto points = random_points(seed, 3 + seed);
        if (seed % 2 == 1)
        {
            for (auto& point : points)
            {
                // On a lattice many circles are equal, and many points on one.
                point = (point * 8.0F).array().floor().matrix();
            }
        }
        EXPECT_EQ(triangulate(points).triples, PlainSweep(points).triples);
    }
}

TEST(SweepDelaunay, EndsForCoordinatesOfAnySize)
{
    for (float const scale : {1e-40F, 1e-20F, 1e15F, 1e30F, 3e38F})
    {
        auto points = random_points(2, 60);
        for (auto& point : points)
        {
            point = (point - Vector2f(0.5F, 0.5F)) * scale;
        }
        auto const result = triangulate(points);
        EXPECT_EQ(result.triangles.size(), result.triples.size());
    }
}
