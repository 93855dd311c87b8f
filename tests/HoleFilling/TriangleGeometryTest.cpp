#include "algorithmVeld/HoleFilling/HoleFillingCore.h"

#include <gtest/gtest.h>

#include <Eigen/Geometry>

#include <cmath>
#include <random>

using namespace OrvaneAlgorithm;

namespace
{

constexpr double DEGREE = 3.141592653589793 / 180.0;

float angle_of(Vector3f const& u, Vector3f const& v)
{
    float angle = -1.0F;
    HoleFillingCore::calc_angle(u, v, angle);
    return angle;
}

/// A vector of the plane z = 0 by its direction.
Vector3f towards(double degrees, float length = 1.0F)
{
    return {length * static_cast<float>(std::cos(degrees * DEGREE)),
            length * static_cast<float>(std::sin(degrees * DEGREE)), 0.0F};
}

} // namespace

TEST(TriangleGeometry, MeasuresAnglesOverTheWholeRange)
{
    for (double const degrees :
         {0.0, 0.001, 1.0, 30.0, 45.0, 45.6, 60.0, 90.0, 120.0, 134.4, 150.0, 168.0})
    {
        EXPECT_NEAR(degrees * DEGREE, angle_of({2, 0, 0}, towards(degrees, 3.0F)), 1e-6)
            << degrees << " degrees";
    }
}

TEST(TriangleGeometry, KeepsPrecisionForSmallAngles)
{
    // A cosine in float cannot tell angles below 0.02 degrees from 0.
    EXPECT_NEAR(1e-5, angle_of({1, 0, 0}, {1.0F, 1e-5F, 0.0F}), 1e-11);
}

TEST(TriangleGeometry, ReadsNearlyFoldedVectorsAsExactlyPi)
{
    EXPECT_EQ(3.1415927F, angle_of({1, 0, 0}, towards(169.0)));
    EXPECT_EQ(3.1415927F, angle_of({1, 0, 0}, {-1, 0, 0}));
    EXPECT_LT(angle_of({1, 0, 0}, towards(168.0)), 2.94F);
}

TEST(TriangleGeometry, TakesAVectorWithoutDirectionAsPerpendicular)
{
    EXPECT_FLOAT_EQ(static_cast<float>(90.0 * DEGREE), angle_of({0, 0, 0}, {1, 2, 3}));
}

TEST(TriangleGeometry, ComputesAreasFromTheSides)
{
    float area = -1.0F;
    HoleFillingCore::calc_area({0, 0, 0}, {3, 0, 0}, {0, 4, 0}, area);
    EXPECT_FLOAT_EQ(6.0F, area);
    HoleFillingCore::calc_area({0, 0, 0}, {1, 0, 0}, {3, 0, 0}, area);
    EXPECT_FLOAT_EQ(0.0F, area);
}

TEST(TriangleGeometry, TakesAnAreaThatRoundingMakesNegativeAsZero)
{
    std::mt19937 random(3);
    std::uniform_real_distribution<float> coordinate(-100.0F, 100.0F);
    for (int k = 0; k < 1000; ++k)
    {
        Vector3f const a(coordinate(random), coordinate(random), coordinate(random));
        Vector3f const b(coordinate(random), coordinate(random), coordinate(random));
        float area = -1.0F;
        HoleFillingCore::calc_area(a, b, a + 0.3F * (b - a), area);
        ASSERT_GE(area, 0.0F); // false for a NaN too
    }
}

TEST(TriangleGeometry, TakesTheNormalOfTheReversedTriangle)
{
    Vector3f normal;
    HoleFillingCore::calc_tri_normal({0, 0, 0}, {5, 0, 0}, {0, 7, 0}, normal);
    EXPECT_EQ(Vector3f(0, 0, -1), normal);
}

TEST(TriangleGeometry, FindsTheAnglesOfATriangle)
{
    Vector3f const a(0, 0, 0);
    Vector3f const b(1, 0, 0);
    Vector3f const c(0, std::sqrt(3.0F), 0); // 90, 60 and 30 degrees
    float at_a = 0.0F;
    float at_b = 0.0F;
    float at_c = 0.0F;
    HoleFillingCore::calc_inner_tri_angle(a, b, c, at_a, at_b, at_c);
    EXPECT_NEAR(90.0 * DEGREE, at_a, 1e-6);
    EXPECT_NEAR(60.0 * DEGREE, at_b, 1e-6);
    EXPECT_NEAR(30.0 * DEGREE, at_c, 1e-6);
    float max = 0.0F;
    float min = 0.0F;
    HoleFillingCore::calc_max_min_tri_angle(a, b, c, max, min);
    EXPECT_EQ(at_a, max);
    EXPECT_EQ(at_c, min);
    HoleFillingCore::calc_max_tri_angle(c, a, b, max);
    HoleFillingCore::calc_min_tri_angle(c, a, b, min);
    EXPECT_NEAR(90.0 * DEGREE, max, 1e-6);
    EXPECT_NEAR(30.0 * DEGREE, min, 1e-6);
}
