#pragma once

#include "workflow/files/Json.h"
#include "workflow/frames/FrameGrid.h"
#include "workflow/frames/FramePhoto.h"

#include <cstddef>
#include <filesystem>
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

LoadedSource load_rge_folder(std::filesystem::path const& folder);
LoadedSource load_range_scans(std::filesystem::path const& conf);
/// The list itself and the files that it names; none of these is read.
std::vector<std::filesystem::path> range_scan_files(std::filesystem::path const& conf);
LoadedSource load_text_frames(std::filesystem::path const& path, Json const& description);
LoadedSource load_depth_images(std::filesystem::path const& path, Json const& cameras);

} // namespace veld
