#pragma once

#include "workflow/Context.h"
#include "workflow/export.h"
#include "workflow/files/OutputFile.h"

#include "algorithmVeld/common/RangeData.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::RangeData;

/// The paths of the `.rge` files in a folder, by name.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
frame_files_in(std::filesystem::path const& folder);

/// Names for the `.rge` files of a scan, whose order is that of its frames. Throws `InputError`
/// where the folder has frames of something else, for a folder is read as a whole.
VELD_WORKFLOW_API std::vector<std::filesystem::path>
new_frame_files_in(std::filesystem::path const& folder, std::size_t frames);

/// Reads a `.rge` file. \return what is wrong with it; empty on success
std::string read_frame(std::filesystem::path const& path, RangeData& frame);

/// Writes a `.rge` file that stands for itself, whole or not at all.
void write_frame(std::filesystem::path const& path, RangeData const& frame);

/// Writes a `.rge` file.
VELD_WORKFLOW_API void write_frame(OutputFile const& file, RangeData const& frame,
                                   Context& context);

} // namespace veld
