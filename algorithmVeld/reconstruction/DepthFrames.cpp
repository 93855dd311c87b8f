#include "algorithmVeld/reconstruction/DepthFrames.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/TimedStages.h"
#include "algorithmVeld/reconstruction/depth/DepthGrid.h"
#include "algorithmVeld/reconstruction/depth/DepthSmoothing.h"
#include "algorithmVeld/reconstruction/depth/FrameCover.h"
#include "algorithmVeld/reconstruction/depth/MiddleDepth.h"
#include "algorithmVeld/reconstruction/depth/NoiseMeasure.h"
#include "algorithmVeld/reconstruction/depth/PinholeGrid.h"
#include "algorithmVeld/reconstruction/depth/RayMean.h"
#include "algorithmVeld/reconstruction/depth/StepCells.h"
#include "algorithmVeld/reconstruction/frames/FrameChoice.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

constexpr detail::TimedStages DEPTH_FRAMES("depth-frames");

/// Layers belong together that are not farther apart than so many standard deviations, spacings, or
/// medians of what frames differ by; these are looked for within the last.
constexpr double TOLERANCE_OF_NOISE = 4.0;
constexpr double TOLERANCE_OF_SPACING = 2.0;
constexpr double TOLERANCE_OF_DISAGREEMENT = 5.0;
constexpr double REACH_OF_NOISE = 12.0;
/// The same where a place is noisier, in standard deviations of what smoothing leaves.
constexpr float TOLERANCE_OF_SMOOTH_NOISE = 12.0F;
/// Of the tolerance: behind the mean, layers of one place are nearer to each other than before.
constexpr float COVER_PART = 0.5F;
/// Of the depth in the middle: as high steps are closed as things on a table are, and its edge.
constexpr double STEP_OF_DEPTH = 0.1;

using Cameras = std::vector<detail::PinholeGrid>;

template <typename Work>
void for_each_depth_frame(std::size_t n, Work const& work)
{
    detail::for_each_index(n, work);
}

Cameras cameras_of(std::vector<RangeData const*> const& ranges)
{
    std::vector<std::optional<detail::PinholeGrid>> found(ranges.size());
    for_each_depth_frame(ranges.size(), [&](std::size_t f)
                         { found[f] = ranges[f] ? detail::camera_of(*ranges[f]) : std::nullopt; });
    Cameras cameras;
    for (auto const& camera : found)
    {
        if (!camera)
        {
            return {};
        }
        cameras.push_back(*camera);
    }
    return cameras;
}

/// Brings what stays of a grid back into a frame.
RangeData frame_of(RangeData const& smooth, detail::DepthGrid const& grid,
                   std::vector<char> const& stays)
{
    RangeData frame;
    frame.set_grid_size(grid.rows, grid.columns);
    frame.set_rigidMatrix(grid.pose);
    frame.has_vNormal = true;
    frame.has_vColor = smooth.has_vColor;
    auto const columns = static_cast<std::size_t>(grid.columns);
    for (std::size_t i = 0; i < grid.size(); ++i)
    {
        if (stays[i] == 0)
        {
            continue;
        }
        int const row = static_cast<int>(i / columns);
        int const column = static_cast<int>(i % columns);
        auto const v = frame.add_vCoord_and_vUV(grid.to_camera * grid.seen[i].point, {row, column});
        bool const is_cell = grid.cell[i] == 1 && stays[i + 1] == 1 && stays[i + columns] == 1 &&
                             stays[i + columns + 1] == 1;
        frame.set_cellFlag(v, static_cast<char>(is_cell));
        frame.vNrv.resize(v + 1);
        frame.vNrv[v] = grid.to_camera.transform_normal(grid.seen[i].normal);
        if (frame.has_vColor)
        {
            frame.vColor.resize(v + 1);
            frame.vColor[v] = smooth.vColor[static_cast<std::size_t>(grid.vertex[i])];
        }
    }
    return frame;
}

/// The frames on their way.
struct Work
{
    std::vector<RangeData> smooth;
    std::vector<detail::DepthGrid> grids;
    std::vector<std::vector<char>> is_best;
    std::vector<DepthFrames::FrameCounts> counts;
    std::vector<char> is_used; ///< whether a frame shows more than what enough others do

    explicit Work(std::vector<char> used)
        : smooth(used.size()),
          grids(used.size()),
          is_best(used.size()),
          counts(used.size()),
          is_used(std::move(used))
    {
    }
    std::size_t size() const { return grids.size(); }
};

void smooth_frames(std::vector<RangeData const*> const& ranges, Cameras const& cameras,
                   DepthNoise const& noise, double spacing,
                   std::function<void(std::size_t)> const& release, Work& work)
{
    for_each_depth_frame(
        ranges.size(),
        [&](std::size_t f)
        {
            int const factor = detail::thinning_factor(*ranges[f], cameras[f], spacing);
            work.counts[f].points = ranges[f]->get_vn();
            if (work.is_used[f] == 1)
            {
                work.smooth[f] = detail::smooth_depth(*ranges[f], cameras[f], noise, factor);
            }
            else
            {
                work.smooth[f].set_rigidMatrix(ranges[f]->get_rigidMatrix());
            }
            work.counts[f].smooth = work.smooth[f].get_vn();
            if (release)
            {
                release(f);
            }
            work.grids[f] =
                detail::make_depth_grid(work.smooth[f], cameras[f].thinned(factor), noise);
        });
}

/// Tells how far each frame is from the others. \return the median of that
double compare_frames(double reach, Work& work)
{
    for_each_depth_frame(
        work.size(),
        [&](std::size_t f)
        {
            auto const distances = detail::distances_to_others(work.grids, f, reach);
            work.counts[f].disagreement =
                distances.empty() ? -1.0 : static_cast<double>(detail::median(distances));
        });
    std::vector<double> disagreements;
    for (std::size_t f = 0; f < work.size(); ++f)
    {
        if (work.is_used[f] == 1)
        {
            disagreements.push_back(std::max(0.0, work.counts[f].disagreement));
        }
        else
        {
            work.counts[f].disagreement = 0.0;
        }
    }
    return detail::median(std::move(disagreements));
}

/// Moves all points to the mean of the layers. Each is computed from where the others were before.
void average_frames(detail::LayerSpread const& spread, Work& work)
{
    std::vector<detail::PlaceMean> means(work.size());
    for (std::size_t f = 0; f < work.size(); ++f)
    {
        auto const n = static_cast<double>(work.size());
        detail::ProgressPart const part(static_cast<double>(f) / n, static_cast<double>(f + 1) / n);
        means[f] = detail::mean_of_layers(work.grids, f, spread);
    }
    for (std::size_t f = 0; f < work.size(); ++f)
    {
        auto& seen = work.grids[f].seen;
        for (std::size_t i = 0; i < seen.size(); ++i)
        {
            seen[i].point = means[f].point[i];
            seen[i].normal = means[f].normal[i];
        }
        means[f].point = {};
        means[f].normal = {};
        work.is_best[f] = std::move(means[f].is_best);
    }
}

/// Takes cells for surface that are stretched over small steps, where no frame looked through.
void close_steps(double longest, double tolerance, Work& work)
{
    std::vector<std::vector<char>> cells(work.size());
    for_each_depth_frame(work.size(),
                         [&](std::size_t f) {
                             cells[f] = detail::find_step_cells(work.grids, f, longest, tolerance);
                         });
    for (std::size_t f = 0; f < work.size(); ++f)
    {
        auto& own = work.grids[f].cell;
        std::transform(cells[f].begin(), cells[f].end(), own.begin(), own.begin(),
                       [](char a, char b) { return std::max(a, b); });
    }
}

std::vector<RangeData> kept_frames(std::vector<std::vector<char>> const& stays, Work& work)
{
    std::vector<RangeData> kept(work.size());
    for_each_depth_frame(work.size(),
                         [&](std::size_t f)
                         {
                             kept[f] = frame_of(work.smooth[f], work.grids[f], stays[f]);
                             work.counts[f].kept = kept[f].get_vn();
                         });
    return kept;
}

} // namespace

DepthNoise DepthFrames::measure_noise(std::vector<RangeData const*> const& ranges)
{
    std::vector<std::vector<detail::NoiseSample>> samples(ranges.size());
    std::vector<char> is_camera(ranges.size(), 0);
    for_each_depth_frame(ranges.size(),
                         [&](std::size_t f)
                         {
                             samples[f] = detail::sample_noise(*ranges[f]);
                             is_camera[f] = is_camera_frame(*ranges[f]) ? 1 : 0;
                         });
    std::vector<detail::NoiseSample> all;
    for (auto const& part : samples)
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    bool const grows =
        std::all_of(is_camera.begin(), is_camera.end(), [](char c) { return c == 1; });
    return detail::fit_noise(std::move(all), grows);
}

double DepthFrames::median_depth(std::vector<RangeData const*> const& ranges)
{
    return detail::middle_depth(ranges);
}

bool DepthFrames::is_camera_frame(RangeData const& frame)
{
    return detail::camera_of(frame).has_value();
}

double DepthFrames::measure(std::vector<RangeData const*> const& ranges)
{
    used_noise_ = noise_.is_given() ? noise_ : measure_noise(ranges);
    double const depth = median_depth(ranges);
    double const noise = used_noise_.at(depth);
    used_point_spacing_ = point_spacing_ > 0.0 ? point_spacing_ : detail::SPACING_OF_NOISE * noise;
    used_longest_step_ = longest_step_ > 0.0 ? longest_step_ : STEP_OF_DEPTH * depth;
    return noise;
}

RetVal DepthFrames::prepare(std::vector<RangeData const*> const& ranges,
                            std::vector<RangeData>& result,
                            std::function<void(std::size_t)> const& release)
{
    detail::StepTimer const timer("depth-frames");
    result.clear();
    frame_counts_.clear();
    detail::Stages stages({2, 38, 5, 30, 3, 17, 5});
    stages.next();
    Cameras const cameras = cameras_of(ranges);
    if (cameras.empty())
    {
        return RET_INVALID_INPUT;
    }
    double const noise = measure(ranges);
    if (!(noise > 0.0))
    {
        return RET_INVALID_INPUT;
    }
    Work work(detail::choose_frames(ranges, detail::PLACE_OF_SPACING * used_point_spacing_,
                                    detail::PlaceSide::VIEW));
    stages.next();
    DEPTH_FRAMES.run(
        "smooth-depths",
        [&] { smooth_frames(ranges, cameras, used_noise_, used_point_spacing_, release, work); });
    stages.next();
    double const least =
        std::max(TOLERANCE_OF_NOISE * noise, TOLERANCE_OF_SPACING * used_point_spacing_);
    used_disagreement_ =
        DEPTH_FRAMES.run("compare-depths", [&]
                         { return compare_frames(std::max(least, REACH_OF_NOISE * noise), work); });
    used_tolerance_ = std::max(least, TOLERANCE_OF_DISAGREEMENT * used_disagreement_);
    stages.next();
    detail::PlaceTolerance const tolerance{static_cast<float>(used_tolerance_),
                                           TOLERANCE_OF_SMOOTH_NOISE};
    DEPTH_FRAMES.run("average-depths",
                     [&] {
                         average_frames({tolerance, used_disagreement_}, work);
                     });
    detail::PlaceTolerance const same = tolerance.part(COVER_PART);
    stages.next();
    DEPTH_FRAMES.run("close-steps", [&] { close_steps(used_longest_step_, same.least, work); });
    stages.next();
    auto const stays = DEPTH_FRAMES.run(
        "choose-patches", [&] { return detail::choose_cover(work.grids, work.is_best, same); });
    stages.next();
    result = kept_frames(stays, work);
    frame_counts_ = std::move(work.counts);
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
