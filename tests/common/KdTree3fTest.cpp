#include "algorithmVeld/common/KdTree3f.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <random>

using namespace OrvaneAlgorithm;

namespace
{

struct Hits
{
    std::vector<int> indices{-7};
    std::vector<float> sq_dists{-7.0F};
    int count = -7;
};

Hits search(KdTree3f const& tree, Vector3f const& query, float radius, int limit = 0)
{
    Hits hits;
    hits.count = tree.radius_search(query, radius, hits.indices, hits.sq_dists, limit);
    return hits;
}

void expect_nothing(Hits const& hits)
{
    EXPECT_EQ(hits.count, 0);
    EXPECT_TRUE(hits.indices.empty());
    EXPECT_TRUE(hits.sq_dists.empty());
}

std::vector<Vector3f> random_points(size_t n, unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<Vector3f> points(n);
    for (auto& p : points)
    {
        // Small whole numbers: squares are exact, and many distances are equal.
        p = {static_cast<float>(random() % 41), static_cast<float>(random() % 41),
             static_cast<float>(random() % 41)};
    }
    return points;
}

/// All points nearer than the radius, by distance and then by index.
std::vector<std::pair<float, int>> brute_force(std::vector<Vector3f> const& points,
                                               Vector3f const& query, float radius)
{
    std::vector<std::pair<float, int>> hits;
    for (size_t i = 0; i < points.size(); ++i)
    {
        float const distance = (points[i] - query).squaredNorm();
        if (distance < radius * radius)
        {
            hits.emplace_back(distance, static_cast<int>(i));
        }
    }
    std::sort(hits.begin(), hits.end());
    return hits;
}

std::vector<std::pair<float, int>> as_pairs(Hits const& hits)
{
    std::vector<std::pair<float, int>> pairs;
    for (size_t i = 0; i < hits.indices.size(); ++i)
    {
        pairs.emplace_back(hits.sq_dists[i], hits.indices[i]);
    }
    return pairs;
}

KdTree3f tree_of(std::vector<Vector3f> const& points)
{
    KdTree3f tree;
    tree.build_kdtree(points);
    return tree;
}

} // namespace

TEST(KdTree3f, TreeOfNoPointsFindsNothing)
{
    KdTree3f tree;
    expect_nothing(search(tree, {0, 0, 0}, 1));
    tree.build_kdtree({});
    expect_nothing(search(tree, {0, 0, 0}, 1));
    int index = 5;
    float distance = 5.0F;
    EXPECT_FALSE(tree.nearest_search({0, 0, 0}, index, distance));
    EXPECT_EQ(index, -1);
}

TEST(KdTree3f, BuildingOnNoPointsForgetsTheOldOnes)
{
    KdTree3f tree = tree_of({{0, 0, 0}});
    EXPECT_EQ(search(tree, {0, 0, 0}, 1).count, 1);
    tree.build_kdtree({});
    expect_nothing(search(tree, {0, 0, 0}, 1));
}

TEST(KdTree3f, RadiusIsExclusive)
{
    KdTree3f const tree = tree_of({{0, 0, 0}, {2, 0, 0}});
    EXPECT_EQ(search(tree, {0, 0, 0}, 2).indices, std::vector<int>{0});
    EXPECT_EQ(search(tree, {0, 0, 0}, std::nextafter(2.0F, 3.0F)).count, 2);
    expect_nothing(search(tree, {0, 0, 0}, 0));
}

TEST(KdTree3f, RadiusIsSquaredInFloat)
{
    // A point that is exactly as far away as the radius has the same square in float, whether that
    // was rounded up or down. The exact square of the radius would let those in that were rounded
    // down.
    int rounded_down = 0;
    for (int i = 1; i < 200; ++i)
    {
        float const radius = static_cast<float>(i) * 0.1F;
        double const exact = static_cast<double>(radius) * static_cast<double>(radius);
        rounded_down += static_cast<double>(radius * radius) < exact ? 1 : 0;
        expect_nothing(search(tree_of({{radius, 0, 0}}), {0, 0, 0}, radius));
    }
    EXPECT_GT(rounded_down, 0);
}

TEST(KdTree3f, ImpossibleArgumentsFindNothingAndClearTheOutputs)
{
    KdTree3f const tree = tree_of({{0, 0, 0}, {1, 0, 0}});
    float const nan = std::numeric_limits<float>::quiet_NaN();
    expect_nothing(search(tree, {0, 0, 0}, -1));
    expect_nothing(search(tree, {0, 0, 0}, nan));
    expect_nothing(search(tree, {0, 0, 0}, 5, -1));
    expect_nothing(search(tree, {nan, 0, 0}, 5));
    expect_nothing(search(tree, {0, HUGE_VALF, 0}, 5));
    int index = 0;
    float distance = 0.0F;
    EXPECT_FALSE(tree.nearest_search({0, 0, nan}, index, distance));
}

TEST(KdTree3f, EndlessRadiusFindsEverything)
{
    KdTree3f const tree = tree_of(random_points(500, 1));
    EXPECT_EQ(search(tree, {0, 0, 0}, HUGE_VALF).count, 500);
    EXPECT_EQ(search(tree, {0, 0, 0}, std::numeric_limits<float>::max()).count, 500);
}

TEST(KdTree3f, FindsWhatBruteForceFindsInRisingDistance)
{
    auto const points = random_points(3000, 2);
    KdTree3f const tree = tree_of(points);
    for (auto const& query : random_points(200, 3))
    {
        EXPECT_EQ(as_pairs(search(tree, query, 4.5F)), brute_force(points, query, 4.5F));
    }
}

TEST(KdTree3f, LimitKeepsTheNearest)
{
    auto const points = random_points(3000, 4);
    KdTree3f const tree = tree_of(points);
    for (auto const& query : random_points(100, 5))
    {
        auto const all = brute_force(points, query, 6.0F);
        for (int const limit : {1, 2, 7, 100000, std::numeric_limits<int>::max()})
        {
            Hits const hits = search(tree, query, 6.0F, limit);
            size_t const n = std::min(all.size(), static_cast<size_t>(limit));
            ASSERT_EQ(hits.indices.size(), n);
            EXPECT_EQ(hits.count, static_cast<int>(n));
            for (size_t i = 0; i < n; ++i)
            {
                // Of equally far ones at the limit any may stay.
                EXPECT_EQ(hits.sq_dists[i], all[i].first);
            }
        }
    }
}

TEST(KdTree3f, UnsortedSearchFindsTheSamePoints)
{
    auto const points = random_points(3000, 6);
    KdTree3f sorted = tree_of(points);
    KdTree3f unsorted;
    unsorted.set_sorted(false);
    unsorted.build_kdtree(points);
    bool differed = false;
    for (auto const& query : random_points(50, 7))
    {
        auto const expected = as_pairs(search(sorted, query, 5));
        auto found = as_pairs(search(unsorted, query, 5));
        differed = differed || found != expected;
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, expected);
    }
    EXPECT_TRUE(differed) << "building does not switch sorting on again";
    unsorted.set_sorted(true);
    EXPECT_EQ(as_pairs(search(unsorted, points[0], 5)), as_pairs(search(sorted, points[0], 5)));
}

TEST(KdTree3f, NearestIsWhatBruteForceFinds)
{
    auto const points = random_points(1000, 8);
    KdTree3f const tree = tree_of(points);
    for (auto const& query : random_points(200, 9))
    {
        auto const nearest = brute_force(points, query, 1000).front();
        int index = -1;
        float distance = -1.0F;
        ASSERT_TRUE(tree.nearest_search(query, index, distance));
        EXPECT_EQ(distance, nearest.first);
        EXPECT_EQ((points[static_cast<size_t>(index)] - query).squaredNorm(), distance);
    }
}

TEST(KdTree3f, PointsMayGoAfterBuilding)
{
    auto points = std::make_unique<std::vector<Vector3f>>(random_points(1000, 10));
    auto const copy = *points;
    KdTree3f tree;
    tree.build_kdtree(*points);
    std::fill(points->begin(), points->end(), Vector3f(1e6F, 1e6F, 1e6F));
    points.reset();
    EXPECT_EQ(as_pairs(search(tree, copy[5], 6)), brute_force(copy, copy[5], 6));
    int index = -1;
    float distance = -1.0F;
    EXPECT_TRUE(tree.nearest_search(copy[5], index, distance));
    EXPECT_EQ(distance, 0.0F);
}

TEST(KdTree3f, PointsThatAreNotFiniteAreNeverFoundAndOthersKeepTheirPlaces)
{
    float const nan = std::numeric_limits<float>::quiet_NaN();
    KdTree3f const tree = tree_of(
        {{nan, 0, 0}, {1, 0, 0}, {0, HUGE_VALF, 0}, {2, 0, 0}, {0, 0, -HUGE_VALF}, {3, 0, 0}});
    EXPECT_EQ(search(tree, {0, 0, 0}, 100).indices, (std::vector<int>{1, 3, 5}));
    int index = -1;
    float distance = -1.0F;
    EXPECT_TRUE(tree.nearest_search({2.6F, 0, 0}, index, distance));
    EXPECT_EQ(index, 5);
    expect_nothing(search(tree_of({{nan, nan, nan}, {nan, 0, 0}}), {0, 0, 0}, 1));
}

TEST(KdTree3f, HugeCoordinatesNeitherHangNorCrash)
{
    // Sums of these are not finite: they have no middle to divide the points at.
    std::vector<Vector3f> points;
    for (int i = 0; i < 100; ++i)
    {
        float const x = std::numeric_limits<float>::max() * (i % 2 == 0 ? 1.0F : -1.0F);
        points.emplace_back(x, x / 2, 0);
    }
    points.emplace_back(1, 2, 3);
    KdTree3f const tree = tree_of(points);
    EXPECT_EQ(search(tree, {1, 2, 3}, 1).indices, std::vector<int>{100});
    expect_nothing(search(tree, points[0], 1));
}

TEST(KdTree3f, EqualPointsAreAllFoundByIndex)
{
    KdTree3f const tree = tree_of(std::vector<Vector3f>(2000, Vector3f(1, 1, 1)));
    Hits const hits = search(tree, {1, 1, 1}, 0.5F);
    ASSERT_EQ(hits.count, 2000);
    EXPECT_TRUE(std::is_sorted(hits.indices.begin(), hits.indices.end()));
    EXPECT_EQ(hits.sq_dists.back(), 0.0F);
}

TEST(KdTree3f, CopiesSearchOnTheirOwn)
{
    auto const points = random_points(300, 11);
    auto tree = std::make_unique<KdTree3f>(tree_of(points));
    KdTree3f const copy = *tree;
    KdTree3f assigned;
    assigned = *tree;
    tree->build_kdtree({});
    tree.reset();
    EXPECT_EQ(as_pairs(search(copy, points[0], 9)), brute_force(points, points[0], 9));
    EXPECT_EQ(as_pairs(search(assigned, points[0], 9)), brute_force(points, points[0], 9));
}

TEST(KdTree3f, ManyThreadsSearchOneTree)
{
    auto const points = random_points(2000, 12);
    KdTree3f const tree = tree_of(points);
    std::atomic<int> wrong{0};
    detail::parallel_for_uneven(
        400,
        [&](std::ptrdiff_t i)
        {
            auto const& query = points[static_cast<size_t>(i)];
            wrong += as_pairs(search(tree, query, 4)) == brute_force(points, query, 4) ? 0 : 1;
        });
    EXPECT_EQ(wrong, 0);
}
