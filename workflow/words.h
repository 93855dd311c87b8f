#pragma once

#include "workflow/export.h"

#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>

namespace veld
{

/// "1 hole", "5 holes".
VELD_WORKFLOW_API std::string counted(std::size_t n, std::string const& noun);

/// A part of a whole: "35 %", "0.25 %".
VELD_WORKFLOW_API std::string percent(double part);

/// A path as messages show it.
VELD_WORKFLOW_API std::string shown(std::filesystem::path const& path);

/// What keeps a file from being written, to stand behind its name: "the disk is full".
VELD_WORKFLOW_API std::string why_not_written(std::error_code const& error);

} // namespace veld
