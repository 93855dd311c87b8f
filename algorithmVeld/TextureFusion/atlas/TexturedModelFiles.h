#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "algorithmVeld/common/BaseTriMesh.h"
#include "algorithmVeld/common/Image.h"

#include <string>
#include <vector>

/// \file
/// A textured mesh as files in `result_dir` of `gPH`: NAME.obj names NAME.mtl, and that NAME.jpg. A
/// file that cannot be written is told to the log.

namespace OrvaneAlgorithm::detail
{

/// "sub-tex-patch-info.txt": the number of patches, and a line for each with height and width.
void save_patch_info(std::vector<PatchTex> const& patches);

/// NAME.jpg
void save_atlas_image(Image<3, unsigned char> const& atlas, std::string const& name);

/// NAME.obj and NAME.mtl. Tells the log how large the model is.
void save_fused_texture_model(TriMesh const& mesh, TexProperties const& properties,
                              std::vector<BaseTriMesh::UVCoord> const& coordinates,
                              std::string const& name);

} // namespace OrvaneAlgorithm::detail
