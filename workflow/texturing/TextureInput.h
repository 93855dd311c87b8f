#pragma once

#include "workflow/photos/Photos.h"
#include "workflow/steps/TextureSettings.h"

#include "algorithmVeld/common/TriMesh.h"

namespace veld
{

/// Throws `InputError` where settings are out of range, or there is nothing to texture or nothing
/// to do it with.
void check_texture_input(OrvaneAlgorithm::TriMesh const& mesh, PhotoSet const& photos,
                         TextureSettings const& settings);

/// Throws `InputError` where photographs have different sizes and the pipeline takes none such.
void check_sizes(std::vector<Photo> const& photos, TexturePipeline pipeline);

/// A copy without what is marked deleted.
OrvaneAlgorithm::TriMesh in_millimetres(OrvaneAlgorithm::TriMesh const& mesh, double scale);

} // namespace veld
