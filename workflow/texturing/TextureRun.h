#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/steps/TextureResult.h"
#include "workflow/texturing/TextureOutlook.h"

#include <vector>

namespace veld
{

/// Makes the texture of the result's mesh, with its settings. Throws `Error` where nothing or
/// hardly anything comes of it.
void run_texture(TextureOutlook const& outlook, std::vector<Photo> const& photos,
                 TextureResult& result);

} // namespace veld
