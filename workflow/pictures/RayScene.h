#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/types.h"

#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::Vector3f;

/// What a ray met first.
struct RayHit
{
    static constexpr std::uint32_t NOTHING = std::numeric_limits<std::uint32_t>::max();

    std::uint32_t element = NOTHING; ///< Index of the triangle or the rod.
    float distance = std::numeric_limits<float>::infinity();
    float u = 0.0F; ///< Weight of a triangle's second corner.
    float v = 0.0F; ///< Weight of a triangle's third corner.
    Vector3f normal = Vector3f::Zero();

    bool hit() const { return element != NOTHING; }
};

/// Triangles or rods that rays are shot at. Shooting is safe from many threads. What is hit does
/// not depend on the number of threads.
class VELD_WORKFLOW_API RayScene
{
public:
    static RayScene of_triangles(std::vector<Vector3f> const& points,
                                 std::vector<std::array<std::uint32_t, 3>> const& triangles);

    /// \param ends two points for each rod \param radii the rod's radius at each of them
    static RayScene of_rods(std::vector<Vector3f> const& ends, std::vector<float> const& radii);

    /// What the ray meets first. The direction has unit length.
    RayHit first_hit(Vector3f const& origin, Vector3f const& direction) const;

    /// Whether anything lies on the ray nearer than `distance`.
    bool blocked(Vector3f const& origin, Vector3f const& direction, float distance) const;

private:
    struct Handles;
    explicit RayScene(std::shared_ptr<Handles> handles) : handles_(std::move(handles)) {}

    std::shared_ptr<Handles> handles_;
};

} // namespace veld
