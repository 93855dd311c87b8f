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
using PixelList = std::vector<std::size_t>;

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

/// Takes pieces of few pixels out. \param pixels those of the mask, and others
/// \return how many pixels are left
std::size_t remove_scraps(DepthGrid const& grid, PixelList const& pixels, PixelMask& mask)
{
    PixelMask is_open = mask;
    PixelList piece;
    std::size_t left = 0;
    for (std::size_t const start : pixels)
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
    PixelList ring;
    for (std::size_t i = 0; i < mask.size(); ++i)
    {
        if (mask[i] == 1)
        {
            ring.push_back(i);
        }
    }
    PixelList next;
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

/// Whether a pixel is none of the border of its grid, and all around it satisfy `is_alike(j)`.
template <typename IsAlike>
bool is_inside(DepthGrid const& grid, std::size_t i, IsAlike const& is_alike)
{
    auto const columns = static_cast<std::size_t>(grid.columns);
    std::size_t const row = i / columns;
    std::size_t const column = i % columns;
    if (row == 0 || column == 0 || row + 1 == static_cast<std::size_t>(grid.rows) ||
        column + 1 == columns)
    {
        return false;
    }
    for (std::size_t const j : {i - columns - 1, i - columns, i - columns + 1, i - 1, i + 1,
                                i + columns - 1, i + columns, i + columns + 1})
    {
        if (!is_alike(j))
        {
            return false;
        }
    }
    return true;
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
            PlaceTolerance const& tolerance)
        : grids_(grids),
          is_best_(is_best),
          tolerance_(tolerance),
          stays_(grids.size()),
          open_(grids.size()),
          tested_(grids.size(), 0),
          bound_(grids.size())
    {
        for (std::size_t f = 0; f < grids.size(); ++f)
        {
            stays_[f].assign(grids[f].size(), 0);
            for (std::size_t i = 0; i < grids[f].size(); ++i)
            {
                if (grids[f].vertex[i] >= 0)
                {
                    open_[f].push_back(i);
                }
            }
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
        Vector3f low; ///< Corners of the box around it.
        Vector3f high;

        bool is_near(Vector3f const& place, float distance) const
        {
            return (place.array() >= low.array() - distance).all() &&
                   (place.array() <= high.array() + distance).all();
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
            *most = remove_scraps(grids_[f], open_[f], fresh);
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
        update_open(f);
        DepthGrid const& grid = grids_[f];
        PixelMask counts(grid.size(), 0);
        for (std::size_t const i : open_[f])
        {
            counts[i] = !only_best || is_best_[f][i] == 1 ? 1 : 0;
        }
        PixelMask fresh(grid.size(), 0);
        for (std::size_t const i : open_[f])
        {
            fresh[i] = counts[i] == 1 && is_inside(grid, i,
                                                   [&](std::size_t j) {
                                                       return counts[j] == 1 || grid.vertex[j] < 0;
                                                   });
        }
        return fresh;
    }

    /// Compares a frame with the patches that came since it was last looked at.
    void update_open(std::size_t f)
    {
        PixelList& open = open_[f];
        std::size_t const first = tested_[f];
        PixelMask is_open(open.size());
        auto const test = [&](std::ptrdiff_t begin, std::ptrdiff_t end)
        {
            for (auto k = static_cast<std::size_t>(begin); k < static_cast<std::size_t>(end); ++k)
            {
                is_open[k] = stays_[f][open[k]] == 0 && !is_covered(f, open[k], first) ? 1 : 0;
            }
        };
        // Threads that wait for the next call take more time than a few patches do.
        auto const n = static_cast<std::ptrdiff_t>(open.size());
        patches_.size() - first < WORTH_THREADS ? test(0, n) : parallel_for_blocks(n, test);
        std::size_t left = 0;
        for (std::size_t k = 0; k < open.size(); ++k)
        {
            open[left] = open[k];
            left += static_cast<std::size_t>(is_open[k]);
        }
        open.resize(left);
        tested_[f] = patches_.size();
    }

    /// \param first patch to look at
    bool is_covered(std::size_t f, std::size_t i, std::size_t first) const
    {
        SeenPoint const& seen = grids_[f].seen[i];
        float const tolerance = tolerance_.at(seen);
        return std::any_of(patches_.begin() + static_cast<std::ptrdiff_t>(first), patches_.end(),
                           [&](Patch const& patch)
                           {
                               return patch.frame != f &&
                                      patch.is_near(seen.point, REACH_OF_PATCH * tolerance) &&
                                      covers_place(grids_[patch.frame], patch.stays, seen.point,
                                                   seen.normal, tolerance);
                           });
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
        patches_.push_back({f, patch, low, high});
        std::transform(patch.begin(), patch.end(), stays_[f].begin(), stays_[f].begin(),
                       [](char a, char b) { return std::max(a, b); });
    }

    std::vector<DepthGrid> const& grids_;
    std::vector<PixelMask> const& is_best_;
    PlaceTolerance tolerance_;
    std::vector<PixelMask> stays_;
    std::vector<PixelList> open_;     ///< pixels of each frame that no patch was seen to cover
    std::vector<std::size_t> tested_; ///< with how many patches each frame was compared
    std::vector<std::size_t> bound_;  ///< of what each frame can add
    std::vector<Patch> patches_;
};

} // namespace

std::vector<PixelMask> choose_cover(std::vector<DepthGrid> const& grids,
                                    std::vector<PixelMask> const& is_best,
                                    PlaceTolerance const& tolerance)
{
    return Chooser(grids, is_best, tolerance).run();
}

} // namespace OrvaneAlgorithm::detail
