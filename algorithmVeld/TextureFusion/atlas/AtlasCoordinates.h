#pragma once

#include "algorithmVeld/TextureFusion/atlas/AtlasPacking.h"
#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/common/BaseTriMesh.h"

#include <vector>

/// \file
/// Texture coordinates of the faces. A point at column a and row b of the atlas, which may lie
/// between pixels, has u = a / width and v = 1 - b / height; the middle of a pixel counts as its
/// corner.

namespace OrvaneAlgorithm::detail
{

/// Gives each face with a view its texture coordinates, and each other one three times those of the
/// black cell, which are the first: `face_uv_index`. Faces within one patch share coordinates, and
/// so do patches without neighbours where they touch at a vertex; faces that touch another patch,
/// be it at a corner, which become `BOUNDARY`, have their own.
std::vector<BaseTriMesh::UVCoord> patch_coordinates(TriMesh& mesh, TexProperties const& properties,
                                                    std::vector<PatchTex> const& patches,
                                                    BlackCell black_cell, int atlas_width,
                                                    int atlas_height);

/// Appends the coordinates of the faces of repaired holes. Faces of the others keep those of the
/// black cell.
void append_hole_coordinates(TriMesh& mesh, TexProperties const& properties,
                             std::vector<std::vector<OpenMesh::FaceHandle>> const& holes,
                             std::vector<PatchTex> const& hole_patches, int atlas_width,
                             int atlas_height, std::vector<BaseTriMesh::UVCoord>& coordinates);

} // namespace OrvaneAlgorithm::detail
