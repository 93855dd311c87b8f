#include "algorithmVeld/common/mesh_files/PolygonTriangles.h"

#include <Eigen/Geometry>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

using namespace OrvaneAlgorithm;
using detail::triangulate_polygon;

namespace
{

using Corners = std::vector<Vector3f>;
using Triangles = std::vector<std::array<int, 3>>;

Vector3d area_vector(Vector3f const& a, Vector3f const& b, Vector3f const& c)
{
    return 0.5 * (b - a).cast<double>().cross((c - a).cast<double>());
}

Vector3d area_vector(Corners const& corners, std::array<int, 3> const& t)
{
    return area_vector(corners[static_cast<std::size_t>(t[0])],
                       corners[static_cast<std::size_t>(t[1])],
                       corners[static_cast<std::size_t>(t[2])]);
}

Vector3d area_vector(Corners const& corners)
{
    Vector3d sum = Vector3d::Zero();
    for (std::size_t i = 1; i + 1 < corners.size(); ++i)
    {
        sum += area_vector(corners[0], corners[i], corners[i + 1]);
    }
    return sum;
}

/// Two triangles less than corners, each edge of the polygon once in its direction and each other
/// edge once in both.
void expect_to_be_its_surface(Corners const& corners, Triangles const& triangles)
{
    int const n = static_cast<int>(corners.size());
    ASSERT_EQ(triangles.size(), corners.size() - 2);
    std::map<std::pair<int, int>, int> edges;
    for (auto const& t : triangles)
    {
        for (std::size_t i = 0; i < 3; ++i)
        {
            EXPECT_EQ(++edges[std::make_pair(t[i], t[(i + 1) % 3])], 1);
        }
    }
    for (auto const& [edge, count] : edges)
    {
        bool const is_rim = (edge.first + 1) % n == edge.second;
        EXPECT_EQ(edges.count({edge.second, edge.first}), is_rim ? 0U : 1U);
    }
}

/// In a flat polygon, triangles that do not overlap have together its area, and all its direction.
void expect_no_overlap(Corners const& corners)
{
    auto const triangles = triangulate_polygon(corners);
    expect_to_be_its_surface(corners, triangles);
    Vector3d const whole = area_vector(corners);
    double sum = 0;
    for (auto const& t : triangles)
    {
        Vector3d const area = area_vector(corners, t);
        EXPECT_GT(area.dot(whole), 0.0);
        sum += area.norm();
    }
    EXPECT_NEAR(sum, whole.norm(), 1e-5 * whole.norm());
}

TEST(PolygonTriangles, AQuadIsCutAtItsShorterDiagonal)
{
    Corners const flat{{0, 0, 0}, {3, 0, 0}, {4, 1, 0}, {1, 1, 0}}; // 0-2 is longer than 1-3
    EXPECT_EQ(triangulate_polygon(flat), (Triangles{{3, 0, 1}, {3, 1, 2}}));
    Corners const other{{0, 0, 0}, {3, 0, 0}, {2, 1, 0}, {-1, 1, 0}};
    EXPECT_EQ(triangulate_polygon(other), (Triangles{{0, 1, 2}, {0, 2, 3}}));
}

TEST(PolygonTriangles, ADartIsCutAtItsReflexCornerAlthoughThatIsTheLongerWay)
{
    // The straight line between 1 and 3 is shorter, and outside.
    Corners const dart{{0, 0, 0}, {1, -5, 0}, {0, 9, 0}, {-1, -5, 0}};
    expect_no_overlap(dart);
}

TEST(PolygonTriangles, ConcavePolygonsAreCutWithoutOverlap)
{
    expect_no_overlap({{0, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}}); // L
    // A comb: its back below, and teeth that point up.
    Corners comb{{0, -1, 0}, {40, -1, 0}};
    for (int i = 20; i > 0; --i)
    {
        comb.emplace_back(float(2 * i), 0.0F, 0.0F);
        comb.emplace_back(float(2 * i) - 0.5F, 8.0F, 0.0F);
        comb.emplace_back(float(2 * i) - 1.5F, 8.0F, 0.0F);
        comb.emplace_back(float(2 * i) - 2.0F, 0.0F, 0.0F);
    }
    comb.erase(std::unique(comb.begin(), comb.end()), comb.end());
    expect_no_overlap(comb);
}

/// A star-shaped polygon: around its centre, at distances by chance.
Corners star(int n, unsigned seed)
{
    std::mt19937 random(seed);
    Corners corners;
    for (int i = 0; i < n; ++i)
    {
        double const angle = 2 * M_PI * i / n;
        double const radius = 1.0 + static_cast<double>(random() % 1000) / 100.0;
        corners.emplace_back(static_cast<float>(radius * std::cos(angle)),
                             static_cast<float>(radius * std::sin(angle)), 0.0F);
    }
    return corners;
}

TEST(PolygonTriangles, StarsOfAnyShapeAreCutWithoutOverlap)
{
    for (unsigned seed = 0; seed < 100; ++seed)
    {
        SCOPED_TRACE(seed);
        expect_no_overlap(star(5 + static_cast<int>(seed), seed));
    }
}

TEST(PolygonTriangles, ASpiralIsCutWithoutOverlap)
{
    Corners out;
    Corners back;
    for (int i = 0; i < 60; ++i)
    {
        double const angle = 0.3 * i;
        Vector3d const way(std::cos(angle), std::sin(angle), 0.0);
        out.push_back(((1.0 + angle) * way).cast<float>());
        back.push_back(((2.0 + angle) * way).cast<float>());
    }
    std::reverse(out.begin(), out.end());
    back.insert(back.end(), out.begin(), out.end());
    std::reverse(back.begin(), back.end());
    expect_no_overlap(back);
}

TEST(PolygonTriangles, AnyPlaneAndOrientationDo)
{
    Eigen::Matrix3f const turned = (Eigen::AngleAxisf(1.1F, Vector3f(1, 2, 3).normalized()) *
                                    Eigen::AngleAxisf(2.0F, Vector3f(-3, 1, 1).normalized()))
                                       .toRotationMatrix();
    for (unsigned seed = 0; seed < 30; ++seed)
    {
        auto corners = star(17, seed);
        for (auto& corner : corners)
        {
            corner = turned * corner + Vector3f(3, 4, 5);
        }
        expect_no_overlap(corners);
        std::reverse(corners.begin(), corners.end());
        expect_no_overlap(corners);
    }
}

TEST(PolygonTriangles, CornersOnAStraightSideGiveNoTriangleWithoutArea)
{
    expect_no_overlap({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {3, 3, 0}, {0, 3, 0}});
}

TEST(PolygonTriangles, ABridgeToAHoleIsNotInTheWay)
{
    // A square with a square hole; 0 and 3 stand there twice.
    expect_no_overlap({{0, 0, 0},
                       {9, 0, 0},
                       {9, 9, 0},
                       {0, 9, 0},
                       {0, 0, 0},
                       {3, 3, 0},
                       {3, 6, 0},
                       {6, 6, 0},
                       {6, 3, 0},
                       {3, 3, 0}});
}

TEST(PolygonTriangles, WhatCrossesItselfOrHasNoPlaneIsCutAllTheSame)
{
    Corners const crossed{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}, {0.5F, 2, 0}};
    expect_to_be_its_surface(crossed, triangulate_polygon(crossed));
    Corners const point(7, Vector3f(1, 1, 1));
    expect_to_be_its_surface(point, triangulate_polygon(point));
    Corners const line{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {5, 0, 0}, {4, 0, 0}};
    expect_to_be_its_surface(line, triangulate_polygon(line));
    float const huge = 3e38F;
    Corners const far{{-huge, -huge, 0}, {huge, -huge, 0}, {huge, huge, 0}, {-huge, huge, huge}};
    expect_to_be_its_surface(far, triangulate_polygon(far));
}

} // namespace
