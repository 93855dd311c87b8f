#pragma once

#include "algorithmVeld/common/RangeData.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace OrvaneAlgorithm::detail
{

/// The vertex of each cell of a frame's grid, as `RangeData::create_vertices_index_map` has it, in
/// memory that grows with the vertices and not with the grid: a frame says how large its grid is,
/// and a few bytes can say that it is huge.
///
/// What lies between the first and the last row and column with a vertex is an array, unless nearly
/// all of it would be empty. Then the cells that have a vertex are a sorted list.
class GridMap
{
public:
    explicit GridMap(RangeData const& frame) : n_(std::min(frame.get_vn(), frame.vUV.size()))
    {
        measure(frame);
        if (rows_ * columns_ <= MOST_CELLS_A_VERTEX * n_used_ + SMALL_GRID)
        {
            fill_array(frame);
        }
        else
        {
            fill_list(frame);
        }
    }

    /// The vertex of a cell; -1 where there is none, and outside the grid.
    int operator()(long long row, long long column) const
    {
        // What lies above or left of the first cell becomes a huge number.
        auto const r = static_cast<std::uint64_t>(row) - static_cast<std::uint64_t>(first_row_);
        auto const c =
            static_cast<std::uint64_t>(column) - static_cast<std::uint64_t>(first_column_);
        if (r >= rows_ || c >= columns_)
        {
            return -1;
        }
        std::uint64_t const cell = r * columns_ + c;
        return array_.empty() ? find(cell) : array_[static_cast<std::size_t>(cell)];
    }

private:
    /// Scans of objects fill a tenth of their grid and more. An entry of the list takes as much as
    /// four cells of the array, so no map takes much more than the vertices themselves.
    static constexpr std::uint64_t MOST_CELLS_A_VERTEX = 16;
    static constexpr std::uint64_t SMALL_GRID = 1U << 16U;

    struct Entry
    {
        std::uint64_t cell = 0;
        int vertex = 0;

        bool operator<(Entry const& other) const { return cell < other.cell; }
    };

    /// Runs `use(i, row, column)` for the vertices in cells of the grid.
    template <typename Use>
    void for_each_vertex(RangeData const& frame, Use const& use) const
    {
        for (std::size_t i = 0; i < n_; ++i)
        {
            auto const [row, col] = frame.vUV[i];
            if (row >= 0 && row < frame.grid_rows && col >= 0 && col < frame.grid_cols)
            {
                use(i, row, col);
            }
        }
    }

    void measure(RangeData const& frame)
    {
        int last_row = -1;
        int last_column = -1;
        first_row_ = first_column_ = std::numeric_limits<int>::max();
        for_each_vertex(frame,
                        [&](std::size_t, int row, int column)
                        {
                            ++n_used_;
                            first_row_ = std::min(first_row_, row);
                            last_row = std::max(last_row, row);
                            first_column_ = std::min(first_column_, column);
                            last_column = std::max(last_column, column);
                        });
        if (n_used_ > 0)
        {
            rows_ = static_cast<std::uint64_t>(last_row - first_row_) + 1;
            columns_ = static_cast<std::uint64_t>(last_column - first_column_) + 1;
        }
    }

    std::uint64_t cell_of(int row, int column) const
    {
        return static_cast<std::uint64_t>(row - first_row_) * columns_ +
               static_cast<std::uint64_t>(column - first_column_);
    }

    void fill_array(RangeData const& frame)
    {
        array_.assign(static_cast<std::size_t>(rows_ * columns_), -1);
        for_each_vertex(
            frame, [&](std::size_t i, int row, int column)
            { array_[static_cast<std::size_t>(cell_of(row, column))] = static_cast<int>(i); });
    }

    void fill_list(RangeData const& frame)
    {
        list_.reserve(n_used_);
        for_each_vertex(frame,
                        [&](std::size_t i, int row, int column) {
                            list_.push_back({cell_of(row, column), static_cast<int>(i)});
                        });
        std::stable_sort(list_.begin(), list_.end());
    }

    /// Of several vertices in a cell the last one.
    int find(std::uint64_t cell) const
    {
        auto const behind = std::upper_bound(list_.begin(), list_.end(), Entry{cell, 0});
        return behind != list_.begin() && (behind - 1)->cell == cell ? (behind - 1)->vertex : -1;
    }

    std::size_t n_;
    std::size_t n_used_ = 0;
    int first_row_ = 0;
    int first_column_ = 0;
    std::uint64_t rows_ = 0;
    std::uint64_t columns_ = 0;
    std::vector<int> array_;
    std::vector<Entry> list_;
};

} // namespace OrvaneAlgorithm::detail
