#pragma once

#include "workflow/steps/Clean.h"
#include "workflow/steps/Fill.h"
#include "workflow/steps/Merge.h"
#include "workflow/steps/Normals.h"
#include "workflow/steps/Repair.h"
#include "workflow/steps/Texture.h"

#include <string>

/// \file
/// What the line of a step says of its result.

namespace veld
{

std::string line_of(MergeResult const& result);
std::string line_of(NormalsResult const& result);
std::string line_of(CleanResult const& result);
std::string line_of(RepairResult const& result);
std::string line_of(FillResult const& result);
std::string line_of(TextureResult const& result);

} // namespace veld
