#include "algorithmVeld/reconstruction/overlap/OverlapChoice.h"

#include "algorithmVeld/common/running/ParallelFor.h"

#include <algorithm>
#include <cmath>
#include <tuple>

namespace OrvaneAlgorithm::detail
{

namespace
{

/// Rounds of smoothing. Noise in what frames saw would fray the line where they meet.
constexpr int SMOOTHING_ROUNDS = 10;
/// Frames that differ by less are equal: frames of one view, say, which would be mixed by their
/// noise.
constexpr float EQUAL = 0.05F;
constexpr float ALONE = 1.0F;
/// In spacings: a surface that is sampled more densely than one in this counts no more.
constexpr double DENSEST = 1e9;
/// In spacings: how far a point may lie from the neighbour on its own grid that stands for it.
constexpr double NEAR = 2.0;

/// Calls `body(i)` for all points in parallel.
template <typename Body>
void for_each_point(FrameSurface const& surface, Body const& body)
{
    parallel_for_even(static_cast<std::ptrdiff_t>(surface.size()),
                      [&](std::ptrdiff_t i) { body(static_cast<std::size_t>(i)); });
}

/// Mean over a point and its neighbours on the grid, as far as they overlap another frame.
float mean_around(FrameSurface const& surface, PointLists const& overlap,
                  std::vector<float> const& values, std::size_t i)
{
    float sum = values[i];
    int count = 1;
    for (int const j : surface.neighbours[i])
    {
        if (j >= 0 && !overlap.empty(static_cast<std::size_t>(j)))
        {
            sum += values[static_cast<std::size_t>(j)];
            ++count;
        }
    }
    return sum / static_cast<float>(count);
}

/// Takes points away one after the other, and remembers by how many of those that stay the place
/// of each is seen.
class Removal
{
public:
    Removal(FrameSurface const& surface, PointLists const& overlap,
            std::vector<float> const& advantage, double spacing, double gap)
        : surface_(surface),
          overlap_(overlap),
          seen_in_(turn_round(overlap)),
          advantage_(advantage),
          square_near_(static_cast<float>(std::pow(NEAR * spacing, 2))),
          square_gap_(static_cast<float>(gap * gap)),
          stays_(surface.size(), 1),
          seen_by_(surface.size())
    {
        for (std::size_t i = 0; i < surface.size(); ++i)
        {
            seen_by_[i] = static_cast<int>(overlap.first[i + 1] - overlap.first[i]);
        }
    }

    std::vector<char> run()
    {
        auto const order = worst_first();
        LoopProgress progress(2 * order.size());
        for (int const i : order)
        {
            progress.next();
            auto const point = static_cast<std::size_t>(i);
            if (seen_by_[point] > 0 && !is_needed(point))
            {
                set(point, 0);
            }
        }
        for (auto i = order.rbegin(); i != order.rend(); ++i)
        {
            progress.next();
            auto const point = static_cast<std::size_t>(*i);
            if (stays_[point] == 0 && has_neighbour(point) && is_clear(point))
            {
                set(point, 1);
            }
        }
        return std::move(stays_);
    }

private:
    /// -1 for what others saw better, 0 for equals, 1 for what was seen best.
    int rank(std::size_t i) const
    {
        return advantage_[i] < -EQUAL ? -1 : advantage_[i] > EQUAL ? 1 : 0;
    }

    std::vector<int> worst_first() const
    {
        std::vector<int> order;
        CancelPoll poll;
        for (std::size_t i = 0; i < surface_.size(); ++i)
        {
            poll.next();
            if (!overlap_.empty(i))
            {
                order.push_back(static_cast<int>(i));
            }
        }
        auto const key = [this](int i)
        {
            auto const point = static_cast<std::size_t>(i);
            int const r = rank(point);
            return std::make_tuple(r, r == 0 ? -surface_.frame[point] : 0, advantage_[point],
                                   -surface_.frame[point], i);
        };
        CancelPoll sorting;
        std::sort(order.begin(), order.end(),
                  [&](int a, int b)
                  {
                      sorting.next();
                      return key(a) < key(b);
                  });
        return order;
    }

    /// Whether a point that went has this one only beside it.
    bool is_needed(std::size_t i) const
    {
        auto const& neighbours = surface_.neighbours[i];
        return std::any_of(seen_in_.begin(i), seen_in_.end(i),
                           [&](int j) { return relies_on_one(j, 1, 0); }) ||
               std::any_of(neighbours.begin(), neighbours.end(),
                           [&](int j) { return j >= 0 && relies_on_one(j, 0, 1); });
    }

    /// Whether a point that went is seen by so many that stay, and so many near neighbours on its
    /// own grid stay.
    bool relies_on_one(int j, int seen_by, int near) const
    {
        auto const point = static_cast<std::size_t>(j);
        return stays_[point] == 0 && seen_by_[point] == seen_by && near_neighbours(point) == near;
    }

    int near_neighbours(std::size_t i) const
    {
        auto const& neighbours = surface_.neighbours[i];
        return static_cast<int>(std::count_if(
            neighbours.begin(), neighbours.end(),
            [&](int j)
            {
                auto const other = static_cast<std::size_t>(j);
                return j >= 0 && stays_[other] == 1 &&
                       (surface_.point[other] - surface_.point[i]).squaredNorm() <= square_near_;
            }));
    }

    /// Whether a neighbour on the point's own grid stays.
    bool has_neighbour(std::size_t i) const
    {
        auto const& neighbours = surface_.neighbours[i];
        return std::any_of(neighbours.begin(), neighbours.end(),
                           [&](int j)
                           { return j >= 0 && stays_[static_cast<std::size_t>(j)] == 1; });
    }

    /// Whether no point of another frame stays within the gap, and none beside it is inside what
    /// stays of its frame: points in the middle of cells would be clear of their corners.
    bool is_clear(std::size_t i) const
    {
        return std::none_of(overlap_.begin(i), overlap_.end(i),
                            [&](int j)
                            {
                                auto const other = static_cast<std::size_t>(j);
                                return stays_[other] == 1 &&
                                       (square_distance_beside(surface_, i, other) < square_gap_ ||
                                        is_inside(other));
                            });
    }

    bool is_inside(std::size_t i) const
    {
        auto const& neighbours = surface_.neighbours[i];
        return std::all_of(neighbours.begin(), neighbours.end(),
                           [&](int j)
                           { return j >= 0 && stays_[static_cast<std::size_t>(j)] == 1; });
    }

    void set(std::size_t i, char stays)
    {
        stays_[i] = stays;
        int const change = stays == 1 ? 1 : -1;
        std::for_each(seen_in_.begin(i), seen_in_.end(i),
                      [&](int j) { seen_by_[static_cast<std::size_t>(j)] += change; });
    }

    FrameSurface const& surface_;
    PointLists const& overlap_;
    PointLists seen_in_;
    std::vector<float> const& advantage_;
    float square_near_;
    float square_gap_;
    std::vector<char> stays_;
    std::vector<int> seen_by_; ///< how many of each point's list stay
};

} // namespace

std::vector<float> measure_quality(FrameSurface const& surface, double spacing, int border_cells)
{
    std::vector<float> quality(surface.size(), 0.0F);
    for_each_point(surface,
                   [&](std::size_t i)
                   {
                       if (surface.spacing[i] > 0.0F)
                       {
                           double const width = border_cells + 1.0;
                           double const inside = std::min(1.0, (surface.depth[i] + 1.0) / width);
                           // Its square has to be a number that can be compared and weighed.
                           double const ratio =
                               std::min(DENSEST, spacing / static_cast<double>(surface.spacing[i]));
                           quality[i] = static_cast<float>(ratio * ratio * inside);
                       }
                   });
    return quality;
}

std::vector<float> compare_frames(FrameSurface const& surface, PointLists const& overlap,
                                  std::vector<float> const& quality)
{
    std::vector<float> advantage(surface.size(), ALONE);
    poll_cancel();
    for_each_point(surface,
                   [&](std::size_t i)
                   {
                       if (overlap.empty(i))
                       {
                           return;
                       }
                       float best = 0.0F;
                       int frame = -1;
                       for (auto const* j = overlap.begin(i); j != overlap.end(i); ++j)
                       {
                           auto const other = static_cast<std::size_t>(*j);
                           // The nearest point of each frame tells.
                           if (surface.frame[other] != frame)
                           {
                               frame = surface.frame[other];
                               best = std::max(best, quality[other]);
                           }
                       }
                       float const sum = quality[i] + best;
                       advantage[i] = sum > 0.0F ? (quality[i] - best) / sum : 0.0F;
                   });
    std::vector<float> smoothed = advantage;
    for (int round = 0; round < SMOOTHING_ROUNDS; ++round)
    {
        ProgressPart const part(round / double{SMOOTHING_ROUNDS},
                                (round + 1) / double{SMOOTHING_ROUNDS});
        for_each_point(surface,
                       [&](std::size_t i)
                       {
                           if (!overlap.empty(i))
                           {
                               smoothed[i] = mean_around(surface, overlap, advantage, i);
                           }
                       });
        advantage.swap(smoothed);
    }
    return advantage;
}

std::vector<char> choose_points(FrameSurface const& surface, PointLists const& overlap,
                                std::vector<float> const& advantage, double spacing, double gap)
{
    return Removal(surface, overlap, advantage, spacing, gap).run();
}

} // namespace OrvaneAlgorithm::detail
