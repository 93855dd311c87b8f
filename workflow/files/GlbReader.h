#pragma once

#include "algorithmVeld/common/vectors.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace veld
{

/// A textured model as `write_textured_mesh` writes it.
struct GlbContent
{
    std::vector<OrvaneAlgorithm::Vector3f> points;    ///< Millimetres.
    std::vector<OrvaneAlgorithm::Vector2f> texcoords; ///< From the upper left corner.
    std::vector<std::uint32_t> triangles;
    std::string image;      ///< The content of an image file.
    std::string image_type; ///< "image/jpeg", "image/png".
};

/// Reads the first mesh of a binary glTF file with its texture. Throws `InputError` with the file
/// and the reason where it is none, damaged, or more than this reads.
GlbContent read_glb(std::filesystem::path const& path);

} // namespace veld
