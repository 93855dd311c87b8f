#pragma once

#include "workflow/run/ScanLook.h"

#include <filesystem>
#include <vector>

namespace veld
{

/// The folders in which markers and photographs of a scan are looked for.
std::vector<std::filesystem::path> places_beside(std::filesystem::path const& scan, ScanKind kind);

/// A folder with a list of photographs that are there; empty for none.
std::filesystem::path find_photos(std::vector<std::filesystem::path> const& places);

/// A file of markers; empty for none.
std::filesystem::path find_markers(std::vector<std::filesystem::path> const& places);

} // namespace veld
