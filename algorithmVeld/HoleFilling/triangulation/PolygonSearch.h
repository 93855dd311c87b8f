#pragma once

#include "algorithmVeld/HoleFilling/triangulation/HoleCrew.h"
#include "algorithmVeld/HoleFilling/triangulation/TriangleCost.h"
#include "algorithmVeld/common/types.h"

#include <array>
#include <cstddef>
#include <vector>

/// \file
/// The search for a triangulation of a polygon in space with small dihedral angles and, where these
/// do not decide, a small area.

namespace OrvaneAlgorithm::detail
{

/// A polygon with what its triangulation has to fit.
struct PolygonRim
{
    std::vector<Vector3f> points;  ///< Corners.
    std::vector<Vector3f> normals; ///< Normal of the face beyond the edge from each corner.
    std::vector<bool> edge_exist;  ///< Whether corners a and b are joined already, at a * n + b.
};

/// Corners of a triangle, ascending.
using PolygonTriangle = std::array<int, 3>;

/// A triangulation. The triangles left of a split come first, then the split's own, then those
/// right of it.
struct PolygonFill
{
    SplitCost cost;
    std::vector<PolygonTriangle> triangles;
};

/// Finds a triangulation by dynamic programming. Every part i..j of the polygon takes the split
/// i, m, j whose largest angle is the smallest and, of those within 1e-5 degrees, whose area is:
/// the one that a look at every m in ascending order would choose. Its angles are those of the
/// triangle i, m, j to its neighbours in i..m and m..j, and those inside these parts, which keep
/// the splits that they have chosen.
///
/// A part chooses before the triangle beyond its chord is known, so the largest angle need not be
/// the smallest of all triangulations of the polygon. Where all angles are equal, the area is, if
/// every m is tried.
///
/// Needs about 12 bytes times the square of the number of corners.
/// \param threads number of threads; without influence on the result
/// \param turn if it is given, idle threads of its crew help instead of these
PolygonFill best_polygon_fill(PolygonRim const& rim, TriangulationRule const& rule, int threads,
                              HoleTurn const* turn = nullptr);

/// Calls `visit(i, m, j)` for the triangles that the splits of i..j choose, in the order of
/// `PolygonFill`. Without recursion: a fan of splits is as deep as the polygon is long.
/// \param lambda `lambda(a, b)` is the split of a..b; where none lies between a and b, that part
///        stays open
template <typename Lambda, typename Visit>
void visit_triangles(std::size_t i, std::size_t j, Lambda const& lambda, Visit const& visit)
{
    struct Item
    {
        std::size_t i, m, j;
        bool is_triangle;
    };
    std::vector<Item> stack{{i, 0, j, false}};
    while (!stack.empty())
    {
        Item const item = stack.back();
        stack.pop_back();
        if (item.is_triangle)
        {
            visit(item.i, item.m, item.j);
            continue;
        }
        if (item.j < item.i + 2)
        {
            continue;
        }
        std::size_t const m =
            item.j == item.i + 2 ? item.i + 1 : static_cast<std::size_t>(lambda(item.i, item.j));
        if (m > item.i && m < item.j)
        {
            stack.push_back({m, 0, item.j, false});
            stack.push_back({item.i, m, item.j, true});
            stack.push_back({item.i, 0, m, false});
        }
    }
}

} // namespace OrvaneAlgorithm::detail
