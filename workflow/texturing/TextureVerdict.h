#pragma once

#include "workflow/StepScope.h"
#include "workflow/steps/TextureResult.h"
#include "workflow/texturing/TextureOutlook.h"

#include <string>

namespace veld
{

/// Tells why there is no texture.
[[noreturn]] void refuse_untextured(TextureOutlook const& outlook, TextureResult const& result);

/// Refuses a texture that is hardly one.
void check_share(TextureOutlook const& outlook, TextureResult const& result);

/// Warns of what a texture lacks. \param source of the photographs
void warn_of_texture(TextureOutlook const& outlook, TextureResult const& result,
                     std::string const& source, StepScope& scope);

} // namespace veld
