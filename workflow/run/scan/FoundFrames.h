#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

namespace veld
{

/// A source of frames in or at a place that was looked at, and all files that it reads.
struct FoundFrames
{
    std::filesystem::path source;
    std::vector<std::filesystem::path> files;
    std::size_t frames = 0;
};

/// That of a list of range scans. \param path ".conf"
FoundFrames range_scans(std::filesystem::path const& path);

/// \return whether a JSON file is a source of frames
bool take_json_frames(std::filesystem::path const& path, FoundFrames& found);

/// The sources of frames in a folder. \param files in it
std::vector<FoundFrames> frames_in(std::filesystem::path const& folder,
                                   std::vector<std::filesystem::path> const& files);

/// The plain files in a folder, by name.
std::vector<std::filesystem::path> files_in(std::filesystem::path const& folder);

} // namespace veld
