#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/photos/Photos.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// Loads photographs, JPEG or PNG, with the list of their cameras, as `read_camera_list` takes it.
/// Throws `InputError` where one is missing, damaged or of another size than the list says, for
/// the others would give a result with parts that are missing.
VELD_WORKFLOW_API PhotoSet load_photos(std::filesystem::path const& source, Context& context);

/// Does the same with photographs that a host has in memory. Throws `InputError` where there are
/// none, where views and images are not as many, and where a view has another size than its image,
/// a camera that cannot be, or a pose that is no rigid motion.
/// \param name of all of them, for messages \param views their files are not looked at
VELD_WORKFLOW_API PhotoSet prepare_photos(std::string const& name, std::vector<PhotoView> views,
                                          std::vector<Photo> images, Context& context);

} // namespace veld
