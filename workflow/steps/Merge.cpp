#include "workflow/steps/Merge.h"

#include "workflow/Error.h"
#include "workflow/StepScope.h"
#include "workflow/Stopwatch.h"
#include "workflow/frames/PhotoColours.h"
#include "workflow/steps/FrameJudge.h"
#include "workflow/steps/Inspect.h"
#include "workflow/steps/MergeJudge.h"
#include "workflow/steps/MergeStages.h"
#include "workflow/steps/SettingsReader.h"
#include "workflow/words.h"

#include "algorithmVeld/common/RetVal.h"
#include "algorithmVeld/reconstruction/DepthFrames.h"
#include "algorithmVeld/reconstruction/FrameAlignment.h"
#include "algorithmVeld/reconstruction/FrameOverlap.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

namespace veld
{

using OrvaneAlgorithm::DepthFrames;
using OrvaneAlgorithm::FrameAlignment;
using OrvaneAlgorithm::FrameOverlap;
using OrvaneAlgorithm::detail::hides_surface;

namespace
{

/// Frames are compared within so many spacings, by part of their points.
constexpr double COMPARED_SPACINGS = 8.0;
constexpr std::size_t COMPARED_POINTS = 20000;
constexpr std::size_t COMPARED_SAMPLES = 400;
/// Of many frames so many points are compared in all, so that memory stays that of the frames, and
/// few samples of each tell whether it is off.
constexpr std::size_t MANY_FRAMES = 96;
constexpr std::size_t COMPARED_POINTS_OF_ALL = 500000;
constexpr std::size_t COMPARED_SAMPLES_OF_MANY = 100;
/// Half of the layers that are farther off each other than this are no layers of one place.
constexpr double BEARABLE_SPACINGS = 1.0;
/// Counts the points and measures their noise, if it is not given. \return their spacing
double measure(std::vector<RangeData const*> const& frames, MergeSettings const& settings,
               MergeResult& result)
{
    for (auto const* frame : frames)
    {
        result.points += frame->get_vn();
    }
    result.noise = noise_of(frames, settings.noise);
    return FrameOverlap::measure_point_spacing(frames);
}

bool are_of_cameras(std::vector<RangeData const*> const& frames)
{
    return std::all_of(frames.begin(), frames.end(),
                       [](RangeData const* frame) { return DepthFrames::is_camera_frame(*frame); });
}

/// Whether frames are smoothed and thinned before they are merged.
bool is_prepared(std::vector<RangeData const*> const& frames, MergeSettings const& settings,
                 double spacing, MergeResult const& result, std::string const& source)
{
    if (settings.preparation == Preparation::ALWAYS)
    {
        if (settings.layers != Layers::MEAN)
        {
            throw InputError("points of smoothed frames move: none can be kept", "preparation");
        }
        if (!are_of_cameras(frames))
        {
            throw InputError(source + ": not all frames are of a camera at their origin, which is "
                                      "what can be smoothed",
                             "preparation");
        }
        return true;
    }
    return settings.preparation == Preparation::AUTO && settings.layers == Layers::MEAN &&
           hides_surface(result.noise.in_the_middle(), spacing) && are_of_cameras(frames);
}

/// Names frames that lie where no other one has the surface, and says so where most are farther off
/// each other than layers that become one.
void warn_of_poses(FrameSet const& frames, double spacing, FrameNoise const& noise,
                   StepScope& scope)
{
    if (frames.frames.size() < 2)
    {
        return;
    }
    FrameAlignment alignment;
    alignment.set_noise(noise.noise);
    alignment.set_reach(COMPARED_SPACINGS * spacing);
    std::size_t const n = frames.frames.size();
    bool const are_many = n > MANY_FRAMES;
    alignment.set_most_points(are_many ? COMPARED_POINTS_OF_ALL / n : COMPARED_POINTS);
    alignment.set_most_samples(are_many ? COMPARED_SAMPLES_OF_MANY : COMPARED_SAMPLES);
    FrameAlignment::Agreement agreement;
    alignment.measure(data_of(frames), agreement);
    if (agreement.pairs.empty())
    {
        return; // They may lie side by side.
    }
    double const bearable = BEARABLE_SPACINGS * spacing;
    warn_of_frames_off(frame_distances(agreement, names_of(frames)),
                       std::max(noise.in_the_middle(), 0.5 * spacing), scope);
    if (agreement.distance > bearable)
    {
        scope.warn(WarningCode::POSES_OFF, frames.source,
                   fmt::format("frames are {:.3g} mm off each other where they overlap, and layers "
                               "more than {:.3g} mm apart do not become one: veld align may bring "
                               "them together",
                               agreement.distance, LAYER_SPACINGS * spacing));
    }
}

/// Smooths the frames, thins them to what their noise supports, and leaves large patches.
/// \param release drops a frame
std::vector<RangeData> without_noise(FrameSet const& frames,
                                     std::function<void(std::size_t)> const& release,
                                     StepScope& scope, MergeResult& result)
{
    DepthFrames depth;
    depth.set_noise(result.noise.noise);
    depth.set_point_spacing(result.settings.spacing);
    depth.set_longest_step(result.settings.closed_step);
    std::vector<RangeData> prepared;
    if (depth.prepare(data_of(frames), prepared, release) != OrvaneAlgorithm::RET_SUCCESS)
    {
        throw OperationError(frames.source + ": the frames could not be smoothed", "noise");
    }
    result.settings.closed_step = depth.used_longest_step();
    result.tolerance = depth.used_tolerance();
    result.disagreement = depth.used_disagreement();
    for (auto const& counts : depth.frame_counts())
    {
        result.smooth += counts.smooth;
    }
    warn_of_frames_off(frame_distances(depth.frame_counts(), result.disagreement, names_of(frames)),
                       result.noise.in_the_middle(), scope);
    return prepared;
}

/// Says so where the mesh is in shreds.
void warn_of_shreds(MergeResult& result, double spacing, std::string const& source,
                    StepScope& scope)
{
    MeshHealth const health = measure_health(result.mesh);
    MergeFacts facts;
    facts.points = static_cast<double>(result.prepared ? result.smooth : result.points);
    facts.vertices = static_cast<double>(health.vertices);
    facts.edges = static_cast<double>(health.edges);
    facts.boundary_edges = static_cast<double>(health.boundary_edges);
    facts.pieces = static_cast<double>(health.components);
    facts.removed = static_cast<double>(result.removed);
    facts.spacing = spacing;
    facts.noise = result.noise.in_the_middle();
    facts.prepared = result.prepared;
    facts.disagreement = result.disagreement;
    std::string const text = judge_merge(facts);
    if (!text.empty())
    {
        scope.warn(WarningCode::MERGE_IN_SHREDS, source, text);
    }
    result.holes = health.holes;
}

} // namespace

std::map<std::string, MergeMethod> const& merge_methods()
{
    static std::map<std::string, MergeMethod> const methods{{"stitch", MergeMethod::STITCH},
                                                            {"outlier", MergeMethod::OUTLIER}};
    return methods;
}

std::string to_string(MergeMethod method)
{
    return name_in(merge_methods(), method);
}

std::map<std::string, Preparation> const& preparations()
{
    static std::map<std::string, Preparation> const names{{"auto", Preparation::AUTO},
                                                          {"never", Preparation::NEVER},
                                                          {"always", Preparation::ALWAYS}};
    return names;
}

namespace
{

/// The photographs beside the frames, null where there is none.
std::vector<FramePhoto const*> photos_of(FrameSet const& frames)
{
    std::vector<FramePhoto const*> photos;
    for (auto const& frame : frames.frames)
    {
        photos.push_back(frame.photo.get());
    }
    return photos;
}

/// Takes the colours of the photographs, and names those that cannot be read.
void colour_mesh(FrameSet const& frames, StepScope& scope, MergeResult& result)
{
    for (auto const& problem :
         colour_from_photos(photos_of(frames), result.vertex_frames, result.mesh))
    {
        scope.warn(WarningCode::FRAME_MENDED, frames.frames[problem.photo].name, problem.reason);
    }
}

/// Takes the noise out of frames where it hides the surface; of others it looks at the poses.
/// \param measured spacing
/// \return the smooth frames; none where the frames stay as they are
std::vector<RangeData> prepare(FrameSet const& frames, double measured,
                               std::function<void(std::size_t)> const& release, StepScope& scope,
                               MergeResult& result)
{
    if (result.prepared)
    {
        return scope.stage("take the noise out", 0.4,
                           [&] { return without_noise(frames, release, scope, result); });
    }
    std::string const doubt = doubt_of_spacing(result.settings.spacing, measured);
    if (!doubt.empty())
    {
        scope.warn(WarningCode::UNITS_UNLIKELY, frames.source, doubt);
    }
    scope.stage("compare the frames", 0.08,
                [&] { warn_of_poses(frames, measured, result.noise, scope); });
    return {};
}

/// \param own the same frames, if they are not the host's
MergeResult merge_frames(FrameSet const& frames, FrameSet* own, MergeSettings const& settings,
                         Context& context)
{
    StepScope scope(context, "merge-frames", "merge the frames");
    MergeResult result;
    result.frames = frames.frames.size();
    result.settings = settings;
    double measured = 0.0;
    scope.stage("measure noise and spacing", 0.03,
                [&]
                {
                    auto const list = data_of(frames);
                    measured = measure(list, settings, result);
                    result.prepared = is_prepared(list, settings, measured, result, frames.source);
                    if (!result.prepared)
                    {
                        own != nullptr ? provide_normals(*own) : refuse_bare_frames(frames);
                    }
                });
    Stopwatch const watch;
    auto const prepared =
        prepare(frames, measured, own != nullptr ? dropping(*own) : nullptr, scope, result);
    auto const list = result.prepared ? pointers(prepared) : data_of(frames);
    result.settings = scope.stage(
        "measure the spacing", result.prepared ? 0.41 : 0.09,
        [&] { return complete(result.settings, list, result.prepared, frames.source); });
    std::vector<RangeData> single;
    bool const is_layered = settings.layers == Layers::ALL;
    if (!is_layered)
    {
        single =
            scope.stage("take the overlap out", 0.7, [&] { return single_layer(list, result); });
    }
    scope.stage("stitch the frames", 0.96,
                [&]
                {
                    stitch(is_layered ? list : pointers(single), merger_for(result.settings),
                           result);
                    refuse_empty(result);
                });
    scope.stage("colour the mesh", 0.98, [&] { colour_mesh(frames, scope, result); });
    scope.stage("look at the mesh", 1.0,
                [&] { warn_of_shreds(result, measured, frames.source, scope); });
    result.seconds = watch.seconds();
    return result;
}

} // namespace

MergeResult merge(FrameSet const& frames, MergeSettings const& settings, Context& context)
{
    return merge_frames(frames, nullptr, settings, context);
}

MergeResult merge(FrameSet&& frames, MergeSettings const& settings, Context& context)
{
    return merge_frames(frames, &frames, settings, context);
}

} // namespace veld
