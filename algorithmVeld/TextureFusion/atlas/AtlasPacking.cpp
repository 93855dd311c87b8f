#include "algorithmVeld/TextureFusion/atlas/AtlasPacking.h"

#include "algorithmVeld/common/ImagePacking.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/Progress.h"

#include <algorithm>
#include <cstddef>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// (height, width) of the pieces in their order, and of the black cell.
std::vector<Vector2i> sizes_of(AtlasPieces const& pieces)
{
    std::vector<Vector2i> sizes;
    sizes.reserve(pieces.patches.size() + pieces.hole_patches.size() + 1);
    for (auto const* const records : {&pieces.patches, &pieces.hole_patches})
    {
        for (PatchTex const& record : *records)
        {
            sizes.emplace_back(record.height(), record.width());
        }
    }
    sizes.emplace_back(1, 1);
    return sizes;
}

/// Notes (row, column) positions in the records. \return the position behind the last of them
std::vector<Vector2i>::const_iterator note_places(std::vector<Vector2i>::const_iterator position,
                                                  std::vector<PatchTex>& records)
{
    for (PatchTex& record : records)
    {
        record.atlas_y = position->x();
        record.atlas_x = position->y();
        ++position;
    }
    return position;
}

} // namespace

void paste_into_atlas(std::vector<PatchTex> const& records,
                      std::vector<Image<3, unsigned char>> const& images,
                      Image<3, unsigned char>& atlas)
{
    parallel_for_uneven(static_cast<std::ptrdiff_t>(images.size()),
                        [&](std::ptrdiff_t i)
                        {
                            auto const& image = images[static_cast<std::size_t>(i)];
                            auto const& record = records[static_cast<std::size_t>(i)];
                            for (int row = 0; row < image.height(); ++row)
                            {
                                std::copy_n(image.pixel(0, row),
                                            3 * static_cast<std::size_t>(image.width()),
                                            atlas.pixel(record.atlas_x, record.atlas_y + row));
                            }
                        });
}

bool pack_atlas(AtlasPieces const& pieces, int packing_gap, Image<3, unsigned char>& atlas,
                BlackCell& black_cell)
{
    Stages stages({20, 4, 1});
    stages.next();
    std::vector<Vector2i> positions;
    Vector2i total;
    if (ImagePacking::pack(sizes_of(pieces), packing_gap, positions, total) != RET_SUCCESS)
    {
        return false;
    }
    auto const holes = note_places(positions.cbegin(), pieces.patches);
    auto const last = note_places(holes, pieces.hole_patches);
    black_cell = {last->y(), last->x()};
    atlas = Image<3, unsigned char>(total.y(), total.x());
    stages.next();
    paste_into_atlas(pieces.patches, pieces.patch_textures, atlas);
    stages.next();
    paste_into_atlas(pieces.hole_patches, pieces.hole_textures, atlas);
    return true;
}

} // namespace OrvaneAlgorithm::detail
