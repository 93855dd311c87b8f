#pragma once

#include "algorithmVeld/common/TriMesh.h"

/// \file
/// What a whole mesh measures: its edges, faces and vertices, each in one pass.

namespace OrvaneAlgorithm::detail
{

/// The smallest, the largest and the sum of what was counted; all 0 if there was nothing.
struct Spread
{
    double min = 0.0;
    double max = 0.0;
    double total = 0.0;
    std::size_t count = 0;

    void add(double value);
    double mean() const { return count > 0 ? total / static_cast<double>(count) : 0.0; }
};

/// Lengths of all edges that are not deleted.
Spread edge_lengths(TriMesh const& mesh);

/// Areas of all faces that are not deleted, by Heron's formula. A face without an area, by which
/// rounding makes the square of it negative, is logged and counts as 0.
Spread face_areas(TriMesh const& mesh);

/// Numbers of edges at all vertices that are not deleted.
Spread valences(TriMesh const& mesh);

} // namespace OrvaneAlgorithm::detail
