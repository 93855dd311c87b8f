#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"

#include <optional>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The elements of a texture hole and those around it, each once, in the order of first meeting. A
/// vertex on the rim is among both kinds of vertices.
struct HoleSurroundings
{
    std::vector<OpenMesh::VertexHandle> hole_vertices;
    std::vector<OpenMesh::FaceHandle> ring_faces; ///< those with a view that touch the hole
    std::vector<OpenMesh::VertexHandle> ring_vertices;
};

HoleSurroundings hole_surroundings(TriMesh const& mesh, TexProperties const& properties,
                                   std::vector<OpenMesh::FaceHandle> const& hole);

/// Along which axis the camera looks that sees a hole.
enum class HoleAxis
{
    WORLD_Z, ///< the world's z axis
    SURFACE  ///< the normal of the surface around the hole
};

/// How far the camera sees.
enum class HoleBounds
{
    OPEN,    ///< as far as the hole goes
    OF_PHOTO ///< as far as the first photograph; what lies beyond is drawn to its edge
};

/// How a hole is looked at.
struct HoleViewRules
{
    HoleAxis axis = HoleAxis::WORLD_Z;
    PixelRule pixels = PixelRule::TRUNCATED;
    HoleBounds bounds = HoleBounds::OPEN;
};

/// A hole as a camera sees it that looks at the hole's centre, from as far away as the photographs
/// around it were taken.
struct HoleView
{
    PatchTex rectangle; ///< around all pixels, without the places in the atlas
    std::vector<Vector2i> hole_pixels;
    std::vector<Vector2i> ring_pixels;
};

/// \param photo whose intrinsics and size the camera has
/// \param margin pixels around the hole that the rectangle holds too
/// \return nothing if a vertex lies in the camera's plane or so far off that its pixel has no
///         number, or if nothing lies within the bounds
std::optional<HoleView> look_at_hole(TriMesh const& mesh, TexProperties const& properties,
                                     TexImage const& photo, HoleSurroundings const& surroundings,
                                     int margin, HoleViewRules const& rules);

} // namespace OrvaneAlgorithm::detail
