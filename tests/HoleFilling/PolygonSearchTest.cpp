#include "algorithmVeld/HoleFilling/triangulation/PolygonSearch.h"
#include "algorithmVeld/common/RunScope.h"
#include "tests/HoleFilling/plain_triangulation.h"
#include "tests/support/sanitizers.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <cmath>
#include <limits>
#include <map>

using namespace OrvaneAlgorithm;
using detail::best_polygon_fill;
using detail::PolygonRim;
using detail::PolygonTriangle;
using detail::TriangulationRule;
using veld_test::PlainPolygon;
using veld_test::PlainTriangulation;
using veld_test::PolygonKind;

namespace
{

PolygonRim rim_of(PlainPolygon const& polygon)
{
    return {polygon.points, polygon.normals, polygon.edge_exist};
}

/// Compares the library's search with the plain one: the same bits, the same triangles in order.
void expect_same(PlainPolygon const& polygon, TriangulationRule const& rule, int threads)
{
    std::size_t const n = polygon.size();
    PlainTriangulation const plain(polygon, rule.bad_triangle_area, rule.flat_weight,
                                   rule.sample_num);
    auto const fill = best_polygon_fill(rim_of(polygon), rule, threads);
    EXPECT_EQ(plain.weight_angle[n - 1], fill.cost.angle);
    EXPECT_EQ(plain.weight_area[n - 1], fill.cost.area);
    ASSERT_EQ(plain.triangles(), fill.triangles);
}

void expect_same_for_many(std::size_t first, std::size_t last, int repetitions,
                          TriangulationRule const& rule)
{
    std::mt19937 random(7);
    for (auto const kind : veld_test::ALL_POLYGON_KINDS)
    {
        for (std::size_t n = first; n <= last; ++n)
        {
            for (int k = 0; k < repetitions; ++k)
            {
                std::size_t const chords = k % 2 == 0 ? 0 : 1 + n / 4;
                auto const polygon = veld_test::random_polygon(kind, n, chords, random);
                SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", " << n
                                                << " corners, repetition " << k);
                ASSERT_NO_FATAL_FAILURE(expect_same(polygon, rule, 1 + k % 3));
            }
        }
    }
}

} // namespace

TEST(PolygonSearch, ChoosesWhatThePlainSearchChooses)
{
    expect_same_for_many(3, 40, 12, {});
    expect_same_for_many(41, 60, 2, {});
}

TEST(PolygonSearch, ChoosesWhatThePlainSearchChoosesWithAStride)
{
    TriangulationRule rule;
    rule.sample_num = 12;
    expect_same_for_many(11, 60, 4, rule);
}

TEST(PolygonSearch, ChoosesWhatThePlainSearchChoosesIfOnlyFoldsCount)
{
    TriangulationRule rule;
    rule.flat_weight = true;
    rule.bad_triangle_area = 0.37F;
    expect_same_for_many(3, 45, 4, rule);
}

TEST(PolygonSearch, ChoosesWhatThePlainSearchChoosesForLongPolygons)
{
    std::mt19937 random(11);
    for (auto const kind : veld_test::ALL_POLYGON_KINDS)
    {
        for (std::size_t const n : {130, 417})
        {
            if (n == 417 && veld_test::IS_SANITIZED)
            {
                continue;
            }
            SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", " << n);
            auto const polygon = veld_test::random_polygon(kind, n, n == 417 ? 40 : 0, random);
            ASSERT_NO_FATAL_FAILURE(expect_same(polygon, {}, 2));
        }
    }
    std::size_t const longest = veld_test::IS_SANITIZED ? 150 : 600;
    auto const polygon = veld_test::random_polygon(PolygonKind::NOISY, longest, 0, random);
    expect_same(polygon, {}, 2);
}

TEST(PolygonSearch, ChoosesWhatThePlainSearchChoosesInADiscWhereAreasDecide)
{
    // All angles are 0 and all areas equal but for rounding and for needles, of which there are
    // many: a split wins by its last bit.
    for (int const n : {40, 150, 401})
    {
        if (n == 401 && veld_test::IS_SANITIZED)
        {
            continue;
        }
        PlainPolygon disc;
        for (int k = 0; k < n; ++k)
        {
            double const angle = -2.0 * 3.141592653589793 * k / n;
            disc.points.push_back(
                Eigen::Vector3d(std::cos(angle), std::sin(angle), 0.0).cast<float>());
        }
        disc.normals.assign(disc.size(), Vector3f(0, 0, -1));
        disc.edge_exist.assign(disc.size() * disc.size(), false);
        ASSERT_NO_FATAL_FAILURE(expect_same(disc, {}, 2));
    }
}

TEST(PolygonSearch, ChoosesWhatThePlainSearchChoosesBesideFacesWithoutAUnitNormal)
{
    // A mesh stores what its host gives it: nothing, too short to be made a unit, no number.
    float const nan = std::numeric_limits<float>::quiet_NaN();
    std::mt19937 random(12);
    for (Vector3f const& odd : {Vector3f(0, 0, 0), Vector3f(0, 1e-21F, 2e-21F),
                                Vector3f(3e-20F, 0, 0), Vector3f(nan, 0, 1), Vector3f(1e30F, 0, 0)})
    {
        for (auto const kind : veld_test::ALL_POLYGON_KINDS)
        {
            auto polygon = veld_test::random_polygon(kind, 60, 0, random);
            for (std::size_t k = 0; k < polygon.size(); k += 3)
            {
                polygon.normals[k] = odd;
            }
            ASSERT_NO_FATAL_FAILURE(expect_same(polygon, {}, 1));
        }
    }
}

TEST(PolygonSearch, ChoosesWhatThePlainSearchChoosesBesideANormalThatIsNearlyAUnit)
{
    // The square of such a length is a multiple of 2^-149, here of about 5500 of them. What is
    // divided by its root is 4.5e-5 shorter or longer than a unit: the cosine of such normals is
    // not that of the angle 0 that their sine says.
    std::mt19937 random(13);
    for (double const multiple : {5500.51, 5500.49})
    {
        Vector3f const odd(0, 0, -static_cast<float>(std::sqrt(std::ldexp(multiple, -149))));
        ASSERT_NEAR(std::fabs(odd.normalized().norm() - 1.0F), 4.5e-5F, 1e-6F);
        for (std::size_t n = 8; n < 40; ++n)
        {
            auto polygon = veld_test::random_polygon(PolygonKind::PLANAR, n, 0, random);
            std::normal_distribution<float> noise(0.0F, 0.3F);
            for (auto& p : polygon.points)
            {
                p += Vector3f(noise(random), noise(random), 0.0F);
            }
            polygon.normals.assign(n, odd);
            ASSERT_NO_FATAL_FAILURE(expect_same(polygon, {}, 1));
        }
    }
}

namespace
{

/// All triangulations of a polygon's corners i..j.
std::vector<std::vector<PolygonTriangle>> all_triangulations(int i, int j)
{
    if (j < i + 2)
    {
        return {{}};
    }
    std::vector<std::vector<PolygonTriangle>> all;
    for (int m = i + 1; m < j; ++m)
    {
        for (auto const& left : all_triangulations(i, m))
        {
            for (auto const& right : all_triangulations(m, j))
            {
                auto both = left;
                both.push_back({i, m, j});
                both.insert(both.end(), right.begin(), right.end());
                all.push_back(std::move(both));
            }
        }
    }
    return all;
}

/// A triangulation's cost in double, from its triangles alone: every edge's two normals are
/// compared, whoever made them.
class FillJudge
{
public:
    explicit FillJudge(PlainPolygon const& polygon) : polygon_(polygon) {}

    /// Largest angle across any edge, in degrees, with 360 for each edge of a triangle that exists.
    double angle(std::vector<PolygonTriangle> const& triangles) const
    {
        std::map<std::pair<int, int>, Eigen::Vector3d> sides;
        int const n = static_cast<int>(polygon_.size());
        for (int k = 0; k < n; ++k)
        {
            sides[{std::min(k, (k + 1) % n), std::max(k, (k + 1) % n)}] =
                polygon_.normals[static_cast<std::size_t>(k)].cast<double>();
        }
        double largest = 0.0;
        for (auto const& t : triangles)
        {
            Eigen::Vector3d const own = normal(t);
            double own_largest = 0.0;
            for (auto const& edge :
                 {std::pair(t[0], t[1]), std::pair(t[1], t[2]), std::pair(t[0], t[2])})
            {
                auto const [other, is_first] = sides.insert({edge, own});
                double const turn =
                    std::atan2(own.cross(other->second).norm(), own.dot(other->second)) * 180.0 /
                    3.141592653589793;
                own_largest = std::max(own_largest, is_first ? 0.0 : turn);
            }
            largest = std::max(largest, own_largest + 360.0 * existing(t));
        }
        return largest;
    }

    /// Area, with 1000 for each triangle that needs an existing edge.
    double area(std::vector<PolygonTriangle> const& triangles) const
    {
        double sum = 0.0;
        for (auto const& t : triangles)
        {
            sum += cross(t).norm() / 2.0 + (existing(t) > 0 ? 1000.0 : 0.0);
        }
        return sum;
    }

private:
    int existing(PolygonTriangle const& t) const
    {
        auto const exists = [&](int a, int b)
        {
            return polygon_.edge_exist[static_cast<std::size_t>(a) * polygon_.size() +
                                       static_cast<std::size_t>(b)]
                       ? 1
                       : 0;
        };
        return exists(t[0], t[2]) + exists(t[1], t[2]);
    }
    Eigen::Vector3d cross(PolygonTriangle const& t) const
    {
        auto const at = [&](int k) -> Eigen::Vector3d
        { return polygon_.points[static_cast<std::size_t>(k)].cast<double>(); };
        return (at(t[1]) - at(t[0])).cross(at(t[2]) - at(t[0]));
    }
    Eigen::Vector3d normal(PolygonTriangle const& t) const { return cross(t).normalized(); }

    PlainPolygon const& polygon_;
};

/// The best triangulation by recursion from the whole polygon down, with a memory.
class RecursiveSearch
{
public:
    explicit RecursiveSearch(PlainTriangulation const& weights) : weights_(weights) {}

    struct Best
    {
        float angle = 0.0F;
        float area = 0.0F;
        std::size_t split = 0;
    };

    Best const& best(std::size_t i, std::size_t j)
    {
        auto const known = memory_.find({i, j});
        if (known != memory_.end())
        {
            return known->second;
        }
        Best chosen;
        for (std::size_t m = i + 1; m < j; ++m)
        {
            Best const left = best(i, m);
            Best const right = best(m, j);
            Best split{0.0F, 0.0F, m};
            weights_.weigh(i, m, j, split.angle, split.area);
            split.angle = std::max({split.angle, left.angle, right.angle});
            split.area = split.area + left.area + right.area;
            bool const is_equal = std::fabs(split.angle - chosen.angle) < 1e-5;
            if (chosen.split == 0 || split.angle < chosen.angle ||
                (is_equal && split.area < chosen.area))
            {
                chosen = split;
            }
        }
        return memory_[{i, j}] = chosen;
    }

    void collect(std::size_t i, std::size_t j, std::vector<PolygonTriangle>& triangles)
    {
        if (j < i + 2)
        {
            return;
        }
        std::size_t const m = best(i, j).split;
        collect(i, m, triangles);
        triangles.push_back({static_cast<int>(i), static_cast<int>(m), static_cast<int>(j)});
        collect(m, j, triangles);
    }

private:
    PlainTriangulation const& weights_;
    std::map<std::pair<std::size_t, std::size_t>, Best> memory_;
};

/// A ring that is nearly flat, so that no triangulation has a fold.
PlainPolygon gentle_polygon(std::size_t n, std::mt19937& random)
{
    auto polygon = veld_test::random_polygon(PolygonKind::PLANAR, n, 0, random);
    std::normal_distribution<float> noise(0.0F, 0.05F);
    for (auto& p : polygon.points)
    {
        p += Vector3f(noise(random), noise(random), noise(random));
    }
    return polygon;
}

} // namespace

TEST(PolygonSearch, FindsTheSmallestAreaOfAllTriangulationsWhereAnglesDoNotCount)
{
    TriangulationRule rule;
    rule.flat_weight = true;
    std::mt19937 random(21);
    for (int n = 4; n <= 9; ++n)
    {
        auto const all = all_triangulations(0, n - 1);
        for (int k = 0; k < 20; ++k)
        {
            auto const polygon = gentle_polygon(static_cast<std::size_t>(n), random);
            FillJudge const judge(polygon);
            double smallest = 1e30;
            for (auto const& triangles : all)
            {
                ASSERT_LT(judge.angle(triangles), 160.0);
                smallest = std::min(smallest, judge.area(triangles));
            }
            auto const fill = best_polygon_fill(rim_of(polygon), rule, 1);
            EXPECT_EQ(0.0F, fill.cost.angle);
            EXPECT_NEAR(smallest, fill.cost.area, 1e-5 * smallest);
            EXPECT_NEAR(smallest, judge.area(fill.triangles), 1e-5 * smallest);
        }
    }
}

TEST(PolygonSearch, AvoidsExistingEdgesAsWellAsAnyTriangulationCan)
{
    std::mt19937 random(22);
    int unavoidable = 0;
    for (int n = 4; n <= 9; ++n)
    {
        auto const all = all_triangulations(0, n - 1);
        for (std::size_t k = 0; k < 40; ++k)
        {
            auto const polygon = veld_test::random_polygon(PolygonKind::PLANAR,
                                                           static_cast<std::size_t>(n), k, random);
            FillJudge const judge(polygon);
            std::pair<double, double> best(1e30, 1e30);
            for (auto const& triangles : all)
            {
                std::pair<double, double> const cost(std::round(judge.angle(triangles)),
                                                     judge.area(triangles));
                if (cost.first < best.first ||
                    (cost.first == best.first && cost.second < best.second))
                {
                    best = cost;
                }
            }
            unavoidable += best.first > 0.0 ? 1 : 0;
            auto const fill = best_polygon_fill(rim_of(polygon), {}, 1);
            EXPECT_NEAR(best.first, fill.cost.angle, 0.01);
            // Where an edge cannot be avoided, the parts beside it still prefer angle to area.
            EXPECT_GE(fill.cost.area, best.second - 0.01);
            if (best.first == 0.0)
            {
                EXPECT_NEAR(best.second, fill.cost.area, 0.01);
            }
            EXPECT_NEAR(best.first, judge.angle(fill.triangles), 0.01);
        }
    }
    EXPECT_GT(unavoidable, 20); // both cases have to occur
    EXPECT_LT(unavoidable, 220);
}

TEST(PolygonSearch, ReportsTheAngleThatItsTrianglesHave)
{
    // A part is chosen before what lies beyond its chord is known, so no more than a bound holds
    // against all triangulations; in most cases the least angle is met.
    std::mt19937 random(23);
    int met = 0;
    int cases = 0;
    for (int n = 4; n <= 9; ++n)
    {
        auto const all = all_triangulations(0, n - 1);
        for (int k = 0; k < 20; ++k)
        {
            auto const polygon = gentle_polygon(static_cast<std::size_t>(n), random);
            FillJudge const judge(polygon);
            double least = 1e30;
            for (auto const& triangles : all)
            {
                least = std::min(least, judge.angle(triangles));
            }
            auto const fill = best_polygon_fill(rim_of(polygon), {}, 1);
            EXPECT_NEAR(judge.angle(fill.triangles), fill.cost.angle, 2e-3);
            EXPECT_GE(fill.cost.angle, least - 2e-3);
            met += fill.cost.angle < least + 2e-3 ? 1 : 0;
            ++cases;
        }
    }
    EXPECT_GT(met, cases / 2);
}

TEST(PolygonSearch, ChoosesPartsWithoutALookBeyondTheirChords)
{
    // A flat pentagon with its last corner raised. The fan at that corner has the least angle of
    // all, but it is not what its parts prefer, so a steeper one is found.
    PlainPolygon pentagon;
    pentagon.points = {{0, 0, 0}, {-1, 2, 0}, {1, 4, 0}, {3, 3, 0}, {3, 1, 1}};
    pentagon.normals.assign(5, Vector3f(0, 0, -1));
    pentagon.edge_exist.assign(25, false);
    FillJudge const judge(pentagon);
    double least = 1e30;
    for (auto const& triangles : all_triangulations(0, 4))
    {
        least = std::min(least, judge.angle(triangles));
    }
    EXPECT_NEAR(29.2059, least, 1e-3);
    EXPECT_NEAR(least, judge.angle({{0, 1, 4}, {1, 2, 4}, {2, 3, 4}}), 1e-9);
    auto const fill = best_polygon_fill(rim_of(pentagon), {}, 1);
    EXPECT_NEAR(35.2644, fill.cost.angle, 1e-3); // atan(1 / sqrt(2))
    EXPECT_EQ((std::vector<PolygonTriangle>{{0, 1, 3}, {1, 2, 3}, {0, 3, 4}}), fill.triangles);
}

TEST(PolygonSearch, ChoosesWhatARecursiveSearchChooses)
{
    std::mt19937 random(24);
    for (auto const kind : veld_test::ALL_POLYGON_KINDS)
    {
        for (std::size_t n = 3; n <= 60; n += n < 20 ? 1 : 8)
        {
            auto const polygon = veld_test::random_polygon(kind, n, n % 3 == 0 ? n / 4 : 0, random);
            PlainTriangulation const weights(polygon, 1000.0F, false, 400);
            RecursiveSearch search(weights);
            std::vector<PolygonTriangle> triangles;
            search.collect(0, n - 1, triangles);
            auto const fill = best_polygon_fill(rim_of(polygon), {}, 1);
            EXPECT_EQ(search.best(0, n - 1).angle, fill.cost.angle);
            EXPECT_EQ(search.best(0, n - 1).area, fill.cost.area);
            EXPECT_EQ(triangles, fill.triangles);
        }
    }
}

TEST(PolygonSearch, TakesTheFirstOfEqualSplits)
{
    // A unit square in the plane: both diagonals have the same angles and areas, to the last bit.
    PlainPolygon square;
    square.points = {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}};
    square.normals.assign(4, Vector3f(0, 0, -1));
    square.edge_exist.assign(16, false);
    auto const fill = best_polygon_fill(rim_of(square), {}, 1);
    EXPECT_EQ((std::vector<PolygonTriangle>{{0, 1, 3}, {1, 2, 3}}), fill.triangles);
    EXPECT_EQ(0.0F, fill.cost.angle);
    EXPECT_FLOAT_EQ(1.0F, fill.cost.area);
}

TEST(PolygonSearch, EndsWhereItIsCancelledForAnyNumberOfThreads)
{
    constexpr std::size_t n = 400;
    PolygonRim rim;
    for (std::size_t i = 0; i < n; ++i)
    {
        double const angle = 2.0 * 3.141592653589793 * static_cast<double>(i) / n;
        rim.points.push_back(
            Vector3d(std::cos(angle), std::sin(angle), 0.1 * std::sin(3.0 * angle)).cast<float>());
    }
    rim.normals.assign(n, Vector3f::UnitZ());
    rim.edge_exist.assign(n * n, false);
    for (int const threads : {1, 2, 8})
    {
        OrvaneAlgorithm::CancelToken const token;
        std::vector<double> told;
        OrvaneAlgorithm::RunScope const scope(token,
                                              [&](double fraction)
                                              {
                                                  told.push_back(fraction);
                                                  if (fraction > 0.3)
                                                  {
                                                      token.cancel();
                                                  }
                                              });
        EXPECT_THROW(best_polygon_fill(rim, {}, threads), OrvaneAlgorithm::Cancelled);
        EXPECT_GE(told.size(), 5U);
        EXPECT_LT(told.back(), 0.5);
    }
}
