#include "algorithmVeld/common/mesh/EdgeLengths.h"

#include "tests/support/meshes.h"
#include "tests/support/threads.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace OrvaneAlgorithm;
using namespace veld_test;

namespace
{

double added_one_after_the_other(TriMesh const& mesh)
{
    double sum = 0.0;
    for (auto const edge : mesh.all_edges())
    {
        sum += mesh.calc_edge_length(edge);
    }
    return sum;
}

} // namespace

TEST(EdgeLengths, AreAddedAsOneAfterTheOtherForAnyNumberOfThreads)
{
    std::mt19937 random(1);
    std::uniform_real_distribution<float> unit(0.0F, 1.0F);
    // The higher the power, the more the lengths differ: up to 30 orders of magnitude.
    for (int const power : {0, 1, 8, 40})
    {
        TriMesh mesh = grid(90, 90);
        for (auto const v : mesh.vertices())
        {
            float const factor = std::pow(unit(random), static_cast<float>(power));
            mesh.point(v) = factor * (mesh.point(v) + Vector3f(unit(random), 0, 0));
        }
        double const expected = added_one_after_the_other(mesh);
        for (int const n : {1, 2, 3, 8})
        {
            Threads const threads(n);
            EXPECT_EQ(detail::sum_of_edge_lengths(mesh), expected) << power;
        }
    }
}

TEST(EdgeLengths, AreNoNumberWhereAPointIsNone)
{
    TriMesh mesh = grid(3, 3);
    mesh.set_point(vh(5), {std::numeric_limits<float>::quiet_NaN(), 0, 0});
    EXPECT_TRUE(std::isnan(detail::sum_of_edge_lengths(mesh)));
    mesh.set_point(vh(5), {std::numeric_limits<float>::infinity(), 0, 0});
    EXPECT_TRUE(std::isinf(detail::sum_of_edge_lengths(mesh)));
}

TEST(EdgeLengths, ComeToNothingWhereThereIsNoLength)
{
    EXPECT_EQ(detail::sum_of_edge_lengths(TriMesh()), 0.0);
    TriMesh mesh = grid(2, 2);
    for (auto const v : mesh.vertices())
    {
        mesh.set_point(v, {1, 1, 1});
    }
    EXPECT_EQ(detail::sum_of_edge_lengths(mesh), 0.0);
}
