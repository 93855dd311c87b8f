#pragma once

#include "Camera.h"
#include "OutputFile.h"

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/TriMesh.h"

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
/// \param marks one for each face: 0 for the surface, 1 and 2 for the two colours of filled holes;
///        or empty
Picture draw_picture(OrvaneAlgorithm::TriMesh const& mesh, PictureSettings const& settings,
                     std::vector<char> const& marks);

/// Writes a picture in the format that its extension names, PNG or JPEG.
void save_picture(OutputFile const& file, Picture const& picture);

} // namespace veld
