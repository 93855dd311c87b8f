#pragma once

#include "workflow/export.h"

#include "algorithmVeld/common/Image.h"
#include "algorithmVeld/common/TriMesh.h"
#include "algorithmVeld/common/types.h"

#include <array>
#include <cstddef>
#include <functional>

/// \file
/// What a texture is worth: how near its colours come to the true ones, and how far they jump where
/// two photographs meet. Colours are blue, green and red in grey levels, 0 to 255, and a difference
/// is the mean of the three.

namespace veld
{

using OrvaneAlgorithm::Vector3d;

/// A mesh with its texture. The texture coordinates are those of the halfedges, for the vertex that
/// each points to: (0, 0) is the lower left corner of the image, (1, 1) the upper right one.
struct JudgedTexture
{
    OrvaneAlgorithm::TriMesh const& mesh;
    OrvaneAlgorithm::Image<3, unsigned char> const& image;
    /// Where the middle of a pixel lies, in pixels from its corner: what draws a texture takes
    /// (0.5, 0.5).
    double pixel_middle = 0.5;
};

/// The true colour of a place: blue, green and red, 0 to 1.
using TrueColour = std::function<Vector3d(Vector3d const&)>;

/// The colours of a textured surface against the true ones.
struct ColourError
{
    double mean = 0.0;
    double percentile_95 = 0.0;
    double blank = 0.0; ///< Share of the surface without a colour, which is black.
    std::array<double, 3> gain{{1.0, 1.0, 1.0}}; ///< With which the texture comes nearest.
};

/// Compares places that are spread evenly over the surface, as many for each square millimetre. A
/// texture is as bright as its photographs are: before it is compared, each channel gets the one
/// factor with which it comes nearest to the truth, by least squares.
VELD_WORKFLOW_API ColourError measure_colour_error(JudgedTexture const& texture,
                                                   TrueColour const& true_colour);

/// The step across edges whose two faces have different texture coordinates there.
struct SeamStep
{
    std::size_t edges = 0;
    double mean = 0.0;
    double percentile_95 = 0.0;
};

/// Compares the colours of both faces at five places of each such edge. Edges at faces without a
/// colour do not count.
VELD_WORKFLOW_API SeamStep measure_seam_step(JudgedTexture const& texture);

} // namespace veld
