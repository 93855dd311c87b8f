#include "algorithmVeld/reconstruction/FrameOverlap.h"

#include "algorithmVeld/common/arrays/GridMap.h"
#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/arrays/checked.h"
#include "algorithmVeld/common/geometry/angles.h"
#include "algorithmVeld/common/geometry/unit_vector.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/TimedStages.h"
#include "algorithmVeld/reconstruction/frames/FrameChoice.h"
#include "algorithmVeld/reconstruction/frames/FrameTriangulation.h"
#include "algorithmVeld/reconstruction/overlap/FrameSurface.h"
#include "algorithmVeld/reconstruction/overlap/LayerAverage.h"
#include "algorithmVeld/reconstruction/overlap/OverlapChoice.h"
#include "algorithmVeld/reconstruction/overlap/OverlapSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace OrvaneAlgorithm
{

namespace
{

constexpr detail::TimedStages OVERLAP("frame-overlap");

bool fits_numbering(std::vector<RangeData const*> const& ranges)
{
    std::size_t left = std::numeric_limits<int>::max();
    return std::all_of(ranges.begin(), ranges.end(),
                       [&](RangeData const* frame)
                       {
                           bool const fits = frame->get_vn() <= left;
                           left -= fits ? frame->get_vn() : 0;
                           return fits;
                       });
}

/// Whether frames can be worked on; the log tells why not.
bool are_usable(std::vector<RangeData const*> const& ranges)
{
    if (!detail::have_normals(ranges))
    {
        return false;
    }
    if (!fits_numbering(ranges))
    {
        detail::log("  too many points.\n");
        return false;
    }
    return true;
}

void log_counts(std::vector<FrameOverlap::FrameCounts> const& counts)
{
    std::size_t points = 0;
    std::size_t removed = 0;
    for (std::size_t f = 0; f < counts.size(); ++f)
    {
        detail::log("  range %zu: %zu of %zu points removed, %zu overlapped\n", f,
                    counts[f].removed, counts[f].points, counts[f].overlapped);
        points += counts[f].points;
        removed += counts[f].removed;
    }
    detail::log("  removed points: %zu of %zu\n", removed, points);
}

/// Runs `work(f)` for each frame in parallel.
template <typename Work>
void for_each_frame(std::vector<RangeData const*> const& ranges, Work const& work)
{
    detail::for_each_index(ranges.size(), work);
}

/// Distances from evenly spread points of a frame to their neighbours to the right and below.
std::vector<double> grid_distances(RangeData const& frame)
{
    constexpr std::size_t SAMPLES = 2000;
    detail::GridMap const map(frame);
    std::vector<double> distances;
    std::size_t const n = std::min(frame.get_vn(), frame.vUV.size());
    std::size_t const step = std::max<std::size_t>(1, n / SAMPLES);
    auto const add = [&](std::size_t i, long long row, long long col)
    {
        int const vertex = map(row, col);
        if (vertex >= 0)
        {
            auto const other = static_cast<std::size_t>(vertex);
            double const distance =
                (frame.vCoord[other].cast<double>() - frame.vCoord[i].cast<double>()).norm();
            // NaN has no place in an order.
            if (std::isfinite(distance))
            {
                distances.push_back(distance);
            }
        }
    };
    for (std::size_t i = 0; i < n; i += step)
    {
        auto const [row, col] = frame.vUV[i];
        add(i, row, col + 1LL);
        add(i, row + 1LL, col);
    }
    return distances;
}

/// Mean distance between neighbours on the grid of a frame; 0 without any. Unlike
/// `RangeData_compute_mean_distance` it leaves jumps of depth out, few of which weigh as much as
/// all the others.
double frame_spacing(RangeData const& frame)
{
    auto distances = grid_distances(frame);
    double const jump = 3.0 * detail::median(distances);
    distances.erase(
        std::remove_if(distances.begin(), distances.end(), [jump](double d) { return d > jump; }),
        distances.end());
    return distances.empty() ? 0.0
                             : std::accumulate(distances.begin(), distances.end(), 0.0) /
                                   static_cast<double>(distances.size());
}

/// Moves the points of a frame along their normals. No shifts leave them where they are.
void shift_points(RangeData& frame, std::vector<float> const& shifts, std::size_t first)
{
    for (std::size_t i = 0; i < frame.get_vn() && !shifts.empty(); ++i)
    {
        float const shift = shifts[first + i];
        if (shift != 0.0F)
        {
            frame.vCoord[i] += shift * detail::unit_or_zero(frame.vNrv[i].cast<double>());
        }
    }
}

/// A copy of a frame with those points only that stay. Flags of its points stay what they are.
RangeData copy_kept(RangeData const& frame, std::size_t first, std::vector<char> const& stays,
                    std::vector<char> const& cells, std::vector<float> const& shifts)
{
    RangeData copy = frame;
    shift_points(copy, shifts, first);
    copy.disable_vFlag();
    copy.enable_vFlag();
    std::vector<unsigned char> flags;
    detail::CancelPoll poll;
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        poll.next();
        copy.set_vDeleted(i, stays[first + i] == 0);
        copy.cellFlag[i] = cells[first + i];
        if (frame.has_vFlag && stays[first + i] == 1)
        {
            flags.push_back(detail::at(frame.vFlag, i));
        }
    }
    copy.squeeze();
    copy.disable_vFlag();
    copy.has_vFlag = frame.has_vFlag;
    copy.vFlag = std::move(flags);
    return copy;
}

FrameOverlap::FrameCounts count(RangeData const& frame, RangeData const& kept,
                                detail::PointLists const& overlap, std::size_t first)
{
    FrameOverlap::FrameCounts counts;
    counts.points = frame.get_vn();
    counts.removed = frame.get_vn() - kept.get_vn();
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        counts.overlapped += overlap.empty(first + i) ? 0 : 1;
    }
    counts.cells = detail::grid_quads(frame).size();
    counts.cells_left = detail::grid_quads(kept).size();
    return counts;
}

/// Copies the frames with what stays of each, and counts it.
std::vector<RangeData> copy_frames(std::vector<RangeData const*> const& ranges,
                                   detail::FrameSurface const& surface,
                                   detail::PointLists const& overlap,
                                   std::vector<char> const& stays, std::vector<float> const& shifts,
                                   std::vector<FrameOverlap::FrameCounts>& counts)
{
    detail::Stages stages({1, 4});
    stages.next();
    auto const cells = detail::cells_left(surface, stays);
    std::vector<RangeData> kept(ranges.size());
    stages.next();
    for_each_frame(ranges,
                   [&](std::size_t f)
                   {
                       kept[f] = copy_kept(*ranges[f], surface.first[f], stays, cells, shifts);
                       counts[f] = count(*ranges[f], kept[f], overlap, surface.first[f]);
                   });
    return kept;
}

/// A frame without points, in the grid and pose of another one.
RangeData emptied(RangeData const& frame)
{
    RangeData empty;
    empty.set_grid_size(frame.grid_rows, frame.grid_cols);
    empty.set_rigidMatrix(frame.get_rigidMatrix());
    empty.has_vNormal = true;
    empty.has_vColor = frame.has_vColor;
    empty.has_vFlag = frame.has_vFlag;
    return empty;
}

/// Frames with those emptied that show nothing but what enough others do.
struct ChosenFrames
{
    std::vector<RangeData> empty;
    std::vector<RangeData const*> list;

    ChosenFrames(std::vector<RangeData const*> const& ranges, double side)
        : empty(ranges.size()), list(ranges)
    {
        auto const stays = detail::choose_frames(ranges, side, detail::PlaceSide::NORMAL);
        for (std::size_t f = 0; f < ranges.size(); ++f)
        {
            if (stays[f] == 0)
            {
                empty[f] = emptied(*ranges[f]);
                list[f] = &empty[f];
            }
        }
    }

    ChosenFrames(ChosenFrames const&) = delete; // the list names frames of its own
    ChosenFrames& operator=(ChosenFrames const&) = delete;
    ~ChosenFrames() = default;

    /// Counts what went with the frames that were emptied.
    void count_emptied(std::vector<RangeData const*> const& ranges,
                       std::vector<FrameOverlap::FrameCounts>& counts) const
    {
        for (std::size_t f = 0; f < ranges.size(); ++f)
        {
            if (list[f] != ranges[f])
            {
                std::size_t const n = ranges[f]->get_vn();
                counts[f] = {n, n, n, detail::grid_quads(*ranges[f]).size(), 0};
            }
        }
    }
};

} // namespace

RetVal FrameOverlap::remove_overlap(std::vector<RangeData const*> const& ranges,
                                    std::vector<RangeData>& result)
{
    detail::log("remove_overlap() ..\n");
    detail::StepTimer const timer("frame-overlap");
    result.clear();
    frame_counts_.clear();
    used_point_spacing_ = 0.0;
    if (!are_usable(ranges))
    {
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({point_spacing_ > 0.0 ? 0.0 : 2.0, 98});
    stages.next();
    double const spacing = point_spacing_ > 0.0 ? point_spacing_ : measure_point_spacing(ranges);
    stages.next();
    detail::log("  point spacing: %g\n", spacing);
    std::vector<FrameCounts> counts(ranges.size());
    ChosenFrames const chosen(ranges, detail::PLACE_OF_SPACING * spacing);
    auto kept = take_out(chosen.list, spacing, counts);
    chosen.count_emptied(ranges, counts);
    log_counts(counts);
    result = std::move(kept);
    frame_counts_ = std::move(counts);
    used_point_spacing_ = spacing;
    return RET_SUCCESS;
}

std::vector<RangeData> FrameOverlap::take_out(std::vector<RangeData const*> const& ranges,
                                              double spacing,
                                              std::vector<FrameCounts>& counts) const
{
    detail::Stages stages({14, 45, 1, 8, 18, averages_layers_ ? 8.0 : 0.0, 14});
    stages.next();
    int const border_cells = std::max(border_cells_, 0);
    detail::OverlapLimits limits;
    limits.spacing = spacing;
    limits.cover_factor = cover_factor_;
    limits.layer_factor = layer_factor_;
    limits.least_cosine = std::cos(detail::radians(normal_angle_thr_));
    auto const surface = OVERLAP.run(
        "list-frames", [&]
        { return detail::list_frame_surface(ranges, long_edge_factor_ * spacing, border_cells); });
    stages.next();
    auto const overlap =
        OVERLAP.run("find-overlap", [&] { return detail::find_overlap(surface, limits); });
    stages.next();
    auto const quality = detail::measure_quality(surface, spacing, border_cells);
    stages.next();
    auto const advantage = OVERLAP.run(
        "compare-frames", [&] { return detail::compare_frames(surface, overlap, quality); });
    stages.next();
    auto const stays = OVERLAP.run("choose-points",
                                   [&] {
                                       return detail::choose_points(surface, overlap, advantage,
                                                                    spacing, gap_factor_ * spacing);
                                   });
    stages.next();
    std::vector<float> shifts;
    if (averages_layers_)
    {
        shifts = OVERLAP.run("average-layers",
                             [&] {
                                 return detail::distances_to_mean(surface, overlap, quality, stays,
                                                                  layer_factor_ * spacing);
                             });
    }
    stages.next();
    return OVERLAP.run("copy-frames", [&]
                       { return copy_frames(ranges, surface, overlap, stays, shifts, counts); });
}

double FrameOverlap::measure_point_spacing(std::vector<RangeData const*> const& ranges)
{
    std::vector<double> spacings(ranges.size(), 0.0);
    for_each_frame(ranges, [&](std::size_t f) { spacings[f] = frame_spacing(*ranges[f]); });
    spacings.erase(
        std::remove_if(spacings.begin(), spacings.end(), [](double s) { return !(s > 0.0); }),
        spacings.end());
    return detail::median(std::move(spacings));
}

} // namespace OrvaneAlgorithm
