#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/photos/Photos.h"

#include <filesystem>

namespace veld
{

/// Loads photographs, JPEG or PNG, with the list of their cameras, as `read_camera_list` takes it.
/// Throws `InputError` where one is missing, damaged or of another size than the list says, for
/// the others would give a result with parts that are missing.
VELD_WORKFLOW_API PhotoSet load_photos(std::filesystem::path const& source, Context& context);

} // namespace veld
