#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/steps/LoadFrames.h"

#include "algorithmVeld/common/TriMesh.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// What a scan is.
enum class ScanKind
{
    FRAMES, ///< What `load_frames()` takes.
    CLOUD,  ///< Points without faces.
    MESH
};

/// A scan, and what belongs to it.
struct ScanLook
{
    ScanKind kind = ScanKind::MESH;           ///< What it is.
    std::filesystem::path source;             ///< What the loader of this kind takes.
    std::vector<std::filesystem::path> files; ///< All that it consists of.
    std::size_t frames = 0;                   ///< How many; 0 where the list does not tell.
    OrvaneAlgorithm::TriMesh mesh;            ///< Of a cloud or a mesh.
    std::filesystem::path markers;            ///< The file of its markers; empty for none.
    std::filesystem::path photos; ///< Where the list of its photographs is; empty for none.
    std::vector<std::filesystem::path> photo_files; ///< That list, and all that it names.
    std::string found; ///< "10 frames in scan/bun.conf, markers in scan/markers.txt".
};

/// Looks at what was given: a source of frames, a file with a mesh or a cloud, or a folder with one
/// of these. Markers and photographs that are not named are looked for beside it: a file
/// `markers.txt`; a list of cameras as `read_camera_list()` takes it, in the folder itself or in
/// one called `photos`, `photographs` or `images`. They may also lie beside the folder of a scan.
///
/// Throws `InputError` where there is nothing that can be used, or several things of which one has
/// to be named.
/// \param markers, photos empty: looked for
VELD_WORKFLOW_API ScanLook look_at_scan(std::filesystem::path const& scan,
                                        std::filesystem::path const& markers,
                                        std::filesystem::path const& photos, Context& context);

/// The same for who wants to know the files alone: no mesh is read, so that a cloud counts as one,
/// and `found` is empty.
VELD_WORKFLOW_API ScanLook find_scan(std::filesystem::path const& scan,
                                     std::filesystem::path const& markers,
                                     std::filesystem::path const& photos);

} // namespace veld
