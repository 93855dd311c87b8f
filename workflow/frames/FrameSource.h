#pragma once

#include "workflow/files/Json.h"

#include <filesystem>

namespace veld
{

/// What kind of source frames come from.
enum class FrameSourceKind
{
    RGE_FOLDER,
    DEPTH_IMAGES,
    TEXT_FRAMES,
    RANGE_SCANS
};

/// A source of frames that was found.
struct FrameSource
{
    FrameSourceKind kind = FrameSourceKind::RGE_FOLDER;
    std::filesystem::path path; ///< the folder of `.rge` files, or the file that describes frames
    Json description;           ///< what that file holds, where it is JSON
};

/// Tells what a path is as a source of frames. Throws `InputError` where it is none.
FrameSource find_frame_source(std::filesystem::path const& path);

} // namespace veld
