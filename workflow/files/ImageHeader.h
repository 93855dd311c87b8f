#pragma once

#include <filesystem>
#include <string>

namespace veld
{

/// Why a JPEG or PNG file cannot be read, as far as its header tells: more pixels than are taken,
/// colours for print, or that it is damaged.
std::string why_no_image(std::filesystem::path const& path);

} // namespace veld
