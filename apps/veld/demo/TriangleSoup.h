#pragma once

#include "algorithmVeld/common/types.h"

#include <array>
#include <cstdint>
#include <vector>

namespace veld::cli
{

using OrvaneAlgorithm::Vector3d;
using OrvaneAlgorithm::Vector3f;

/// Triangles by vertex number.
struct TriangleSoup
{
    using Triangle = std::array<std::uint32_t, 3>;

    std::vector<Vector3f> points;
    std::vector<Triangle> triangles;

    /// \return the number of the new point
    std::uint32_t add(Vector3d const& point);
    void append(TriangleSoup const& other);
};

/// A sphere of radius 1 around the origin, of 20 * 4^`subdivisions` triangles.
TriangleSoup unit_sphere(int subdivisions);

} // namespace veld::cli
