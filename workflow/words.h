#pragma once

#include "workflow/export.h"

#include <cstddef>
#include <filesystem>
#include <string>

namespace veld
{

/// "1 hole", "5 holes".
VELD_WORKFLOW_API std::string counted(std::size_t n, std::string const& noun);

/// A path as messages show it.
VELD_WORKFLOW_API std::string shown(std::filesystem::path const& path);

} // namespace veld
