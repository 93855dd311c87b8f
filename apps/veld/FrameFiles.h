#pragma once

#include "OutputFile.h"

#include "algorithmVeld/common/RangeData.h"

#include <string>
#include <vector>

namespace veld
{

using OrvaneAlgorithm::RangeData;

/// The paths of the `.rge` files in a folder, by name.
std::vector<std::string> frame_files_in(std::string const& folder);

/// Reads a `.rge` file. \return what is wrong with it; empty on success
std::string read_frame(std::string const& path, RangeData& frame);

void save_frame(OutputFile const& file, RangeData const& frame);

} // namespace veld
