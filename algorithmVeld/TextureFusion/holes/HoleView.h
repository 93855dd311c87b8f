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

/// A hole as a camera sees it that looks along the world's z axis at the hole's centre, from as far
/// away as the photographs around it were taken.
struct HoleView
{
    PatchTex rectangle; ///< around all pixels, without the places in the atlas
    std::vector<Vector2i> hole_pixels;
    std::vector<Vector2i> ring_pixels;
};

/// \param margin pixels around the hole that the rectangle holds too
/// \return nothing if a vertex lies in the camera's plane or so far off that its pixel has no
/// number
std::optional<HoleView> look_at_hole(TriMesh const& mesh, TexProperties const& properties,
                                     CameraInParam const& intrinsics,
                                     HoleSurroundings const& surroundings, int margin);

} // namespace OrvaneAlgorithm::detail
