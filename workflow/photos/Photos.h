#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/CameraInParam.h"
#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/RigidMatrix.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::CameraInParam;
using OrvaneAlgorithm::RigidMatrix;
using Photo = OrvaneAlgorithm::Image<3, unsigned char>;

/// A photograph as a list of cameras has it: where it is, and where it was taken from.
struct PhotoView
{
    std::string image;          ///< As the list names it.
    std::filesystem::path file; ///< Where it is.
    int width = 0;              ///< Pixels in a row.
    int height = 0;             ///< Number of rows.
    CameraInParam intrinsics;   ///< (0, 0) is the centre of the top left pixel; no distortion.
    RigidMatrix pose;           ///< World to camera, in the unit of the list; x right, y down, z
                                ///< forward.
};

/// Photographs of an object, and where they were taken.
struct PhotoSet
{
    std::string source;                       ///< What messages call them.
    std::vector<PhotoView> views;             ///< Where they were taken.
    std::vector<Photo> images;                ///< One for each view, of its size.
    std::vector<std::filesystem::path> files; ///< All that were read.
};

/// Reads where photographs were taken, in the order of the list: a folder with `cameras.json` or
/// that file, or a folder with a COLMAP model as text (`cameras.txt`, `images.txt`; also in
/// `sparse` or `sparse/0` below it) or one of these files. Every view has a size, a focal length
/// above 0 and a pose that is a rigid motion. Throws `InputError`, which names the file and the
/// view.
VELD_WORKFLOW_API std::vector<PhotoView> read_camera_list(std::filesystem::path const& source);

/// The files that read_camera_list() reads.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
camera_list_files(std::filesystem::path const& source);

/// These and the photographs that they name, for whoever must not write over them.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
photo_source_files(std::filesystem::path const& source);

} // namespace veld
