#include "algorithmVeld/reconstruction/overlap/FrameSurface.h"

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/geometry/unit_vector.h"
#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>

namespace OrvaneAlgorithm::detail
{

namespace
{

using Corners = std::array<int, 4>;

/// Step to each neighbour, round from the right: row, column.
constexpr std::array<std::array<int, 2>, 8> STEPS = {
    {{{0, 1}}, {{1, 1}}, {{1, 0}}, {{1, -1}}, {{0, -1}}, {{-1, -1}}, {{-1, 0}}, {{-1, 1}}}};

/// Fills in the part of the list that is a frame's own.
class FrameLister
{
public:
    FrameLister(RangeData const& frame, std::size_t number, double longest_edge, int deepest,
                FrameSurface& surface)
        : frame_(frame),
          n_(frame.get_vn()),
          first_(surface.first[number]),
          longest_edge_(longest_edge),
          deepest_(deepest),
          surface_(surface),
          map_(frame)
    {
        std::fill_n(surface.frame.begin() + static_cast<std::ptrdiff_t>(first_), n_,
                    static_cast<int>(number));
    }

    void run()
    {
        // Channels reach to the last point; the access that tells so throws.
        if (n_ > 0)
        {
            frame_.get_vNrv(n_ - 1);
            at(frame_.vUV, n_ - 1);
            at(frame_.cellFlag, n_ - 1);
        }
        place_points();
        for (std::size_t i = 0; i < n_; ++i)
        {
            poll_.next();
            surface_.cell[first_ + i] = is_surface(i) ? 1 : 0;
        }
        for (std::size_t i = 0; i < n_; ++i)
        {
            poll_.next();
            look_around(i);
        }
        measure_depth();
    }

private:
    void place_points()
    {
        for (std::size_t i = 0; i < n_; ++i)
        {
            poll_.next();
            frame_.get_global_vCoord(i, surface_.point[first_ + i]);
            surface_.normal[first_ + i] = unit_or_zero(frame_.get_global_vNrv(i).cast<double>());
        }
    }

    Corners corners(long long r, long long c) const
    {
        return {{map_(r, c), map_(r, c + 1), map_(r + 1, c + 1), map_(r + 1, c)}};
    }

    Vector3f const& position(int vertex) const
    {
        return surface_.point[first_ + static_cast<std::size_t>(vertex)];
    }

    /// Whether the flagged cell that starts at a vertex is complete and not stretched.
    bool is_surface(std::size_t i) const
    {
        if (frame_.cellFlag[i] != 1)
        {
            return false;
        }
        auto const& uv = frame_.vUV[i];
        auto const corner = corners(uv.row, uv.col);
        if (corner[0] != static_cast<int>(i))
        {
            return false;
        }
        for (std::size_t k = 0; k < 4; ++k)
        {
            int const a = corner[k];
            int const b = corner[(k + 1) % 4];
            if (a < 0 || b < 0 ||
                !((position(a) - position(b)).cast<double>().norm() <= longest_edge_))
            {
                return false;
            }
        }
        return true;
    }

    /// Whether the cell with its first corner at a place of the grid is surface.
    bool is_surface_at(long long row, long long col) const
    {
        int const vertex = map_(row, col);
        return vertex >= 0 && surface_.cell[first_ + static_cast<std::size_t>(vertex)] == 1;
    }

    double area_at(long long row, long long col) const
    {
        auto const c = corners(row, col);
        return 0.5 * (position(c[2]) - position(c[0]))
                         .cast<double>()
                         .cross((position(c[3]) - position(c[1])).cast<double>())
                         .norm();
    }

    /// Finds the neighbours of a vertex, and how large the cells around it are.
    void look_around(std::size_t i)
    {
        auto& neighbours = surface_.neighbours[first_ + i];
        neighbours.fill(-1);
        long long const r = frame_.vUV[i].row;
        long long const c = frame_.vUV[i].col;
        if (map_(r, c) != static_cast<int>(i))
        {
            return;
        }
        double area = 0.0;
        int cells = 0;
        // The cell between two steps along the axes holds the three neighbours from one to the
        // other.
        for (std::size_t k = 0; k < STEPS.size(); k += 2)
        {
            auto const [down, right] = STEPS[k + 1];
            long long const row = std::min<long long>(r, r + down);
            long long const col = std::min<long long>(c, c + right);
            if (!is_surface_at(row, col))
            {
                continue;
            }
            area += area_at(row, col);
            ++cells;
            for (std::size_t m = k; m < k + 3; ++m)
            {
                auto const& step = STEPS[m % STEPS.size()];
                neighbours[m % STEPS.size()] =
                    static_cast<int>(first_) + map_(r + step[0], c + step[1]);
            }
        }
        surface_.spacing[first_ + i] =
            cells > 0 ? static_cast<float>(std::sqrt(area / cells)) : 0.0F;
        surface_.depth[first_ + i] = cells == 4 ? deepest_ : 0;
    }

    /// Counts the steps to the border, ring by ring from there.
    void measure_depth()
    {
        std::vector<int> ring;
        for (std::size_t i = first_; i < first_ + n_; ++i)
        {
            if (surface_.depth[i] == 0)
            {
                ring.push_back(static_cast<int>(i));
            }
        }
        std::vector<int> next;
        for (int depth = 1; depth < deepest_ && !ring.empty(); ++depth)
        {
            next.clear();
            for (int const i : ring)
            {
                poll_.next();
                for (int const j : surface_.neighbours[static_cast<std::size_t>(i)])
                {
                    if (j >= 0 && surface_.depth[static_cast<std::size_t>(j)] > depth)
                    {
                        surface_.depth[static_cast<std::size_t>(j)] = depth;
                        next.push_back(j);
                    }
                }
            }
            ring.swap(next);
        }
    }

    RangeData const& frame_;
    std::size_t n_;
    std::size_t first_;
    double longest_edge_;
    int deepest_;
    FrameSurface& surface_;
    GridMap map_;
    CancelPoll poll_;
};

/// Takes cells away until none meets another in a corner alone.
class PinchRemoval
{
public:
    PinchRemoval(FrameSurface const& surface, std::vector<char>& cells)
        : surface_(surface), cells_(cells)
    {
    }

    void run(std::size_t first, std::size_t last)
    {
        CancelPoll poll;
        for (std::size_t i = first; i < last; ++i)
        {
            poll.next();
            open_.push_back(static_cast<int>(i));
            while (!open_.empty())
            {
                auto const point = static_cast<std::size_t>(open_.back());
                open_.pop_back();
                check(point);
            }
        }
    }

private:
    /// Takes the later cell away if two are left at a point, across from each other.
    void check(std::size_t i)
    {
        auto const& n = surface_.neighbours[i];
        // Round the point: the cells that start there, left of it, left above, above.
        std::array<int, 4> const starts = {{static_cast<int>(i), n[4], n[5], n[6]}};
        std::array<bool, 4> left{};
        for (std::size_t k = 0; k < 4; ++k)
        {
            left[k] = starts[k] >= 0 && cells_[static_cast<std::size_t>(starts[k])] == 1;
        }
        if (left[0] == left[2] && left[1] == left[3] && left[0] != left[1])
        {
            take(static_cast<std::size_t>(left[0] ? starts[0] : starts[1]));
        }
    }

    void take(std::size_t cell)
    {
        cells_[cell] = 0;
        auto const& n = surface_.neighbours[cell];
        open_.insert(open_.end(), {static_cast<int>(cell), n[0], n[1], n[2]});
    }

    FrameSurface const& surface_;
    std::vector<char>& cells_;
    std::vector<int> open_;
};

} // namespace

std::vector<char> cells_left(FrameSurface const& surface, std::vector<char> const& stays)
{
    std::vector<char> cells(surface.size(), 0);
    for_each_index(surface.first.size() - 1,
                   [&](std::size_t f)
                   {
                       auto const first = surface.first[f];
                       auto const last = surface.first[f + 1];
                       for (std::size_t i = first; i < last; ++i)
                       {
                           auto const& n = surface.neighbours[i];
                           auto const stay = [&](int j)
                           { return stays[static_cast<std::size_t>(j)] == 1; };
                           cells[i] = surface.cell[i] == 1 && stays[i] == 1 && stay(n[0]) &&
                                              stay(n[1]) && stay(n[2])
                                          ? 1
                                          : 0;
                       }
                       PinchRemoval(surface, cells).run(first, last);
                   });
    return cells;
}

FrameSurface list_frame_surface(std::vector<RangeData const*> const& ranges, double longest_edge,
                                int deepest)
{
    FrameSurface surface;
    std::size_t n = 0;
    for (auto const* frame : ranges)
    {
        surface.first.push_back(n);
        n += frame->get_vn();
    }
    surface.first.push_back(n);
    surface.frame.resize(n);
    surface.point.resize(n);
    surface.normal.resize(n);
    surface.spacing.resize(n, 0.0F);
    surface.depth.resize(n, 0);
    surface.neighbours.resize(n);
    surface.cell.resize(n, 0);
    for_each_index(ranges.size(), [&](std::size_t i)
                   { FrameLister(*ranges[i], i, longest_edge, deepest, surface).run(); });
    return surface;
}

} // namespace OrvaneAlgorithm::detail
