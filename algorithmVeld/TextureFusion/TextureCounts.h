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
};

} // namespace OrvaneAlgorithm
