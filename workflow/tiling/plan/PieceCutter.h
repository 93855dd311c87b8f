#pragma once

#include "workflow/files/OutputFile.h"
#include "workflow/tiling/files/TileFolder.h"

#include <cstddef>
#include <vector>

namespace veld
{

/// Cuts frames into the pieces that tiles see.
class PieceCutter
{
public:
    /// Makes the folders of the tiles.
    /// \param record gets what each tile sees
    PieceCutter(TileFolder const& folder, TileRecord& record, Outputs& outputs);

    /// Cuts the frame that comes next.
    void cut(OrvaneAlgorithm::RangeData const& frame);

private:
    double margin() const;
    void cut_for(std::size_t tile, OrvaneAlgorithm::RangeData const& frame,
                 std::vector<std::size_t> const& samples,
                 std::vector<OrvaneAlgorithm::Vector3f> const& points);

    TileFolder const& folder_;
    TileRecord& record_;
    int number_ = 0;
};

} // namespace veld
