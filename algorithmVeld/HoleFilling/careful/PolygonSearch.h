#pragma once

#include "algorithmVeld/common/types.h"

#include <array>
#include <cstddef>
#include <vector>

/// \file
/// The search for the triangulation of a polygon in space whose largest dihedral angle is the
/// smallest possible and, of those, whose area is.

namespace OrvaneAlgorithm::detail
{

/// What a triangulation costs, and how far it is searched.
struct TriangulationRule
{
    float bad_triangle_area = 1000.0F; ///< Added to the area of a needle, and to that of a fold.
    bool flat_weight = false;          ///< Angles below 179.5 degrees count as none.
    int sample_num =
        400; ///< Number of corners from which on every second, third, .. split is tried.
};

/// Largest angle to the neighbours, in degrees, and area with its penalties.
struct SplitCost
{
    float angle = 0.0F;
    float area = 0.0F;
};

/// Angles above this are folds, in degrees.
constexpr float fold_angle = 179.5F;

/// The up to three triangles beside a triangle, by their unit normals.
struct NeighbourNormals
{
    std::array<Vector3f, 3> units;
    std::size_t count = 0;

    void add(Vector3f const& normal) { add_unit(normal.normalized()); }
    void add_unit(Vector3f const& unit) { units[count++] = unit; }
};

/// Cost of the triangle of three corners, in the order in which it would be added.
/// \param existing_edges number of its new edges that the mesh has already
SplitCost triangle_cost(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                        NeighbourNormals const& neighbours, int existing_edges,
                        TriangulationRule const& rule);

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

/// Finds the best triangulation: the one that a look at every split of every sub-polygon, in
/// ascending order, would choose. A part is settled before what lies beyond its chord is known, so
/// the largest angle need not be the least of all triangulations. Needs about 12 bytes times the
/// square of the number of corners.
/// \param threads number of threads; without influence on the result
PolygonFill best_polygon_fill(PolygonRim const& rim, TriangulationRule const& rule, int threads);

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
