#pragma once

#include "workflow/Context.h"
#include "workflow/report/RunRecord.h"
#include "workflow/run/Recipe.h"
#include "workflow/run/RunFolder.h"
#include "workflow/run/ScanLook.h"

#include <string>
#include <vector>

/// \file
/// Which steps of an earlier run need not be taken again.

namespace veld
{

/// Where a result says which bytes its file has.
constexpr char const* FILE_CHECKSUM = "file_checksum";

/// A checksum for each step of all that its result depends on.
std::vector<std::string> step_keys(Recipe const& recipe, ScanLook const& look,
                                   Context const& context);

/// The first steps of the earlier run that are the same, as long as they have left a mesh to go on
/// with.
/// \param keys of the steps that are to be taken
/// \param keep whether the mesh of every step stays
std::vector<RunStep> kept_steps(RunFolder const& folder, std::vector<std::string> const& keys,
                                bool keep);

/// Whether a step made something. One that was left out did not.
bool has_output(RunStep const& step);

bool is_texture(RunStep const& step);

} // namespace veld
