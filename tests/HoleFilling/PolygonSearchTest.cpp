#include "algorithmVeld/HoleFilling/detail/PolygonSearch.h"
#include "tests/HoleFilling/plain_triangulation.h"

#include <gtest/gtest.h>

using namespace OrvaneAlgorithm;
using detail::PolygonRim;
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
    auto const fill = detail::best_polygon_fill(rim_of(polygon), rule, threads);
    EXPECT_EQ(plain.weight_angle[n - 1], fill.cost.angle);
    EXPECT_EQ(plain.weight_area[n - 1], fill.cost.area);
    ASSERT_EQ(plain.triangles(), fill.triangles);
}

void expect_same_for_many(std::size_t first, std::size_t last, int repetitions,
                          TriangulationRule const& rule)
{
    std::mt19937 random(7);
    for (auto const kind : veld_test::all_polygon_kinds)
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

TEST(PolygonSearch, chooses_what_the_plain_search_chooses)
{
    expect_same_for_many(3, 40, 16, {});
    expect_same_for_many(41, 60, 4, {});
}

TEST(PolygonSearch, chooses_what_the_plain_search_chooses_with_a_stride)
{
    TriangulationRule rule;
    rule.sample_num = 12;
    expect_same_for_many(11, 60, 4, rule);
}

TEST(PolygonSearch, chooses_what_the_plain_search_chooses_if_only_folds_count)
{
    TriangulationRule rule;
    rule.flat_weight = true;
    rule.bad_triangle_area = 0.37F;
    expect_same_for_many(3, 45, 4, rule);
}

TEST(PolygonSearch, chooses_what_the_plain_search_chooses_for_long_polygons)
{
    std::mt19937 random(11);
    for (auto const kind : veld_test::all_polygon_kinds)
    {
        for (std::size_t const n : {130, 399, 400, 417})
        {
            SCOPED_TRACE(testing::Message() << "kind " << static_cast<int>(kind) << ", " << n);
            auto const polygon = veld_test::random_polygon(kind, n, n == 417 ? 40 : 0, random);
            ASSERT_NO_FATAL_FAILURE(expect_same(polygon, {}, 2));
        }
    }
}
