#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Lengths and places are counted in 64 bits: two `int` and a gap never overflow them.
using Length = std::int64_t;

struct Extent
{
    Length width = 0;
    Length height = 0;
};

struct Place
{
    Length x = 0;
    Length y = 0;
};

struct Area
{
    Place corner;
    Extent extent;
};

/// The free room of a strip of fixed width that grows in y: what lies above the skyline, and the
/// pockets below it.
class Skyline
{
public:
    /// \param smallest no rectangle to come is narrower or lower: smaller pockets are forgotten
    Skyline(Length width, Extent const& smallest);

    /// Gives a rectangle, no wider than the strip, the tightest pocket or else the lowest place on
    /// the skyline.
    Place add(Extent const& size);

private:
    struct Segment
    {
        Length x = 0;
        Length y = 0;
        Length width = 0;

        Length end() const { return x + width; }
    };

    Place add_to_pocket(Extent const& size);
    std::size_t tightest_pocket(Extent const& size) const;
    void divide_pocket(Area const& pocket, Extent const& guest);
    void keep_pocket(Area const& pocket);

    Place add_on_top(Extent const& size);
    std::size_t lowest_segment(Length width) const;
    Length support_height(std::size_t first, Length width) const;
    void keep_pockets_below(std::size_t first, Place const& place, Length width);
    void raise(std::size_t first, Segment const& top);
    void join_level_neighbours(std::size_t i);
    void join_with_next(std::size_t i);

    Extent smallest_;
    std::vector<Segment> segments_; ///< from left to right, without gaps
    std::vector<Area> pockets_;     ///< do not overlap
};

} // namespace OrvaneAlgorithm::detail
