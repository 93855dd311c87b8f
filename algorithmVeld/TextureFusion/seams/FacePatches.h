#pragma once

#include "algorithmVeld/TextureFusion/records/StageTexts.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Cuts the textured faces into patches, connected sets of faces of one view, and numbers them in
/// the order of their first faces: `face_patch_id`.
/// \param patch_margin pixels around a patch that its rectangle holds too, as far as the view goes
/// \return the rectangles of the patches in their views
std::vector<PatchTex> partition_mesh_by_face(TriMesh& mesh, TexProperties const& properties,
                                             std::vector<TexImage> const& images, int patch_margin,
                                             StageTexts const& texts = FUSION_TEXTS);

/// The faces of each patch, and those of them that have a face of another patch across an edge.
struct PatchFaces
{
    std::vector<std::vector<OpenMesh::FaceHandle>> patch_faces;
    std::vector<std::vector<OpenMesh::FaceHandle>> patch_boundary_faces;
};

/// Lists the faces of the patches in face order, and sets `face_group` of all faces.
/// \return false if a textured face has no patch among those; it is told to the log
bool list_patch_faces(TriMesh& mesh, TexProperties const& properties, std::size_t n_patches,
                      PatchFaces& lists, StageTexts const& texts = FUSION_TEXTS);

} // namespace OrvaneAlgorithm::detail
