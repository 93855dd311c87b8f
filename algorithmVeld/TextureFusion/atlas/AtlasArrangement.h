#pragma once

#include "algorithmVeld/TextureFusion/atlas/AtlasPacking.h"
#include "algorithmVeld/TextureFusion/records/TexRecords.h"
#include "algorithmVeld/common/vectors.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Lays rectangles out one beside the other, without a limit for the whole. The first lies at the
/// origin. Each further one tries the places at those before it, in their order: below, to the
/// right, and to the right and below; it takes the first in which it overlaps nothing.
///
/// A place whose corner is taken is never free again, so it is tried once. What a rectangle
/// overlaps is looked up in a grid of cells.
class AtlasArrangement
{
public:
    /// \param gap pixels between neighbours, 0 or more
    /// \param cell side of the grid's cells, 1 or more: about that of the rectangles
    AtlasArrangement(int gap, int cell) : gap_(gap), cell_(cell) {}

    /// Takes the first rectangle.
    void place_first(PatchTex& record);
    /// Finds a place for a further one, and takes it.
    /// \return false if there is none within what an `int` counts; the record is unchanged
    bool place(PatchTex& record);

    /// (height, width) of the whole: the space that is taken, and what was asked for in addition.
    Vector2i const& size() const { return size_; }
    /// Adds free space below and to the right.
    void widen(int pixels) { size_ += Vector2i(pixels, pixels); }

    /// A place for one pixel at one of the first `n` rectangles, inside the whole.
    /// \return false if there is none
    bool find_free_pixel(std::size_t n, BlackCell& pixel) const;

private:
    /// A rectangle with the gap behind it, which belongs to it. Both ends are inside.
    struct Box
    {
        std::int64_t min_x;
        std::int64_t max_x;
        std::int64_t min_y;
        std::int64_t max_y;
    };
    using Place = std::pair<std::int64_t, std::int64_t>; ///< column, row

    Box box_at(Place const& place, std::int64_t width, std::int64_t height) const;
    Place place_beside(Box const& box, int which) const;
    bool is_free(Box const& box) const;
    void take(PatchTex& record, Place const& place);
    void forget_taken_places(Box const& box);
    template <typename Visit>
    bool for_each_cell(Box const& box, Visit const& visit) const;

    std::int64_t gap_;
    std::int64_t cell_;
    Vector2i size_ = Vector2i::Zero();
    std::vector<Box> boxes_;
    std::vector<Place> places_; ///< that may be free, in the order in which they are tried
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> grid_; ///< boxes of the cells
};

/// Which rectangles come first: high ones, and wide ones among equally high ones. Of equal ones the
/// first.
std::vector<std::size_t> arrangement_order(std::vector<PatchTex> const& records);

/// A side for the cells of an arrangement of these rectangles.
int arrangement_cell(std::vector<PatchTex> const& records);

} // namespace OrvaneAlgorithm::detail
