#pragma once

#include "algorithmVeld/TextureFusion/records/TexProperties.h"
#include "algorithmVeld/common/BaseTriMesh.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The rectangles that go into an atlas, with their images.
struct AtlasPieces
{
    std::vector<PatchTex>& patches;
    std::vector<Image<3, unsigned char>> const& patch_textures;
    std::vector<PatchTex>& hole_patches;
    std::vector<Image<3, unsigned char>> const& hole_textures;
};

/// Where the one pixel lies whose colour faces without a view have.
struct BlackCell
{
    int column = 0;
    int row = 0;
};

/// Packs the pieces, and the black cell behind them, into one image, and notes their places in the
/// records. \return false if they cannot be packed
bool pack_atlas(AtlasPieces const& pieces, int packing_gap, Image<3, unsigned char>& atlas,
                BlackCell& black_cell);

/// Gives each face with a view its texture coordinates, and each other one three times those of the
/// black cell, which are the first: `face_uv_index`. Faces within one patch share coordinates;
/// those that touch another patch, which become `BOUNDARY`, have their own.
std::vector<BaseTriMesh::UVCoord> patch_coordinates(TriMesh& mesh, TexProperties const& properties,
                                                    std::vector<PatchTex> const& patches,
                                                    BlackCell black_cell, int atlas_width,
                                                    int atlas_height);

/// Appends the coordinates of the faces of repaired holes.
void append_hole_coordinates(TriMesh& mesh, TexProperties const& properties,
                             std::vector<std::vector<OpenMesh::FaceHandle>> const& holes,
                             std::vector<PatchTex> const& hole_patches, int atlas_width,
                             int atlas_height, std::vector<BaseTriMesh::UVCoord>& coordinates);

} // namespace OrvaneAlgorithm::detail
