#pragma once

#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "algorithmVeld/common/Image.h"

#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The rectangles that go into an atlas, with their images, one for each.
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
/// records. Every hole has a place, repaired or not; an empty image leaves its place black.
/// \param packing_gap pixels between neighbours, which stay black
/// \return false if they cannot be packed; nothing has changed then
bool pack_atlas(AtlasPieces const& pieces, int packing_gap, Image<3, unsigned char>& atlas,
                BlackCell& black_cell);

/// Copies images to the places of their records. An empty image leaves its place as it is.
void paste_into_atlas(std::vector<PatchTex> const& records,
                      std::vector<Image<3, unsigned char>> const& images,
                      Image<3, unsigned char>& atlas);

} // namespace OrvaneAlgorithm::detail
