#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/photos/Photos.h"

#include "algorithmVeld/common/Image.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

using Photo = OrvaneAlgorithm::Image<3, unsigned char>;

/// Photographs of an object, and where they were taken.
struct PhotoSet
{
    std::string source;                       ///< What messages call them.
    std::vector<PhotoView> views;             ///< Where they were taken.
    std::vector<Photo> images;                ///< One for each view, of its size.
    std::vector<std::filesystem::path> files; ///< All that were read.
};

/// Loads photographs, JPEG or PNG, with the list of their cameras, as `read_camera_list` takes it.
/// Throws `InputError` where one is missing, damaged or of another size than the list says, for
/// the others would give a result with parts that are missing.
VELD_WORKFLOW_API PhotoSet load_photos(std::filesystem::path const& source, Context& context);

} // namespace veld
