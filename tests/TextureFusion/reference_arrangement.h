#pragma once

#include "tests/TextureFusion/plain_texture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <vector>

/// \file
/// The arrangement of an atlas piece by piece as plainly as it can be written: all places at all
/// pieces, compared with all pieces. What the library gives has to be the same.

namespace veld_test::reference
{

/// The overlap of two pieces, as it is stated for pairs.
inline bool overlap(PatchTex const& a, PatchTex const& b, int gap)
{
    return a.atlas_x <= b.atlas_x + (b.max_x - b.min_x) + gap &&
           a.atlas_x + (a.max_x - a.min_x) + gap >= b.atlas_x &&
           a.atlas_y <= b.atlas_y + (b.max_y - b.min_y) + gap &&
           a.atlas_y + (a.max_y - a.min_y) + gap >= b.atlas_y;
}

inline std::array<Vector2i, 3> places_at(PatchTex const& piece, int gap)
{
    int const right = piece.atlas_x + piece.width() + gap;
    int const below = piece.atlas_y + piece.height() + gap;
    return {Vector2i(piece.atlas_x, below), Vector2i(right, piece.atlas_y), Vector2i(right, below)};
}

/// Tries all places of all pieces, and compares with all pieces.
inline bool place_plainly(std::vector<PatchTex> const& placed, PatchTex& next, int gap)
{
    for (PatchTex const& before : placed)
    {
        for (Vector2i const& place : places_at(before, gap))
        {
            next.atlas_x = place.x();
            next.atlas_y = place.y();
            if (std::none_of(placed.begin(), placed.end(),
                             [&](PatchTex const& other) { return overlap(next, other, gap); }))
            {
                return true;
            }
        }
    }
    return false;
}

/// (height, width) of all pieces.
inline Vector2i size_of_all(std::vector<PatchTex> const& placed)
{
    Vector2i size(0, 0);
    for (PatchTex const& record : placed)
    {
        size = size.cwiseMax(
            Vector2i(record.atlas_y + record.height(), record.atlas_x + record.width()));
    }
    return size;
}

/// A place (column, row) for one pixel at one of the first `n` pieces, inside a size.
inline std::optional<Vector2i> find_pixel_plainly(std::vector<PatchTex> const& placed,
                                                  std::size_t n, int gap, Vector2i const& size)
{
    for (std::size_t i = 0; i < n; ++i)
    {
        for (Vector2i const& place : places_at(placed[i], gap))
        {
            PatchTex cell; // of one pixel
            cell.atlas_x = place.x();
            cell.atlas_y = place.y();
            if (place.x() < size.y() && place.y() < size.x() &&
                std::none_of(placed.begin(), placed.end(),
                             [&](PatchTex const& other) { return overlap(cell, other, gap); }))
            {
                return place;
            }
        }
    }
    return {};
}

/// The numbers of pieces, the high ones first, of equally high ones the wide ones, of equal ones
/// the first.
inline std::vector<std::size_t> high_ones_first(std::vector<PatchTex> const& pieces)
{
    std::vector<std::size_t> order;
    for (std::size_t next = 0; next < pieces.size(); ++next)
    {
        auto const is_before = [&](std::size_t i)
        {
            return pieces[i].height() > pieces[next].height() ||
                   (pieces[i].height() == pieces[next].height() &&
                    pieces[i].width() >= pieces[next].width());
        };
        std::size_t rank = 0;
        while (rank < order.size() && is_before(order[rank]))
        {
            ++rank;
        }
        order.insert(order.begin() + static_cast<std::ptrdiff_t>(rank), next);
    }
    return order;
}

} // namespace veld_test::reference
