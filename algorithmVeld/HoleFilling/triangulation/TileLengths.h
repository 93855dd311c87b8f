#pragma once

#include "algorithmVeld/HoleFilling/triangulation/SplitTables.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// Lengths from the corners of a tile to those between them, for splits whose areas are computed
/// side by side. They are computed when they are asked for, and then serve the whole tile.
class TileLengths
{
public:
    TileLengths(std::vector<Vector3f> const& points, SplitTables const& tables, std::size_t side)
        : points_(&points),
          tables_(&tables),
          row_size_(tables.size() / tables.stride() + 1),
          rows_(side * row_size_),
          row_corner_(side, NO_CORNER),
          column_(tables.size()),
          column_corner_(tables.stride(), NO_CORNER)
    {
    }

    /// Goes to the tile of the rows from `first_i` on and the columns before `end_j`.
    void enter(std::size_t first_i, std::size_t end_j)
    {
        first_i_ = first_i;
        end_j_ = end_j;
        std::fill(row_corner_.begin(), row_corner_.end(), NO_CORNER);
        std::fill(column_corner_.begin(), column_corner_.end(), NO_CORNER);
    }

    /// Lengths from corner i to the corners i + 1, i + 1 + stride, ..
    float const* row(std::size_t i)
    {
        float* const row = &rows_[(i - first_i_) * row_size_];
        if (row_corner_[i - first_i_] != i)
        {
            row_corner_[i - first_i_] = i;
            measure(i, i + 1, end_j_, row);
        }
        return row;
    }

    /// Lengths from corner j to the corners m, m + stride, ..
    float const* column(std::size_t j, std::size_t m)
    {
        std::size_t const stride = tables_->stride();
        std::size_t const first = first_i_ + 1 + (m - first_i_ - 1) % stride;
        if (column_corner_[m % stride] != j)
        {
            column_corner_[m % stride] = j;
            measure(j, first, j, &column_[tables_->place(first)]);
        }
        return &column_[tables_->place(m)];
    }

private:
    static constexpr std::size_t NO_CORNER = std::numeric_limits<std::size_t>::max();

    /// Lengths from a corner to the corners first, first + stride, .. before end.
    void measure(std::size_t corner, std::size_t first, std::size_t end, float* lengths) const
    {
        Vector3f const p = (*points_)[corner];
        auto const [xs, ys, zs] = tables_->coordinates(first);
        std::size_t const count = (end - first + tables_->stride() - 1) / tables_->stride();
        for (std::size_t k = 0; k < count; ++k)
        {
            float const x = xs[k] - p.x();
            float const y = ys[k] - p.y();
            float const z = zs[k] - p.z();
            lengths[k] = std::sqrt(x * x + (y * y + z * z)); // as the norm of a vector is computed
        }
    }

    std::vector<Vector3f> const* points_;
    SplitTables const* tables_;
    std::size_t row_size_;
    std::size_t first_i_ = 0;
    std::size_t end_j_ = 0;
    std::vector<float> rows_;
    std::vector<std::size_t> row_corner_; ///< Whose lengths a row has.
    std::vector<float> column_;
    std::vector<std::size_t> column_corner_; ///< The same for each remainder.
};

} // namespace OrvaneAlgorithm::detail
