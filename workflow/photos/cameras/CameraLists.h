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

/// Refuses a camera that cannot be: by its focal lengths, its principal point or its place.
/// \param place stands in front of the message
void check_camera(PhotoView const& view, std::string const& place);

/// Whether a matrix is a rotation, as well as a text with few digits tells one. One that is farther
/// off is another thing, such as a projection or a transposed scale.
bool is_rotation(OrvaneAlgorithm::Matrix3d const& matrix);

/// Whether a name can be that of a file.
bool is_file_name(std::string const& name);

} // namespace veld
