#pragma once

#include "workflow/files/Json.h"
#include "workflow/frames/FrameGrid.h"
#include "workflow/frames/FramePhoto.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// \file
/// One loader for each kind of source. They bring the points, the cells and the pose of each frame,
/// in the order of the source, in millimetres where its form fixes a unit, and say what they found
/// wrong. What holds for frames from anywhere is done behind them.

namespace veld
{

struct LoadedFrame
{
    std::string name;           ///< as messages call it
    std::filesystem::path file; ///< that holds it, if one does
    RangeData data;
    Sensor sensor = Sensor::UNKNOWN;
    bool faces_sensor = false;         ///< whether all its cells are known to
    int number = 0;                    ///< as the source counts
    std::shared_ptr<FramePhoto> photo; ///< beside it, if there is one
    std::string unusable;              ///< why it cannot be used; empty if it can
    std::vector<std::string> remarks;  ///< what was wrong, and what was done about it
};

struct LoadedSource
{
    std::vector<LoadedFrame> frames;
    std::vector<std::filesystem::path> files; ///< all that were read
};

/// A source whose frames are loaded one after the other.
struct FrameStream
{
    std::vector<std::filesystem::path> files;     ///< that it names; they need not be there
    std::size_t size = 0;                         ///< number of its frames
    std::function<LoadedFrame(std::size_t)> load; ///< loads one of them, in any order
};

/// Loads all frames of a source, side by side.
LoadedSource load_all(FrameStream const& stream);

FrameStream stream_rge_folder(std::filesystem::path const& folder);
FrameStream stream_range_scans(std::filesystem::path const& conf);
FrameStream stream_depth_images(std::filesystem::path const& path, Json const& cameras);
/// Frames that share a file of poses are loaded all at once: it alone tells which there are.
FrameStream stream_text_frames(std::filesystem::path const& path, Json const& description);

/// The list itself and the files that it names; none of these is read.
std::vector<std::filesystem::path> range_scan_files(std::filesystem::path const& conf);
LoadedSource load_text_frames(std::filesystem::path const& path, Json const& description);

} // namespace veld
