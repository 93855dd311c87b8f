#include "algorithmVeld/reconstruction/FrameOverlap.h"

#include "algorithmVeld/common/detail/Log.h"
#include "algorithmVeld/common/detail/ParallelFor.h"
#include "algorithmVeld/reconstruction/detail/FrameSurface.h"
#include "algorithmVeld/reconstruction/detail/FrameTriangulation.h"
#include "algorithmVeld/reconstruction/detail/OverlapChoice.h"
#include "algorithmVeld/reconstruction/detail/OverlapSearch.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace OrvaneAlgorithm
{

namespace
{

constexpr double PI = 3.14159265358979323846;

/// Runs one stage under its step.
template <typename Stage>
auto timed(char const* step, Stage const& stage)
{
    detail::StepTimer const timer(step, "frame-overlap");
    return stage();
}

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

/// A copy of a frame with those points only that stay. Flags of its points stay what they are.
RangeData copy_kept(RangeData const& frame, detail::FrameSurface const& surface, std::size_t first,
                    std::vector<char> const& stays)
{
    RangeData copy = frame;
    copy.has_vFlag = false;
    copy.enable_vFlag();
    std::vector<unsigned char> flags;
    for (std::size_t i = 0; i < frame.get_vn(); ++i)
    {
        copy.set_vDeleted(i, stays[first + i] == 0);
        copy.cellFlag[i] = surface.cell[first + i];
        if (frame.has_vFlag && stays[first + i] == 1)
        {
            flags.push_back(frame.vFlag[i]);
        }
    }
    copy.squeeze();
    copy.disable_vFlag();
    copy.has_vFlag = frame.has_vFlag;
    copy.vFlag = std::move(flags);
    return copy;
}

} // namespace

RetVal FrameOverlap::remove_overlap(std::vector<RangeData const*> const& ranges,
                                    std::vector<RangeData>& result)
{
    detail::log("remove_overlap() ..\n");
    detail::StepTimer const timer("frame-overlap");
    result.clear();
    frame_counts_.clear();
    used_point_spacing_ = 0.0;
    if (ranges.empty())
    {
        detail::log("  empty ranges.\n");
        return RET_INVALID_INPUT;
    }
    if (auto const frame = detail::frame_without_normals(ranges))
    {
        detail::log("  range %d missing vertex normal.\n", static_cast<int>(*frame));
        return RET_INVALID_INPUT;
    }
    if (!fits_numbering(ranges))
    {
        detail::log("  too many points.\n");
        return RET_INVALID_INPUT;
    }
    double const spacing = point_spacing_ > 0.0 ? point_spacing_ : measure_spacing(ranges);
    auto const surface = timed(
        "list-frames", [&]
        { return detail::list_frame_surface(ranges, long_edge_factor_ * spacing, border_cells_); });
    detail::OverlapLimits limits;
    limits.spacing = spacing;
    limits.cover_factor = cover_factor_;
    limits.layer_factor = layer_factor_;
    limits.least_cosine = std::cos(normal_angle_thr_ * PI / 180.0);
    auto const overlap =
        timed("find-overlap", [&] { return detail::find_overlap(surface, limits); });
    auto const advantage =
        timed("compare-frames",
              [&]
              {
                  return detail::compare_frames(
                      surface, overlap, detail::measure_quality(surface, spacing, border_cells_));
              });
    auto const stays = timed(
        "choose-points",
        [&] { return detail::choose_points(surface, overlap, advantage, gap_factor_ * spacing); });
    timed("copy-frames",
          [&]
          {
              result.resize(ranges.size());
              detail::parallel_for_uneven(static_cast<std::ptrdiff_t>(ranges.size()),
                                          [&](std::ptrdiff_t i)
                                          {
                                              auto const f = static_cast<std::size_t>(i);
                                              result[f] = copy_kept(*ranges[f], surface,
                                                                    surface.first[f], stays);
                                          });
          });
    used_point_spacing_ = spacing;
    return RET_SUCCESS;
}

double FrameOverlap::measure_spacing(std::vector<RangeData const*> const& ranges) const
{
    constexpr int samples = 2000;
    std::vector<double> means(ranges.size(), 0.0);
    detail::parallel_for_uneven(static_cast<std::ptrdiff_t>(ranges.size()),
                                [&](std::ptrdiff_t i)
                                {
                                    auto const f = static_cast<std::size_t>(i);
                                    MatrixXi map;
                                    ranges[f]->create_vertices_index_map(map);
                                    RangeData_compute_mean_distance(*ranges[f], map, means[f],
                                                                    samples);
                                });
    means.erase(std::remove_if(means.begin(), means.end(), [](double m) { return !(m > 0.0); }),
                means.end());
    if (means.empty())
    {
        return 0.0;
    }
    auto const middle = means.begin() + static_cast<std::ptrdiff_t>(means.size() / 2);
    std::nth_element(means.begin(), middle, means.end());
    return *middle;
}

} // namespace OrvaneAlgorithm
