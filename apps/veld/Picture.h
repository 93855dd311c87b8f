#pragma once

#include "Camera.h"

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/TriMesh.h"

#include <string>
#include <vector>

namespace veld
{

/// What a picture shows, and how large.
struct PictureSettings
{
    int width = 1200; ///< Pixels.
    int height = 900; ///< Pixels.
    ViewDirection view;
    double line_width = 4.0; ///< Width of hole rims in pixels; 0 draws none.
};

using Picture = OrvaneAlgorithm::Image<3, unsigned char>;

/// Draws a mesh by casting rays: lit from the viewer's side, its back faces darker, its boundary
/// as lines in a strong colour. The same input gives the same bytes for any number of threads.
/// \param new_faces marks of faces that get the colour of filled holes, or empty
Picture draw_picture(OrvaneAlgorithm::TriMesh const& mesh, PictureSettings const& settings,
                     std::vector<char> const& new_faces);

/// Writes a PNG or JPEG file as a whole or not at all.
void save_picture(std::string const& path, Picture const& picture);

} // namespace veld
