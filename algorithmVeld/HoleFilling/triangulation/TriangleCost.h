#pragma once

#include "algorithmVeld/common/types.h"

#include <array>
#include <cstddef>

/// \file
/// What a triangle costs in the triangulation of a polygon: its angles to the triangles beside it,
/// and its area.

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
constexpr float FOLD_ANGLE = 179.5F;

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

/// Largest angle between a triangle and its neighbours with what existing edges add, in degrees.
float triangle_angle(Vector3f const& pi, Vector3f const& pm, Vector3f const& pj,
                     NeighbourNormals const& neighbours, int existing_edges,
                     TriangulationRule const& rule);

/// Whether an angle of the triangle, as `corner_angles` measures it, is above 179.5 or below 1
/// degree.
bool is_needle(Vector3f const& a, Vector3f const& b, Vector3f const& c);

} // namespace OrvaneAlgorithm::detail
