#pragma once

#include "workflow/files/Json.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/RigidMatrix.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

/// \file
/// A source of frames once more, in another folder and with other poses. One function for each kind
/// plans its files; nothing is written before all of them are known.

namespace veld
{

/// A pose of a frame, to global coordinates in the lengths that the loader of the source gives.
struct CopiedPose
{
    OrvaneAlgorithm::RigidMatrix pose;
    bool is_new = false; ///< Otherwise it stays as the source has it, letter for letter if it can.
};

/// Poses by the number that the source calls a frame. A frame without one keeps its own.
using NewPoses = std::map<int, CopiedPose>;

/// The new pose of a frame; a null pointer if it has none.
OrvaneAlgorithm::RigidMatrix const* find_new(NewPoses const& poses, int number);

/// What the folder of the copy will hold. Names are relative to it.
struct SourceCopy
{
    struct Text
    {
        std::filesystem::path name;
        std::string text;
    };
    struct Twin
    {
        std::filesystem::path name;
        std::filesystem::path from; ///< the file that it is a copy of
    };
    struct Frame
    {
        std::filesystem::path name;
        std::filesystem::path from; ///< the `.rge` file that it is, but for the pose
        OrvaneAlgorithm::RigidMatrix pose;
    };

    std::vector<Text> texts;
    std::vector<Twin> twins;
    std::vector<Frame> frames;
    std::filesystem::path entry; ///< what names the copy as a source; empty: the folder
};

SourceCopy copy_rge_folder(std::filesystem::path const& folder, NewPoses const& poses);
SourceCopy copy_range_scans(std::filesystem::path const& conf, NewPoses const& poses);
SourceCopy copy_text_frames(std::filesystem::path const& path, Json const& description,
                            NewPoses const& poses);
SourceCopy copy_depth_images(std::filesystem::path const& path, Json cameras,
                             NewPoses const& poses);

/// Plans the copy of any source of frames.
SourceCopy copy_source(std::filesystem::path const& source, NewPoses const& poses);

/// The name in the copy of a file that a source names: the same, if that is below the source.
std::filesystem::path name_in_copy(std::filesystem::path const& named);

/// Adds a file to the copy under a name, unless it is not there.
void add_twin(SourceCopy& copy, std::filesystem::path const& name,
              std::filesystem::path const& from);

/// The files of a copy in a folder.
std::vector<std::filesystem::path> files_of(SourceCopy const& copy,
                                            std::filesystem::path const& folder);

/// Writes a copy. The directories for it are made.
void write_copy(SourceCopy const& copy, std::filesystem::path const& folder, Outputs& outputs);

} // namespace veld
