#include "workflow/steps/Align.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/frames/FrameGrid.h"
#include "workflow/frames/FramePhoto.h"
#include "workflow/frames/SourceCopy.h"
#include "workflow/steps/FrameJudge.h"
#include "workflow/words.h"

#include "algorithmVeld/reconstruction/FrameOverlap.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace veld
{

using OrvaneAlgorithm::FrameAlignment;
using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::RigidMatrix;

namespace
{

/// What is off by less than this part of the spacing is where it belongs.
constexpr double LEAST_OF_SPACING = 0.5;

void refuse_one_frame(FrameSet const& frames)
{
    if (frames.frames.size() < 2)
    {
        throw InputError(fmt::format("{}: is one frame only, {}, and frames are compared with each "
                                     "other",
                                     frames.source,
                                     frames.frames.empty() ? "" : frames.frames.front().name));
    }
}

void refuse_settings(AlignSettings const& settings)
{
    auto const is_length = [](double length) { return length >= 0.0 && std::isfinite(length); };
    if (!is_length(settings.reach))
    {
        throw InputError("the reach has to be 0 or more millimetres", "reach");
    }
    if (!is_length(settings.noise))
    {
        throw InputError("the noise has to be 0 or more millimetres", "noise");
    }
    if (settings.rounds < 1)
    {
        throw InputError("a refinement takes one round or more", "rounds");
    }
}

void set_up(FrameAlignment& alignment, AlignSettings const& settings, FrameNoise const& noise)
{
    alignment.set_noise(noise.noise);
    alignment.set_reach(settings.reach);
    alignment.set_most_rounds(settings.rounds);
}

/// The least distance of a frame that is off.
double least_off(FrameNoise const& noise, double spacing)
{
    return std::max(noise.in_the_middle(), LEAST_OF_SPACING * spacing);
}

void warn_of_motions(AlignResult const& result, StepScope& scope)
{
    for (std::size_t f = 0; f < result.motions.size(); ++f)
    {
        auto const& motion = result.motions[f];
        if (motion.fate == FrameAlignment::Fate::ALONE)
        {
            scope.warn(
                WarningCode::FRAME_OFF, result.names[f],
                fmt::format("stays where it is: no other frame saw what it did within {:.3g} "
                            "mm; its pose, or the unit of it, may be wrong",
                            result.reach),
                "reach");
        }
        else if (motion.fate == FrameAlignment::Fate::ASTRAY)
        {
            scope.warn(WarningCode::FRAME_OFF, result.names[f],
                       fmt::format("stays where it was: it would have gone farther than four times "
                                   "the reach of {:.3g} mm",
                                   result.reach),
                       "reach");
        }
        else if (motion.fate == FrameAlignment::Fate::HELD && motion.group != 0)
        {
            scope.warn(WarningCode::FRAME_OFF, result.names[f],
                       "stays where it is: it and the frames that overlap it overlap none of those "
                       "before");
        }
    }
}

/// \param release drops a frame; empty where the frames are the host's
AlignResult align_frames(FrameSet const& frames, std::function<void(std::size_t)> const& release,
                         AlignSettings const& settings, Context& context)
{
    refuse_settings(settings);
    refuse_one_frame(frames);
    refuse_bare_frames(frames);
    StepScope scope(context, "align-frames", "align the frames");
    auto const list = data_of(frames);
    AlignResult result;
    result.names = names_of(frames);
    for (auto const& frame : frames.frames)
    {
        result.numbers.push_back(frame.number);
    }
    Stopwatch const watch;
    result.noise =
        scope.stage("measure the noise", 0.05, [&] { return noise_of(list, settings.noise); });
    FrameAlignment alignment;
    set_up(alignment, settings, result.noise);
    auto const code = scope.stage("align the frames", 1.0,
                                  [&] { return alignment.align(list, result.poses, release); });
    result.reach = alignment.used_reach();
    if (code != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw InputError(fmt::format("{}: no two frames overlap within {:.3g} mm: the poses, or "
                                     "their unit, may be wrong",
                                     frames.source, result.reach),
                         "reach");
    }
    result.before = alignment.before();
    result.after = alignment.after();
    result.motions = alignment.motions();
    result.rounds = alignment.rounds();
    result.converged = alignment.has_converged();
    result.seconds = watch.seconds();
    warn_of_motions(result, scope);
    return result;
}

} // namespace

std::string to_string(FrameAlignment::Fate fate)
{
    switch (fate)
    {
    case FrameAlignment::Fate::MOVED:
        return "moved";
    case FrameAlignment::Fate::HELD:
        return "held";
    case FrameAlignment::Fate::ALONE:
        return "alone";
    case FrameAlignment::Fate::ASTRAY:
        break;
    }
    return "astray";
}

FrameCheck check_frames(FrameSet const& frames, AlignSettings const& settings, Context& context)
{
    refuse_settings(settings);
    refuse_one_frame(frames);
    refuse_bare_frames(frames);
    StepScope scope(context, "check-frames", "compare the frames");
    auto const list = data_of(frames);
    FrameCheck result;
    result.names = names_of(frames);
    result.noise =
        scope.stage("measure the noise", 0.1, [&] { return noise_of(list, settings.noise); });
    double const least = scope.stage(
        "measure the spacing", 0.15,
        [&] { return least_off(result.noise, FrameOverlap::measure_point_spacing(list)); });
    FrameAlignment alignment;
    set_up(alignment, settings, result.noise);
    scope.stage("compare the frames", 1.0, [&] { alignment.measure(list, result.agreement); });
    result.reach = alignment.used_reach();
    auto const distances = frame_distances(result.agreement, result.names);
    FramesOff off = find_frames_off(distances, least);
    result.far_off = std::move(off.far_off);
    result.alone = std::move(off.alone);
    warn_of_frames_off(distances, least, scope);
    return result;
}

AlignResult align(FrameSet const& frames, AlignSettings const& settings, Context& context)
{
    return align_frames(frames, {}, settings, context);
}

AlignResult align(FrameSet&& frames, AlignSettings const& settings, Context& context)
{
    return align_frames(frames, dropping(frames), settings, context);
}

FrameSet posed(FrameSet frames, std::vector<OrvaneAlgorithm::RigidMatrix> const& poses)
{
    if (poses.size() != frames.frames.size())
    {
        throw InputError(fmt::format("{}: has {} for {}", frames.source,
                                     counted(poses.size(), "pose"),
                                     counted(frames.frames.size(), "frame")));
    }
    for (std::size_t i = 0; i < poses.size(); ++i)
    {
        NamedFrame& frame = frames.frames[i];
        auto const before = frame.data.pose;
        frame.data.set_rigidMatrix(poses[i]);
        if (!has_rigid_pose(frame.data))
        {
            throw InputError(frame.name + ": its pose is no rotation and translation");
        }
        if (frame.photo)
        {
            auto photo = std::make_shared<FramePhoto>(*frame.photo);
            photo->follow(before, poses[i]);
            frame.photo = std::move(photo);
        }
    }
    return frames;
}

AlignedSource::AlignedSource(fs::path source, fs::path const& folder, double scale)
    : source_(std::move(source)),
      folder_(folder.has_filename() ? folder : folder.parent_path()),
      scale_(scale)
{
}

void AlignedSource::check(Outputs const& outputs, std::vector<fs::path> const& inputs) const
{
    std::vector<fs::path> files;
    for (auto const& file : files_of(copy_source(source_, {}), folder_))
    {
        // Nothing can be said of what lies in directories that are still to be made.
        std::error_code error;
        if (file.parent_path() == folder_ || fs::is_directory(file.parent_path(), error))
        {
            files.push_back(file);
        }
    }
    outputs.check(files, inputs);
}

fs::path AlignedSource::write(AlignResult const& result, Outputs& outputs, Context& context) const
{
    StepScope const scope(context, "write-frames", "write the frames");
    NewPoses poses;
    for (std::size_t f = 0; f < result.poses.size(); ++f)
    {
        RigidMatrix pose = result.poses[f];
        pose.set_translation(pose.get_translation() / scale_);
        poses[result.numbers[f]] = {pose, result.motions[f].fate == FrameAlignment::Fate::MOVED};
    }
    SourceCopy const copy = copy_source(source_, poses);
    for (auto const& file : files_of(copy, folder_))
    {
        outputs.make_directory(file.parent_path());
    }
    write_copy(copy, folder_, outputs);
    return folder_ / copy.entry;
}

} // namespace veld
