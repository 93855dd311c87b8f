#include "algorithmVeld/reconstruction/FrameAlignment.h"

#include "algorithmVeld/common/arrays/Median.h"
#include "algorithmVeld/common/running/Log.h"
#include "algorithmVeld/common/running/ParallelFor.h"
#include "algorithmVeld/common/running/TimedStages.h"
#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"
#include "algorithmVeld/reconstruction/registration/FramePairs.h"
#include "algorithmVeld/reconstruction/registration/PoseRefinement.h"
#include "algorithmVeld/reconstruction/registration/PoseSystem.h"
#include "algorithmVeld/reconstruction/registration/SampledFrame.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace OrvaneAlgorithm
{

namespace
{

constexpr detail::TimedStages AGREEMENT("frame-agreement");
constexpr detail::TimedStages ALIGNMENT("frame-alignment");

/// Frames are looked for within this part of the size of one, but not within fewer spacings.
constexpr double REACH_OF_SIZE = 0.02;
constexpr double REACH_OF_SPACING = 4.0;
/// At last points are looked for within so many spacings or standard deviations.
constexpr double LEAST_OF_SPACING = 3.0;
constexpr double LEAST_OF_NOISE = 6.0;
/// No frame moves farther than so many reaches.
constexpr double FARTHEST_OF_REACH = 4.0;
/// Given poses are known to this part of the reach, as a standard deviation. The surfaces tell
/// better by far; but a ring of frames along walls would slide by ten times of what it was off.
constexpr double DOUBT_OF_REACH = 0.2;
/// Of the noise and of the spacing: steps that are less are none.
constexpr double STILL_OF_NOISE = 2e-2;
constexpr double STILL_OF_SPACING = 1e-7;
/// Of the spacing, where there is no noise.
constexpr double FINEST_OF_SPACING = 1e-3;
constexpr std::size_t FEWEST_POINTS = 250;

using Frames = std::vector<detail::SampledFrame>;

bool can_be_compared(std::vector<RangeData const*> const& ranges)
{
    return ranges.size() >= 2 &&
           std::all_of(ranges.begin(), ranges.end(),
                       [](RangeData const* frame) { return frame && frame->has_vNormal; });
}

std::vector<RigidMatrix> poses_of(std::vector<RangeData const*> const& ranges)
{
    std::vector<RigidMatrix> poses;
    poses.reserve(ranges.size());
    for (auto const* frame : ranges)
    {
        poses.push_back(frame->get_rigidMatrix());
    }
    return poses;
}

std::vector<RigidMatrix> rigid(std::vector<RigidMatrix> poses)
{
    for (auto& pose : poses)
    {
        pose = detail::orthonormal(pose);
    }
    return poses;
}

/// The median of what the frames that have points tell.
template <typename Tell>
double median_of_frames(Frames const& frames, Tell const& tell)
{
    std::vector<double> values;
    for (auto const& frame : frames)
    {
        if (!frame.point.empty())
        {
            values.push_back(tell(frame));
        }
    }
    return detail::median(std::move(values));
}

double spacing_of_samples(Frames const& frames)
{
    return median_of_frames(frames, [](auto const& frame) { return frame.spacing; });
}

double noise_of_samples(Frames const& frames)
{
    return median_of_frames(frames, [](auto const& frame)
                            { return static_cast<double>(detail::median(frame.noise)); });
}

double default_reach(Frames const& frames)
{
    double const size =
        2.0 * median_of_frames(frames, [](auto const& frame) { return frame.radius; });
    return std::max({REACH_OF_SIZE * size, REACH_OF_SPACING * spacing_of_samples(frames),
                     LEAST_OF_NOISE * noise_of_samples(frames)});
}

/// The distances of a pair.
struct Distances
{
    std::vector<double> lengths;
    std::vector<double> noises;
};

Distances distances_of(std::vector<detail::Match> const& matches)
{
    Distances distances;
    for (auto const& match : matches)
    {
        double const length = std::abs(match.distance);
        distances.lengths.push_back(length);
        distances.noises.push_back(match.noise > 0.0 ? length / match.noise : 0.0);
    }
    return distances;
}

void append(std::vector<double>& all, std::vector<double> const& part)
{
    all.insert(all.end(), part.begin(), part.end());
}

/// What a frame is off all others.
FrameAlignment::Frame frame_among_others(std::size_t frame,
                                         std::vector<detail::FramePair> const& pairs,
                                         std::vector<Distances> const& distances)
{
    FrameAlignment::Frame result;
    Distances all;
    for (std::size_t k = 0; k < pairs.size(); ++k)
    {
        if (pairs[k].first == frame || pairs[k].second == frame)
        {
            ++result.pairs;
            append(all.lengths, distances[k].lengths);
            append(all.noises, distances[k].noises);
        }
    }
    if (!all.lengths.empty())
    {
        result.distance = detail::median(std::move(all.lengths));
        result.noises = detail::median(std::move(all.noises));
    }
    return result;
}

FrameAlignment::Agreement agreement_of(Frames const& frames, std::vector<RigidMatrix> const& poses,
                                       std::vector<detail::FramePair> const& pairs, double reach)
{
    FrameAlignment::Agreement result;
    std::vector<Distances> distances(pairs.size());
    result.pairs.resize(pairs.size());
    detail::parallel_for_uneven(
        static_cast<std::ptrdiff_t>(pairs.size()),
        [&](std::ptrdiff_t number)
        {
            auto const k = static_cast<std::size_t>(number);
            auto const [a, b, overlap] = pairs[k];
            auto const matches = detail::match_pair(frames, poses, a, b, reach);
            distances[k] = distances_of(matches);
            auto const asked = frames[a].samples.size() + frames[b].samples.size();
            result.pairs[k] = {a, b, detail::median(distances[k].lengths),
                               detail::median(distances[k].noises),
                               static_cast<double>(matches.size()) / static_cast<double>(asked)};
        });
    std::vector<double> of_frames;
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        result.frames.push_back(frame_among_others(f, pairs, distances));
        result.frames.back().samples = frames[f].samples.size();
        if (result.frames.back().pairs > 0)
        {
            of_frames.push_back(result.frames.back().distance);
        }
    }
    result.distance = detail::median(std::move(of_frames));
    return result;
}

/// What a frame was moved by.
FrameAlignment::Motion motion_between(detail::SampledFrame const& frame, RigidMatrix const& before,
                                      RigidMatrix const& after)
{
    Vector3d middle = Vector3d::Zero();
    for (auto const& point : frame.point)
    {
        middle += point.cast<double>();
    }
    middle /= static_cast<double>(std::max<std::size_t>(frame.point.size(), 1));
    Vector3d const shift = (after.get_rotation() - before.get_rotation()) * middle +
                           after.get_translation() - before.get_translation();
    FrameAlignment::Motion motion;
    motion.shift = shift.norm();
    motion.turn = detail::turn_of(after.get_rotation() * before.get_rotation().transpose());
    return motion;
}

FrameAlignment::Fate fate_of(std::size_t frame, detail::RefinedPoses const& refined,
                             std::vector<std::size_t> const& members)
{
    if (refined.is_astray[frame] == 1)
    {
        return FrameAlignment::Fate::ASTRAY;
    }
    if (members[refined.groups[frame]] == 1)
    {
        return FrameAlignment::Fate::ALONE;
    }
    return refined.groups[frame] == frame ? FrameAlignment::Fate::HELD
                                          : FrameAlignment::Fate::MOVED;
}

std::vector<FrameAlignment::Motion> motions_of(Frames const& frames,
                                               std::vector<RigidMatrix> const& given,
                                               detail::RefinedPoses const& refined)
{
    std::vector<std::size_t> members(frames.size(), 0);
    for (std::size_t const group : refined.groups)
    {
        ++members[group];
    }
    std::vector<FrameAlignment::Motion> motions;
    for (std::size_t f = 0; f < frames.size(); ++f)
    {
        FrameAlignment::Motion motion;
        FrameAlignment::Fate const fate = fate_of(f, refined, members);
        if (fate == FrameAlignment::Fate::MOVED)
        {
            motion = motion_between(frames[f], given[f], refined.poses[f]);
        }
        motion.fate = fate;
        motion.group = refined.groups[f];
        motions.push_back(motion);
    }
    return motions;
}

Frames sample_frames(std::vector<RangeData const*> const& ranges, DepthNoise const& noise,
                     detail::SampleLimits const& limits,
                     std::function<void(std::size_t)> const& release)
{
    Frames frames(ranges.size());
    double const spacing = FrameOverlap::measure_point_spacing(ranges);
    detail::parallel_for_uneven(static_cast<std::ptrdiff_t>(ranges.size()),
                                [&](std::ptrdiff_t number)
                                {
                                    auto const f = static_cast<std::size_t>(number);
                                    frames[f] =
                                        detail::sample_frame(*ranges[f], noise, spacing, limits);
                                    if (release)
                                    {
                                        release(f);
                                    }
                                });
    return frames;
}

detail::RefinementLimits limits_of(Frames const& frames, double reach, int most_rounds)
{
    double const spacing = spacing_of_samples(frames);
    double const noise = noise_of_samples(frames);
    detail::RefinementLimits limits;
    limits.reach = reach;
    limits.least = std::min(reach, std::max(LEAST_OF_SPACING * spacing, LEAST_OF_NOISE * noise));
    limits.farthest = FARTHEST_OF_REACH * reach;
    limits.doubt = DOUBT_OF_REACH * reach;
    limits.finest = FINEST_OF_SPACING * spacing;
    limits.tolerance = std::max(STILL_OF_NOISE * noise, STILL_OF_SPACING * spacing);
    limits.most_rounds = most_rounds;
    return limits;
}

} // namespace

/// What measuring and aligning begin with.
struct FrameAlignment::Overlaps
{
    std::vector<detail::SampledFrame> frames;
    std::vector<RigidMatrix> poses;
    std::vector<detail::FramePair> pairs;
};

FrameAlignment::Overlaps
FrameAlignment::find_overlaps(std::vector<RangeData const*> const& ranges,
                              detail::TimedStages const& timed, detail::Stages& stages,
                              std::function<void(std::size_t)> const& release)
{
    Overlaps result;
    stages.next();
    used_noise_ = noise_.is_given() ? noise_ : DepthFrames::measure_noise(ranges);
    result.poses = rigid(poses_of(ranges));
    stages.next();
    result.frames = timed.run(
        "sample-frames",
        [&]
        {
            return sample_frames(ranges, used_noise_,
                                 {std::max(most_points_, FEWEST_POINTS), most_samples_}, release);
        });
    stages.next();
    used_reach_ = reach_ > 0.0 ? reach_ : default_reach(result.frames);
    result.pairs = timed.run(
        "find-pairs", [&] { return detail::find_pairs(result.frames, result.poses, used_reach_); });
    return result;
}

RetVal FrameAlignment::measure(std::vector<RangeData const*> const& ranges, Agreement& result,
                               std::function<void(std::size_t)> const& release)
{
    detail::StepTimer const timer("frame-agreement");
    result = {};
    if (!can_be_compared(ranges))
    {
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({10, 60, 15, 15});
    auto const found = find_overlaps(ranges, AGREEMENT, stages, release);
    stages.next();
    result = AGREEMENT.run(
        "compare-frames",
        [&] { return agreement_of(found.frames, found.poses, found.pairs, used_reach_); });
    return RET_SUCCESS;
}

void FrameAlignment::forget_last()
{
    before_ = {};
    after_ = {};
    motions_.clear();
    rounds_ = 0;
    has_converged_ = false;
}

RetVal FrameAlignment::align(std::vector<RangeData const*> const& ranges,
                             std::vector<RigidMatrix>& poses,
                             std::function<void(std::size_t)> const& release)
{
    detail::StepTimer const timer("frame-alignment");
    poses.clear();
    forget_last();
    if (!can_be_compared(ranges))
    {
        return RET_INVALID_INPUT;
    }
    detail::Stages stages({5, 30, 5, 3, 54, 3});
    auto const as_given = poses_of(ranges);
    auto const found = find_overlaps(ranges, ALIGNMENT, stages, release);
    stages.next();
    before_ = agreement_of(found.frames, found.poses, found.pairs, used_reach_);
    if (found.pairs.empty())
    {
        return RET_FAILED;
    }
    stages.next();
    auto const refined = ALIGNMENT.run("refine-poses",
                                       [&]
                                       {
                                           return detail::refine_poses(
                                               found.frames, found.poses, found.pairs,
                                               limits_of(found.frames, used_reach_, most_rounds_));
                                       });
    stages.next();
    after_ = agreement_of(found.frames, refined.poses, found.pairs, used_reach_);
    motions_ = motions_of(found.frames, found.poses, refined);
    rounds_ = refined.rounds;
    has_converged_ = refined.has_converged;
    for (std::size_t f = 0; f < motions_.size(); ++f)
    {
        poses.push_back(motions_[f].fate == Fate::MOVED ? refined.poses[f] : as_given[f]);
    }
    return RET_SUCCESS;
}

} // namespace OrvaneAlgorithm
