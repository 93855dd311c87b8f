#include "workflow/steps/LoadFrames.h"

#include "workflow/Error.h"
#include "workflow/ForEachIndex.h"
#include "workflow/StepScope.h"
#include "workflow/frames/FrameGrid.h"
#include "workflow/frames/FrameLoaders.h"
#include "workflow/frames/FrameSource.h"
#include "workflow/words.h"

#include "algorithmVeld/common/arrays/Median.h"

#include <fmt/format.h>

#include <algorithm>

namespace fs = std::filesystem;

namespace veld
{

namespace
{

/// No scanner of objects has neighbours this near; in metres nearly all have.
constexpr double NEAREST_BELIEVABLE_NEIGHBOURS = 0.01;

FrameStream stream_source(fs::path const& path)
{
    FrameSource const source = find_frame_source(path);
    switch (source.kind)
    {
    case FrameSourceKind::DEPTH_IMAGES:
        return stream_depth_images(source.path, source.description);
    case FrameSourceKind::TEXT_FRAMES:
        return stream_text_frames(source.path, source.description);
    case FrameSourceKind::RANGE_SCANS:
        return stream_range_scans(source.path);
    case FrameSourceKind::RGE_FOLDER:
        break;
    }
    return stream_rge_folder(source.path);
}

/// Frames of text that share a directory are read by one reader, in its way; all others one by one.
LoadedSource load_source(fs::path const& path)
{
    FrameSource const source = find_frame_source(path);
    return source.kind == FrameSourceKind::TEXT_FRAMES
               ? load_text_frames(source.path, source.description)
               : load_all(stream_source(path));
}

/// Brings channels, cells and flags in order, and takes points out that are no numbers.
void repair(LoadedFrame& frame)
{
    std::size_t const before = frame.data.get_vn();
    if (!frame.data.is_legal())
    {
        frame.data.repair_illegal();
        std::size_t const gone = before - frame.data.get_vn();
        frame.remarks.push_back(
            gone > 0 ? fmt::format("{} taken out: no finite coordinates", counted(gone, "point"))
                     : "cells or channels that did not fit were mended");
    }
    frame.data.squeeze();
}

/// Makes faces and normals agree and look at the sensor. Where there are no normals, none are made.
void orient(LoadedFrame& frame)
{
    if (!frame.faces_sensor && looks_away(frame.data, frame.sensor))
    {
        mirror_columns(frame.data);
    }
    if (contradicts_normals(frame.data))
    {
        mirror_columns(frame.data);
        frame.remarks.emplace_back("its grid ran against its normals: mirrored");
    }
}

void provide_normals(RangeData& frame)
{
    if (!frame.has_vNormal)
    {
        compute_normals(frame);
    }
}

/// Does all but normals.
void finish_frame(LoadedFrame& frame, double scale)
{
    if (frame.unusable.empty() && !has_rigid_pose(frame.data))
    {
        frame.unusable = "its pose is no rotation and translation";
    }
    if (!frame.unusable.empty())
    {
        return;
    }
    scale_frame(frame.data, scale);
    if (frame.photo)
    {
        frame.photo->set_scale(scale);
    }
    repair(frame);
    if (frame.data.get_vn() == 0)
    {
        frame.unusable = "it holds no points";
        return;
    }
    orient(frame);
}

/// \param spacings of the frames
void warn_of_units(std::vector<double> spacings, std::string const& source, StepScope& scope)
{
    double const middle = OrvaneAlgorithm::detail::median(std::move(spacings));
    if (middle > 0.0 && middle < NEAREST_BELIEVABLE_NEIGHBOURS)
    {
        scope.warn(WarningCode::UNITS_UNLIKELY, source,
                   fmt::format("neighbours are {:.3g} mm apart: the units look like metres (a "
                               "scale of 1000 converts)",
                               middle));
    }
}

/// Says what was wrong with a frame. \return whether it can be used
bool tell_usable(LoadedFrame const& frame, StepScope& scope)
{
    if (!frame.unusable.empty())
    {
        scope.warn(WarningCode::FRAME_LEFT_OUT, frame.name, "left out: " + frame.unusable);
        return false;
    }
    for (auto const& remark : frame.remarks)
    {
        scope.warn(WarningCode::FRAME_MENDED, frame.name, remark);
    }
    return true;
}

NamedFrame named(LoadedFrame&& frame)
{
    return {frame.name, std::move(frame.data), frame.sensor, frame.number, frame.photo};
}

void refuse_none(std::size_t usable, std::string const& source)
{
    if (usable == 0)
    {
        throw InputError(source + ": holds no frame that can be used");
    }
}

/// Finishes all frames and keeps those that can be used.
/// \param has_normals whether frames get normals that have none
FrameSet keep_usable(std::string const& name, LoadedSource loaded, double scale, bool has_normals,
                     StepScope& scope)
{
    for_each_index(loaded.frames.size(),
                   [&](std::size_t i)
                   {
                       finish_frame(loaded.frames[i], scale);
                       if (has_normals && loaded.frames[i].unusable.empty())
                       {
                           provide_normals(loaded.frames[i].data);
                       }
                   });
    FrameSet set;
    set.source = name;
    set.files = std::move(loaded.files);
    for (auto& frame : loaded.frames)
    {
        if (!tell_usable(frame, scope))
        {
            ++set.left_out;
            continue;
        }
        set.frames.push_back(named(std::move(frame)));
    }
    refuse_none(set.frames.size(), name);
    std::vector<double> spacings(set.frames.size());
    for_each_index(spacings.size(),
                   [&](std::size_t i) { spacings[i] = spacing_of(set.frames[i].data); });
    warn_of_units(std::move(spacings), name, scope);
    return set;
}

} // namespace

std::vector<RangeData const*> data_of(FrameSet const& frames)
{
    std::vector<RangeData const*> list;
    list.reserve(frames.frames.size());
    for (auto const& frame : frames.frames)
    {
        list.push_back(&frame.data);
    }
    return list;
}

std::vector<std::string> names_of(FrameSet const& frames)
{
    std::vector<std::string> names;
    names.reserve(frames.frames.size());
    for (auto const& frame : frames.frames)
    {
        names.push_back(frame.name);
    }
    return names;
}

std::function<void(std::size_t)> dropping(FrameSet& frames)
{
    return [&frames](std::size_t f) { frames.frames[f].data = RangeData(); };
}

namespace
{

FrameSet load(fs::path const& source, LoadFramesSettings const& settings, bool has_normals,
              Context& context)
{
    StepScope scope(context, "read-frames", "read the frames");
    LoadedSource loaded = scope.stage("read the frames", 0.7, [&] { return load_source(source); });
    return scope.stage("prepare the frames", 1.0,
                       [&] {
                           return keep_usable(shown(source), std::move(loaded), settings.scale,
                                              has_normals, scope);
                       });
}

} // namespace

FrameSet load_frames(fs::path const& source, LoadFramesSettings const& settings, Context& context)
{
    return load(source, settings, true, context);
}

FrameSet load_bare_frames(fs::path const& source, LoadFramesSettings const& settings,
                          Context& context)
{
    return load(source, settings, false, context);
}

void refuse_bare_frames(FrameSet const& frames)
{
    for (auto const& frame : frames.frames)
    {
        if (!frame.data.has_vNormal)
        {
            throw InputError(frame.name + ": has no normals yet; provide_normals computes them");
        }
    }
}

void provide_normals(FrameSet& frames)
{
    for_each_index(frames.frames.size(),
                   [&](std::size_t i) { provide_normals(frames.frames[i].data); });
}

std::vector<fs::path> frame_source_files(fs::path const& source)
{
    return stream_source(source).files;
}

std::size_t visit_frames(fs::path const& source, LoadFramesSettings const& settings,
                         std::function<void(NamedFrame&&)> const& visit, Context& context)
{
    StepScope scope(context, "read-frames", "read the frames");
    FrameStream const stream = stream_source(source);
    std::vector<double> spacings;
    OrvaneAlgorithm::detail::Progress progress(stream.size);
    for (std::size_t i = 0; i < stream.size; ++i)
    {
        progress.advance(0);
        LoadedFrame frame = stream.load(i);
        finish_frame(frame, settings.scale);
        if (tell_usable(frame, scope))
        {
            provide_normals(frame.data);
            spacings.push_back(spacing_of(frame.data));
            visit(named(std::move(frame)));
        }
        progress.advance();
    }
    std::size_t const usable = spacings.size();
    refuse_none(usable, shown(source));
    warn_of_units(std::move(spacings), shown(source), scope);
    return stream.size - usable;
}

FrameSet prepare_frames(std::string const& name, std::vector<NamedFrame> frames,
                        LoadFramesSettings const& settings, Context& context)
{
    StepScope scope(context, "prepare-frames", "prepare the frames");
    LoadedSource loaded;
    for (auto& frame : frames)
    {
        loaded.frames.emplace_back();
        loaded.frames.back().name = std::move(frame.name);
        loaded.frames.back().data = std::move(frame.data);
        loaded.frames.back().sensor = frame.sensor;
        loaded.frames.back().number = frame.number;
    }
    return keep_usable(name, std::move(loaded), settings.scale, true, scope);
}

} // namespace veld
