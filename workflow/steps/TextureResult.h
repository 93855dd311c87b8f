#pragma once

#include "workflow/files/TexturedMesh.h"
#include "workflow/steps/TextureSettings.h"

#include <cstddef>

namespace veld
{

/// What texturing made.
struct TextureResult
{
    TexturedMesh textured;            ///< In millimetres, with the faces and vertices of the input.
    TextureSettings settings;         ///< With the depth tolerance that was taken.
    std::size_t photographs = 0;      ///< How many there are.
    std::size_t patches = 0;          ///< Connected sets of faces of one photograph.
    std::size_t texture_holes = 0;    ///< Connected places that no photograph shows.
    std::size_t textured_faces = 0;   ///< Faces with the colours of a photograph.
    std::size_t seen_faces = 0;       ///< Faces that a photograph shows, also in small regions.
    std::size_t largest_region = 0;   ///< Faces of the largest region of such faces.
    std::size_t large_holes = 0;      ///< Places that are too large to get colours.
    std::size_t colourless_faces = 0; ///< Faces that are black, for nothing is known of them.
    double seconds = 0.0;             ///< Of the texturing alone.
};

} // namespace veld
