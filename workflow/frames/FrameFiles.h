#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/RangeData.h"

#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::RangeData;

/// The paths of the `.rge` files in a folder, by name.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
frame_files_in(std::filesystem::path const& folder);

/// Reads a `.rge` file. \return what is wrong with it; empty on success
std::string read_frame(std::filesystem::path const& path, RangeData& frame);

/// Writes a `.rge` file.
VELD_WORKFLOW_API void write_frame(OutputFile const& file, RangeData const& frame,
                                   Context& context);

} // namespace veld
