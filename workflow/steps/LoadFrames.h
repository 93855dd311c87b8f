#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/frames/Sensor.h"

#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::RangeData;

class FramePhoto;

/// How frames are brought into the form that the other steps work on.
struct LoadFramesSettings
{
    double scale = 1.0; ///< Of all lengths, to millimetres: 1000 for metres. More than 0.
};

/// A frame, and what messages call it.
struct NamedFrame
{
    std::string name;                ///< The file's, or as its list names it.
    RangeData data;                  ///< Points on their grid, and a pose.
    Sensor sensor = Sensor::UNKNOWN; ///< Where it was seen from, if that is known.
    int number = 0; ///< What its source calls it: of text frames the number in the files' names, of
                    ///< others the place in the list, from 0 on, with those that were left out.
    /// The photograph beside it, if there is one; it gives a merged mesh its colours.
    std::shared_ptr<FramePhoto const> photo = nullptr;
};

/// The frames of a scan, in its order. Each has vertices, all of them finite, a pose that is a
/// rigid motion, and normals, unless it is of `load_bare_frames`. Faces of a cell agree with the
/// normals, and both look at the sensor where it is known.
struct FrameSet
{
    std::string source;                       ///< What messages call the scan.
    std::vector<NamedFrame> frames;           ///< In the order of their source.
    std::vector<std::filesystem::path> files; ///< All that were read.
    std::size_t left_out = 0;                 ///< Frames that could not be used.
};

/// The points of the frames, in their order.
VELD_WORKFLOW_API std::vector<RangeData const*> data_of(FrameSet const& frames);

/// The names of the frames, in their order.
VELD_WORKFLOW_API std::vector<std::string> names_of(FrameSet const& frames);

/// A function that drops the points of the frame of a number, for steps that tell when they read
/// one no more. The set has to outlive it.
VELD_WORKFLOW_API std::function<void(std::size_t)> dropping(FrameSet& frames);

/// Loads the frames of a source: a folder of `.rge` files or of depth images with `cameras.json`,
/// that `cameras.json`, the description of text frames (JSON), the `.conf` of range scans, or a
/// folder that has one `.conf` and nothing of the others.
///
/// A frame that cannot be used is left out, and one that had to be mended is mended, both with a
/// warning that names it. Throws `InputError` where no frame is left.
VELD_WORKFLOW_API FrameSet load_frames(std::filesystem::path const& source,
                                       LoadFramesSettings const& settings, Context& context);

/// Does the same, but frames get no normals whose files have none. It is for a merge, which makes
/// them where it needs them: frames of depth cameras, which are smoothed first, do without, and
/// are a third smaller. Other steps refuse such frames.
VELD_WORKFLOW_API FrameSet load_bare_frames(std::filesystem::path const& source,
                                            LoadFramesSettings const& settings, Context& context);

/// Computes normals, from their grids, for the frames that have none.
VELD_WORKFLOW_API void provide_normals(FrameSet& frames);

/// Throws `InputError` where a frame has no normals.
void refuse_bare_frames(FrameSet const& frames);

/// Loads the same frames as `load_frames` one after the other, in memory of one frame, unless they
/// are text frames that share a file of poses. \return how many were left out \param visit gets
/// each frame that can be used
VELD_WORKFLOW_API std::size_t visit_frames(std::filesystem::path const& source,
                                           LoadFramesSettings const& settings,
                                           std::function<void(NamedFrame&&)> const& visit,
                                           Context& context);

/// The files that a source names, which need not be there.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
frame_source_files(std::filesystem::path const& source);

/// Does the same with frames that a host has in memory: takes points out that are no numbers,
/// computes normals from the grid where there are none, and makes grid and normals agree.
/// \param name of the scan, for messages
VELD_WORKFLOW_API FrameSet prepare_frames(std::string const& name, std::vector<NamedFrame> frames,
                                          LoadFramesSettings const& settings, Context& context);

} // namespace veld
