#include "demo/TriangleSoup.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

namespace veld::cli
{

namespace
{

TriangleSoup icosahedron()
{
    double const g = (1.0 + std::sqrt(5.0)) / 2.0;
    std::vector<Vector3d> const corners{{-1, g, 0}, {1, g, 0}, {-1, -g, 0}, {1, -g, 0},
                                        {0, -1, g}, {0, 1, g}, {0, -1, -g}, {0, 1, -g},
                                        {g, 0, -1}, {g, 0, 1}, {-g, 0, -1}, {-g, 0, 1}};
    TriangleSoup soup;
    for (auto const& corner : corners)
    {
        soup.add(corner.normalized());
    }
    soup.triangles = {{0, 11, 5}, {0, 5, 1},  {0, 1, 7},   {0, 7, 10}, {0, 10, 11},
                      {1, 5, 9},  {5, 11, 4}, {11, 10, 2}, {10, 7, 6}, {7, 1, 8},
                      {3, 9, 4},  {3, 4, 2},  {3, 2, 6},   {3, 6, 8},  {3, 8, 9},
                      {4, 9, 5},  {2, 4, 11}, {6, 2, 10},  {8, 6, 7},  {9, 8, 1}};
    return soup;
}

/// Cuts each triangle into four, new points on the unit sphere.
TriangleSoup subdivide(TriangleSoup const& coarse)
{
    TriangleSoup fine{coarse.points, {}};
    std::map<std::pair<std::uint32_t, std::uint32_t>, std::uint32_t> middles;
    auto const middle = [&](std::uint32_t a, std::uint32_t b)
    {
        auto const [place, is_new] = middles.emplace(std::minmax(a, b), 0);
        if (is_new)
        {
            Vector3f const sum = coarse.points[a] + coarse.points[b];
            place->second = fine.add(sum.cast<double>().normalized());
        }
        return place->second;
    };
    for (auto const& [a, b, c] : coarse.triangles)
    {
        std::uint32_t const ab = middle(a, b);
        std::uint32_t const bc = middle(b, c);
        std::uint32_t const ca = middle(c, a);
        fine.triangles.insert(fine.triangles.end(),
                              {{a, ab, ca}, {ab, b, bc}, {ca, bc, c}, {ab, bc, ca}});
    }
    return fine;
}

} // namespace

std::uint32_t TriangleSoup::add(Vector3d const& point)
{
    points.push_back(point.cast<float>());
    return static_cast<std::uint32_t>(points.size() - 1);
}

void TriangleSoup::append(TriangleSoup const& other)
{
    auto const first = static_cast<std::uint32_t>(points.size());
    points.insert(points.end(), other.points.begin(), other.points.end());
    for (auto const& [a, b, c] : other.triangles)
    {
        triangles.push_back({a + first, b + first, c + first});
    }
}

TriangleSoup unit_sphere(int subdivisions)
{
    TriangleSoup soup = icosahedron();
    for (int i = 0; i < subdivisions; ++i)
    {
        soup = subdivide(soup);
    }
    return soup;
}

} // namespace veld::cli
