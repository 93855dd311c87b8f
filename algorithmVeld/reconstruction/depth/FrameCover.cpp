#include "algorithmVeld/reconstruction/depth/FrameCover.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Fewer new pixels in one piece, its rim left out, are a scrap.
constexpr std::size_t LEAST_PIECE = 24;
/// Steps by which a patch grows beyond what is new: the rim that was left out, and the overlap.
constexpr int PATCH_OVERLAP = 5;
constexpr float COVER_COSINE = 0.7F;
/// In tolerances: farther from a patch than this, along a view aslant, it covers nothing.
constexpr float REACH_OF_PATCH = 2.0F;

/// So many patches at once are looked for by all threads.
constexpr std::size_t WORTH_THREADS = 4;

using PixelMask = std::vector<char>;

/// Runs `visit(j)` for the neighbours of a pixel on its surface, to the sides, up and down.
template <typename Visit>
void visit_neighbours(DepthGrid const& grid, std::size_t i, Visit const& visit)
{
    auto const columns = static_cast<std::size_t>(grid.columns);
    auto const row = static_cast<int>(i / columns);
    auto const column = static_cast<int>(i % columns);
    auto const is_cell = [&](int r, int c)
    { return r >= 0 && c >= 0 && grid.cell[grid.index(r, c)] == 1; };
    if (is_cell(row, column) || is_cell(row - 1, column))
    {
        visit(i + 1);
    }
    if (is_cell(row, column - 1) || is_cell(row - 1, column - 1))
    {
        visit(i - 1);
    }
    if (is_cell(row, column) || is_cell(row, column - 1))
    {
        visit(i + columns);
    }
    if (is_cell(row - 1, column) || is_cell(row - 1, column - 1))
    {
        visit(i - columns);
    }
}

/// Takes pieces of few pixels out. \return how many pixels are left
std::size_t remove_scraps(DepthGrid const& grid, PixelMask& mask)
{
    PixelMask is_open = mask;
    std::vector<std::size_t> piece;
    std::size_t left = 0;
    for (std::size_t start = 0; start < mask.size(); ++start)
    {
        if (is_open[start] == 0)
        {
            continue;
        }
        piece.assign(1, start);
        is_open[start] = 0;
        for (std::size_t k = 0; k < piece.size(); ++k)
        {
            visit_neighbours(grid, piece[k],
                             [&](std::size_t j)
                             {
                                 if (is_open[j] == 1)
                                 {
                                     is_open[j] = 0;
                                     piece.push_back(j);
                                 }
                             });
        }
        if (piece.size() < LEAST_PIECE)
        {
            for (std::size_t const i : piece)
            {
                mask[i] = 0;
            }
            continue;
        }
        left += piece.size();
    }
    return left;
}

/// Lets a mask grow over the surface.
void grow_mask(DepthGrid const& grid, PixelMask& mask, int steps)
{
    std::vector<std::size_t> ring;
    for (std::size_t i = 0; i < mask.size(); ++i)
    {
        if (mask[i] == 1)
        {
            ring.push_back(i);
        }
    }
    std::vector<std::size_t> next;
    for (int step = 0; step < steps; ++step)
    {
        next.clear();
        for (std::size_t const i : ring)
        {
            visit_neighbours(grid, i,
                             [&](std::size_t j)
                             {
                                 if (mask[j] == 0)
                                 {
                                     mask[j] = 1;
                                     next.push_back(j);
                                 }
                             });
        }
        ring.swap(next);
    }
}

/// Whether the part of a frame that stays covers a place.
bool covers_place(DepthGrid const& grid, PixelMask const& stays, Vector3f const& point,
                  Vector3f const& normal, float tolerance)
{
    GridPlace const place = find_place(grid, point);
    if (place.row < 0)
    {
        return false;
    }
    std::size_t const first = grid.index(place.row, place.column);
    auto const columns = static_cast<std::size_t>(grid.columns);
    std::array<std::size_t, 4> const corners = {
        {first, first + 1, first + columns, first + columns + 1}};
    bool const is_surface =
        grid.cell[first] == 1 &&
        std::all_of(corners.begin(), corners.end(), [&](std::size_t i) { return stays[i] == 1; });
    std::size_t const nearest =
        corners[(place.down > 0.5F ? 2U : 0U) + (place.right > 0.5F ? 1U : 0U)];
    return is_surface && grid.seen[nearest].normal.dot(normal) >= COVER_COSINE &&
           std::abs(grid.seen[nearest].normal.dot(grid.seen[nearest].point - point)) <= tolerance;
}

class Chooser
{
public:
    Chooser(std::vector<DepthGrid> const& grids, std::vector<PixelMask> const& is_best,
            double tolerance)
        : grids_(grids),
          is_best_(is_best),
          tolerance_(static_cast<float>(tolerance)),
          stays_(grids.size()),
          covered_(grids.size()),
          tested_(grids.size(), 0),
          bound_(grids.size())
    {
        for (std::size_t f = 0; f < grids.size(); ++f)
        {
            stays_[f].assign(grids[f].size(), 0);
            covered_[f].assign(grids[f].size(), 0);
        }
    }

    std::vector<PixelMask> run()
    {
        for (bool const only_best : {true, false})
        {
            ProgressPart const part(only_best ? 0.0 : 0.6, only_best ? 0.6 : 1.0);
            std::transform(grids_.begin(), grids_.end(), bound_.begin(),
                           [](DepthGrid const& grid) { return grid.size(); });
            while (add_patch(only_best))
            {
            }
        }
        return std::move(stays_);
    }

private:
    struct Patch
    {
        std::size_t frame;
        PixelMask stays;
        Vector3f low; ///< Corners of a box around it, within which it covers places.
        Vector3f high;

        bool reaches(Vector3f const& place) const
        {
            return (place.array() >= low.array()).all() && (place.array() <= high.array()).all();
        }
    };

    /// Adds the patch that covers the most, of equals that of the first frame. What a frame can add
    /// becomes less with each patch, so what it could before is a bound. \return false if none is
    /// left
    bool add_patch(bool only_best)
    {
        for (;;)
        {
            poll_cancel();
            auto const most = std::max_element(bound_.begin(), bound_.end());
            if (*most < LEAST_PIECE)
            {
                return false;
            }
            auto const f = static_cast<std::size_t>(most - bound_.begin());
            PixelMask fresh = find_fresh(f, only_best);
            *most = remove_scraps(grids_[f], fresh);
            if (*most >= LEAST_PIECE && most == std::max_element(bound_.begin(), bound_.end()))
            {
                grow_mask(grids_[f], fresh, PATCH_OVERLAP);
                *most = 0;
                keep(f, fresh);
                return true;
            }
        }
    }

    /// What no patch covers, without its rim along what they do: slivers there are no gain.
    PixelMask find_fresh(std::size_t f, bool only_best)
    {
        update_covered(f);
        DepthGrid const& grid = grids_[f];
        PixelMask fresh(grid.size());
        PixelMask fresh_or_empty(grid.size());
        for (std::size_t i = 0; i < fresh.size(); ++i)
        {
            bool const is_empty = grid.vertex[i] < 0;
            bool const counts = !is_empty && covered_[f][i] == 0 && stays_[f][i] == 0 &&
                                (!only_best || is_best_[f][i] == 1);
            fresh[i] = counts ? 1 : 0;
            fresh_or_empty[i] = counts || is_empty ? 1 : 0;
        }
        auto const steps = steps_inside(grid, fresh_or_empty, 2);
        for (std::size_t i = 0; i < fresh.size(); ++i)
        {
            fresh[i] = fresh[i] == 1 && steps[i] >= 2 ? 1 : 0;
        }
        return fresh;
    }

    /// Compares a frame with the patches that came since it was last looked at.
    void update_covered(std::size_t f)
    {
        DepthGrid const& grid = grids_[f];
        std::size_t const first = tested_[f];
        // Threads that wait for the next call take more time than a few patches do.
        if (patches_.size() - first < WORTH_THREADS)
        {
            for (int row = 0; row < grid.rows; ++row)
            {
                update_row(f, row, first);
            }
        }
        else
        {
            parallel_for_uneven(grid.rows, [&](std::ptrdiff_t row)
                                { update_row(f, static_cast<int>(row), first); });
        }
        tested_[f] = patches_.size();
    }

    void update_row(std::size_t f, int row, std::size_t first_patch)
    {
        DepthGrid const& grid = grids_[f];
        for (int column = 0; column < grid.columns; ++column)
        {
            std::size_t const i = grid.index(row, column);
            SeenPoint const& seen = grid.seen[i];
            for (std::size_t p = first_patch;
                 p < patches_.size() && grid.vertex[i] >= 0 && covered_[f][i] == 0; ++p)
            {
                covered_[f][i] = patches_[p].frame != f && patches_[p].reaches(seen.point) &&
                                 covers_place(grids_[patches_[p].frame], patches_[p].stays,
                                              seen.point, seen.normal, tolerance_);
            }
        }
    }

    void keep(std::size_t f, PixelMask const& patch)
    {
        DepthGrid const& grid = grids_[f];
        Vector3f low = Vector3f::Constant(std::numeric_limits<float>::max());
        Vector3f high = -low;
        for (std::size_t i = 0; i < patch.size(); ++i)
        {
            if (patch[i] == 1)
            {
                low = low.cwiseMin(grid.seen[i].point);
                high = high.cwiseMax(grid.seen[i].point);
            }
        }
        Vector3f const beside = Vector3f::Constant(REACH_OF_PATCH * tolerance_);
        patches_.push_back({f, patch, low - beside, high + beside});
        std::transform(patch.begin(), patch.end(), stays_[f].begin(), stays_[f].begin(),
                       [](char a, char b) { return std::max(a, b); });
    }

    std::vector<DepthGrid> const& grids_;
    std::vector<PixelMask> const& is_best_;
    float tolerance_;
    std::vector<PixelMask> stays_;
    std::vector<PixelMask> covered_;
    std::vector<std::size_t> tested_; ///< with how many patches each frame was compared
    std::vector<std::size_t> bound_;  ///< of what each frame can add
    std::vector<Patch> patches_;
};

} // namespace

std::vector<PixelMask> choose_cover(std::vector<DepthGrid> const& grids,
                                    std::vector<PixelMask> const& is_best, double tolerance)
{
    return Chooser(grids, is_best, tolerance).run();
}

} // namespace OrvaneAlgorithm::detail
