#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/seams/FacePatches.h"
#include "algorithmVeld/TextureFusion/seams/PatchSeam.h"
#include "algorithmVeld/TextureFusion/solve/RectangleSolve.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Gives each patch its image, corrected so that its colours meet those of the neighbouring patches
/// at the seams, and each textured vertex its colour: `vert_color`. Vertices of patches without
/// neighbours stay black. The patch of a failed solve has an empty image. Of whole edges the log is
/// told how many pixels they have.
/// \return the images, one for each patch
std::vector<Image<3, unsigned char>>
fuse_patch_colours(TriMesh& mesh, TexProperties const& properties,
                   std::vector<TexImage> const& images, std::vector<PatchTex> const& patches,
                   PatchFaces const& faces, RectangleSolver solver,
                   SeamShape shape = SeamShape::VERTICES);

} // namespace OrvaneAlgorithm::detail
