#pragma once

#include <cstddef>

namespace OrvaneAlgorithm
{

/// What a call of `TextureFusion` or `TextureMesh` made.
struct TextureCounts
{
    std::size_t patches = 0;        ///< connected sets of faces of one photograph
    std::size_t texture_holes = 0;  ///< connected sets of faces without one
    std::size_t textured_faces = 0; ///< faces with a photograph
    std::size_t large_holes = 0;    ///< holes without colours because they are too large
    /// Faces that a photograph sees, also those in regions that are too small to keep it. Known
    /// also where the call failed.
    std::size_t seen_faces = 0;
    /// Faces of the largest connected region of such faces. Known also where the call failed.
    std::size_t largest_region = 0;
};

} // namespace OrvaneAlgorithm
