#pragma once

#include "workflow/photos/Photos.h"

#include <string>

/// \file
/// One reader for each form of a list of cameras.

namespace veld
{

/// The longest side of a photograph in pixels.
constexpr int LONGEST_PHOTO_SIDE = 1 << 20;

std::vector<PhotoView> read_json_cameras(std::filesystem::path const& path);

/// \param folder with `cameras.txt` and `images.txt`
std::vector<PhotoView> read_colmap_model(std::filesystem::path const& folder);

/// Refuses focal lengths that are not above 0. \param place stands in front of the message
void check_focal_lengths(CameraInParam const& camera, std::string const& place);

} // namespace veld
